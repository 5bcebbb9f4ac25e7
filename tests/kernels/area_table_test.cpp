#include "kernels/area_table.h"

#include "kernels/area_reference.h"

namespace {

TEST(AreaTable, FollowsTheFormulas) {
    for (const auto& [width, height] : kSizes)
        for (const auto& [rx, ry] : kRadii)
            for (const bool circular : {false, true}) {
                SCOPED_TRACE(testing::Message() << width << "x" << height << " radius " << rx << ", " << ry
                                                << (circular ? " ellipse" : " rectangle"));
                CTestPicture picture(width, height, 4);
                const CReferenceArea expected(picture, rx, ry, circular);
                tAREATABLE area;
                (circular ? KwBuildEllipseArea : KwBuildRectArea)(area, rx, ry, width, height);
                EXPECT_LE(area.columns, width);
                EXPECT_LE(area.rows, height);
                const bool none = area.columns == 0; // an area without cells, whatever one axis is
                for (LONG dy = 0; dy < height; ++dy)
                    for (LONG dx = 0; dx < width; ++dx)
                        ASSERT_EQ(none ? 0.0f : expected.Weight(dx, dy), area.Weight(dx, dy)) << dx << ", " << dy;
            }
}

} // namespace
