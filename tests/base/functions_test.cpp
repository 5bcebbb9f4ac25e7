// Against the nearest doubles to the true results, where C libraries are known to give a neighbour, and against the C
// library elsewhere.
#include "base/functions.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

namespace {

using tOfOne = double (*)(double);
using tOfTwo = double (*)(double, double);

TEST(Functions, GiveTheNearestDouble) {
    // Worked out with 113 bits.
    const struct {
        tOfOne function;
        double x, result;
    } ofOne[] = {
        {KwSin, -0x1.8ea489c72dfdep+4, 0x1.ba13eafe6297dp-3},
        {KwSin, -0x1.2309425f62ce9p+3, -0x1.4bb88f45ea27dp-2},
        {KwSin, -0x1.62c97ebbffb8p+4, 0x1.74c90db255a3dp-3},
        {KwCos, 0x1.1544cfa81cb76p+2, -0x1.7be22ce3bd843p-2},
        {KwCos, 0x1.00c66e240aa6ep+2, -0x1.49f2be2190ff3p-1},
        {KwCos, 0x1.7c4e7fc9e1ec3p+4, 0x1.a55b11f5d31b5p-3},
        {KwTan, -0x1.2784f71bc2048p+2, -0x1.5030960af6925p+3},
        {KwTan, 0x1.857aed0ce3141p+1, -0x1.95eb38ef12765p-4},
        {KwTan, 0x1.ec9172afe434cp-1, 0x1.6f41eb5bfcedep+0},
        {KwAsin, 0x1.17801778156fp-3, 0x1.186016945a93dp-3},
        {KwAsin, -0x1.bc09184b374p-6, -0x1.bc1703dda94fcp-6},
        {KwAsin, -0x1.af12db202af4cp-2, -0x1.bcf174c0c7235p-2},
        {KwAcos, 0x1.eda1cf8ac8478p-1, 0x1.131de2fe95613p-2},
        {KwAcos, 0x1.901c99dcbb76cp-1, 0x1.58f9ce06e8eebp-1},
        {KwAcos, 0x1.7888d9d9f8006p-1, 0x1.7d30983aadfb5p-1},
        {KwExp, -0x1.84540580ebd3fp+8, 0x1.b1c7993fa29b8p-561},
        {KwExp, 0x1.b34e00b9163cfp+8, 0x1.02202c573da2dp+628},
        {KwExp, -0x1.f79a5dffe8ed4p+8, 0x1.5ec99fa9c007p-727},
        {KwLog, 0x1.843d65e4c9923p-16, -0x1.5590a9b6a7395p+3},
        {KwLog, 0x1.238ba5df8bd2ap+17, 0x1.7d3b8fc722b5fp+3},
        {KwLog, 0x1.f4815612686acp-15, -0x1.3741ad216ce68p+3},
        {KwSin, 0x1.c280206f086b8p+24, -0x1.438ff0d5bf727p-1},
        {KwSin, 0x1.de1e975b1e60ap+98, -0x1.b04c76add9339p-2},
        {KwSin, 0x1.06fa0e52f41ccp+273, 0x1.9dd5fe66018d9p-3},
        {KwCos, 0x1.6ac5b262ca1ffp+849, -4.68716592425462761112e-19}, // the double nearest to a zero
    };
    for (const auto& row : ofOne) EXPECT_EQ(row.result, row.function(row.x)) << row.x;
    const struct {
        tOfTwo function;
        double x, y, result;
    } ofTwo[] = {
        {KwAtan2, 0x1.0a715255a388p+6, 0x1.645f92fa2367dp+9, 0x1.7db0372d0bc48p-4},
        {KwAtan2, 0x1.66c2f02e8c49fp+10, 0x1.198c841a84685p+13, 0x1.437d159b40522p-3},
        {KwAtan2, 0x1.8b10edbc11d54p+3, 0x1.13801cb17191p+5, 0x1.607cbcd3a37f9p-2},
        {KwAtan2, -0x1.4891a82f8d9ep+10, 0x1.1971f9eca1a7dp+13, -0x1.28c4c0c583b29p-3},
        {KwPow, 0x1.2e6f1a2d1dcb6p-2, -0x1.25220e3c60b89p+2, 0x1.0aae8e38a7742p+8},
        {KwPow, 0x1.e1d7044cbb3bep+0, 0x1.dc63411d6a8cfp+1, 0x1.50cf36452841fp+3},
        {KwPow, 0x1.98caa7492c1fp-2, 0x1.97aeccc65ee52p+2, 0x1.79b3b66ae48a1p-9},
        {KwPow, 0x1.e1a9426b3cc04p-1, 0x1.7c7da0325b568p-1, 0x1.e9472052a326cp-1},
    };
    for (const auto& row : ofTwo) EXPECT_EQ(row.result, row.function(row.x, row.y)) << row.x << ", " << row.y;
}

/// Numbers from 0 to 1.
class CNumbers {
  public:
    double Next() {
        m_state ^= m_state << 13;
        m_state ^= m_state >> 7;
        m_state ^= m_state << 17;
        return static_cast<double>(m_state >> 11) * 0x1p-53;
    }

  private:
    std::uint64_t m_state = 88172645463325252;
};

TEST(Functions, RoundAsTheTrueResults) {
    // Digests of 20,000 results each, worked out with 113 bits.
    const struct {
        tOfTwo function;
        double width, from, height; ///< of the arguments
        std::uint64_t digest;
    } rows[] = {
        {[](double x, double) { return KwSin(x); }, 50, -25, 0, 0xB5A0754887120BE4},
        {[](double x, double) { return KwCos(x); }, 50, -25, 0, 0xAC41C5E04FFBE786},
        {[](double x, double) { return KwTan(x); }, 12, -6, 0, 0xB090388D706F6EA8},
        {[](double x, double) { return KwAsin(x); }, 2, -1, 0, 0x34F502317597A087},
        {[](double x, double) { return KwAcos(x); }, 2, -1, 0, 0xE5C5745B752D22EC},
        {[](double x, double) { return KwExp(x); }, 40, -20, 0, 0xFFCC7A2869F5370A},
        {[](double x, double) { return KwLog(x); }, 100, 0, 0, 0xA63B583E075B13E2},
        {KwPow, 2, 0, 10, 0x6EF45C146FB64713},
        {KwAtan2, 4000, -2000, 500, 0xB7CE3982541E0A74},
    };
    for (const auto& row : rows) {
        CNumbers numbers;
        std::uint64_t digest = 0xCBF29CE484222325;
        for (int i = 0; i < 20000; ++i) {
            const double x = numbers.Next() * row.width + row.from, y = numbers.Next() * row.height;
            digest = (digest ^ std::bit_cast<std::uint64_t>(row.function(x, y))) * 0x100000001B3;
        }
        EXPECT_EQ(row.digest, digest) << "row " << &row - rows;
    }
}

/// The same number, or one beside it where `nearby`; zeros by their sign.
bool Same(double a, double b, bool nearby) {
    if (std::isnan(a) || std::isnan(b)) return std::isnan(a) && std::isnan(b);
    if (nearby && a != 0.0 && b != 0.0 && (std::nextafter(a, b) == b)) return true;
    return a == b && std::signbit(a) == std::signbit(b);
}

TEST(Functions, AreThoseOfTheLibrary) {
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    std::vector<double> values{0.0, 0.5,   1.0,    2.0,    3.0,    4.0,   9.0,       1e17,
                               1e9, 1e300, 1e-310, 5e-324, 0.7854, 745.2, kInfinity, 0.70710678118654757};
    for (double x = 1e-9; x < 1e9; x *= 1.37) values.push_back(x);
    for (std::size_t i = values.size(); i-- > 0;) values.push_back(-values[i]);
    values.push_back(std::numeric_limits<double>::quiet_NaN());
    const struct {
        const char* name;
        tOfOne ours, library;
    } ofOne[] = {{"sin", KwSin, std::sin},    {"cos", KwCos, std::cos},    {"tan", KwTan, std::tan},
                 {"asin", KwAsin, std::asin}, {"acos", KwAcos, std::acos}, {"exp", KwExp, std::exp},
                 {"log", KwLog, std::log}};
    for (const auto& row : ofOne)
        for (const double x : values)
            EXPECT_TRUE(Same(row.ours(x), row.library(x), true)) << row.name << " of " << x << ": " << row.ours(x);
    for (const double x : values)
        for (const double y : values) {
            EXPECT_TRUE(Same(KwPow(x, y), std::pow(x, y), true)) << x << " to " << y << ": " << KwPow(x, y);
            EXPECT_TRUE(Same(KwAtan2(x, y), std::atan2(x, y), true)) << x << ", " << y << ": " << KwAtan2(x, y);
        }
}

} // namespace
