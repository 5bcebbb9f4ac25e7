// Runs a kernel of two pictures over many shapes beside its definition.
#pragma once

#include "kernels/picture.h"

/// Copies between pictures of one form; `flipped` reads and writes the larger one bottom up.
inline void CropTo(CTestPicture& part, CTestPicture& whole, LONG left, LONG top, bool flipped, bool back = false) {
    for (LONG y = 0; y < part.Height(); ++y)
        for (LONG x = 0; x < part.Width(); ++x) {
            std::uint8_t* in = whole.At(left + x, flipped ? whole.Height() - 1 - top - y : top + y);
            std::uint8_t* out = part.At(x, y);
            std::memcpy(back ? in : out, back ? out : in, static_cast<std::size_t>(part.BytesPerPixel()));
        }
}

/// A picture's rows at odd addresses, `padding` guard bytes apart.
class COddCopy {
  public:
    COddCopy(CTestPicture& of, LONG padding)
        : m_frame{0, 0, of.Width(), of.Height()}, m_rowBytes(of.Width() * of.BytesPerPixel()),
          m_stride(m_rowBytes + padding), m_memory(static_cast<std::size_t>(m_stride * of.Height() + 2), kGuard) {
        for (LONG y = 0; y < of.Height(); ++y) std::memcpy(Row(y), of.At(0, y), static_cast<std::size_t>(m_rowBytes));
    }
    tView View(bool flipped, const RECT* clip) {
        return flipped ? tView{Row(m_frame.bottom - 1), &m_frame, -m_stride, clip}
                       : tView{Row(0), &m_frame, m_stride, clip};
    }
    /// Back into a picture. Fails where a guard byte was changed.
    void To(CTestPicture& picture) {
        for (LONG y = 0; y < m_frame.bottom; ++y) {
            std::memcpy(picture.At(0, y), Row(y), static_cast<std::size_t>(m_rowBytes));
            std::memset(Row(y), kGuard, static_cast<std::size_t>(m_rowBytes));
        }
        for (const std::uint8_t byte : m_memory) ASSERT_EQ(kGuard, byte) << "guard byte written";
    }

  private:
    static constexpr std::uint8_t kGuard = 0x5A;
    std::uint8_t* Row(LONG y) { return m_memory.data() + 1 + static_cast<std::ptrdiff_t>(y) * m_stride; }

    RECT m_frame;
    LONG m_rowBytes, m_stride;
    std::vector<std::uint8_t> m_memory;
};

/// `kernel(destinationView, sourceView)` works on clips inside larger pictures, of odd and negative strides;
/// `define(destination, source)` does the same, pixel by pixel, on pictures of the clip's size. All bytes must agree.
template <class Kernel, class Define>
void CompareOverShapes(LONG bytesPerPixel, Kernel&& kernel, Define&& define) {
    constexpr LONG kSizes[][2] = {{1, 1}, {1, 2}, {2, 1},  {1, 9},   {9, 1},  {2, 2},  {3, 2},   {4, 6},
                                  {5, 5}, {6, 7}, {8, 40}, {40, 11}, {33, 9}, {9, 70}, {1030, 3}};
    unsigned seed = 0;
    for (const auto& [width, height] : kSizes) {
        const bool flipped = ++seed % 3 == 0;
        SCOPED_TRACE(std::to_string(width) + " by " + std::to_string(height) + (flipped ? " flipped" : ""));
        CTestPicture s(width + 5, height + 4, bytesPerPixel), d(width + 3, height + 6, bytesPerPixel);
        s.Fill(seed, seed % 2 == 0);
        d.Fill(seed + 100, true);
        COddCopy oddS(s, static_cast<LONG>(seed % 5)), oddD(d, static_cast<LONG>(seed % 4));
        CTestPicture partS(width, height, bytesPerPixel), partD(width, height, bytesPerPixel);
        CTestPicture expected = d, sourceWas = s;
        CropTo(partS, s, 2, 1, flipped);
        CropTo(partD, d, 1, 3, flipped);
        define(partD, partS);
        CropTo(partD, expected, 1, 3, flipped, true);
        const RECT clipS{2, 1, 2 + width, 1 + height}, clipD{1, 3, 1 + width, 3 + height};
        ASSERT_EQ(S_OK, kernel(oddD.View(flipped, &clipD), oddS.View(flipped, &clipS)));
        oddD.To(d);
        oddS.To(s);
        ExpectSame(d, expected);
        ExpectSame(s, sourceWas);
        if (testing::Test::HasFailure()) return;
    }
}

inline constexpr double kWildValues[] = {0.0,
                                         -0.0,
                                         1e-9,
                                         -0.3,
                                         0.37,
                                         0.999,
                                         1.0,
                                         1.5,
                                         -3.7,
                                         1e4,
                                         1e9,
                                         -1e9,
                                         1e300,
                                         -1e300,
                                         INFINITY,
                                         -INFINITY,
                                         std::numeric_limits<double>::quiet_NaN()};
