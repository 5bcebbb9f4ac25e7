// What holds for every pixel kernel: rows at odd addresses, bottom-up pictures, the smallest sizes, missing frames.
#include "kernels/alpha.h"
#include "kernels/blend.h"
#include "kernels/copy.h"
#include "kernels/desaturate.h"
#include "kernels/lut.h"
#include "kernels/picture.h"

namespace {

struct tKernelCase {
    const char* name;
    HRESULT (*run)(const tView& d, const tView& s, LONG size); ///< one-picture kernels ignore `s`
};

constexpr double kMatte[3] = {0.2, 0.5, 0.7};
std::vector<std::uint8_t> Table() {
    std::vector<std::uint8_t> table(131072);
    for (std::size_t i = 0; i < table.size(); ++i) table[i] = static_cast<std::uint8_t>(i * 37 + i / 256);
    return table;
}
const std::vector<std::uint8_t> s_table = Table();

using V = const tView&;
const tKernelCase kKernels[] = {
    {"copy", [](V d, V s, LONG n) { return KwDibCopy(d, s, n); }},
    {"fill", [](V d, V, LONG n) { return KwDibFill(d, n, 0.1, 0.2, 0.3, 0.9); }},
    {"copy channel", [](V d, V s, LONG n) { return KwDibCopyChannel(d, s, n, 2, 3); }},
    {"blend", [](V d, V s, LONG n) { return KwDibBlend(d, s, n, 0.3); }},
    {"blend by alpha", [](V d, V s, LONG n) { return KwDibBlendSrcAlpha(d, s, n); }},
    {"blend by alpha with matte", [](V d, V s, LONG n) { return KwDibBlendSrcAlpha(d, s, n, kMatte); }},
    {"add", [](V d, V s, LONG n) { return KwDibAddScaled(d, s, n, 0.7, 3, 0, 0); }},
    {"add sampled", [](V d, V s, LONG n) { return KwDibAddScaled(d, s, n, 0.7, 3, 0.3, -1.2); }},
    {"clamp", [](V d, V, LONG n) { return KwDibClampToAlpha(d, n); }},
    {"premultiply", [](V d, V, LONG n) { return KwDibPremultiply(d, n); }},
    {"grey", [](V d, V, LONG n) { return KwDibDesaturate(d, n, false); }},
    {"grey by luminance", [](V d, V, LONG n) { return KwDibDesaturate(d, n, true); }},
    {"table", [](V d, V, LONG n) { return KwDibApplyLut(d, n, s_table.data(), true, true, true); }},
    {"wide table", [](V d, V, LONG n) { return KwDibApplyLut(d, n, s_table.data(), false, false, true); }},
    {"tables",
     [](V d, V, LONG n) {
         return KwDibApplyLuts(d, n, s_table.data(), nullptr, s_table.data(), s_table.data() + 1, true);
     }},
    {"brightness", [](V d, V, LONG n) { return KwDibBrightness(d, n, 0.2f); }},
};

/// Memory of a picture whose rows lie at odd addresses, with guards.
class COddRows {
  public:
    explicit COddRows(CTestPicture& from)
        : m_rowBytes(from.Width() * from.BytesPerPixel()), m_frame{0, 0, from.Width(), from.Height()},
          m_memory(static_cast<std::size_t>((m_rowBytes + 3) * from.Height() + 2), 0x5A) {
        for (LONG y = 0; y < from.Height(); ++y)
            std::memcpy(Row(y), from.At(0, y), static_cast<std::size_t>(m_rowBytes));
    }
    tView View() { return {Row(0), &m_frame, m_rowBytes + 3, nullptr}; }

    void ExpectRows(CTestPicture& expected) {
        for (LONG y = 0; y < m_frame.bottom; ++y) {
            EXPECT_EQ(0, std::memcmp(Row(y), expected.At(0, y), static_cast<std::size_t>(m_rowBytes))) << "row " << y;
            EXPECT_EQ(0, std::memcmp(Row(y) + m_rowBytes, "ZZZ", y + 1 < m_frame.bottom ? 3 : 1)) << "row " << y;
        }
        EXPECT_EQ(0x5A, m_memory[0]);
    }

  private:
    std::uint8_t* Row(LONG y) { return m_memory.data() + 1 + y * std::ptrdiff_t{m_rowBytes + 3}; }

    LONG m_rowBytes;
    RECT m_frame;
    std::vector<std::uint8_t> m_memory;
};

TEST(EveryKernel, GivesTheSameAtOddAddressesAndBottomUp) {
    constexpr LONG kSizes[][2] = {{1, 1}, {1, 6}, {2, 3}, {9, 1}, {15, 4}, {16, 4}, {33, 5}, {517, 3}};
    for (const tKernelCase& kernel : kKernels)
        for (const LONG size : {4, 16})
            for (const auto& [width, height] : kSizes)
                for (const bool wild : {false, true}) {
                    SCOPED_TRACE(kernel.name);
                    CTestPicture d(width, height, size), s(width, height, size);
                    d.Fill(1, wild);
                    s.Fill(2, wild);
                    if (size == 16 && wild) {
                        d.PixelF(0, 0) = {NAN, INFINITY, -INFINITY, 1e30f};
                        s.PixelF(width - 1, 0) = {-1e30f, 3e38f, -0.0f, NAN};
                    }
                    COddRows oddD(d), oddS(s);
                    CTestPicture whole = d;
                    ASSERT_EQ(S_OK, kernel.run(whole.View(), s.View(), size));
                    whole.CheckGuards();
                    ASSERT_EQ(S_OK, kernel.run(oddD.View(), oddS.View(), size));
                    oddD.ExpectRows(whole);

                    CTestPicture flipped(width, height, size), flippedSource = flipped;
                    ASSERT_EQ(S_OK, KwDibCopy(flipped.FlippedView(), d.View(), size));
                    ASSERT_EQ(S_OK, KwDibCopy(flippedSource.FlippedView(), s.View(), size));
                    ASSERT_EQ(S_OK, kernel.run(flipped.FlippedView(), flippedSource.FlippedView(), size));
                    ASSERT_EQ(S_OK, KwDibCopy(d.View(), flipped.FlippedView(), size));
                    ExpectSame(d, whole);
                }
}

TEST(EveryKernel, StaysInsideItsClip) {
    for (const tKernelCase& kernel : kKernels)
        for (const LONG size : {4, 16}) {
            SCOPED_TRACE(kernel.name);
            CTestPicture d(40, 8, size), s(40, 8, size);
            d.Fill(1);
            s.Fill(2);
            CTestPicture before = d;
            const RECT clip{3, 2, 36, 7};
            ASSERT_EQ(S_OK, kernel.run(d.View(&clip), s.View(&clip), size));
            ASSERT_EQ(S_OK, KwDibCopy(before.View(&clip), d.View(&clip), size));
            ExpectSame(d, before);
        }
}

TEST(EveryKernel, EmptyClipsAndMissingFrames) {
    CTestPicture d(4, 4, 16), s(4, 4, 16);
    CTestPicture expected = d;
    s.Fill(1);
    const RECT empty[] = {{0, 0, 0, 0}, {2, 2, 2, 4}, {5, 5, 9, 9}, {3, 3, 1, 1}};
    for (const tKernelCase& kernel : kKernels)
        for (const LONG size : {4, 16}) {
            SCOPED_TRACE(kernel.name);
            for (const RECT& clip : empty) EXPECT_EQ(S_OK, kernel.run(d.View(&clip), s.View(&clip), size));
            EXPECT_EQ(E_POINTER, kernel.run({d.At(0, 0), nullptr, 64, nullptr}, s.View(), size));
        }
    ExpectSame(d, expected);
}

} // namespace
