#include "base/fits.h"

#include <gtest/gtest.h>

namespace {

TEST(Memory, FitsUpToHalfOfWhatSizesTell) {
    const struct {
        std::uint64_t count, bytes;
        bool small, large; ///< by sizes of 32 and of 64 bits
    } blocks[] = {
        {0, 0, true, true},
        {std::uint64_t(-1), 0, true, true},
        {1, 0x7FFFFFFF, true, true},
        {0x7FFFFFFF, 1, true, true},
        {0x80000000, 1, false, true},
        {1 << 15, 1 << 16, false, true},
        {(1 << 15) - 1, 1 << 16, true, true},
        {1 << 16, 1 << 16, false, true},
        {0x7FFFFFFFFFFFFFFF, 1, false, true},
        {0x7FFFFFFFFFFFFFFF, 2, false, false},
        {std::uint64_t{1} << 32, std::uint64_t{1} << 32, false, false},
        {std::uint64_t(-1), 4, false, false}, // a negative count
    };
    for (const auto& [count, bytes, small, large] : blocks) {
        EXPECT_EQ(KwFits<std::uint32_t>(count, bytes), small) << count << " of " << bytes;
        EXPECT_EQ(KwFits<std::uint64_t>(count, bytes), large) << count << " of " << bytes;
    }
}

} // namespace
