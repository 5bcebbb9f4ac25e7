// The plug-ins in the hosts themselves against the command, byte for byte, and the examples of the page.
#include <algorithm>
#include <array>
#include <cmath>
#include <random>
#include <sstream>

#include "apps/command.h"
#include "catalog.h"

namespace {

using namespace larkmoor;
using namespace larkmoor::frei0r;

struct Size {
    int width, height;
    bool opaque = true;
};

std::string sizeText(const Size& size) {
    return std::to_string(size.width) + "x" + std::to_string(size.height);
}

std::string plain(double value, int digits) {
    std::ostringstream text;
    text.precision(digits);
    text << value;
    return text.str();
}

/// The same setting in the words of a host and of the command.
struct Setting {
    std::string host, command;
};

double numberAt(std::size_t index) {
    return static_cast<double>((index * 3 + 1) % 8) / 8;
}

/// Settings other than the defaults, spread by the parameter's place.
Setting settingOf(const Parameter& parameter, std::size_t index) {
    const double initial = parameter.type == F0R_PARAM_DOUBLE ? std::get<double>(parameter.initial) : 0;
    if (parameter.role != Role::Field) return {plain(parameter.role == Role::FrameRate ? 25.0 / 240 : initial, 17), ""};
    const tFieldInfo& field = *parameter.field;
    const std::string name = field.name;
    if (field.kind == KWFIELD_TEXT) return {"Ab", "--set '" + name + "=Ab'"};
    if (field.kind == KWFIELD_FONT) return {"Serif 12", "--set '" + name + "=Serif 12'"};
    if (field.kind == KWFIELD_SWITCH) {
        const bool on = index % 2 == 0;
        return {on ? "y" : "n", "--set " + name + (on ? "=on" : "=off")};
    }
    // A colour and its alpha are set together on the command line.
    if (field.kind == KWFIELD_COLOR)
        return parameter.type == F0R_PARAM_COLOR ? Setting{"0x12ABFE", "--set " + name + "='#12ABFE33'"}
                                                 : Setting{"0.2", ""};
    if (field.kind == KWFIELD_CHOICE) {
        const auto choice = static_cast<LONG>((index * 5 + 1) % static_cast<std::size_t>(field.choiceCount));
        return {plain(field.choiceCount > 1 ? double(choice) / (field.choiceCount - 1) : 0.0, 17),
                "--set " + name + "=" + std::to_string(field.choices[choice].value)};
    }
    const auto real = [&](std::size_t at) { return field.minimum + numberAt(at) * (field.maximum - field.minimum); };
    std::string command =
        "--set " + name + "=" + plain(field.kind == KWFIELD_WHOLE ? std::round(real(index)) : real(index), 12);
    // So are the two numbers of a point.
    if (field.kind == KWFIELD_POINT) command = parameter.element == 0 ? command + "," + plain(real(index + 1), 12) : "";
    return {plain(numberAt(index), 17), command};
}

/// What a build with a checking tool needs for its plug-ins to open in a program without.
std::string environment() {
    std::string text = "FREI0R_PATH=" LARKMOOR_FREI0R_FOLDER " ";
#if defined(__SANITIZE_ADDRESS__)
    text += "ASAN_OPTIONS=detect_leaks=0 LD_PRELOAD=$(c++ -print-file-name=libasan.so) ";
#endif
    return text;
}

class HostTest : public CommandTest {
  protected:
    void SetUp() override {
#if defined(__SANITIZE_THREAD__)
        GTEST_SKIP() << "a program without ThreadSanitizer cannot open plug-ins with it";
#endif
    }
    bool has(const std::string& program) const {
        return shell("command -v " + program).status == 0;
    }

    const std::vector<Plugin>& plugins(int type) {
        static const Catalog catalog(LARKMOOR_MODULE_FILE);
        m_plugins.clear();
        for (const Plugin& plugin : catalog.plugins())
            if (plugin.type == type) m_plugins.push_back(plugin);
        return m_plugins;
    }

    /// `count` frames of noise in NAME.raw, and the first of them in NAME.png.
    void pictures(const std::string& name, const Size& size, int count, unsigned seed) const {
        std::minstd_rand random(seed);
        std::string bytes(std::size_t(size.width) * std::size_t(size.height) * 4 * std::size_t(count), 0);
        for (std::size_t i = 0; i < bytes.size(); ++i)
            bytes[i] = static_cast<char>(size.opaque && i % 4 == 3 ? 255 : random() >> 8);
        write(name + ".raw", bytes);
        ffmpeg("-f rawvideo -pix_fmt bgra -s " + sizeText(size) + " -i " + name + ".raw -frames:v 1 -pix_fmt rgba " +
               name + ".png");
    }

    void must(const std::string& line) const {
        const Outcome outcome = shell(line);
        EXPECT_EQ(outcome.status, 0) << line << "\n" << outcome.err;
    }

    /// The command's picture of `name`.raw.
    std::string rendered(const Plugin& plugin, const std::string& input, const Size& size, const std::string& options) {
        run("render " + input + ".raw --raw " + sizeText(size) + ":bgra:25 --effect '" + plugin.info->name + "' " +
            options + " -y -o want.raw");
        return content("want.raw");
    }

    /// All settings of the command, and those of the host by position.
    static std::string commandSettings(const Plugin& plugin) {
        std::string text;
        for (std::size_t i = 0; i < plugin.parameters.size(); ++i)
            text += settingOf(plugin.parameters[i], i).command + " ";
        return text;
    }
    static std::string positionalSettings(const Plugin& plugin) {
        std::string text;
        for (std::size_t i = 0; i < plugin.parameters.size(); ++i)
            text += (i ? "|" : "") + settingOf(plugin.parameters[i], i).host;
        return text;
    }
    /// In the fields' own units where there are such parameters.
    static std::string namedSettings(const Plugin& plugin) {
        std::string text;
        for (std::size_t i = plugin.type == F0R_PLUGIN_TYPE_MIXER2; i < plugin.parameters.size(); ++i) {
            const auto isOfThis = [&](const Parameter& p) { return p.role == Role::OwnUnit && p.twin == i; };
            if (std::ranges::any_of(plugin.parameters, isOfThis)) continue;
            std::string value = settingOf(plugin.parameters[i], i).host;
            if (const Parameter& own = plugin.parameters[i]; own.role == Role::OwnUnit) {
                const bool field = plugin.parameters[own.twin].role == Role::Field;
                value = plain(
                    field ? plugin.parameters[own.twin].real(numberAt(own.twin)) : std::get<double>(own.initial), 15);
            }
            if (value == "y" || value == "n") value = value == "y" ? "1" : "0";
            if (plugin.parameters[i].type == F0R_PARAM_COLOR) value += "ff";
            text += " " + std::to_string(i) + "='" + value + "'";
        }
        return text;
    }

    std::string profile(const Size& size) const {
        const std::string w = std::to_string(size.width), h = std::to_string(size.height);
        write("profile", "description=test\nframe_rate_num=25\nframe_rate_den=1\nprogressive=1\nwidth=" + w +
                             "\nheight=" + h + "\nsample_aspect_num=1\nsample_aspect_den=1\ndisplay_aspect_num=" + w +
                             "\ndisplay_aspect_den=" + h + "\ncolorspace=709\n");
        return environment() + "timeout 240 melt -silent -profile profile ";
    }
    /// What melt writes to got.raw: all of it or nothing. Its writer's thread may look whether it runs before that is
    /// noted (melt 7.12, with and without our plug-ins, on a busy machine); it then ends without a frame and without a
    /// complaint, or never. So what fails is tried again, and fails when it fails each time.
    std::string melted(const std::string& line) const {
        Outcome outcome;
        for (int tries = 0; tries < kMeltTries; ++tries) {
            outcome = shell("rm -f got.raw; " + line);
            if (std::string got = content("got.raw"); outcome.status == 0 && !got.empty()) return got;
        }
        ADD_FAILURE() << line << "\nends with " << outcome.status << "\n" << outcome.err;
        return "";
    }
    static constexpr int kMeltTries = 8;
    static constexpr const char* kToRaw =
        " -consumer avformat:got.raw f=rawvideo vcodec=rawvideo pix_fmt=bgra an=1 real_time=-1";

  private:
    std::vector<Plugin> m_plugins;
};

class HostSizes : public HostTest, public testing::WithParamInterface<Size> {};

#if defined(__SANITIZE_ADDRESS__)
constexpr Size kSizes[]{{37, 23}, {37, 23, false}}; // larger ones show no other fault there, and take minutes
#else
constexpr Size kSizes[]{{37, 23}, {37, 23, false}, {720, 576}, {1920, 1080}};
#endif
INSTANTIATE_TEST_SUITE_P(Frei0r, HostSizes, testing::ValuesIn(kSizes),
                         [](const auto& info) { return sizeText(info.param) + (info.param.opaque ? "" : "clear"); });

TEST_P(HostSizes, FiltersEqualTheCommand) {
    const Size size = GetParam();
    const bool hasFfmpeg = has("ffmpeg");
    // Its own path does not keep what stands under clear pixels.
    const bool hasMelt = size.opaque && has("melt");
    const auto& all = plugins(F0R_PLUGIN_TYPE_FILTER);
    const int frames = size.width > 1000 ? 1 : 2;
    pictures("in", size, frames, 1);
    // One run for all: the picture goes through every plug-in by itself.
    std::string graph = "[0:v]split=" + std::to_string(all.size()), parts, outputs, clips;
    for (std::size_t i = 0; i < all.size(); ++i) {
        const std::string n = std::to_string(i);
        graph += "[i" + n + "]";
        parts += ";[i" + n + "]frei0r=filter_name=" + all[i].fileName + ":filter_params='" +
                 positionalSettings(all[i]) + "'[o" + n + "]";
        outputs += " -map [o" + n + "] -f rawvideo -pix_fmt bgra got" + n + ".raw";
        clips += " avformat:in.png out=0 -attach-cut frei0r." + all[i].fileName + namedSettings(all[i]);
    }
    if (hasFfmpeg)
        must(environment() + "ffmpeg -nostdin -v error -y -f rawvideo -pix_fmt bgra -r 25 -s " + sizeText(size) +
             " -i in.raw -filter_complex \"" + graph + parts + "\"" + outputs);
    const std::string got = hasMelt ? melted(profile(size) + clips + kToRaw) : "";
    const std::size_t bytes = std::size_t(size.width) * std::size_t(size.height) * 4;
    ASSERT_EQ(got.size(), hasMelt ? bytes * all.size() : 0);
    for (std::size_t i = 0; i < all.size(); ++i) {
        SCOPED_TRACE(all[i].fileName + " " + commandSettings(all[i]));
        const std::string want = rendered(all[i], "in", size, commandSettings(all[i]));
        ASSERT_EQ(want.size(), bytes * static_cast<std::size_t>(frames));
        if (hasFfmpeg) {
            EXPECT_TRUE(content("got" + std::to_string(i) + ".raw") == want) << "ffmpeg";
        }
        if (hasMelt) {
            EXPECT_TRUE(got.compare(i * bytes, bytes, want, 0, bytes) == 0) << "melt";
        }
    }
    if (!hasFfmpeg || (size.opaque && !hasMelt)) GTEST_SKIP() << "ffmpeg or melt is not installed";
}

TEST_P(HostSizes, FfmpegsSourceEqualsTheCommand) {
    if (!has("ffmpeg")) GTEST_SKIP() << "ffmpeg is not installed";
    const Size size = GetParam();
    for (const Plugin& plugin : plugins(F0R_PLUGIN_TYPE_SOURCE)) {
        must(environment() + "ffmpeg -nostdin -v error -y -f lavfi -i \"frei0r_src=size=" + sizeText(size) +
             ":framerate=25:filter_name=" + plugin.fileName + ":filter_params='" + positionalSettings(plugin) +
             "'\" -frames:v 1 -f rawvideo -pix_fmt bgra got.raw");
        run("generate '" + plugin.info->name + "' --size " + sizeText(size) + " " + commandSettings(plugin) +
            " --raw bgra --duration 0.04 -y -o want.raw");
        EXPECT_TRUE(content("got.raw") == content("want.raw")) << plugin.fileName;
    }
}

TEST_P(HostSizes, MeltsTransitionEqualsTheCommand) {
    if (!has("melt")) GTEST_SKIP() << "melt is not installed";
    const Size size = GetParam();
    if (!size.opaque) return; // its own path does not keep what stands under clear pixels
    pictures("a", size, 1, 3);
    pictures("b", size, 1, 4);
    constexpr int kFrames = 3;
    const auto& all = plugins(F0R_PLUGIN_TYPE_MIXER2);
    std::string clips;
    for (const Plugin& plugin : all)
        clips += " avformat:a.png out=3 avformat:b.png out=3 -mix 3 -mixer frei0r." + plugin.fileName +
                 " position='0=0;-1=1'" + namedSettings(plugin);
    const std::string got = melted(profile(size) + clips + kToRaw);
    const std::size_t bytes = std::size_t(size.width) * std::size_t(size.height) * 4;
    // A frame of the first alone, the transition, a frame of the second alone.
    ASSERT_EQ(got.size(), bytes * (kFrames + 2) * all.size());
    for (std::size_t i = 0; i < all.size(); ++i) {
        run("join a.png b.png --transition '" + all[i].info->name + "' --duration 0.12 " + commandSettings(all[i]) +
            " --raw bgra -y -o want.raw");
        const std::string want = content("want.raw");
        ASSERT_EQ(want.size(), bytes * kFrames);
        EXPECT_TRUE(got.compare((i * (kFrames + 2) + 1) * bytes, want.size(), want) == 0)
            << all[i].fileName << " " << commandSettings(all[i]);
    }
}

// One instance for two threads, and one for each worker with the frames out of order.
TEST_F(HostTest, MeltsThreadsGiveTheSamePictures) {
    if (!has("melt")) GTEST_SKIP() << "melt is not installed";
    const Size size{96, 64};
    pictures("in", size, 1, 5);
    std::array<std::string, 2> got;
    const std::array<std::string, 2> ways{"real_time=-1", "real_time=-2"};
    for (std::size_t i = 0; i < ways.size(); ++i) {
        got[i] = melted(profile(size) +
                        "avformat:in.png out=19 -attach-cut frei0r.larkmoor_add_noise -consumer avformat:got.raw "
                        "f=rawvideo vcodec=rawvideo pix_fmt=bgra an=1 " +
                        ways[i]);
    }
    EXPECT_EQ(got[0].size(), 96u * 64 * 4 * 20);
    EXPECT_TRUE(got[0] == got[1]);
    const std::string still = profile(size) + "avformat:in.png out=19 -attach-cut frei0r.larkmoor_invert";
    EXPECT_TRUE(melted(still + " threads=0" + kToRaw) == melted(still + kToRaw));
}

/// The commands of the page: every block that is marked as a shell's.
std::vector<std::string> examples() {
    std::ifstream page(LARKMOOR_SOURCE_FOLDER "/docs/plug-ins.md");
    std::vector<std::string> found;
    bool inside = false;
    for (std::string line; std::getline(page, line);) {
        if (inside && line == "```")
            inside = false;
        else if (line == "```sh") {
            inside = true;
            found.emplace_back();
        } else if (inside)
            found.back() += line + "\n";
    }
    return found;
}

TEST_F(HostTest, ExamplesOfThePageRun) {
    ASSERT_FALSE(examples().empty());
    ffmpeg("-f lavfi -i testsrc2=size=320x180:rate=25:duration=1 -c:v mpeg4 a.mp4");
    ffmpeg("-f lavfi -i smptebars=size=320x180:rate=25:duration=1 -c:v mpeg4 b.mp4");
    std::string missing;
    for (const std::string& example : examples()) {
        if (example.starts_with("export ")) continue;
        std::string absent;
        for (const char* const program : {"ffmpeg", "melt", "gst-launch-1.0"})
            if (example.find(program) != std::string::npos && !has(program)) absent = program;
        if (!absent.empty()) {
            missing += absent + " is not installed. ";
            continue;
        }
        write("example.sh", "set -e -o pipefail\nlarkmoor() { LD_PRELOAD= " LARKMOOR_COMMAND_FILE
                            " \"$@\"; }\nmelt() { timeout 120 melt \"$@\"; }\n" +
                                example);
        Outcome outcome;
        bool written = false;
        for (int tries = example.find("melt ") == std::string::npos ? 1 : kMeltTries; !written && tries > 0; --tries) {
            shell("rm -f out.*");
            outcome = shell(environment() + "bash example.sh");
            for (const std::string& name : names())
                if (outcome.status == 0 && name.starts_with("out."))
                    written = std::filesystem::file_size(path(name)) > 500;
        }
        EXPECT_TRUE(written) << example << outcome.status << "\n" << outcome.err;
    }
    if (!missing.empty()) GTEST_SKIP() << missing;
}

} // namespace
