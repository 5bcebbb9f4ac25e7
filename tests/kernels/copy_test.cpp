#include "kernels/copy.h"

#include <limits>

#include "kernels/picture.h"

namespace {

TEST(Copy, TakesTheCommonPartOfTheClips) {
    for (const LONG size : {4, 16}) {
        CTestPicture d(9, 7, size), s(8, 6, size);
        d.Fill(1);
        s.Fill(2);
        CTestPicture expected = d;
        const RECT clipD{6, 1, 12, 9}, clipS{1, -3, 7, 5};
        for (LONG y = 0; y < 8; ++y)
            for (LONG x = 0; x < 6; ++x)
                if (6 + x < 9 && 1 + y < 7 && y - 3 >= 0 && y - 3 < 6)
                    std::memcpy(expected.At(6 + x, 1 + y), s.At(1 + x, y - 3), static_cast<std::size_t>(size));
        ASSERT_EQ(S_OK, KwDibCopy(d.View(&clipD), s.View(&clipS), size));
        ExpectSame(d, expected);
    }
}

TEST(Copy, RefusesClipsOfDifferentSizesBeforeAnyPixel) {
    CTestPicture d(4, 4, 4), s(4, 4, 4);
    s.Fill(1);
    CTestPicture expected = d;
    const RECT clip{0, 0, 3, 4};
    EXPECT_EQ(E_INVALIDARG, KwDibCopy(d.View(&clip), s.View(), 4));
    ExpectSame(d, expected);
}

TEST(Copy, SharedMemoryMovesAsIfReadFirst) {
    struct {
        LONG dx, dy;
    } const cases[] = {{0, 0}, {1, 0}, {-1, 0}, {0, 1}, {0, -1}, {2, 3}, {-2, 3}, {2, -3}, {-2, -3}};
    for (const LONG padding : {0, 12})
        for (const bool flipped : {false, true})
            for (const auto& c : cases) {
                CTestPicture picture(16, 12, 4, padding);
                picture.Fill(3);
                CTestPicture expected = picture, before = picture;
                const RECT from{3, 4, 11, 9}, to{3 + c.dx, 4 + c.dy, 11 + c.dx, 9 + c.dy};
                const auto view = [&](CTestPicture& p, const RECT& r) {
                    return flipped ? p.FlippedView(&r) : p.View(&r);
                };
                ASSERT_EQ(S_OK, KwDibCopy(view(expected, to), view(before, from), 4));
                ASSERT_EQ(S_OK, KwDibCopy(view(picture, to), view(picture, from), 4));
                ExpectSame(picture, expected);
            }
}

TEST(Copy, SharedMemoryWithoutPaddingMovesInOnePiece) {
    CTestPicture picture(16, 12, 4, 0);
    picture.Fill(4);
    CTestPicture expected = picture, before = picture;
    const RECT from{0, 0, 16, 9}, to{0, 2, 16, 11};
    ASSERT_EQ(S_OK, KwDibCopy(expected.View(&to), before.View(&from), 4));
    ASSERT_EQ(S_OK, KwDibCopy(picture.View(&to), picture.View(&from), 4));
    ExpectSame(picture, expected);
}

TEST(Fill, LimitsAndTruncatesBytes) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    struct {
        double value;
        int expected;
    } const cases[] = {{0.0, 0},  {0.5, 127},   {0.99999, 254}, {1.0, 255}, {1.5, 255},
                       {-1.0, 0}, {1e300, 255}, {-1e300, 0},    {nan, 0},   {254.9999 / 255, 254}};
    for (const auto& c : cases) {
        CTestPicture d(70, 3, 4);
        const RECT clip{1, 1, 69, 2};
        CTestPicture expected = d;
        for (LONG x = 1; x < 69; ++x) expected.Pixel8(x, 1) = {0, static_cast<std::uint8_t>(c.expected), 255, 127};
        ASSERT_EQ(S_OK, KwDibFill(d.View(&clip), 4, 1.0, c.value, 0.0, 0.5));
        ExpectSame(d, expected);
    }
}

TEST(Fill, FloatsHaveNoLimit) {
    for (const LONG width : {1, 2, 3, 255, 1000}) {
        CTestPicture d(width, 2, 16);
        CTestPicture expected = d;
        for (LONG y = 0; y < 2; ++y)
            for (LONG x = 0; x < width; ++x)
                expected.PixelF(x, y) = {-3.0f, std::numeric_limits<float>::infinity(), 0.1f, 1.5f};
        ASSERT_EQ(S_OK, KwDibFill(d.View(), 16, 0.1, 1e300, -3.0, 1.5));
        ExpectSame(d, expected);
    }
}

TEST(CopyChannel, MovesOneChannelAlone) {
    for (const LONG size : {4, 16})
        for (LONG to = -1; to < 6; ++to)
            for (LONG from = -1; from < 6; ++from)
                for (const bool same : {false, true}) {
                    CTestPicture d(37, 2, size), s(37, 2, size);
                    d.Fill(1, true);
                    s.Fill(2, true);
                    CTestPicture expected = d, before = same ? d : s;
                    const auto channel = [](LONG n) { return n > 0 && n < 4 ? n : 0; };
                    for (LONG y = 0; y < 2; ++y)
                        for (LONG x = 0; x < 37; ++x)
                            std::memcpy(expected.At(x, y) + channel(to) * size / 4,
                                        before.At(x, y) + channel(from) * size / 4, static_cast<std::size_t>(size / 4));
                    ASSERT_EQ(S_OK, KwDibCopyChannel(d.View(), same ? d.View() : s.View(), size, to, from));
                    ExpectSame(d, expected);
                }
}

TEST(ChannelOffset, IsZeroOutsideTheFour) {
    EXPECT_EQ(12, KwDibChannelOffset(3, 16));
    EXPECT_EQ(2, KwDibChannelOffset(2, 4));
    for (const LONG channel : {-1, 0, 4, 1000, INT32_MIN, INT32_MAX}) EXPECT_EQ(0, KwDibChannelOffset(channel, 16));
}

TEST(SetMemoryDWords, StoresAtAnyAddress) {
    for (std::size_t offset = 0; offset < 5; ++offset)
        for (const ULONG count : {0u, 1u, 7u, 100u}) {
            std::vector<std::uint8_t> memory(500, 0xEE), expected = memory;
            for (std::size_t i = 0; i < count * 4; ++i)
                expected[offset + i] = static_cast<std::uint8_t>(0x04030201u >> i % 4 * 8);
            KwSetMemoryDWords(memory.data() + offset, 0x04030201, count);
            EXPECT_EQ(expected, memory);
        }
    KwSetMemoryDWords(nullptr, 1, 5);
}

} // namespace
