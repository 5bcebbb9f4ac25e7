#include "kernels/copy.h"

#include "kernels/picture.h"

namespace {

TEST(Copy, SharedMemoryMovesAsIfReadFirst) {
    const struct {
        RECT from;
        LONG dx, dy;
    } cases[] = {{{3, 4, 11, 9}, 0, 0},   {{3, 4, 11, 9}, 1, 0}, {{3, 4, 11, 9}, -1, 0}, {{3, 4, 11, 9}, 0, 1},
                 {{3, 4, 11, 9}, 0, -1},  {{3, 4, 11, 9}, 2, 3}, {{3, 4, 11, 9}, -2, 3}, {{3, 4, 11, 9}, 2, -3},
                 {{3, 4, 11, 9}, -2, -3}, {{0, 0, 16, 9}, 0, 2}}; // without padding the last moves in one piece
    for (const LONG padding : {0, 12})
        for (const bool flipped : {false, true})
            for (const auto& c : cases) {
                CTestPicture picture(16, 12, 4, padding);
                picture.Fill(3);
                CTestPicture expected = picture, before = picture;
                const RECT &from = c.from, to{from.left + c.dx, from.top + c.dy, from.right + c.dx, from.bottom + c.dy};
                const auto view = [&](CTestPicture& p, const RECT& r) {
                    return flipped ? p.FlippedView(&r) : p.View(&r);
                };
                ASSERT_EQ(S_OK, KwDibCopy(view(expected, to), view(before, from), 4));
                ASSERT_EQ(S_OK, KwDibCopy(view(picture, to), view(picture, from), 4));
                ExpectSame(picture, expected);
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
