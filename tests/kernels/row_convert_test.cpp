#include "kernels/row_convert.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "base/arith.h"

namespace {

constexpr LONG kCodes[] = {kRowBgra32, kRowBgrx32, kRowBgr24,  kRow565,       kRow555,
                           kRowGrey8,  kRowRgba32, kRowBgra64, kRowBgraFloat, kRowBgraHalf};
constexpr LONG kSizes[] = {4, 4, 3, 2, 2, 1, 4, 8, 16, 8};

tRowPlan PlanOf(ULONG flags, LONG to, LONG from, std::initializer_list<LONG> extra) {
    tRowPlan plan{};
    EXPECT_EQ(S_OK, KwMakeRowPlan(flags, to, from, std::span(extra.begin(), extra.size()), plan));
    return plan;
}

template <class To>
std::vector<To> Converted(const tRowPlan& plan, const void* from, LONG count, std::size_t words) {
    std::vector<To> to(words + 1, To{99});
    KwConvertRow(plan, to.data(), from, count);
    EXPECT_EQ(To{99}, to.back()) << "wrote behind the row";
    to.pop_back();
    return to;
}

TEST(RowConvert, PutsChannelsWhereTheFormatHasThem) {
    const std::uint8_t pixel[] = {0x10, 0x84, 0xFF, 0x40}; // blue, green, red, alpha
    const auto bytes = [&](LONG to, std::size_t size) {
        return Converted<std::uint8_t>(PlanOf(0, to, kRowBgra32, {kRowCopy}), pixel, 1, size);
    };
    using tBytes = std::vector<std::uint8_t>;
    EXPECT_EQ((tBytes{0x10, 0x84, 0xFF, 0x40}), bytes(kRowBgra32, 4));
    EXPECT_EQ((tBytes{0x10, 0x84, 0xFF, 0xFF}), bytes(kRowBgrx32, 4));
    EXPECT_EQ((tBytes{0x10, 0x84, 0xFF}), bytes(kRowBgr24, 3));
    EXPECT_EQ((tBytes{0x22, 0xFC}), bytes(kRow565, 2));
    EXPECT_EQ((tBytes{0x02, 0x7E}), bytes(kRow555, 2));
    EXPECT_EQ((tBytes{(255 * 77 + 132 * 150 + 16 * 29) >> 8}), bytes(kRowGrey8, 1));
    EXPECT_EQ((tBytes{0xFF, 0x84, 0x10, 0x40}), bytes(kRowRgba32, 4));
    EXPECT_EQ((tBytes{0x10, 0x10, 0x84, 0x84, 0xFF, 0xFF, 0x40, 0x40}), bytes(kRowBgra64, 8));
    const auto reals = Converted<float>(PlanOf(0, kRowBgraFloat, kRowBgra32, {kRowCopy}), pixel, 1, 4);
    EXPECT_EQ((std::vector<float>{16 / 255.0f, 132 / 255.0f, 1.0f, 64 / 255.0f}), reals);
    EXPECT_EQ((std::vector<std::uint16_t>{0x2C04, 0x3824, 0x3C00, 0x3404}),
              Converted<std::uint16_t>(PlanOf(0, kRowBgraHalf, kRowBgra32, {kRowCopy}), pixel, 1, 4));
}

TEST(RowConvert, EveryByteComesBackFromWiderFormats) {
    std::vector<std::uint8_t> row(4 * 300);
    for (std::size_t i = 0; i < row.size(); ++i) row[i] = static_cast<std::uint8_t>(i * 7 + i / 256);
    for (const LONG wide : {kRowRgba32, kRowBgra64, kRowBgraFloat, kRowBgraHalf}) {
        const auto there = Converted<std::uint8_t>(PlanOf(0, wide, kRowBgra32, {kRowCopy}), row.data(), 300, 300 * 16);
        EXPECT_EQ(row, Converted<std::uint8_t>(PlanOf(0, kRowBgra32, wide, {kRowCopy}), there.data(), 300, 1200))
            << wide;
    }
}

TEST(RowConvert, EveryPairOfFormatsWritesItsRowAlone) {
    for (std::size_t to = 0; to < std::size(kCodes); ++to)
        for (std::size_t from = 0; from < std::size(kCodes); ++from)
            for (LONG operation = 0; operation <= kRowAdd; ++operation)
                for (const LONG count : {1, 255, 257}) {
                    // At odd addresses, of exactly the size.
                    std::vector<std::byte> source(static_cast<std::size_t>(kSizes[from] * count) + 1, std::byte{0x5A});
                    std::vector<std::byte> target(static_cast<std::size_t>(kSizes[to] * count) + 2, std::byte{0x33});
                    const tRowPlan plan = PlanOf(0, kCodes[to], kCodes[from], {operation, 0x8000});
                    KwConvertRow(plan, target.data() + 1, source.data() + 1, count);
                    EXPECT_EQ(std::byte{0x33}, target.front());
                    EXPECT_EQ(std::byte{0x33}, target.back());
                }
}

TEST(RowConvert, OperatorsFollowTheirRules) {
    std::vector<std::uint8_t> s(1024), d(1024);
    for (std::size_t i = 0; i < s.size(); ++i) {
        s[i] = static_cast<std::uint8_t>(i * 37 + 5);
        d[i] = static_cast<std::uint8_t>(i * 101 + i / 3);
    }
    const LONG weight = 0x9876;
    for (const ULONG flags : {0u, ULONG{kRowPlain}})
        for (LONG operation = 0; operation <= kRowAdd; ++operation) {
            auto row = d;
            KwConvertRow(PlanOf(flags, kRowBgra32, kRowBgra32, {operation, weight}), row.data(), s.data(), 256);
            for (std::size_t i = 0; i < s.size(); ++i) {
                const LONG a8 = s[i | 3], a = a8 * 257, ws = s[i] * 257, wd = d[i] * 257;
                const auto mix = [&](std::int64_t w) { return static_cast<LONG>(wd + ((ws - wd) * w >> 16)) >> 8; };
                const bool direct = flags == 0;
                const LONG rules[] = {s[i], direct ? KwBlend8(d[i], s[i], a8) : mix(a),
                                      direct ? KwBlend8(d[i], s[i], weight >> 8) : mix(weight),
                                      mix(std::int64_t{weight} * a >> 16), std::min(ws + wd, 65535) >> 8};
                ASSERT_EQ(rules[operation], row[i]) << "operator " << operation << " flags " << flags << " at " << i;
            }
        }
    const float fs[] = {2.0f, -1.0f, 0.5f, 0.25f};
    float fd[] = {1.0f, 1.0f, 1.0f, 1.0f};
    KwConvertRow(PlanOf(0, kRowBgraFloat, kRowBgraFloat, {kRowSourceAlpha}), fd, fs, 1);
    EXPECT_EQ(1.25f, fd[0]);
    EXPECT_EQ(0.5f, fd[1]);
}

TEST(RowConvert, RefusesWhatHasNoRoutine) {
    const LONG copy[] = {kRowCopy};
    const LONG many[8] = {};
    tRowPlan plan;
    for (const LONG wrong : {15, 33, -1, INT32_MAX}) {
        EXPECT_EQ(E_INVALIDARG, KwMakeRowPlan(0, wrong, kRowBgra32, copy, plan));
        EXPECT_EQ(E_INVALIDARG, KwMakeRowPlan(0, kRowBgra32, wrong, copy, plan));
    }
    for (const LONG wrong : {-1, 20}) EXPECT_EQ(E_INVALIDARG, KwMakeRowPlan(0, 16, 16, std::span(&wrong, 1), plan));
    EXPECT_EQ(E_INVALIDARG, KwMakeRowPlan(0, 16, 16, {}, plan));
    EXPECT_EQ(E_INVALIDARG, KwMakeRowPlan(0, 16, 16, many, plan));
    for (LONG code = kRowBgraHalf + 1; code <= kRowLastFormat; ++code)
        EXPECT_EQ(E_NOTIMPL, KwMakeRowPlan(0, code, kRowBgra32, copy, plan));
    for (LONG number = kRowAdd + 1; number < kRowOperators; ++number)
        EXPECT_EQ(E_NOTIMPL, KwMakeRowPlan(0, 16, 16, std::span(&number, 1), plan));
    for (const ULONG flags : {1u, 2u, 3u, 4u, 32u, 64u, 128u})
        EXPECT_EQ(E_NOTIMPL, KwMakeRowPlan(flags, 16, 16, copy, plan));
    ASSERT_EQ(S_OK, KwMakeRowPlan(0x5A0000, kRow565, kRowBgra32, copy, plan));
    EXPECT_EQ(0x5Au, plan.channelShift);
    EXPECT_TRUE(plan.flags & kRowPlain) << "565 has no direct way";
    KwConvertRow(plan, nullptr, nullptr, 0);
    KwConvertRow(plan, nullptr, nullptr, -5);
}

} // namespace
