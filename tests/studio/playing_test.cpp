// What a film sounds like and how fast it runs.
#include <QAudioDevice>
#include <QMediaDevices>
#include <gmock/gmock.h>

#include "page/typed_number.h"
#include "platform/time_format.h"
#include "playing_rate.h"
#include "sound_track.h"
#include "studio_window.h"

namespace larkmoor {

namespace {

TEST(PlayingRate, CountsWhatIsShownAndWhatIsLeftOut) {
    PlayingRate playing;
    EXPECT_EQ(playing.rate(), 0);
    for (int i = 0; i <= 50; ++i) playing.shown(i, i * 40);
    EXPECT_NEAR(playing.rate(), 25, 0.01);
    EXPECT_EQ(playing.dropped(), 0);
    for (int i = 1; i <= 30; ++i) playing.shown(50 + 3 * i, 2000 + i * 100);
    EXPECT_NEAR(playing.rate(), 10, 0.01);
    EXPECT_EQ(playing.dropped(), 60);
    playing.shown(140, 5000); // once more the same
    EXPECT_EQ(playing.dropped(), 60);
    playing.restart();
    playing.shown(9, 0);
    playing.shown(7, 40); // backwards
    EXPECT_EQ(playing.dropped(), 1);
}

TEST(PictureFacts, FramesAndTheirTimesBelongTogether) {
    const auto times = std::make_shared<const std::vector<double>>(std::vector<double>{0, 0.04, 0.12, 1});
    const PictureFacts steady{.rate = {25, 1}, .frames = 4};
    PictureFacts varies = steady;
    varies.times = times;
    struct Case {
        double seconds;
        std::int64_t steady, varies, steadyBack, variesBack;
    };
    for (const auto& [seconds, atSteady, atVaries, backSteady, backVaries] : {Case{0, 0, 0, 0, 0},
                                                                              {0.039, 0, 0, 1, 1},
                                                                              {0.04, 1, 1, 1, 1},
                                                                              {0.081, 2, 1, 3, 2},
                                                                              {0.12, 3, 2, 3, 2},
                                                                              {0.5, 12, 2, 13, 3},
                                                                              {0.999, 24, 2, 25, 3},
                                                                              {1, 25, 3, 25, 3},
                                                                              {1.039, 25, 3, 26, 4},
                                                                              {1.04, 26, 4, 26, 4},
                                                                              {-0.04, -1, -1, -1, -1}}) {
        SCOPED_TRACE(seconds);
        EXPECT_EQ(steady.frameAt(seconds), atSteady);
        EXPECT_EQ(steady.frameAt(seconds, true), backSteady);
        EXPECT_EQ(varies.frameAt(seconds), atVaries);
        EXPECT_EQ(varies.frameAt(seconds, true), backVaries);
    }
    for (std::int64_t frame = -2; frame < 9; ++frame)
        for (const PictureFacts* each : {&steady, &std::as_const(varies)})
            for (const bool backwards : {false, true})
                EXPECT_EQ(each->frameAt(each->secondsOf(frame), backwards), frame);
}

TEST_F(StudioWindowTest, AFilmWhoseFramesComeUnsteadilyKeepsItsTimes) {
    for (const auto& [name, codec] : {std::pair("in.mkv", "ffv1"), {"in.mp4", "mpeg4"}, {"in.mov", "prores"}}) {
        SCOPED_TRACE(name);
        const Outcome made = shell("ffmpeg -v error -f lavfi -i testsrc2=size=64x48:rate=25:duration=1 -vf "
                                   "\"setpts='if(lt(N,10),N,10+(N-10)*400)/25/TB'\" -fps_mode passthrough -c:v " +
                                   std::string(codec) + " " + name);
        ASSERT_EQ(made.status, 0) << made.err;
        ASSERT_TRUE(window->open(file(name)));
        idle();
        auto& transport = *window->findChild<Transport*>();
        transport.setTimeFormat(kTimeSeconds);
        EXPECT_TRUE(std::ranges::any_of(reachable<QLabel>(panel()), [](QLabel* label) {
            return label->text().contains("0.11139 frames a second on av") && label->text().contains("224.44 s");
        }));
        window->setFrame(5);
        EXPECT_THAT(transport.timeText().toStdString(), testing::HasSubstr("0.2"));
        window->setFrame(20); // (10 + 10 * 400) / 25 s
        EXPECT_THAT(transport.timeText().toStdString(), testing::HasSubstr("160.4"));
        idle();
        const QSignalSpy ticks(window->findChild<QTimer*>("player"), &QTimer::timeout);
        QTest::keyClick(&window->picture(), Qt::Key_J);
        await([&] { return ticks.count() > 2; });
        EXPECT_EQ(window->frame(), 20) << "backwards, too, it stands for 16 seconds";
        document().close();
    }
    makeClip("steady.mkv");
    PreviewRenderer renderer(studioModule(), [](const PreviewResult&) {});
    Project project;
    project.source = ProjectClip{path("steady.mkv"), {}};
    EXPECT_FALSE(renderer.facts(project).times);
}

class SoundTest : public StudioTest {
  protected:
    /// Two seconds whose samples are `value`, an expression of the time.
    void sound(const std::string& name, const std::string& value, const char* codec) const {
        const Outcome made = shell("ffmpeg -v error -y -f lavfi -i testsrc2=size=64x48:rate=25:duration=2 -f lavfi -i "
                                   "\"aevalsrc=" +
                                   value + "|" + value + ":s=44100:d=2\" -c:v ffv1 -c:a " + codec + " " + name);
        ASSERT_EQ(made.status, 0) << made.err;
    }
    /// The first sample after a jump, and the left ones that follow.
    static std::vector<float> read(SoundTrack& track, double seconds, std::size_t count = 480) {
        track.seek(seconds);
        std::vector<float> both(2 * count), left;
        track.read(std::span(both).first(count)); // in two parts
        track.read(std::span(both).last(count));
        for (std::size_t i = 0; i < both.size(); i += 2) left.push_back(both[i]);
        return left;
    }
};

TEST_F(SoundTest, EachSampleIsHeardAtItsTime) {
    for (const auto& [name, codec] :
         {std::pair("pcm.mkv", "pcm_s16le"), {"flac.mkv", "flac"}, {"pcm.mov", "pcm_s16le"}}) {
        SCOPED_TRACE(name);
        sound(name, "t/4", codec); // a ramp: samples tell the time
        Project project;
        project.source = ProjectClip{path(name), {}};
        SoundTrack track(project, {.frames = 50});
        ASSERT_TRUE(track.any());
        for (const double seconds : {1.0, 0.25, 1.5, 1.5, 0.02}) {
            const std::vector<float> heard = read(track, seconds);
            EXPECT_NEAR(heard.front(), seconds / 4, 5e-4) << seconds;
            EXPECT_NEAR(heard.back(), (seconds + 479.0 / 48000) / 4, 5e-4) << seconds;
        }
        EXPECT_EQ(read(track, 3)[0], 0.0f) << "silence behind the end";
        // A piece, as of a frame that is scrubbed over, ends amid a read.
        std::vector<float> piece(2 * 480, 1.0f);
        track.seek(1, 0.005);
        track.read(piece);
        EXPECT_NEAR(piece[2 * 239], 0.25 + 239.0 / 48000 / 4, 5e-4);
        EXPECT_EQ(piece[2 * 240], 0.0f);
        track.read(piece);
        EXPECT_EQ(piece[0], 0.0f);
    }
}

TEST_F(SoundTest, ClipsFadeIntoEachOtherAtEqualPower) {
    sound("a.mkv", "0.5", "pcm_s16le");
    sound("b.mkv", "t/4", "pcm_s16le");
    Project project;
    project.source = ProjectClip{path("a.mkv"), {}};
    project.second = ProjectSecond{path("b.mkv"), effectOf("Dissolve"), 1};
    SoundTrack track(project, {.frames = 75, .overlapStart = 25, .overlapFrames = 25});
    EXPECT_NEAR(read(track, 0.5)[0], 0.5, 1e-3);
    const double part = std::sqrt(0.5);
    EXPECT_NEAR(read(track, 1.5)[0], part * 0.5 + part * 0.5 / 4, 1e-3) << "half way";
    EXPECT_NEAR(read(track, 2.5)[0], 1.5 / 4, 1e-3);
    const std::vector<float> across = read(track, 0.995); // the second one begins amid a read
    EXPECT_NEAR(across.back(), 0.5, 3e-3);
}

TEST_F(SoundTest, WhatHasNoSoundIsSilent) {
    Project project;
    project.source = ProjectGenerator{effectOf("Test Pattern")};
    EXPECT_FALSE(SoundTrack(project, {}).any());
    clip("in.mkv", "-an -c:v ffv1");
    project.source = ProjectClip{path("in.mkv"), {}};
    SoundTrack track(project, {.frames = 25});
    EXPECT_FALSE(track.any());
    EXPECT_EQ(read(track, 0.5)[9], 0.0f);
}

TEST_F(StudioWindowTest, AFilmPlaysWithoutASoundDeviceAndSaysSo) {
    if (!QMediaDevices::defaultAudioOutput().isNull()) GTEST_SKIP() << "here is one";
    const Outcome made = shell("ffmpeg -v error -f lavfi -i testsrc2=size=64x48:rate=25:duration=60 -f lavfi -i "
                               "sine=d=60 -c:v ffv1 -c:a pcm_s16le in.mkv");
    ASSERT_EQ(made.status, 0) << made.err;
    ASSERT_TRUE(window->open(file("in.mkv")));
    idle();
    window->play(true);
    const auto says = [&](const char* words) {
        const auto labels = reachable<QLabel>(*window->statusBar());
        return std::ranges::any_of(labels, [&](QLabel* label) { return label->text().contains(words); });
    };
    await([&] { return says("frames a second") && window->frame() > 3; });
    EXPECT_TRUE(says("No sound device"));
    window->play(false);
}

TEST(TypedNumber, IsUnderstoodInEitherStyle) {
    struct Case {
        const char *typed, *point, *comma; ///< and how it is read where the mark is a point, or a comma
    };
    for (const auto& [typed, point, comma] : {Case{"1.5", "1.5", "1,5"},
                                              {"1,5", "1.5", "1,5"},
                                              {"-0,25 s", "-0.25 s", "-0,25 s"},
                                              {"0,500", "0.500", "0,500"},
                                              {",5", ".5", ",5"},
                                              {"1,500", "1,500", "1,500"},
                                              {"1.500", "1.500", "1.500"},
                                              {"1,5000", "1.5000", "1,5000"},
                                              {"1.234,5", "1234.5", "1.234,5"},
                                              {"1,234.5", "1,234.5", "1234,5"},
                                              {"1,234,567", "1,234,567", "1,234,567"},
                                              {"words", "words", "words"},
                                              {"", "", ""}}) {
        EXPECT_EQ(inOwnStyle(typed, '.').toStdString(), point) << typed;
        EXPECT_EQ(inOwnStyle(typed, ',').toStdString(), comma) << typed;
    }
    EXPECT_EQ(inOwnStyle("1,5", QChar(0x66B)), "1,5");
}

TEST_F(ClipWindowTest, ACommaIsTakenForThePoint) {
    addByName("bright contr");
    type("0,25");
    const ProjectEffect& effect = *document().selectedEffect();
    EXPECT_EQ(fieldText(effect.info->field("brightness"), effect.record), "0.25");
    openGenerator(64, 48, 1);
    document().select({Slot::Kind::Source, 0});
    QDoubleSpinBox& duration = *panel().durationField();
    duration.setFocus();
    duration.selectAll();
    QTest::keyClicks(&duration, "1,5");
    QTest::keyClick(&duration, Qt::Key_Return);
    EXPECT_EQ(duration.value(), 1.5);
}

} // namespace

} // namespace larkmoor
