// Pictures for kernel tests: content, guard bytes around every row, and a comparison that names the first difference.
#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <random>
#include <vector>

#include "kernels/view.h"

/// A picture with guard bytes before, between and behind its rows. `Check()` fails if a kernel wrote into a guard.
class CTestPicture {
  public:
    /// @param padding guard bytes behind each row, a multiple of 4
    CTestPicture(LONG width, LONG height, LONG bytesPerPixel, LONG padding = 12)
        : m_frame{0, 0, width, height}, m_bytesPerPixel(bytesPerPixel), m_padding(padding),
          m_memory(static_cast<std::size_t>(kMargin * 2 + (width * bytesPerPixel + padding) * height), kGuard) {
        for (LONG y = 0; y < height; ++y)
            std::memset(At(0, y), 0, static_cast<std::size_t>(width) * static_cast<std::size_t>(bytesPerPixel));
    }

    LONG Width() const { return m_frame.right; }
    LONG Height() const { return m_frame.bottom; }
    LONG BytesPerPixel() const { return m_bytesPerPixel; }
    LONG Stride() const { return m_frame.right * m_bytesPerPixel + m_padding; }
    std::uint8_t* At(LONG x, LONG y) {
        return m_memory.data() + kMargin + static_cast<std::ptrdiff_t>(y) * Stride() +
               static_cast<std::ptrdiff_t>(x) * m_bytesPerPixel;
    }
    tPixel8& Pixel8(LONG x, LONG y) { return *reinterpret_cast<tPixel8*>(At(x, y)); }
    tPixelF& PixelF(LONG x, LONG y) { return *reinterpret_cast<tPixelF*>(At(x, y)); }

    /// The view of the whole picture, or of `clip`, which has to outlive it.
    tView View(const RECT* clip = nullptr) { return {At(0, 0), &m_frame, Stride(), clip}; }
    /// The same picture viewed bottom up.
    tView FlippedView(const RECT* clip = nullptr) { return {At(0, Height() - 1), &m_frame, -Stride(), clip}; }

    /// Random premultiplied content with runs of opaque and of clear pixels. With `wild`, colours ignore alpha and
    /// floats leave 0 to 1.
    CTestPicture& Fill(unsigned seed, bool wild = false) {
        std::minstd_rand random(seed + 1);
        for (LONG y = 0; y < Height(); ++y)
            for (LONG x = 0; x < Width(); ++x) {
                const unsigned kind = random() % 4;
                const unsigned a = kind == 0 ? 0 : kind == 1 ? 255 : random() % 256;
                const auto color = [&] { return wild ? random() % 256 : random() % (a + 1); };
                if (m_bytesPerPixel == 4) {
                    Pixel8(x, y) = {static_cast<std::uint8_t>(color()), static_cast<std::uint8_t>(color()),
                                    static_cast<std::uint8_t>(color()), static_cast<std::uint8_t>(a)};
                } else {
                    const auto real = [&] {
                        const float v = static_cast<float>(color()) / 255.0f;
                        return wild ? v * 3.0f - 1.0f : v;
                    };
                    PixelF(x, y) = {real(), real(), real(), static_cast<float>(a) / 255.0f};
                }
            }
        return *this;
    }

    /// Fails where a guard byte was changed.
    void CheckGuards() const {
        const std::size_t row = static_cast<std::size_t>(m_frame.right * m_bytesPerPixel);
        const std::size_t stride = row + static_cast<std::size_t>(m_padding);
        for (std::size_t i = 0; i < m_memory.size(); ++i) {
            const bool inside = i >= kMargin && i < m_memory.size() - kMargin && (i - kMargin) % stride < row;
            if (!inside) {
                ASSERT_EQ(m_memory[i], kGuard) << "guard byte written at offset " << i;
            }
        }
    }

    friend bool operator==(const CTestPicture& a, const CTestPicture& b) { return a.m_memory == b.m_memory; }

    /// Where two pictures of one size first differ, for messages.
    std::string FirstDifference(CTestPicture& other) {
        for (LONG y = 0; y < Height(); ++y)
            for (LONG x = 0; x < Width(); ++x)
                for (LONG c = 0; c < 4; ++c) {
                    const LONG size = m_bytesPerPixel / 4;
                    if (std::memcmp(At(x, y) + c * size, other.At(x, y) + c * size, static_cast<std::size_t>(size)))
                        return "at x " + std::to_string(x) + " y " + std::to_string(y) + " channel " +
                               std::to_string(c) + ": " + Value(x, y, c) + " against " + other.Value(x, y, c);
                }
        return "none";
    }

  private:
    std::string Value(LONG x, LONG y, LONG c) {
        return m_bytesPerPixel == 4 ? std::to_string(At(x, y)[c])
                                    : std::to_string(reinterpret_cast<const float*>(At(x, y))[c]);
    }

    static constexpr std::size_t kMargin = 256;
    static constexpr std::uint8_t kGuard = 0xA5;
    RECT m_frame;
    LONG m_bytesPerPixel;
    LONG m_padding;
    std::vector<std::uint8_t> m_memory;
};

/// Expects the same bytes, guards included.
inline void ExpectSame(CTestPicture& actual, CTestPicture& expected) {
    EXPECT_TRUE(actual == expected) << "first difference " << actual.FirstDifference(expected);
    actual.CheckGuards();
}
