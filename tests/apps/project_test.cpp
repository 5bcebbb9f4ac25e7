#include <atomic>
#include <cstring>
#include <random>

#include <gmock/gmock.h>

#include "apps/command.h"
#include "module.h"
#include "render_project.h"

namespace {

using namespace larkmoor;
using testing::HasSubstr;

std::string sentenceOf(const std::string& text) {
    try {
        parseProject(module(), text, "/folder");
    } catch (const Error& error) {
        return error.what();
    }
    return "";
}

/// A project on /folder/in.mp4 with more keys.
std::string onClip(const std::string& more) {
    return R"({"larkmoor project": 1, "source": {"kind": "clip", "path": "in.mp4"})" + more + "}";
}

std::string onEffect(const std::string& effect) {
    return onClip(R"(, "effects": [{"effect": "DXTInvert"}, )" + effect + "]");
}

class ProjectTest : public CommandTest {
  protected:
    /// Writes the project and renders it by the command.
    Outcome render(const std::string& text, const std::string& output, const std::string& more = "") const {
        write("p.larkmoor", text);
        return larkmoor("render p.larkmoor -y -o " + output + " " + more);
    }

    void same(const std::string& project, const std::string& ending, const std::string& command,
              const std::string& more = "") const {
        SCOPED_TRACE(command);
        const Outcome first = render(project, "project." + ending, more);
        ASSERT_EQ(first.status, 0) << first.err;
        const Outcome second = run(command + " -y -o command." + ending + " " + more);
        EXPECT_TRUE(content("project." + ending) == content("command." + ending));
        EXPECT_GT(content("project." + ending).size(), 0u);
        // Projects know their clips by whole paths.
        std::string told = first.err;
        if (const std::size_t at = told.find(path("")); at != std::string::npos) told.erase(at, path("").size());
        EXPECT_EQ(told, second.err);
    }
};

TEST(ProjectText, EveryPresetComesBackToTheByte) {
    for (const EffectInfo& info : module().effects()) {
        SCOPED_TRACE(info.name);
        Project project;
        const bool generator = info.kind == EffectKind::Generator, transition = info.kind == EffectKind::Transition;
        std::vector<std::vector<std::byte>> records{info.defaults};
        for (const PresetInfo& preset : info.presets) records.push_back(preset.record);
        if (generator) project.source = ProjectGenerator{.generator = projectEffect(info)};
        if (!generator) project.source = ProjectClip{"/folder/a b/in.mp4", AVRational{30000, 1001}};
        if (transition) project.second = ProjectSecond{"/else/in.mp4", projectEffect(info), 0.1};
        project.in = 3;
        project.out = 1LL << 33;
        for (std::size_t i = 0; i < records.size() && !transition; ++i) {
            ProjectEffect effect = projectEffect(info);
            effect.over = generator;
            effect.on = i % 2;
            effect.record = records[i];
            effect.curves =
                rampCurves(info, records[i], records[(i + 1) % records.size()],
                           i % 2 ? std::optional(std::pair<std::int64_t, std::int64_t>(-7, 9)) : std::nullopt);
            for (Curve& curve : effect.curves) curve.keys[0].way = static_cast<Way>(i % 3);
            for (const tFieldInfo& field : info.fields)
                if (!canMove(field)) setKey(effect.curves, field, 5, fieldBytes(field, records.back()));
            effect.span = {i % 2 ? std::optional<std::int64_t>(4) : std::nullopt, 12};
            project.effects.push_back(effect);
        }
        if (transition) project.second->transition.record = records.back();
        const std::string text = projectText(project, "/folder");
        EXPECT_EQ(text.find("\"record\""), std::string::npos) << "texts say all of it";
        const Project back = parseProject(module(), text, "/folder");
        EXPECT_EQ(projectText(back, "/folder"), text);
        ASSERT_EQ(back.effects.size(), project.effects.size());
        for (std::size_t i = 0; i < back.effects.size(); ++i) {
            const ProjectEffect &is = back.effects[i], &was = project.effects[i];
            EXPECT_EQ(is.record, was.record) << i;
            EXPECT_EQ(is.span, was.span);
            ASSERT_EQ(is.curves.size(), was.curves.size());
            for (const Curve& curve : was.curves) EXPECT_EQ(*findCurve(is.curves, *curve.field), curve) << i;
            EXPECT_EQ(is.on, was.on);
            EXPECT_EQ(is.over, was.over);
        }
        if (transition) {
            EXPECT_EQ(back.second->transition.record, records.back());
        }
        EXPECT_EQ(back.in, 3);
        EXPECT_EQ(back.out, 1LL << 33);
    }
}

TEST(ProjectText, WildRecordsComeBackToTheByte) {
    std::mt19937 random(1);
    for (const EffectInfo& info : module().effects()) {
        if (info.kind != EffectKind::Filter || info.textField()) continue;
        SCOPED_TRACE(info.name);
        Project project{.source = ProjectClip{"/folder/in.mp4", {}}, .second = {}, .out = {}, .effects = {}};
        for (int i = 0; i < 20; ++i) {
            project.effects.push_back(projectEffect(info));
            project.effects.back().ownLevels = true;
            for (std::byte& byte : project.effects.back().record) byte = static_cast<std::byte>(random());
        }
        const Project back = parseProject(module(), projectText(project, "/folder"), "/folder", Values::Unchecked);
        for (std::size_t i = 0; i < 20; ++i) EXPECT_EQ(back.effects[i].record, project.effects[i].record);
    }
}

TEST(ProjectText, PathsFollowTheFolder) {
    const struct {
        const char *path, *stored;
    } rows[] = {{"/media/film/in.mp4", "\"in.mp4\""},
                {"/media/film/clips/f%04d.png", "\"clips/f%04d.png\""},
                {"/media/films/in.mp4", "\"/media/films/in.mp4\""},
                {"/media/film/../in.mp4", "\"/media/in.mp4\""}};
    for (const auto& row : rows) {
        Project project{.source = ProjectClip{row.path, {}}, .second = {}, .out = {}, .effects = {}};
        const std::string text = projectText(project, "/media/film");
        EXPECT_THAT(text, HasSubstr(std::string("\"path\": ") + row.stored));
        const Project moved = parseProject(module(), text, "/moved/film");
        const bool below = row.stored[1] != '/';
        const std::string stored = std::string(row.stored).substr(1, std::strlen(row.stored) - 2);
        EXPECT_EQ(std::get<ProjectClip>(moved.source).path, below ? "/moved/film/" + stored : stored);
    }
    Project pipe{.source = ProjectClip{"-", {}}, .second = {}, .out = {}, .effects = {}};
    EXPECT_THROW(projectText(pipe, "/folder"), Error);
}

TEST(ProjectText, MistakesAreToldWithTheirPlace) {
    const struct {
        std::string text;
        const char *place, *says;
    } rows[] = {
        {"{\n\n  what", "line 3: ", "JSON"},
        {"[]", "the key \"larkmoor project\"", "missing"},
        {R"({"larkmoor project": 2})", "larkmoor project: ", "another version"},
        {R"({"larkmoor project": 1})", "the key \"source\"", "missing"},
        {onClip(R"(, "efects": [])"), "there is no key \"efects\"", "\"effects\""},
        {onClip(R"(, "in": -1)"), "in: ", "frame"},
        {onClip(R"(, "in": 1.5)"), "in: ", "frame"},
        {onClip(R"(, "in": 18446744073709551615)"), "in: ", "frame"},
        {onClip(R"(, "in": 4, "out": 4)"), "out: ", "after"},
        {onClip(R"(, "effects": {})"), "effects: ", "list"},
        {onClip(R"(, "second": {"path": "b.mp4", "transition": {"effect": "Iris"}, "duration": 0})"),
         "second.duration: ", "seconds"},
        {onClip(R"(, "second": {"path": "b.mp4", "transition": {"effect": "Invert"}, "duration": 1})"),
         "second.transition.effect: ", "no transition"},
        {onClip(R"(, "second": {"path": "", "transition": {"effect": "Iris"}, "duration": 1})"),
         "second.path: ", "path"},
        {onEffect("7"), "effects[1]: ", "object"},
        {onEffect("{}"), "effects[1]: ", "\"effect\" is missing"},
        {onEffect(R"({"effect": "Invrt"})"), "effects[1].effect: ", "Invert"},
        {onEffect(R"({"effect": "Iris"})"), "effects[1].effect: ", "transition"},
        {onEffect(R"({"effect": "Text"})"), "effects[1].effect: ", "\"over\": true"},
        {onEffect(R"({"effect": "Invert", "over": true})"), "effects[1].effect: ", "lay over"},
        {onEffect(R"({"effect": "Invert", "on": 1})"), "effects[1].on: ", "true or false"},
        {onEffect(R"({"effect": "Invert", "fields": {"amount": "much"}})"), "effects[1].fields.amount: ", "a number"},
        {onEffect(R"({"effect": "Invert", "fields": {"amount": 1}})"), "effects[1].fields.amount: ", "quotes"},
        {onEffect(R"({"effect": "Invert", "fields": {"amont": "1"}})"), "effects[1].fields.amont: ", "amount"},
        {onEffect(R"({"effect": "Invert", "record": "00"})"), "effects[1].record: ", "bytes"},
        {onEffect(R"({"effect": "Invert", "record": "0G000000"})"), "effects[1].record: ", "hexadecimal"},
        {onEffect(R"({"effect": "Text", "over": true, "record": "00"})"), "effects[1].record: ", "bytes"},
        {onEffect(R"({"effect": "Invert", "fields": {}, "record": "00"})"), "effects[1]: ", "one of them"},
        {onEffect(R"({"effect": "Invert", "ramp": {"from": 3, "to": 2}})"), "effects[1].ramp: ", "later"},
        {onEffect(R"({"effect": "Invert", "ramp": {"to": 2}})"), "effects[1].ramp: ", "\"from\" is missing"},
        {onEffect(R"({"effect": "Invert", "ramp": {}, "keys": {}})"), "effects[1]: ", "the ramp has to go"},
        {onEffect(R"({"effect": "Invert", "keys": []})"), "effects[1].keys: ", "object"},
        {onEffect(R"({"effect": "Invert", "keys": {"amont": []}})"), "effects[1].keys.amont: ", "amount"},
        {onEffect(R"({"effect": "Invert", "keys": {"amount": []}})"), "effects[1].keys.amount: ", "one key"},
        {onEffect(R"({"effect": "Invert", "keys": {"amount": [3]}})"), "effects[1].keys.amount[0]: ", "[50, 3]"},
        {onEffect(R"({"effect": "Invert", "keys": {"amount": [[0.5, 1]]}})"),
         "effects[1].keys.amount[0][0]: ", "frame"},
        {onEffect(R"({"effect": "Invert", "keys": {"amount": [[0, 1], [0, 1]]}})"),
         "effects[1].keys.amount[1]: ", "later"},
        {onEffect(R"({"effect": "Invert", "keys": {"amount": [[0, 1.1]]}})"),
         "effects[1].keys.amount[0][1]: ", "0 to 1"},
        {onEffect(R"({"effect": "Invert", "keys": {"amount": [[0, true]]}})"),
         "effects[1].keys.amount[0][1]: ", "number"},
        {onEffect(R"({"effect": "Invert", "keys": {"amount": [[0, 1, "fast"]]}})"),
         "effects[1].keys.amount[0][2]: ", "smooth"},
        {onEffect(R"({"effect": "Levels", "keys": {"channel": [[0, 1, "linear"]]}})"),
         "effects[1].keys.channel[0][2]: ", "holds"},
        {onEffect(R"({"effect": "Invert", "keys": {"amount": [[0, {"bytes": "00"}]]}})"),
         "effects[1].keys.amount[0][1].bytes: ", "bytes"},
        {onEffect(R"({"effect": "Invert", "from": 3, "to": 2})"), "effects[1]: ", "no later"},
        {onEffect(R"({"effect": "Invert", "from": "3"})"), "effects[1].from: ", "frame"},
        {onClip(R"(, "second": {"path": "b.mp4", "transition": {"effect": "Iris", "from": 1}, "duration": 1})"),
         "second.transition: ", "makes the pictures"},
        {onClip(R"(, "second": {"path": "b.mp4", "transition": {"effect": "Iris", "keys": {"feather": [["start", 0],
            [3, 0.1]]}}, "duration": 1})"),
         "second.transition.keys.feather: ", "at its start"},
        {R"({"larkmoor project": 1, "source": {"kind": "tape"}})", "source.kind: ", "generator"},
        {R"({"larkmoor project": 1, "source": {"kind": "clip", "path": "a", "size": "2x2"}})", "source.size: ", "clip"},
        {R"({"larkmoor project": 1, "source": {"kind": "clip", "path": "a", "rate": "fast"}})",
         "source.rate: ", "frame rate"},
        {R"({"larkmoor project": 1, "source": {"kind": "generator", "generator": {"effect": "Invert"}}})",
         "source.generator.effect: ", "no generator"},
        {R"({"larkmoor project": 1, "source": {"kind": "generator", "generator": {"effect": "Text", "on": false}}})",
         "source.generator.effect: ", "switched off"},
    };
    for (const auto& row : rows) {
        const std::string sentence = sentenceOf(row.text);
        EXPECT_EQ(sentence.find(row.place), 0u) << row.text << "\n" << sentence;
        EXPECT_THAT(sentence, HasSubstr(row.says)) << row.text;
    }
    EXPECT_EQ(sentenceOf(onEffect(R"({"effect": "Gaussian Blur"})")), "");
}

TEST(ProjectText, ARampIsReadAndWrittenAsKeys) {
    const std::string more[] = {R"("fields": {"gamma": "3"})", R"("from": 4, "to": 9, "fields": {"gamma": "3"})",
                                R"("from": 4, "to": 4, "fields": {"gamma": "3"})"};
    const char* keys[] = {R"([["start",1],["end",3]])", "[[4,1],[9,3]]", "[[4,1],[5,3]]"};
    for (std::size_t i = 0; i < std::size(more); ++i) {
        const Project project = parseProject(
            module(), onEffect(R"({"effect": "Levels", "fields": {"gamma": "1"}, "ramp": {)" + more[i] + "}}"),
            "/folder");
        std::string text = projectText(project, "/folder");
        std::erase_if(text, [](char c) { return c == ' ' || c == '\n'; });
        EXPECT_THAT(text, HasSubstr(std::string(R"("keys":{"gamma":)") + keys[i] + "}"));
        EXPECT_EQ(text.find("\"ramp\""), std::string::npos);
    }
}

TEST_F(ProjectTest, FilesAreWholeOrNotThere) {
    const Project project{.source = ProjectClip{path("in.mp4"), {}}, .second = {}, .out = {}, .effects = {}};
    saveProject(project, path("p.larkmoor"), false);
    EXPECT_THAT(content("p.larkmoor"), HasSubstr("\"path\": \"in.mp4\""));
    EXPECT_THROW(saveProject(project, path("p.larkmoor"), false), Error);
    saveProject(project, path("p.larkmoor"), true);
    EXPECT_EQ(std::get<ProjectClip>(loadProject(module(), path("p.larkmoor")).source).path, path("in.mp4"));
    EXPECT_THROW(saveProject(project, path("none/p.larkmoor"), true), Error);
    EXPECT_THROW(loadProject(module(), path("none.larkmoor")), Error);
    EXPECT_THROW(loadProject(module(), path("")), Error);
    EXPECT_EQ(names(), std::vector<std::string>{"p.larkmoor"});
    EXPECT_TRUE(isProject("a/b.LARKMOOR"));
    EXPECT_FALSE(isProject("larkmoor"));
}

TEST_F(ProjectTest, ClipsRenderAsByTheCommand) {
    clip("in.mp4", "-f lavfi -i sine=440:duration=1 -c:v libx264 -bf 2 -pix_fmt yuv420p -c:a aac");
    const std::string text = R"({"effect": "Text", "over": true, "fields": {"text": "Wind",
        "font": "Liberation Sans Bold 20", "tracking": "0.5"}, "ramp": {"fields": {"tracking": "1.5"}}})";
    same(onClip(R"(, "in": 0, "effects": [{"effect": "Levels", "fields": {"gamma": "1.4"}},
                   {"effect": "Invert", "on": false}, )" +
                text + "]"),
         "mp4",
         "render in.mp4 --effect Levels --set gamma=1.4 --over-effect Text --set text=Wind --set "
         "font='Liberation Sans Bold 20' --ramp tracking=0.5:1.5");
    // Keys and the frames at which an effect works.
    same(onClip(R"(, "effects": [{"effect": "Levels", "keys": {"gamma": [[0, 1], [10, 3, "smooth"], ["end", 1]],
                   "channel": [[5, "Red"]]}, "from": 3, "to": 20}, {"effect": "Invert", "to": 9}])"),
         "mkv",
         "render in.mp4 --effect Levels --key gamma=0:1,0.4s:3:smooth,end:1 --key channel=5:Red --from 3 --to 0:00.8 "
         "--effect Invert --to 9");
    // A range by frames is the range by times.
    same(onClip(R"(, "in": 7, "out": 17, "effects": [{"effect": "Timecode"}])"), "mkv",
         "render in.mp4 --start 0.28 --frames 10 --effect Timecode");
    ffmpeg("-i in.mp4 f%03d.png");
    const std::string sequence =
        R"({"larkmoor project": 1, "source": {"kind": "clip", "path": "f%03d.png", "rate": "10"}, "in": 3,
            "effects": [{"effect": "Invert"}]})";
    same(sequence, "mkv", "render f%03d.png --rate 10 --start 0.3 --effect Invert");
    // With nothing on, frames pass as they are.
    ASSERT_EQ(render(onClip(R"(, "effects": [{"effect": "Invert", "on": false}])"), "plain.mkv", "--codec ffv1").status,
              0);
    EXPECT_EQ(frames("plain.mkv", "yuv420p"), frames("in.mp4", "yuv420p"));
    const Outcome late = render(onClip(R"(, "in": 25)"), "late.mkv");
    EXPECT_EQ(late.status, 1);
    EXPECT_THAT(late.err, HasSubstr("has no frame 25; it has 25"));
    EXPECT_FALSE(exists("late.mkv"));
}

TEST_F(ProjectTest, ClipsOfUnevenTimeStartAtTheVeryFrame) {
    clip("in.mkv",
         "-vf \"select='not(between(n,5,9))'\" -vsync vfr -c:v libx264 -bf 2 -g 8 -x264-params open-gop=1 "
         "-pix_fmt yuv420p",
         "2");
    const std::string all = frames("in.mkv", "yuv420p");
    ASSERT_EQ(std::ranges::count(all, '\n'), 45);
    const std::size_t line = all.size() / 45;
    for (const std::size_t in : {1, 4, 5, 6, 7, 8, 9, 15, 44}) {
        write("in.larkmoor", R"({"larkmoor project": 1, "source": {"kind": "clip", "path": "in.mkv"}, "in": )" +
                                 std::to_string(in) + R"(, "out": )" + std::to_string(in + 1) + "}");
        run("render in.larkmoor -y -o out.mkv --codec ffv1");
        EXPECT_EQ(frames("out.mkv", "yuv420p"), all.substr(in * line, line)) << in;
    }
}

TEST_F(ProjectTest, TransitionsJoinAsByTheCommand) {
    clip("in.mp4", "-f lavfi -i sine=440:duration=1 -c:v libx264 -pix_fmt yuv420p -c:a aac");
    ffmpeg("-f lavfi -i testsrc=size=64x64:rate=15:duration=1 -f lavfi -i sine=880:duration=1 -c:v libx264 "
           "-pix_fmt yuv444p -c:a aac b.mp4");
    const auto project = [](const std::string& more) {
        return onClip(R"(, "second": {"path": "b.mp4", "duration": 0.4, "transition": {"effect": "Iris",
            "fields": {"feather": "0.1"}, "ramp": {"fields": {"feather": "0.5"}}}})" +
                      more);
    };
    const std::string command = "join in.mp4 b.mp4 --transition Iris --ramp feather=0.1:0.5 --duration 0.4";
    same(project(""), "mp4", command);
    // Effects follow the transition, also where the clips are alone; a range cuts the whole.
    ASSERT_EQ(render(project(R"(, "effects": [{"effect": "Invert"}, {"effect": "Invert"}])"), "out.mkv",
                     "--codec ffv1 --pixel-format bgr0")
                  .status,
              0);
    run(command + " -o all.mkv --codec ffv1 --pixel-format bgr0");
    const std::string all = frames("all.mkv", "bgr0");
    EXPECT_EQ(frames("out.mkv", "bgr0"), all);
    for (const auto& [in, out] : {std::pair<std::size_t, std::size_t>(3, 20), {18, 30}, {30, 33}}) {
        ASSERT_EQ(render(project(R"(, "in": )" + std::to_string(in) + R"(, "out": )" + std::to_string(out)), "cut.mkv",
                         "--codec ffv1 --pixel-format bgr0")
                      .status,
                  0);
        const std::size_t line = all.size() / 40;
        EXPECT_EQ(frames("cut.mkv", "bgr0"), all.substr(in * line, (out - in) * line)) << in;
        EXPECT_NEAR(std::stod(probe("cut.mkv", "format=duration")), static_cast<double>(out - in) / 25, 0.05);
    }
    EXPECT_EQ(render(project(R"(, "in": 40)"), "late.mkv").status, 1);
    EXPECT_FALSE(exists("late.mkv"));
}

TEST_F(ProjectTest, GeneratorsRenderAsByTheCommand) {
    const auto project = [](const std::string& more) {
        return R"({"larkmoor project": 1, "source": {"kind": "generator", "size": "120x40", "rate": "10",
            "duration": 0.5, "generator": {"effect": "Text", "fields": {"text": "Wind", "fore": "#FF000080",
            "font": "Liberation Sans Bold 20"}}})" +
               more + "}";
    };
    const std::string command = "generate Text --size 120x40 --rate 10 --duration 0.5 --set text=Wind --set "
                                "fore=#FF000080 --set font='Liberation Sans Bold 20'";
    same(project(""), "mkv", command, "--codec ffv1 --pixel-format bgra");
    // What follows sees premultiplied colour, as it would of the same picture from a file.
    run(command + " -o straight.mkv --codec ffv1 --pixel-format bgra");
    same(project(R"(, "effects": [{"effect": "Invert"}])"), "raw", "render straight.mkv --effect Invert", "--raw bgra");
    ASSERT_EQ(render(project(R"(, "in": 2, "out": 4)"), "two.raw", "--raw bgra").status, 0);
    EXPECT_EQ(content("two.raw").size(), 2u * 120 * 40 * 4);
    EXPECT_EQ(render(project(R"(, "in": 5)"), "late.raw", "--raw bgra").status, 1);
}

TEST_F(ProjectTest, CancelLeavesNothing) {
    quietLog(false);
    clip("in.mp4", "-c:v libx264 -pix_fmt yuv420p");
    const Project project{.source = ProjectClip{path("in.mp4"), {}},
                          .second = {},
                          .out = {},
                          .effects = {projectEffect(module().find("Invert"))}};
    const auto output = [&](const std::string& name) {
        OutputRequest request;
        request.path = path(name);
        request.threads = 2;
        return request;
    };
    std::atomic<std::int64_t> done = 0;
    const Watch watch{.progress =
                          [&](std::int64_t frames, std::optional<std::int64_t> total) {
                              EXPECT_EQ(total, 25);
                              EXPECT_EQ(frames, done + 1);
                              done = frames;
                          },
                      .cancelled = [&] { return done >= 5; }};
    for (const char* name : {"out.mp4", "out%03d.png"}) {
        done = 0;
        EXPECT_EQ(renderProject(module(), project, output(name), watch), Ended::Cancelled);
        EXPECT_EQ(names(), std::vector<std::string>{"in.mp4"});
    }
    done = 0;
    EXPECT_EQ(renderProject(module(), project, output("out.mp4"), {.progress = watch.progress, .cancelled = {}}),
              Ended::Whole);
    EXPECT_EQ(done, 25);
    EXPECT_TRUE(exists("out.mp4"));
}

TEST_F(ProjectTest, EffectsDoNotGoWithAProject) {
    write("p.larkmoor", onClip(""));
    write("broken.larkmoor", "{");
    expectRefused("render -o x.mp4 ", {{"p.larkmoor --effect Invert", 2, "--effect does not go with"},
                                       {"p.larkmoor --over-effect Text", 2, "--over-effect does not go with"},
                                       {"p.larkmoor --over x.mp4", 2, "--over does not go with"},
                                       {"p.larkmoor --start 1", 2, "--start does not go with"},
                                       {"broken.larkmoor", 1, "larkmoor: broken.larkmoor: line 1: "}});
}

} // namespace
