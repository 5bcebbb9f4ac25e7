#include "kernels/broadcast.h"

#include <cmath>

#include <gtest/gtest.h>

namespace {

TEST(Broadcast, AllBytesStayInsideTheTables) {
    for (const LONG flags : {0, 1, 2, 3}) {
        tBroadcastTables t;
        const tBroadcastPass pass = KwBuildBroadcastTables({.setup = flags & 1, .studioRGB = flags >> 1}, t);
        for (int corner = 0; corner < 8; ++corner) {
            const int b = corner & 1 ? 255 : 0, g = corner & 2 ? 255 : 0, r = corner & 4 ? 255 : 0;
            const double y = t.weightB[b] + t.weightR[r] + t.weightG[g];
            EXPECT_GE(static_cast<int>(y + 0.5), -16);
            EXPECT_LE(static_cast<int>(y + 0.5), 219);
        }
        EXPECT_LT(static_cast<int>(2 * std::sqrt(25999.205849999995) * pass.perUnit + 0.5), 296);
    }
}

} // namespace
