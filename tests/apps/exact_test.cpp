// Places where one frame, one packet or one curve more or less is still a picture and a sound, only the wrong ones.
#include <cmath>
#include <cstring>

#include "apps/command.h"

namespace {

using ExactTest = CommandTest;

TEST_F(ExactTest, ARampStandsAtItsShareOnEveryFrame) {
    clip("in.mkv", "-vf format=gray,geq=lum=40 -pix_fmt bgr0 -c:v ffv1", "0.36");
    const auto project = [&](const std::string& name, const std::string& ramp, const std::string& more = "") {
        std::ofstream(path(name)) << R"({"larkmoor project": 1, "source": {"kind": "clip", "path": "in.mkv"}, )"
                                  << R"("effects": [{"effect": "Invert", "fields": {"amount": "0"}, "ramp": {)" << ramp
                                  << R"("fields": {"amount": "1"}}}])" << more << "}";
        return name;
    };
    const struct {
        std::string run;
        double first; ///< frame at which the ramp stands at its start
        double length;
        std::size_t frames;
    } rows[] = {
        {"in.mkv --effect Invert --ramp amount=0:1", 0, 8, 9},
        {"in.mkv --frames 5 --effect Invert --ramp amount=0:1", 0, 4, 5},
        {"in.mkv --start 0.08 --effect Invert --ramp amount=0:1", 0, 6, 7},
        {"in.mkv --frames 1 --effect Invert --ramp amount=0:1", 0, 1, 1}, // a single frame stands at the start
        {project("some.larkmoor", R"("from": 2, "to": 6, )"), 2, 4, 9},
        {project("step.larkmoor", R"("from": 4, "to": 4, )"), 4, 1, 9}, // of one frame: a step after it
        {project("all.larkmoor", ""), 0, 8, 9},
        {project("cut.larkmoor", R"("from": 2, "to": 6, )", R"(, "in": 2)"), 2, 4, 7}, // frames are the output's
    };
    for (const auto& row : rows) {
        run("render " + row.run + " -y -o out.raw --raw gray");
        const std::string out = content("out.raw");
        ASSERT_EQ(out.size(), row.frames * 96 * 64) << row.run;
        for (std::size_t i = 0; i < row.frames; ++i) {
            const double share = std::clamp((static_cast<double>(i) - row.first) / row.length, 0.0, 1.0);
            EXPECT_NEAR(static_cast<unsigned char>(out[i * 96 * 64]), 40 + share * 175, 2) << row.run << ", " << i;
        }
    }
}

TEST_F(ExactTest, SoundCrossesAtEqualPower) {
    for (const std::string name : {"a.mkv", "b.mkv"})
        clip(name, "-f lavfi -i aevalsrc=0.4:s=48000:d=1 -pix_fmt bgr0 -c:v ffv1 -c:a pcm_s16le");
    run("join a.mkv b.mkv a.mkv -o out.mkv --codec ffv1 --transition Dissolve --duration 0.4");
    ffmpeg("-i out.mkv -map 0:a -ac 1 -ar 48000 -f f32le sound.raw");
    const std::string raw = content("sound.raw");
    const auto at = [&](double seconds) {
        float value = 0;
        const auto place = static_cast<std::size_t>(seconds * 48000) * 4;
        if (place + 4 <= raw.size()) std::memcpy(&value, raw.data() + place, 4);
        return value;
    };
    // The overlaps run from 0.6 to 1.0 seconds and from 1.2 on. Where both are equally loud, each has half the power.
    for (const double start : {0.6, 1.2})
        for (const double share : {0.0, 0.25, 0.5, 0.75, 1.0}) {
            const double angle = share * std::acos(0.0);
            EXPECT_NEAR(at(start + share * 0.4), 0.4 * (std::cos(angle) + std::sin(angle)), 0.02) << share;
        }
    for (const double alone : {0.3, 1.1, 1.9}) EXPECT_NEAR(at(alone), 0.4, 0.02) << alone;
}

TEST_F(ExactTest, EachClipsAlphaIsReadAsItsOwn) {
    // Half covered: straight colour 200 in one, the same picture premultiplied in the other.
    ffmpeg("-f lavfi -i color=black:s=8x8:r=25:d=0.24,format=bgra,geq=r=200:g=200:b=200:a=128 -c:v ffv1 straight.mkv");
    ffmpeg("-f lavfi -i color=black:s=8x8:r=25:d=0.24,format=gbrapf32le "
           "-vf geq=r=0.392:g=0.392:b=0.392:a=0.502:interpolation=n multiplied%d.exr");
    const std::string clips[] = {"straight.mkv", "multiplied%d.exr"};
    for (const int first : {0, 1}) {
        // Once by itself, once with effects behind it that together change nothing.
        const std::string order = clips[first] + " " + clips[1 - first];
        std::ofstream(path("p.larkmoor")) << R"({"larkmoor project": 1, "source": {"kind": "clip", "path": ")"
                                          << clips[first] << R"("}, "second": {"path": ")" << clips[1 - first]
                                          << R"(", "duration": 0.12, "transition": {"effect": "Push"}}, )"
                                          << R"("effects": [{"effect": "Invert"}, {"effect": "Invert"}]})";
        for (const auto& [verb, frames] :
             {std::pair{"join " + order + " " + clips[first] + " --transition Push --duration 0.12", 12},
              std::pair{std::string("render p.larkmoor"), 9}}) {
            run(verb + " -y -o out.mkv --codec ffv1");
            ffmpeg("-i out.mkv -pix_fmt bgra -f rawvideo out.raw");
            const std::string out = content("out.raw");
            ASSERT_EQ(std::ssize(out), frames * 8 * 8 * 4) << "6 frames each, 3 of them at once";
            for (std::size_t i = 0; i < out.size(); i += 8 * 8 * 4)
                EXPECT_NEAR(static_cast<unsigned char>(out[i]), 200, 6) << verb << ", frame " << i / (8 * 8 * 4);
        }
    }
}

TEST_F(ExactTest, ThePacketAtTheCutIsKept) {
    clip("in.mkv", "-f lavfi -i sine=440:sample_rate=48000:duration=1 -af asetnsamples=1920 -pix_fmt bgr0 -c:v ffv1 "
                   "-c:a pcm_s16le");
    // Packets of sound as long as frames, so that one begins at each cut.
    for (const std::string start : {"", " --start 0.2"}) {
        run("render in.mkv -y -o out.mkv --codec ffv1 --frames 5 --effect Invert" + start);
        EXPECT_EQ(probe("out.mkv", "packet=pts_time", "-select_streams a"),
                  "0.000000\n0.040000\n0.080000\n0.120000\n0.160000\n")
            << start;
    }
}

} // namespace
