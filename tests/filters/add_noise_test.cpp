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

tNOISEPROP Record(LONG gaussian, LONG monochromatic, LONG animate, double level, ULONG seed = 1234567) {
    return {gaussian, monochromatic, animate, 0, level, 0.0, seed, 0};
}

TEST(AddNoise, ShorterNumbersLeaveNoTrace) {
    for (const double level : {0.0, 1e-9, 0.004, 0.065, 0.3, 0.84, 1.0, 1.01, 5.0, -0.7, 39.0, 1e6})
        for (const LONG kind : {0, 1, 2, 3}) {
            CTestPicture source(500, 120, 4);
            source.Fill(3);
            CTestPicture fast = source, plain = source;
            const tNOISEPROP r = Record(kind / 2, kind % 2, 0, level);
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

TEST(AddNoise, OneAloneAnimates) {
    const tPixel8 grey{128, 128, 128, 255};
    EXPECT_EQ(Through("Add Noise", Record(1, 0, 0, 0.5), grey), Through("Add Noise", Record(1, 0, 2, 0.5), grey));
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
