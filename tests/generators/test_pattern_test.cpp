#include "kernels/test_pattern.h"

#include <algorithm>

#include "generators/generator.h"

namespace {

struct tBar {
    double x0, x1, y0, y1;
    DWORD color;
};

std::vector<tBar> Sevenths(std::initializer_list<DWORD> colors, double y0, double y1) {
    std::vector<tBar> bars;
    for (const DWORD color : colors) {
        const double at = static_cast<double>(bars.size());
        bars.push_back({at / 7, (at + 1) / 7, y0, y1, 0xFF000000 | color});
    }
    return bars;
}

/// The tables once more, in the order of their numbers.
std::vector<tBar> TableOf(ULONG type) {
    const DWORD first = type == 6 || type == 8 ? 0xEBEBEB : 0xB4B4B4;
    const auto whole = [&](double y1) {
        return Sevenths({first, 0xB4B410, 0x10B4B4, 0x10B410, 0xB410B4, 0xB41010, 0x1010B4}, 0, y1);
    };
    if (type == 7 || type == 8) return whole(1);
    if (type == 0 || type == 6) {
        auto bars = whole(2.0 / 3);
        const DWORD blue = type == 6 ? 0x1010EB : 0x1010B4;
        const auto lower =
            Sevenths({blue, 0x101010, 0xB410B4, 0x101010, 0x10B4B4, 0x101010, 0xB4B4B4}, 2.0 / 3, 3.0 / 4);
        bars.insert(bars.end(), lower.begin(), lower.end());
        if (type == 0) {
            bars.push_back({0, 1.0 / 6, 0.75, 1, 0xFF102871});
            bars.push_back({1.0 / 6, 2.0 / 6, 0.75, 1, 0xFFEBEBEB});
            bars.push_back({2.0 / 6, 3.0 / 6, 0.75, 1, 0xFF4600A5});
        } else {
            bars.push_back({0, 0.5, 0.75, 1, 0xFF101010});
        }
        bars.push_back({15.0 / 21, 16.0 / 21, 0.75, 1, 0xFF070707});
        bars.push_back({17.0 / 21, 18.0 / 21, 0.75, 1, 0xFF292929});
        return bars;
    }
    if (type == 3)
        return {{0.1, 0.2, 0.1, 0.9, 0xFF070707}, {0.3, 0.4, 0.1, 0.9, 0xFF292929}, {0.5, 0.9, 0.1, 0.3, 0xFFEBEBEB},
                {0.5, 0.9, 0.3, 0.5, 0xFFB4B4B4}, {0.5, 0.9, 0.5, 0.7, 0xFF7D7D7D}, {0.5, 0.9, 0.7, 0.9, 0xFF464646}};
    const DWORD mask = type == 2 ? 0xFFFFFF00 : 0xFFFFFFFF, low = type == 2 ? 0x10 : 0;
    std::vector<tBar> bars;
    const double edges[] = {0.1, 0.3, 0.5, 0.7, 0.9};
    const DWORD greys[] = {0xFFEBEBEB, 0xFFB4B4B4, 0xFF7D7D7D, 0xFF464646};
    for (int i = 0; i < 4; ++i) bars.push_back({edges[i], edges[i + 1], 0.1, 0.9, (greys[i] & mask) | low});
    return bars;
}

/// The definition, sample by sample and run by run.
std::vector<DWORD> Literal(ULONG type, LONG width, LONG height, ULONG x, ULONG y, ULONG count) {
    std::vector<DWORD> row;
    const double v = static_cast<double>(y) / height;
    if (type == 4 || type == 5) {
        for (ULONG i = 0; i < count; ++i) {
            const double u = static_cast<double>(i + x) / width, t = static_cast<double>(i) / count * 255.0;
            const bool inside = u >= 0.1 && v >= 0.1 && u <= 0.9 && v <= 0.9;
            const DWORD grey = inside ? static_cast<DWORD>(u * 255.0) : 0;
            row.push_back(type == 4 ? inside ? 0xFF000000 | grey * 0x10101 : 0xFF101010
                                    : 0xFF000000 | static_cast<DWORD>(255.0 - t) << 16 | static_cast<DWORD>(t) << 8 |
                                          static_cast<DWORD>(v * 255.0));
        }
        return row;
    }
    const auto table = TableOf(type);
    while (row.size() < count) {
        const double u = (static_cast<double>(row.size()) + x) / width;
        const auto hit = std::find_if(table.begin(), table.end(),
                                      [&](const tBar& b) { return b.x0 <= u && u <= b.x1 && b.y0 <= v && v <= b.y1; });
        if (hit == table.end()) {
            row.push_back(0xFF101010);
            continue;
        }
        const float remainder = static_cast<float>(hit->x1 - u);
        row.insert(row.end(), static_cast<std::size_t>(static_cast<int>(width * double{remainder} - 0.5) + 1),
                   hit->color);
    }
    return row;
}

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

TEST(TestPattern, FollowsTheDefinitionAtEverySize) {
    const LONG sizes[][2] = {{720, 486}, {1920, 1080}, {319, 241}, {21, 12}, {7, 3},
                             {100, 10},  {1, 1},       {1, 50},    {50, 1}};
    for (const auto& [width, height] : sizes)
        for (ULONG type = 0; type < kTestPatterns; ++type) {
            CTestPatternRows rows(type, width, height);
            const LONG step = height > 500 ? 7 : 1;
            for (LONG y = 0; y < height; y += step) {
                const ULONG count = static_cast<ULONG>(width);
                auto expected = Literal(type, width, height, 0, static_cast<ULONG>(y), count);
                expected.resize(count);
                std::vector<DWORD> row(count + 1, 0xDEAD);
                rows.Fill({row.data(), count, 0, static_cast<ULONG>(y)});
                ASSERT_EQ(0xDEADu, row.back());
                row.pop_back();
                ASSERT_EQ(expected, row) << "type " << type << " at " << width << "x" << height << " row " << y;
                ASSERT_EQ(expected, Filled(type, width, height, 0, static_cast<ULONG>(y), count));
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
