// The frei0r plug-ins under a small host of its own.
#include "bridges/plugin_file.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <random>
#include <set>
#include <thread>

#include <gmock/gmock.h>
#include <sys/mman.h>

#include "guarded_text.h"
#include "host/alpha.h"

namespace {

using namespace larkmoor;
using namespace larkmoor::frei0r;
using Pixels = std::vector<std::uint32_t>;

std::size_t indexOf(const Plugin& plugin, const std::string& name) {
    for (std::size_t i = 0; i < plugin.parameters.size(); ++i)
        if (plugin.parameters[i].name == name) return i;
    throw Error("no parameter " + name);
}

Pixels picture(unsigned width, unsigned height, unsigned seed, bool opaque) {
    std::minstd_rand random(seed + 1);
    Pixels pixels(std::size_t{width} * height);
    for (auto& pixel : pixels) pixel = static_cast<std::uint32_t>(random() * 65539u) | (opaque ? 0xFF000000u : 0);
    return pixels;
}

/// The pictures' effect by the host library, in the steps that the command takes.
Pixels expected(const Plugin& plugin, std::span<const std::byte> record, float progress, Pixels first, Pixels second,
                unsigned width, unsigned height) {
    Effect effect = catalog().module().create(*plugin.info);
    effect.setBlending(false);
    effect.setRecord(record);
    Pixels out(first.size());
    const auto wrap = [&](Pixels& pixels, PixelFormat format) {
        const Surface surface = Surface::wrap({reinterpret_cast<std::byte*>(pixels.data()), static_cast<int>(width),
                                               static_cast<int>(height), std::ptrdiff_t{width} * 4, format});
        Surface(surface).setInfo({1, 25, 0});
        return surface;
    };
    if (plugin.type == F0R_PLUGIN_TYPE_SOURCE) {
        effect.generate(wrap(out, PixelFormat::Argb32));
        return out;
    }
    std::vector<Surface> inputs{wrap(first, PixelFormat::PremultipliedArgb32)};
    if (plugin.type == F0R_PLUGIN_TYPE_MIXER2) {
        inputs.push_back(wrap(second, PixelFormat::PremultipliedArgb32));
        effect.setProgress(progress);
    }
    const Pixels given[] = {first, second}; // what comes back whole where nothing changes
    for (const Surface& input : inputs) premultiply(input.view());
    const Surface target = wrap(out, PixelFormat::PremultipliedArgb32);
    effect.render(inputs, target);
    if (out == first) return given[0];
    if (inputs.size() > 1 && out == second) return given[1];
    unpremultiply(target.view());
    return out;
}

struct Constructed {
    Constructed(const Plugin& from, unsigned w, unsigned h)
        : file(from.fileName), width(w), height(h), instance(file.construct(w, h)),
          mixes(from.type == F0R_PLUGIN_TYPE_MIXER2) {}
    ~Constructed() { file.destruct(instance); }
    void set(std::size_t index, double value) { file.set(instance, &value, static_cast<int>(index)); }
    double get(std::size_t index) {
        double value = -1;
        file.get(instance, &value, static_cast<int>(index));
        return value;
    }
    Pixels draw(const Pixels& first, const Pixels& second, double time = 0) {
        Pixels out(std::size_t{width} * height, 0x12345678u);
        if (mixes)
            file.update2(instance, time, first.data(), second.data(), nullptr, out.data());
        else
            file.update(instance, time, first.data(), out.data());
        return out;
    }
    PluginFile file;
    unsigned width, height;
    f0r_instance_t instance;
    bool mixes;
};

TEST(Frei0r, EveryEffectHasItsPlugin) {
    ASSERT_EQ(catalog().plugins().size(), catalog().module().effects().size());
    for (const Plugin& plugin : catalog().plugins()) {
        SCOPED_TRACE(plugin.fileName);
        PluginFile file(plugin.fileName);
        ASSERT_TRUE(file.construct);
        EXPECT_EQ(file.init(), 1);
        f0r_plugin_info_t info;
        std::memset(&info, 0xA5, sizeof info);
        file.pluginInfo(&info);
        EXPECT_EQ(info.name, "Larkmoor " + plugin.info->name);
        EXPECT_STREQ(info.author, "Larkmoor");
        EXPECT_EQ(info.plugin_type, plugin.info->kind == EffectKind::Filter       ? F0R_PLUGIN_TYPE_FILTER
                                    : plugin.info->kind == EffectKind::Transition ? F0R_PLUGIN_TYPE_MIXER2
                                                                                  : F0R_PLUGIN_TYPE_SOURCE);
        EXPECT_EQ(info.color_model, F0R_COLOR_MODEL_BGRA8888);
        EXPECT_EQ(info.frei0r_version, 1);
        EXPECT_TRUE(info.explanation && *info.explanation);
        ASSERT_EQ(info.num_params, static_cast<int>(plugin.parameters.size()));
        const auto instance = file.construct(8, 8);
        ASSERT_TRUE(instance);
        std::set<std::string> names;
        for (int i = 0; i < info.num_params; ++i) {
            f0r_param_info_t param;
            std::memset(&param, 0xA5, sizeof param);
            file.paramInfo(&param, i);
            EXPECT_TRUE(names.insert(param.name).second) << param.name;
            EXPECT_NE(param.type, F0R_PARAM_POSITION);
            EXPECT_TRUE(param.explanation && *param.explanation);
            if (param.type != F0R_PARAM_DOUBLE && param.type != F0R_PARAM_BOOL) continue;
            double value = -1;
            file.get(instance, &value, i);
            const Parameter& own = plugin.parameters[static_cast<std::size_t>(i)];
            EXPECT_TRUE(value >= own.lowest() && value <= own.highest()) << param.name << " " << value;
        }
        if (info.plugin_type == F0R_PLUGIN_TYPE_MIXER2) {
            EXPECT_EQ(plugin.parameters[0].role, Role::Progress);
        }
        // An end before the instance's, and a second life.
        file.deinit();
        EXPECT_EQ(file.init(), 1);
        file.destruct(instance);
        file.deinit();
    }
}

TEST(Frei0r, DefaultsGiveTheEffectsOwnPicture) {
    for (const Plugin& plugin : catalog().plugins()) {
        for (const auto& [width, height] : {std::pair{1u, 1u}, {37u, 23u}, {64u, 1u}, {1u, 64u}, {130u, 70u}})
            for (const bool opaque : {true, false}) {
                SCOPED_TRACE(testing::Message()
                             << plugin.fileName << " " << width << "x" << height << (opaque ? " opaque" : ""));
                const Pixels first = picture(width, height, 1, opaque), second = picture(width, height, 2, opaque);
                Constructed it(plugin, width, height);
                if (it.mixes) it.set(0, 0.3);
                const Pixels got = it.draw(first, second);
                EXPECT_EQ(got, expected(plugin, plugin.info->defaults, 0.3f, first, second, width, height));
                // Hosts set what they were told.
                for (std::size_t i = it.mixes; i < plugin.parameters.size(); ++i)
                    if (plugin.parameters[i].type == F0R_PARAM_DOUBLE) it.set(i, it.get(i));
                EXPECT_EQ(it.draw(first, second), got);
            }
    }
}

TEST(Frei0r, ParametersReachTheRecord) {
    for (const Plugin& plugin : catalog().plugins()) {
        std::vector<Value> all;
        for (const Parameter& parameter : plugin.parameters) all.push_back(parameter.initial);
        EXPECT_EQ(recordOf(*plugin.info, plugin.parameters, all), plugin.info->defaults) << plugin.fileName;
        for (std::size_t i = 0; i < plugin.parameters.size(); ++i) {
            const Parameter& parameter = plugin.parameters[i];
            if (parameter.role != Role::Field || parameter.type == F0R_PARAM_STRING) continue;
            const tFieldInfo& field = *parameter.field;
            if (field.count != 1 || field.kind == KWFIELD_COLOR) continue;
            for (const double number : {0.0, 0.125, 0.5, 0.875, 1.0}) {
                SCOPED_TRACE(plugin.fileName + " " + parameter.name + " " + std::to_string(number));
                auto values = all;
                values[i] = number;
                const auto record = recordOf(*plugin.info, plugin.parameters, values);
                const std::string text = fieldText(field, record);
                if (sameValue(values[i], all[i]))
                    EXPECT_EQ(record, plugin.info->defaults);
                else if (field.kind == KWFIELD_SWITCH)
                    EXPECT_EQ(text, number < 0.5 ? "off" : "on");
                else if (field.kind == KWFIELD_CHOICE)
                    EXPECT_EQ(text, field.choices[std::lround(number * (field.choiceCount - 1))].text);
                else {
                    const double real = field.minimum + number * (field.maximum - field.minimum);
                    EXPECT_NEAR(std::stod(text), field.kind == KWFIELD_WHOLE ? std::round(real) : real,
                                1e-6 * (field.maximum - field.minimum));
                    // What a person would type, not the noise of the mapping.
                    EXPECT_LE(text.size(), 15u) << text;
                }
                // The other fields stay.
                auto back = record;
                if (text != fieldText(field, plugin.info->defaults))
                    setFieldText(field, back, fieldText(field, plugin.info->defaults));
                EXPECT_EQ(back, plugin.info->defaults);
            }
        }
        for (std::size_t k = 0; k < plugin.info->presets.size(); ++k) {
            auto values = all;
            const std::size_t index = indexOf(plugin, "preset");
            values[index] = static_cast<double>(k + 1) / static_cast<double>(plugin.info->presets.size());
            EXPECT_EQ(recordOf(*plugin.info, plugin.parameters, values), plugin.info->presets[k].record);
        }
    }
}

// Hosts set what they know of again and again; what changed last is drawn.
TEST(Frei0r, OwnUnitsAndNumbersFrom0To1GiveWay) {
    const Pixels first = picture(130, 70, 1, true), second = picture(130, 70, 2, true);
    std::set<std::string> names;
    for (const Plugin& plugin : catalog().plugins())
        for (std::size_t i = 0; i < plugin.parameters.size(); ++i) {
            const Parameter& own = plugin.parameters[i];
            if (own.role != Role::OwnUnit || plugin.parameters[own.twin].role != Role::Field) continue;
            SCOPED_TRACE(plugin.fileName + " " + own.name);
            const auto at = [&](double number) { return own.minimum + number * (own.maximum - own.minimum); };
            const auto drawn = [&](double number) {
                Constructed it(plugin, 130, 70);
                it.set(own.twin, number);
                if (it.mixes) it.set(0, 0.4);
                return it.draw(first, second);
            };
            const Pixels high = drawn(1), between = drawn(0.25);
            if (between != high) names.insert(own.name);
            Constructed it(plugin, 130, 70);
            if (it.mixes) it.set(0, 0.4);
            const auto set = [&](double ownUnit, double number) {
                it.set(own.twin, number);
                it.set(i, ownUnit);
                EXPECT_EQ(it.get(i), std::clamp(ownUnit, own.minimum, own.maximum));
                EXPECT_EQ(it.get(own.twin), number);
                return it.draw(first, second);
            };
            EXPECT_EQ(set(std::get<double>(own.initial), 1), high);
            EXPECT_EQ(set(at(0.25), 1), between);
            EXPECT_EQ(set(at(0.25), 0.75), drawn(0.75));
            EXPECT_EQ(set(own.maximum + 1, 0.75), high);
        }
    EXPECT_THAT(names, testing::IsSupersetOf({"angleReal", "contrastReal", "gammaReal", "lumaMinReal", "widthReal"}));
}

TEST(Frei0r, ColoursHaveTheBytesOfHexText) {
    const Plugin& plugin = pluginNamed("larkmoor_sepia");
    std::vector<Value> values;
    for (const Parameter& parameter : plugin.parameters) values.push_back(parameter.initial);
    values[indexOf(plugin, "color")] = f0r_param_color_t{18 / 255.0f, 171 / 255.0f, 254 / 255.0f};
    values[indexOf(plugin, "colorAlpha")] = 0.2;
    auto record = plugin.info->defaults;
    setFieldText(plugin.info->field("color"), record, "#12ABFE33");
    EXPECT_EQ(recordOf(*plugin.info, plugin.parameters, values), record);
}

// Whatever else a host may send is for the fuzzer.
TEST(Frei0r, HoldsSizesNumbersAndPicturesToWhatTheyMayBe) {
    for (const Plugin& plugin : catalog().plugins()) {
        SCOPED_TRACE(plugin.fileName);
        PluginFile file(plugin.fileName);
        for (const auto& [width, height] : {std::pair{0u, 8u}, {8u, 0u}, {16385u, 1u}, {1u, 0xFFFFFFFFu}})
            EXPECT_FALSE(file.construct(width, height));
        Constructed it(plugin, 24, 10);
        for (const double wild :
             {-1.0, 2.0, 1e300, -std::numeric_limits<double>::infinity(), std::numeric_limits<double>::quiet_NaN()})
            for (std::size_t i = 0; i < plugin.parameters.size(); ++i) {
                const Parameter& parameter = plugin.parameters[i];
                if (parameter.type == F0R_PARAM_COLOR || parameter.type == F0R_PARAM_STRING) continue;
                it.set(i, wild);
                EXPECT_TRUE(it.get(i) >= parameter.lowest() && it.get(i) <= parameter.highest()) << parameter.name;
            }
        // Where a picture is missing the other stands in.
        const Pixels first = picture(24, 10, 1, false);
        Pixels out(first.size());
        file.update2(it.instance, 0, first.data(), nullptr, nullptr, out.data());
        if (it.mixes) {
            EXPECT_EQ(out, first);
        }
    }
}

TEST(Frei0r, DrawsInPlace) {
    const Plugin& plugin = pluginNamed("larkmoor_gaussian_blur");
    for (const bool opaque : {true, false}) {
        const Pixels source = picture(40, 30, 3, opaque);
        Constructed it(plugin, 40, 30);
        const Pixels apart = it.draw(source, {});
        Pixels same = source;
        it.file.update(it.instance, 0, same.data(), same.data());
        EXPECT_EQ(same, apart);
    }
}

TEST(Frei0r, TakesTheLongestSides) {
    for (const auto& [width, height] : {std::pair{16384u, 2u}, {2u, 16384u}}) {
        const Plugin& plugin = pluginNamed("larkmoor_invert");
        const Pixels source = picture(width, height, 4, true);
        Constructed it(plugin, width, height);
        EXPECT_EQ(it.draw(source, {}), expected(plugin, plugin.info->defaults, 0, source, {}, width, height));
    }
}

TEST(Frei0r, TellsTimeInWhateverUnit) {
    const Plugin& plugin = pluginNamed("larkmoor_add_noise");
    const std::size_t start = indexOf(plugin, "startTime"), rate = indexOf(plugin, "frameRate"),
                      unit = indexOf(plugin, "timeUnit");
    const Pixels grey(64 * 8, 0xFF808080u);
    const auto noiseAt = [&](double seconds) {
        Constructed it(plugin, 64, 8);
        it.set(unit, 0.5);
        return it.draw(grey, {}, seconds);
    };
    const Pixels at0 = noiseAt(0), at40ms = noiseAt(0.04), at80ms = noiseAt(0.08), at1h = noiseAt(3600);
    EXPECT_NE(at0, at40ms);
    EXPECT_NE(at40ms, at80ms);
    Constructed milliseconds(plugin, 64, 8);
    milliseconds.set(unit, 1);
    EXPECT_EQ(milliseconds.draw(grey, {}, 80), at80ms);
    // Any order: nothing of the frame before counts.
    EXPECT_EQ(milliseconds.draw(grey, {}, 40), at40ms);
    Constructed automatic(plugin, 64, 8);
    EXPECT_EQ(automatic.draw(grey, {}, 0.08), at80ms);
    Constructed late(plugin, 64, 8);
    late.set(start, 0.01);
    EXPECT_EQ(late.draw(grey, {}, 0), at1h);
    Constructed typed(plugin, 64, 8);
    typed.set(indexOf(plugin, "startTimeReal"), 1);
    EXPECT_EQ(typed.draw(grey, {}, 0), at1h);
    for (const double unknown : {-3.7e20, -0.001, 1.1e9, std::numeric_limits<double>::quiet_NaN()}) {
        Constructed counted(plugin, 64, 8);
        EXPECT_EQ(counted.draw(grey, {}, unknown), at0);
        EXPECT_EQ(counted.draw(grey, {}, unknown), at40ms);
        counted.set(rate, 12.5 / 240);
        EXPECT_EQ(counted.draw(grey, {}, unknown), noiseAt(0.16));
    }
}

TEST(Frei0r, ReadsTextsFromEitherKindOfPointer) {
    char text[] = "Grüße\nMüller";
    char* pointer = text;
    EXPECT_EQ(guardedText(&pointer), "Grüße\nMüller");
    char letters[] = "A plain text where a pointer to one belongs";
    EXPECT_EQ(guardedText(letters), letters);
    // The last bytes before memory that is not there.
    auto* const pages =
        static_cast<char*>(::mmap(nullptr, 8192, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
    ASSERT_NE(pages, MAP_FAILED);
    ASSERT_EQ(::mprotect(pages + 4096, 4096, PROT_NONE), 0);
    std::memcpy(pages + 4096 - 3, "ab", 3);
    EXPECT_EQ(guardedText(pages + 4096 - 3), "ab");
    std::memcpy(pages + 4096 - 3, "abc", 3);
    EXPECT_EQ(guardedText(pages + 4096 - 3), std::nullopt);
    ::munmap(pages, 8192);
    EXPECT_EQ(guardedText(nullptr), std::nullopt);
    EXPECT_EQ(guardedText(reinterpret_cast<void*>(8)), std::nullopt);
    char broken[] = "\xC3(";
    pointer = broken;
    EXPECT_EQ(guardedText(&pointer), std::nullopt);
    const std::string endless(70000, 'x');
    const char* far = endless.c_str();
    EXPECT_EQ(guardedText(&far), std::nullopt);
}

TEST(Frei0r, TextSurvivesTheWrongPointer) {
    for (const Plugin& plugin : catalog().plugins())
        for (std::size_t i = 0; i < plugin.parameters.size(); ++i) {
            if (plugin.parameters[i].type != F0R_PARAM_STRING) continue;
            SCOPED_TRACE(plugin.fileName + " " + plugin.parameters[i].name);
            const auto index = static_cast<int>(i);
            Constructed it(plugin, 64, 32);
            char text[] = "Liberation Sans Bold 20";
            char* right = text;
            const char* got = nullptr;
            it.file.set(it.instance, &right, index);
            it.file.get(it.instance, &got, index);
            EXPECT_STREQ(got, text);
            const Pixels drawn = it.draw({}, {});
            it.file.set(it.instance, reinterpret_cast<void*>(16), index);
            it.file.set(it.instance, text, index);
            EXPECT_EQ(it.draw({}, {}), drawn);
            char empty[] = "";
            right = empty;
            it.file.set(it.instance, &right, index);
            it.draw({}, {});
        }
}

// Everything that a host may do at the same time, from several threads, in any order: instances that all share, and
// those that begin and end meanwhile.
TEST(Frei0r, StandsThreadsInAnyOrder) {
    const auto plugins = catalog().plugins();
    std::vector<std::unique_ptr<Constructed>> shared;
    for (const Plugin& plugin : plugins) shared.push_back(std::make_unique<Constructed>(plugin, 24, 10));
    const Pixels first = picture(32, 32, 1, false), second = picture(32, 32, 2, false);
    const auto work = [&](unsigned seed) {
        std::minstd_rand random(seed);
        for (int step = 0; step < 600; ++step) {
            const std::size_t at = random() % plugins.size();
            Constructed& it = *shared[at];
            const double number = static_cast<double>(random() % 9) / 8;
            switch (random() % 6) {
            case 0:
                Constructed(plugins[at], 1 + random() % 32, 1 + random() % 32).draw(first, second, number);
                break;
            case 1:
                random() % 2 ? static_cast<void>(it.file.init()) : it.file.deinit();
                break;
            case 2: {
                f0r_plugin_info_t info;
                it.file.pluginInfo(&info);
                f0r_param_info_t param;
                it.file.paramInfo(&param, static_cast<int>(random() % 8));
                break;
            }
            case 3:
                it.draw(first, second, number);
                break;
            default: {
                if (plugins[at].parameters.empty()) break;
                const std::size_t index = random() % plugins[at].parameters.size();
                const int type = plugins[at].parameters[index].type;
                f0r_param_color_t color{0.5f, 0.25f, static_cast<float>(number)};
                char text[] = "Serif 12";
                char* pointer = text;
                void* const value = type == F0R_PARAM_STRING  ? static_cast<void*>(&pointer)
                                    : type == F0R_PARAM_COLOR ? static_cast<void*>(&color)
                                                              : const_cast<double*>(&number);
                it.file.set(it.instance, value, static_cast<int>(index));
            }
            }
        }
    };
    std::vector<std::jthread> threads;
    for (unsigned seed = 1; seed <= 4; ++seed) threads.emplace_back(work, seed);
}

} // namespace
