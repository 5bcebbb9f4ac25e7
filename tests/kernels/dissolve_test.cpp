#include "kernels/dissolve.h"

#include "kernels/picture.h"

namespace {

struct tPixelInts {
    int b, g, r, a;
};

tPixelInts Ints(const tPixel8& p) {
    return {p.b, p.g, p.r, p.a};
}
int Lerp(int x, int y, int f) {
    return x + (y - x) * f / 256;
}
int Limit(int v, int low, int high) {
    return v < low ? low : v > high ? high : v;
}
int Trunc(double v) {
    return static_cast<int>(v);
}

/// The ten rules, one pixel at a time.
class CReference {
  public:
    CReference(const tDISSOLVEPROP& record, float progress)
        : m_record(record), m_t(Trunc(double{progress} * 1024 + 0.5)), m_q(Trunc(double{progress} * 255 + 0.5) & 255) {
        const double f[] = {1 + record.blue, 1 + record.green, 1 + record.red, 1 + record.alpha};
        int most = 0;
        for (const double s : f) most = std::max(most, Trunc(255 / s));
        const int u = Trunc(most * double{progress} + 0.5) & 255, v = (most - u) & 255;
        for (int c = 0; c < 4; ++c) {
            m_u[c] = Limit(Trunc(u * f[c]), 0, 255);
            m_v[c] = Limit(Trunc(v * f[c]), 0, 255);
        }
    }

    tPixel8 operator()(const tPixel8& first, const tPixel8& second) const {
        const tPixelInts A = Ints(first), B = Ints(second);
        tPixelInts O{};
        bool limited = true;
        const auto each = [&](auto rule) {
            O.a = rule(A.a, B.a, 3);
            O.b = rule(A.b, B.b, 0);
            O.g = rule(A.g, B.g, 1);
            O.r = rule(A.r, B.r, 2);
        };
        const int k = m_t < 512 ? 2 * m_t : (1024 - m_t) * 2;
        switch (m_record.mode) {
        case 0:
            each([&](int a, int b, int) {
                return m_t < 512 ? std::min(255, a + (b * k >> 10)) : std::min(255, b + (a * k >> 10));
            });
            limited = false;
            break;
        case 1:
            each(
                [&](int a, int b, int) { return m_t < 512 ? std::abs(a - b * k / 1024) : std::abs(b - a * k / 1024); });
            O.a = Lerp(A.a, B.a, m_q);
            break;
        case 2:
            each([&](int a, int b, int) { return std::abs((a + b) * m_t / 1024 - a); });
            O.a = Lerp(A.a, B.a, m_q);
            break;
        case 3:
            each([&](int a, int b, int c) { return std::min(255, std::max(0, a - m_u[c]) + std::max(0, b - m_v[c])); });
            break;
        case 4:
            each([&](int a, int b, int c) { return a < b ? std::min(b, a + m_u[c]) : std::max(b, a - m_u[c]); });
            break;
        case 5:
            return m_t < (A.r + A.g + A.b) * 4 / 3 ? first : second;
        case 6:
            return (B.r + B.g + B.b) * 4 / 3 < 1024 - m_t ? first : second;
        case 7: {
            const int grey = (A.r + A.g + A.b + B.r + B.g + B.b) / 6;
            each([&](int a, int b, int) {
                return m_q < 127 ? Lerp(a, grey, std::min(255, 2 * m_q)) : Lerp(grey, b, Limit(2 * m_q - 254, 0, 255));
            });
            O.a = Lerp(A.a, B.a, m_q);
            limited = false;
            break;
        }
        case 8: {
            const double alpha = m_record.alpha;
            const int color[] = {Trunc(m_record.blue * alpha * 255) & 255, Trunc(m_record.green * alpha * 255) & 255,
                                 Trunc(m_record.red * alpha * 255) & 255, Trunc(alpha * 255) & 255};
            each([&](int a, int b, int c) {
                return m_q < 127 ? Lerp(a, color[c], 2 * m_q & 255) : Lerp(color[c], b, (m_q - 127) * 2 & 255);
            });
            break;
        }
        case 9:
            O = m_q < 85    ? tPixelInts{A.b, A.g, Lerp(A.r, B.r, m_q * 3 & 255), 0}
                : m_q < 170 ? tPixelInts{A.b, Lerp(A.g, B.g, (m_q - 85) * 3), B.r, 0}
                            : tPixelInts{Lerp(A.b, B.b, (m_q - 170) * 3), B.g, B.r, 0};
            O.a = Lerp(A.a, B.a, m_q);
            break;
        }
        const auto byte = [&](int v) { return static_cast<std::uint8_t>(limited ? std::min(v, O.a) : v); };
        return {byte(O.b), byte(O.g), byte(O.r), static_cast<std::uint8_t>(O.a)};
    }

  private:
    tDISSOLVEPROP m_record;
    int m_t, m_q, m_u[4], m_v[4];
};

void Compare(const tDISSOLVEPROP& record, float progress, LONG width, LONG height, bool wild) {
    CTestPicture out(width, height, 4), first(width, height, 4), second(width, height, 4);
    first.Fill(1, wild);
    second.Fill(2, wild);
    CTestPicture expected = out;
    const CReference reference(record, progress);
    for (LONG y = 0; y < height; ++y)
        for (LONG x = 0; x < width; ++x) expected.Pixel8(x, y) = reference(first.Pixel8(x, y), second.Pixel8(x, y));
    ASSERT_EQ(S_OK, KwDibDissolve(out.View(), first.View(), second.View(), record, progress));
    SCOPED_TRACE(testing::Message() << "mode " << record.mode << " progress " << progress << " width " << width);
    ExpectSame(out, expected);
    // In place, bottom up.
    ASSERT_EQ(S_OK, KwDibDissolve(second.FlippedView(), first.FlippedView(), second.FlippedView(), record, progress));
    for (LONG y = 0; y < height; ++y)
        ASSERT_EQ(0, std::memcmp(expected.At(0, y), second.At(0, y), static_cast<std::size_t>(width) * 4));
}

TEST(Dissolve, FollowsTheRulesAtEveryStep) {
    const double speeds[][4] = {{0, 0, 0, 0}, {1, 0.25, 0.6, 1}, {0.3, 1, 0, 0.5}};
    for (LONG mode = 0; mode < 10; ++mode)
        for (int step = 0; step <= 255; ++step) {
            const auto& s = speeds[step % 3];
            Compare({s[0], s[1], s[2], s[3], mode, 0}, static_cast<float>(step) / 255.0f, 37, 3, step % 2);
        }
}

TEST(Dissolve, FollowsTheRulesAtAnyLengthAndBetweenSteps) {
    std::minstd_rand random(5);
    for (LONG mode = 0; mode < 10; ++mode)
        for (LONG width : {1, 2, 3, 15, 16, 17, 31, 32, 33, 64, 65, 100, 257})
            Compare({0.2, 0.9, 0.4, 0.8, mode, 0}, static_cast<float>(random() % 10000) / 9999.0f, width, 5, width % 2);
}

tPixel8 Mix(LONG mode, float progress, tPixel8 first, tPixel8 second, const tDISSOLVEPROP& colour = {}) {
    CTestPicture out(1, 1, 4), a(1, 1, 4), b(1, 1, 4);
    a.Pixel8(0, 0) = first;
    b.Pixel8(0, 0) = second;
    tDISSOLVEPROP record = colour;
    record.mode = mode;
    EXPECT_EQ(S_OK, KwDibDissolve(out.View(), a.View(), b.View(), record, progress));
    return out.Pixel8(0, 0);
}

void ExpectPixel(tPixel8 expected, tPixel8 actual, const char* what) {
    EXPECT_EQ(0, std::memcmp(&expected, &actual, 4))
        << what << ": " << int{actual.b} << ' ' << int{actual.g} << ' ' << int{actual.r} << ' ' << int{actual.a};
}

TEST(Dissolve, WorkedCases) {
    const tPixel8 black{0, 0, 0, 255}, dark{10, 20, 30, 255}, bright{200, 150, 250, 255}, half{40, 50, 60, 128};
    ExpectPixel(bright, Mix(5, 0.0f, black, bright), "pure black passes at once");
    ExpectPixel(dark, Mix(5, 0.0f, dark, bright), "anything brighter waits");
    ExpectPixel(black, Mix(6, 1.0f, bright, black), "the second picture alone at the end");
    ExpectPixel(dark, Mix(3, 0.0f, dark, bright), "bleed starts with the first picture");
    ExpectPixel(bright, Mix(3, 1.0f, dark, bright), "and ends with the second");
    ExpectPixel({64, 0, 0, 128}, Mix(8, 1.0f, dark, bright, {0, 0, 0.5, 0.504, 0, 0}), "the last step is the colour");
    ExpectPixel({210, 170, 255, 255}, Mix(0, 0.5f, dark, bright), "half time shows both at full strength");
    ExpectPixel({190, 130, 220, 255}, Mix(1, 0.4999f, bright, dark), "the taken picture at full strength");
    ExpectPixel({200, 150, 250, 254}, Mix(2, 1.0f, half, bright), "the colour arrives, alpha stops one short");
    ExpectPixel(bright, Mix(4, 1.0f, half, bright), "morph arrives");
    ExpectPixel({0, 0, 0, 254}, Mix(9, 1.0f, {0, 0, 0, 0}, {0, 0, 0, 255}), "the last step stops one short");
}

TEST(Dissolve, HostileRecordsAndProgress) {
    const double wild[] = {NAN, INFINITY, -INFINITY, 1e300, -1e300, -1, -2, -0.999999, 1e-300};
    for (const double v : wild)
        for (const float progress : {-1.0f, 0.0f, 0.5f, 2.0f, NAN, INFINITY})
            for (LONG mode = 0; mode < 10; ++mode) {
                CTestPicture out(5, 3, 4), a(5, 3, 4), b(5, 3, 4);
                EXPECT_EQ(S_OK, KwDibDissolve(out.View(), a.Fill(1, true).View(), b.Fill(2, true).View(),
                                              {v, -v, v, v, mode, 0}, progress));
                out.CheckGuards();
            }
}

TEST(Dissolve, UnknownModesAndMissingPictures) {
    CTestPicture out(4, 4, 4), a(4, 4, 4), small(3, 4, 4);
    CTestPicture before = out.Fill(9);
    for (const LONG mode : {-1, 10, INT32_MIN, INT32_MAX})
        EXPECT_EQ(S_OK, KwDibDissolve(out.View(), a.View(), a.View(), {0, 0, 0, 0, mode, 0}, 0.5f));
    EXPECT_EQ(E_INVALIDARG, KwDibDissolve(out.View(), a.View(), small.View(), {}, 0.5f));
    EXPECT_EQ(E_POINTER, KwDibDissolve(out.View(), {nullptr, nullptr, 0, nullptr}, a.View(), {}, 0.5f));
    // A second picture that gives less than its clip says.
    const RECT all{0, 0, 4, 4};
    EXPECT_EQ(S_OK, KwDibDissolve(out.View(&all), a.View(&all), small.View(&all), {0, 0, 0, 0, 5, 0}, 1.0f));
    EXPECT_EQ(before.At(3, 0)[0], out.At(3, 0)[0]);
    out.CheckGuards();
}

} // namespace
