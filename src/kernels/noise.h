// Grain from a generator whose numbers depend on nothing but its seed.
#pragma once

#include <array>

#include "kernels/view.h"

struct tNOISEPROP {
    LONG gaussian;      ///< 1 Gaussian, 0 uniform; any other value adds no noise
    LONG monochromatic; ///< 1 one value for the three colours, else one each
    LONG animate;       ///< 1 a new seed for each frame, else `seed`
    LONG reserved1;
    double level;    ///< 0 to 1
    double reserved; ///< ramped, read by no step
    ULONG seed;
    LONG reserved2;
};
static_assert(sizeof(tNOISEPROP) == 40);

/// The generalised feedback shift register R250 (Kirkpatrick and Stoll, "A very fast shift-register sequence random
/// number generator", 1981), started from a linear congruence of 15 bits.
class CKwR250 {
  public:
    void Seed(std::uint32_t seed);

    std::uint32_t Next() {
        if (m_at == kWords) Refill();
        return m_words[m_at++];
    }

    /// The next `count` numbers at once; as many calls of `Next` give the same.
    void Fill(std::uint32_t* out, std::ptrdiff_t count);

    /// Mean 0, deviation 1, by the polar method (Marsaglia and Bray, 1964) on 16 bits a coordinate; each value takes a
    /// fresh pair.
    double NextGaussian();

  private:
    static constexpr std::size_t kWords = 250, kTap = 103;

    /// Each word in turn becomes itself xor the word 103 places on: the numbers of 250 calls.
    void Refill();

    std::array<std::uint32_t, kWords> m_words{};
    std::size_t m_at = kWords;
};

/// Copies the source to the destination with noise added, row by row from the first pixel of the clip. Each colour is
/// limited to 0 to the pixel's alpha, which stays. The views may be the same picture, but must not overlap otherwise.
HRESULT KwDibNoise(const tView& destination, const tView& source, const tNOISEPROP& record, CKwR250& generator);

/// The same for 16-byte pixels.
HRESULT KwDibNoiseFloat(const tView& destination, const tView& source, const tNOISEPROP& record, CKwR250& generator);
