#include "kernels/test_pattern.h"

#include <algorithm>

#include "generators/generator.h"

namespace {

using tRuns = std::vector<std::pair<ULONG, DWORD>>;

tRuns RunsOf(const std::vector<DWORD>& row) {
    tRuns runs;
    for (ULONG i = 0; i < row.size(); ++i)
        if (i == 0 || row[i] != row[i - 1]) runs.emplace_back(i, row[i] & 0xFFFFFF);
    return runs;
}

std::vector<DWORD> Filled(ULONG type, LONG width, LONG height, ULONG x, ULONG y, ULONG count) {
    std::vector<DWORD> row(count);
    KwFillTestPattern(type, width, height, {row.data(), count, x, y}, count);
    return row;
}

// Rows that are kept from one to the next are those drawn alone.
TEST(TestPattern, RowsAreKeptAtEverySize) {
    const LONG sizes[][2] = {{720, 486}, {1920, 1080}, {319, 241}, {21, 12}, {7, 3},
                             {100, 10},  {1, 1},       {1, 50},    {50, 1}};
    for (const auto& [width, height] : sizes)
        for (ULONG type = 0; type < kTestPatterns; ++type) {
            CTestPatternRows rows(type, width, height);
            const LONG step = height > 500 ? 7 : 1;
            for (LONG y = 0; y < height; y += step) {
                const ULONG count = static_cast<ULONG>(width);
                std::vector<DWORD> row(count + 1, 0xDEAD);
                rows.Fill({row.data(), count, 0, static_cast<ULONG>(y)});
                ASSERT_EQ(0xDEADu, row.back());
                row.pop_back();
                ASSERT_EQ(Filled(type, width, height, 0, static_cast<ULONG>(y), count), row)
                    << "type " << type << " at " << width << "x" << height << " row " << y;
            }
        }
}

TEST(TestPattern, ARunGoesOnToItsEndWhereThereIsRoom) {
    std::vector<DWORD> row(800, 0xDEAD);
    KwFillTestPattern(0, 720, 486, {row.data(), 10, 100, 0}, row.size());
    EXPECT_EQ((tRuns{{0, 0xB4B4B4}, {3, 0xB4B410}, {106, 0xDEAD}}), RunsOf(row));
}

TEST(TestPattern, SizesFromTheFirstToTheLargest) {
    tGenerator bars("DXSTestp");
    DXBNDS bounds{};
    ASSERT_EQ(S_OK, bars.surface->GetBounds(&bounds));
    EXPECT_EQ(320, bounds.Axis[0].Max);
    EXPECT_EQ(240, bounds.Axis[1].Max);
    ASSERT_EQ(S_OK, bars.Size(INT32_MAX, INT32_MAX));
    const auto rows = bars.Lock();
    rows->MoveToXY(INT32_MAX - 2u, INT32_MAX - 1u);
    DWORD samples[8];
    rows->Unpack(samples, 8, TRUE);
    EXPECT_EQ(0xFF101010, samples[0]);
    EXPECT_EQ(0u, samples[3]) << "beyond the frame";
}

TEST(TestPattern, AskingAndReadingTakeTheRecord) {
    tGenerator bars("DXSTestp");
    ULONG type = 5;
    EXPECT_EQ(S_OK, bars.persist->IsDirty());
    bars.Lock();
    EXPECT_EQ(S_FALSE, bars.persist->IsDirty());
    bars.dual->put_all(&type, 4);
    EXPECT_EQ(S_OK, bars.persist->IsDirty());
    bars.dual->get_all(&type, 4);
    EXPECT_EQ(S_FALSE, bars.persist->IsDirty());
}

TEST(TestPattern, ItsCacheRecordIsCleared) {
    tGenerator bars("DXSTestp");
    std::vector<std::byte> cache(256, std::byte{0x77});
    char16_t name[] = u"getCACHEinfo";
    OLECHAR* names = name;
    LONG id = 0;
    ASSERT_EQ(S_OK, bars.dual->GetIDsOfNames(nullptr, &names, 1, 0, &id));
    VARIANT argument{};
    argument.vt = VT_PTR;
    argument.byref = cache.data();
    DISPPARAMS arguments{&argument, nullptr, 1, 0};
    ASSERT_EQ(S_OK, bars.dual->Invoke(id, nullptr, 0, DISPATCH_METHOD, &arguments, nullptr, nullptr, nullptr));
    EXPECT_EQ(64, std::count(cache.begin(), cache.end(), std::byte{0}));
}

} // namespace
