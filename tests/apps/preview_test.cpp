#include <cstring>
#include <deque>
#include <random>

#include <gmock/gmock.h>

#include "apps/command.h"
#include "module.h"
#include "preview.h"
#include "render_project.h"

namespace {

using namespace larkmoor;
using testing::HasSubstr;

/// All of a frame's pixels.
std::string pixelsOf(const AVFrame& frame) {
    const AVPixFmtDescriptor& d = *av_pix_fmt_desc_get(static_cast<AVPixelFormat>(frame.format));
    std::string pixels;
    for (int plane = 0; plane < av_pix_fmt_count_planes(static_cast<AVPixelFormat>(frame.format)); ++plane) {
        const int shiftX = plane ? d.log2_chroma_w : 0, shiftY = plane ? d.log2_chroma_h : 0;
        for (int y = 0; y < frame.height >> shiftY; ++y)
            pixels.append(reinterpret_cast<const char*>(frame.data[plane]) + y * frame.linesize[plane],
                          static_cast<std::size_t>((frame.width >> shiftX) * d.comp[plane].step));
    }
    return pixels;
}

std::string pixelsOf(const Surface& surface) {
    const ImageView view = surface.view();
    std::string pixels;
    for (int y = 0; y < view.height; ++y)
        pixels.append(reinterpret_cast<const char*>(view.data + y * view.stride),
                      static_cast<std::size_t>(view.width) * 4);
    return pixels;
}

/// Takes what a renderer delivers; its thread may be held at the gate.
class Counter {
  public:
    void deliver(const PreviewResult& result) {
        std::unique_lock guard(m_lock);
        m_results.push_back(result);
        m_changed.notify_all();
        m_changed.wait(guard, [&] { return !m_closed; });
    }
    void close(bool closed) {
        const std::lock_guard guard(m_lock);
        m_closed = closed;
        m_changed.notify_all();
    }
    PreviewResult take() {
        std::unique_lock guard(m_lock);
        m_changed.wait(guard, [&] { return !m_results.empty(); });
        PreviewResult result = std::move(m_results.front());
        m_results.pop_front();
        return result;
    }

  private:
    std::mutex m_lock;
    std::condition_variable m_changed;
    std::deque<PreviewResult> m_results;
    bool m_closed = false;
};

class PreviewTest : public CommandTest {
  protected:
    PreviewTest() : m_renderer(module(), [this](const PreviewResult& result) { m_counter.deliver(result); }) {
        quietLog(false);
    }

    PreviewResult rendered(const std::shared_ptr<const Project>& project, std::int64_t frame,
                           const PreviewOptions& options = {}) {
        const std::uint64_t number = m_renderer.request(project, frame, options);
        PreviewResult result = m_counter.take();
        EXPECT_EQ(result.request, number);
        EXPECT_EQ(result.frame, frame);
        return result;
    }

    std::shared_ptr<const Project> project(const std::string& text) const {
        return std::make_shared<const Project>(parseProject(module(), text, path("")));
    }

    /// Every frame of the preview, out of order, against the command's rendering of the same project.
    void sameAsRendered(const std::string& text) {
        write("p.larkmoor", text);
        run("render p.larkmoor -y -o all.raw --raw bgra");
        const auto made = project(text);
        const PictureFacts facts = m_renderer.facts(*made);
        const std::string all = content("all.raw");
        const std::size_t size = static_cast<std::size_t>(facts.width) * static_cast<std::size_t>(facts.height) * 4;
        const std::int64_t count = static_cast<std::int64_t>(all.size() / size);
        ASSERT_GT(count, 1);
        if (!made->out) {
            EXPECT_EQ(facts.frames - made->in, count);
        }
        for (std::int64_t i = 0; i < count; ++i) {
            const std::int64_t frame = i * 7 % count;
            const PreviewResult result = rendered(made, made->in + frame);
            ASSERT_EQ(result.error, "");
            ASSERT_TRUE(pixelsOf(result.after) == all.substr(static_cast<std::size_t>(frame) * size, size)) << frame;
        }
    }

    Counter m_counter;
    PreviewRenderer m_renderer;
};

TEST_F(PreviewTest, AnyFrameIsTheOneThatReadingOnGives) {
    clip("b.mp4", "-c:v libx264 -bf 3 -g 12 -pix_fmt yuv420p", "2");
    clip("open.mkv",
         "-vf \"select='not(between(n,9,13))'\" -vsync vfr -c:v libx264 -bf 2 -g 10 -x264-params open-gop=1 "
         "-pix_fmt yuv420p",
         "2");
    clip("long.ts", "-c:v mpeg2video -bf 2 -g 15 -q:v 3", "2");
    clip("f%03d.png", "-start_number 7 -pix_fmt rgb24", "1");
    clip("one.png", "-frames:v 1");
    for (const std::string name : {"b.mp4", "open.mkv", "long.ts", "f%03d.png", "one.png"}) {
        SCOPED_TRACE(name);
        std::vector<std::string> want;
        std::vector<std::int64_t> times;
        Reader reader(path(name), {});
        for (ReadFrame read = reader.next(); read.frame; read = reader.next()) {
            want.push_back(pixelsOf(*read.frame));
            times.push_back(read.time100ns);
        }
        // Room for a few frames only, and for all.
        for (const std::size_t room : {std::size_t{40000}, std::size_t{1} << 24}) {
            PreviewSource source(path(name), {}, room);
            EXPECT_EQ(source.exactCount(), std::ssize(want));
            EXPECT_EQ(source.count(), std::ssize(want));
            std::mt19937 random(3);
            std::int64_t number = 0;
            for (int i = 0; i < 60; ++i) {
                const DecodedFrame decoded = source.frame(number);
                ASSERT_TRUE(pixelsOf(*decoded.frame) == want[static_cast<std::size_t>(number)]) << number;
                EXPECT_EQ(decoded.time100ns, times[static_cast<std::size_t>(number)]);
                // Jumps, and steps back.
                number = i % 3 && number ? number - 1 : static_cast<std::int64_t>(random() % want.size());
            }
            EXPECT_THROW(source.frame(std::ssize(want)), Error);
            EXPECT_THROW(source.frame(-1), Error);
            EXPECT_TRUE(pixelsOf(*source.frame(0).frame) == want[0]);
        }
    }
    EXPECT_THROW(PreviewSource(path("none.mp4")), Error);
}

TEST_F(PreviewTest, FramesAreThoseOfTheRenderedProject) {
    clip("in.mp4", "-c:v libx264 -bf 2 -g 9 -pix_fmt yuv420p");
    clip("in.mkv", "-vf \"select='not(between(n,3,5))',setsar=4/3\" -vsync vfr -c:v ffv1 -pix_fmt yuv422p");
    ffmpeg("-f lavfi -i testsrc=size=64x64:rate=15:duration=1 -c:v libx264 -pix_fmt yuv444p b.mp4");
    clip("a.png", "-frames:v 1");
    const std::string effects = R"("effects": [
        {"effect": "Levels", "fields": {"gamma": "0.5"}, "ramp": {"fields": {"gamma": "2"}}},
        {"effect": "Text", "over": true, "fields": {"text": "Wind", "font": "Liberation Sans Bold 20"}},
        {"effect": "Gaussian Blur"}, {"effect": "Invert", "on": false}, {"effect": "Timecode"}])";
    const std::string head = R"({"larkmoor project": 1, "source": )";
    const auto source = [](const std::string& name) { return R"({"kind": "clip", "path": ")" + name + "\"}, "; };
    sameAsRendered(head + source("in.mp4") + effects + "}");
    sameAsRendered(head + source("in.mp4") + R"("in": 5, "out": 20, )" + effects + "}");
    sameAsRendered(head + source("in.mkv") + effects + "}");
    const std::string second = R"("duration": 0.4, "transition": {"effect": "Iris", "ramp": {"fields": {"feather":
        "0.5"}}}}, )";
    for (const auto& [first, next] : {std::pair("in.mp4", "b.mp4"),
                                      {"in.mkv", "in.mp4"},
                                      {"a.png", "b.mp4"},
                                      {"b.mp4", "a.png"},
                                      {"b.mp4", "in.mkv"}}) {
        SCOPED_TRACE(first + std::string(" ") + next);
        sameAsRendered(head + source(first) + R"("second": {"path": ")" + next + "\", " + second + effects + "}");
    }
    const std::string made = R"({"kind": "generator", "generator": {"effect": "Test Pattern"}, "size": "96x64",
        "rate": "10", "duration": 0.5})";
    sameAsRendered(head + made + R"(, "in": 1})");
    sameAsRendered(head + made + ", " + effects + "}");
}

TEST_F(PreviewTest, TheNewestWishWins) {
    clip("in.mkv", "-pix_fmt bgr0 -c:v ffv1");
    const auto made = project(R"({"larkmoor project": 1, "source": {"kind": "clip", "path": "in.mkv"}})");
    m_counter.close(true);
    const std::uint64_t first = m_renderer.request(made, 0);
    EXPECT_EQ(m_counter.take().request, first);
    // The renderer now stands in the delivery of the first.
    for (int frame = 1; frame < 5; ++frame) m_renderer.request(made, frame);
    const std::uint64_t newest = m_renderer.request(made, 9, {.half = true, .wantBefore = true});
    m_counter.close(false);
    const PreviewResult result = m_counter.take();
    EXPECT_EQ(result.request, newest);
    EXPECT_EQ(result.frame, 9);
    EXPECT_TRUE(result.half);
    EXPECT_EQ(newest, first + 5);
    EXPECT_EQ(rendered(made, 3).error, "");
}

TEST_F(PreviewTest, BeforeAfterAndHalf) {
    clip("in.mkv", "-vf format=gbrp,geq=r=32:g=64:b=96,crop=95:63:0:0:exact=1 -pix_fmt bgr0 -c:v ffv1", "0.2");
    const auto made = project(R"({"larkmoor project": 1, "source": {"kind": "clip", "path": "in.mkv"},
        "effects": [{"effect": "Invert"}]})");
    for (const bool half : {false, true}) {
        const PreviewResult result = rendered(made, 2, {.half = half, .wantBefore = true});
        ASSERT_EQ(result.error, "");
        EXPECT_EQ(result.after.view().width, half ? 48 : 95);
        EXPECT_EQ(result.after.view().height, half ? 32 : 63);
        EXPECT_EQ(pixelsOf(result.before).substr(0, 4), "\x60\x40\x20\xFF");
        EXPECT_EQ(pixelsOf(result.after).substr(0, 4), "\x9F\xBF\xDF\xFF");
    }
    EXPECT_FALSE(rendered(made, 2).before);
    // What was delivered stays as it was while others are rendered.
    const PreviewResult kept = rendered(made, 1, {.wantBefore = true});
    const std::string before = pixelsOf(kept.before), after = pixelsOf(kept.after);
    Project changed = *made;
    for (int i = 0; i < 8; ++i) {
        setFieldText(changed.effects[0].info->field("amount"), changed.effects[0].record, std::to_string(i / 10.0));
        rendered(std::make_shared<const Project>(changed), i % 5);
    }
    EXPECT_EQ(pixelsOf(kept.before), before);
    EXPECT_EQ(pixelsOf(kept.after), after);
}

TEST_F(PreviewTest, ChangesOfTheStackShowAtOnce) {
    clip("in.mkv", "-pix_fmt bgr0 -c:v ffv1", "0.2");
    const std::string effects[] = {
        R"({"effect": "Invert"})",
        R"({"effect": "Invert", "fields": {"amount": "0.3"}})",
        R"({"effect": "Invert", "fields": {"amount": "0.3"}, "ramp": {"from": 0, "to": 4, "fields": {"amount": "1"}}})",
        R"({"effect": "Invert", "fields": {"amount": "0.3"}})",
        R"({"effect": "Sepia"}, {"effect": "Invert"})",
        R"({"effect": "Sepia"}, {"effect": "Text", "over": true, "fields": {"text": "A"}})",
        R"({"effect": "Sepia"}, {"effect": "Text", "over": true, "fields": {"text": "Be"}})",
        R"({"effect": "Text", "over": true, "fields": {"text": "Be"}}, {"effect": "Sepia"})",
        "",
    };
    for (const std::string& effect : effects) {
        SCOPED_TRACE(effect);
        const auto made = project(R"({"larkmoor project": 1, "source": {"kind": "clip", "path": "in.mkv"},
            "effects": [)" + effect +
                                  "]}");
        const PreviewResult kept = rendered(made, 3);
        ASSERT_EQ(kept.error, "");
        Counter fresh;
        PreviewRenderer other(module(), [&](const PreviewResult& result) { fresh.deliver(result); });
        other.request(made, 3);
        EXPECT_TRUE(pixelsOf(kept.after) == pixelsOf(fresh.take().after));
    }
}

TEST_F(PreviewTest, FailuresAreSentences) {
    clip("in.mkv", "-pix_fmt bgr0 -c:v ffv1", "0.2");
    clip("in.exr", "-frames:v 1 -pix_fmt gbrpf32le");
    const auto made = project(R"({"larkmoor project": 1, "source": {"kind": "clip", "path": "in.mkv"}})");
    EXPECT_THAT(rendered(made, 5).error, HasSubstr("has no frame 5"));
    EXPECT_FALSE(rendered(made, -1).after);
    const auto none = project(R"({"larkmoor project": 1, "source": {"kind": "clip", "path": "none.mkv"}})");
    EXPECT_THAT(rendered(none, 0).error, HasSubstr("cannot open"));
    EXPECT_THROW(m_renderer.facts(*none), Error);
    EXPECT_EQ(rendered(made, 4).error, "");
    const auto floats = project(R"({"larkmoor project": 1, "source": {"kind": "clip", "path": "in.exr"},
        "effects": [{"effect": "Invert"}]})");
    EXPECT_EQ(rendered(floats, 0).error, "");
    EXPECT_EQ(rendered(floats, 0, {.half = true}).after.view().width, 48);
}

TEST_F(PreviewTest, ACutClipDoesNotSpoilOthers) {
    clip("in.mkv", "-pix_fmt bgr0 -c:v ffv1");
    shell("head -c $(($(stat -c %s in.mkv) / 2)) in.mkv >cut.mkv");
    const auto readAll = [&](const std::string& name, bool strict = false) {
        std::int64_t count = 0;
        Reader reader(path(name), {.policy = {.strict = strict}});
        while (reader.next().frame) ++count;
        EXPECT_EQ(reader.damageTold().empty(), name != "cut.mkv");
        return count;
    };
    EXPECT_THROW(readAll("cut.mkv", true), Error);
    EXPECT_LT(readAll("cut.mkv"), 25);
    EXPECT_EQ(readAll("in.mkv"), 25);
    // What would go to standard error can be taken elsewhere.
    clip("f%d.png", "", "0.2");
    shell("rm f3.png");
    std::string note;
    takeWarnings([&](std::string_view sentence) { note = sentence; });
    EXPECT_EQ(readAll("f%d.png"), 2);
    takeWarnings({});
    EXPECT_THAT(note, HasSubstr("has no number 3"));
}

TEST(Thumbnail, EveryEffectTakesASmallPicture) {
    Surface picture = Surface::create(PixelFormat::PremultipliedArgb32, 40, 30);
    std::memset(picture.view().data, 0x80, static_cast<std::size_t>(picture.view().stride) * 30);
    for (const EffectInfo& info : module().effects()) {
        SCOPED_TRACE(info.name);
        Surface made;
        ASSERT_NO_THROW(made = thumbnail(module(), info, info.defaults, picture, 0.1));
        EXPECT_EQ(made.view().width, 40);
    }
    const Surface inverted = thumbnail(module(), module().find("Invert"), module().find("Invert").defaults, picture);
    EXPECT_EQ(pixelsOf(inverted).substr(0, 4), std::string("\0\0\0\x80", 4));
}

} // namespace
