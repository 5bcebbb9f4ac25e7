#include <bit>

#include "base/level.h"
#include "digest.h"
#include "filter.h"
#include "kernels/noise.h"

namespace {

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

TEST(AddNoise, NumbersComeSinglyOrManyAtOnce) {
    Digest digest;
    for (const std::uint32_t seed : {0u, 1u, 1234567u, 0xFFFFFFFFu}) {
        CKwR250 generator, single;
        generator.Seed(seed);
        single.Seed(seed);
        std::vector<std::uint32_t> many(611);
        for (int i = 0; i < 3; ++i) {
            digest.add(generator.Next());
            digest.add(std::bit_cast<std::uint32_t>(
                static_cast<float>(generator.NextGaussian()))); // of doubles, libraries differ
            generator.Fill(many.data(), 611);
            digest.add(std::as_bytes(std::span(many)));
            single.Next();
            single.NextGaussian();
            for (const std::uint32_t value : many) ASSERT_EQ(single.Next(), value);
        }
    }
    expectRow("kernels.txt", "CKwR250", digest.text());
}

TEST(AddNoise, OneAloneAnimates) {
    const tPixel8 grey{128, 128, 128, 255};
    EXPECT_EQ(Through("Add Noise", BytesOf(Record(1, 0, 0, 0.5)), grey),
              Through("Add Noise", BytesOf(Record(1, 0, 2, 0.5)), grey));
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
