#include "base/arith.h"
#include "base/level.h"
#include "filter.h"
#include "kernels/noise.h"

namespace {

/// The generator word by word, as the paper has it, seeded by 15-bit numbers.
struct tPlainR250 {
    explicit tPlainR250(std::uint32_t seed) : state(seed) {
        for (int i = 249; i >= 0; --i) {
            next[i] = static_cast<std::uint8_t>(i == 249 ? 0 : i + 1);
            const std::uint32_t b = Rand(), c = Rand(), a = Rand();
            word[i] = a + 4 * ((b << 15) + c);
        }
        for (int k = 0; k < 32; ++k) word[3 + 7 * k] = (word[3 + 7 * k] & 0xFFFFFFFF >> k) | 0x80000000 >> k;
    }
    std::uint32_t Rand() {
        state = state * 214013 + 2531011;
        return state >> 16 & 0x7FFF;
    }
    std::uint32_t Next() {
        const std::uint32_t v = word[one] ^ word[two];
        word[one] = v;
        one = next[one];
        two = next[two];
        return v;
    }
    double NextGaussian() {
        for (;;) {
            const double u = (Next() & 0xFFFF) * 0.000030518043793392844 - 1.0;
            const double v = (Next() & 0xFFFF) * 0.000030518043793392844 - 1.0, s = u * u + v * v;
            if (!(s >= 1.0 || s == 0)) return v * std::sqrt(-2.0 * std::log(s) / s);
        }
    }
    std::uint32_t state, one = 0, two = 103, word[250];
    std::uint8_t next[250];
};

tPixelRule Noise(const tNOISEPROP& r, std::uint32_t seed) {
    const auto generator = std::make_shared<tPlainR250>(seed);
    const auto add = [r](auto p, auto draw, auto limit) {
        if (r.gaussian != 0 && r.gaussian != 1) return p;
        const auto red = draw();
        const auto green = r.monochromatic == 1 ? red : draw();
        const auto blue = r.monochromatic == 1 ? red : draw();
        using tChannel = decltype(p.a);
        const auto to = [&](auto value) { return static_cast<tChannel>(limit(value, p.a)); };
        return decltype(p){to(p.b + blue), to(p.g + green), to(p.r + red), p.a};
    };
    const auto limit = [](auto v, auto top) { return v < 0 ? decltype(v){0} : v > top ? decltype(v)(top) : v; };
    return {[=](tPixel8 p) {
                const auto draw = [&]() -> int {
                    if (r.gaussian == 1) return KwTrunc((generator->NextGaussian() - 0.5) * r.level * 255.0);
                    return (static_cast<int>(generator->Next() & 255) - 127) * static_cast<int>(r.level * 16384.0) /
                           16384;
                };
                return add(p, draw, limit);
            },
            [=](tPixelF p) {
                const auto draw = [&]() -> double {
                    if (r.gaussian == 1) return (generator->NextGaussian() - 0.5) * r.level;
                    const auto value = static_cast<float>(static_cast<int>(generator->Next() & 0xFFFF) - 32767);
                    return value * static_cast<float>(r.level) * 0.000015259022f;
                };
                return add(p, draw, limit);
            }};
}

tNOISEPROP Record(LONG gaussian, LONG monochromatic, LONG animate, double level, ULONG seed = 1234567) {
    return {gaussian, monochromatic, animate, 0, level, 0.0, seed, 0};
}

TEST(AddNoise, FollowsItsRule) {
    // The time of the test's frames is the seed of animated grain.
    const auto check = [](const tNOISEPROP& r) {
        ExpectRule("Add Noise", r, [&] { return Noise(r, r.animate == 1 ? 400000 : r.seed); },
                   {.sizes = {{1, 1}, {1, 7}, {67, 9}, {1100, 3}}});
    };
    for (const tNOISEPROP& r : Records(
             "Add Noise", {Record(1, 0, 0, 0.3, 7), Record(1, 1, 2, 0.0, 0), Record(0, 7, 0, 1.9, 0xFFFFFFFF),
                           Record(2, 1, 1, 0.5), Record(-1, 0, 0, 0.5), Record(0, 1, 0, -0.5), Record(1, 0, 0, -9)}))
        check(r);
}

TEST(AddNoise, SinglePrecisionLeavesNoTrace) {
    for (const double level : {0.0, 1e-9, 0.004, 0.065, 0.3, 0.84, 1.0, 5.0, -0.7, 39.0, 1e6})
        for (const LONG monochromatic : {1, 0}) {
            CTestPicture source(500, 120, 4);
            source.Fill(3);
            CTestPicture fast = source, plain = source;
            const tNOISEPROP r = Record(1, monochromatic, 0, level);
            CKwR250 first, second;
            first.Seed(11);
            second.Seed(11);
            KwDibNoise(fast.View(), fast.View(), r, first);
            const eKwLevel before = KwLimitLevel(eKwLevel::Plain);
            KwDibNoise(plain.View(), source.View(), r, second);
            KwLimitLevel(before);
            ExpectSame(fast, plain);
            EXPECT_EQ(first.Next(), second.Next()) << "another count of numbers drawn, level " << level;
        }
}

TEST(AddNoise, NumbersAreThePlainOnes) {
    for (const std::uint32_t seed : {0u, 1u, 1234567u, 0xFFFFFFFFu}) {
        CKwR250 generator;
        generator.Seed(seed);
        tPlainR250 plain(seed);
        std::vector<std::uint32_t> many(611);
        for (int i = 0; i < 3; ++i) {
            ASSERT_EQ(plain.Next(), generator.Next());
            ASSERT_EQ(plain.NextGaussian(), generator.NextGaussian());
            generator.Fill(many.data(), 611);
            for (const std::uint32_t value : many) ASSERT_EQ(plain.Next(), value);
        }
    }
}

TEST(AddNoise, FramesOfUnknownTimeDiffer) {
    larkmoor::Effect effect = larkmoor::module().create(larkmoor::module().find("Add Noise"));
    CTestPicture input(40, 40, 4), first(40, 40, 4), second(40, 40, 4);
    input.Fill(1);
    for (CTestPicture* const output : {&first, &second}) {
        const auto format = larkmoor::PixelFormat::PremultipliedArgb32;
        const larkmoor::Surface inputs[] = {SurfaceOn(input, format)};
        const larkmoor::Surface surface = [&] {
            auto made = SurfaceOn(*output, format);
            made.setInfo({1.0, 0.0, 400000});
            return made;
        }();
        // Two of 32768 seeds may be the same once in a while; five frames in a row never.
        for (int i = 0; i < (output == &second ? 5 : 1) && (i == 0 || first == second); ++i)
            effect.render(inputs, surface);
    }
    EXPECT_FALSE(first == second);
}

} // namespace
