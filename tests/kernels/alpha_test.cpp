#include "kernels/alpha.h"

#include <algorithm>

#include <gtest/gtest.h>

namespace {

TEST(Unpremultiply, IsExactForEveryPair) {
    for (int a = 0; a < 256; ++a)
        for (int c = 0; c < 256; ++c)
            ASSERT_EQ(a == 0 ? 0 : std::min(c * 255 / a, 255),
                      KwUnpremultiply8(static_cast<std::uint8_t>(c), static_cast<std::uint8_t>(a)))
                << c << " by " << a;
}

} // namespace
