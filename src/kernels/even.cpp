#include "kernels/even.h"

#include "kernels/unaligned.h"

std::uint32_t KwEvenChannels(const tRows& picture, std::uint32_t wanted) {
    const std::uint32_t first = *KwWordRow(picture, 0);
    for (LONG y = 0; y < picture.height && wanted; ++y) {
        std::uint32_t changes = 0;
        const tAnyWord* const row = KwWordRow(picture, y);
        for (LONG x = 0; x < picture.width; ++x) changes |= row[x] ^ first;
        for (int channel = 0; channel < 4; ++channel)
            if (changes >> channel * 8 & 255) wanted &= ~(1u << channel);
    }
    return wanted;
}
