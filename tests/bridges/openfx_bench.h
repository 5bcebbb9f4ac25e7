// The OpenFX plug-ins under a strict host, with pictures, beside the command's own chain of effects.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "bridges/openfx_host.h"
#include "chain.h"
#include "host/depth.h"
#include "module.h"

namespace openfxhost {

using larkmoor::Chain;
using larkmoor::EffectInfo;
using larkmoor::EffectKind;
using larkmoor::EffectRequest;
using larkmoor::ImageView;
using larkmoor::module;
using larkmoor::PixelFormat;
using larkmoor::Surface;

constexpr double kRate = 25;
constexpr const char* kGeneral = "OfxImageEffectContextGeneral";

inline const EffectInfo& infoOf(std::size_t nth) {
    return module().effects()[nth];
}

inline std::size_t numbered(const std::string& name) {
    return static_cast<std::size_t>(&module().find(name) - module().effects().data());
}

inline std::string contextOf(const EffectInfo& info) {
    return info.kind == EffectKind::Transition  ? "OfxImageEffectContextTransition"
           : info.kind == EffectKind::Generator ? "OfxImageEffectContextGenerator"
                                                : "OfxImageEffectContextFilter";
}

inline std::vector<std::string> inputsOf(const EffectInfo& info) {
    if (info.kind == EffectKind::Generator) return {};
    if (info.kind == EffectKind::Transition) return {"SourceFrom", "SourceTo"};
    return {"Source"};
}

inline std::string digits(double value) {
    char text[40];
    std::snprintf(text, sizeof text, "%.17g", value);
    return text;
}

inline bool isKept(const tFieldInfo& field) {
    return std::string_view(field.help).starts_with("Kept ");
}

inline std::string parameterOf(const tFieldInfo& field) {
    std::string name = field.name;
    std::replace(name.begin(), name.end(), '.', '_');
    return name;
}

/// Gives a field another value than its default, spread by its place.
/// @return the same in the command's words.
inline std::string changeField(Instance& instance, const tFieldInfo& field, std::size_t index) {
    Parameter& parameter = instance.parameter(parameterOf(field));
    const double part = static_cast<double>((index * 3 + 1) % 8) / 8;
    const double real = field.minimum + part * (field.maximum - field.minimum);
    const std::string option = std::string(field.name) + "=";
    switch (field.kind) {
    case KWFIELD_TEXT:
        parameter.text = "A\\nb\nc";
        return option + "A\\\\nb\\nc";
    case KWFIELD_FONT:
        parameter.text = "Serif Bold";
        instance.parameter("fontSize").numbers = {12};
        return option + "Serif Bold 12";
    case KWFIELD_SWITCH:
        parameter.numbers = {index % 2 == 0 ? 1.0 : 0.0};
        return option + (index % 2 == 0 ? "on" : "off");
    case KWFIELD_CHOICE: {
        const auto choice = (index * 5 + 1) % static_cast<std::size_t>(field.choiceCount);
        parameter.numbers = {static_cast<double>(choice)};
        return option + std::to_string(field.choices[choice].value);
    }
    case KWFIELD_COLOR: {
        const std::size_t red = (0x12 + index * 0x35) % 256; // no two colours of an effect alike
        parameter.numbers = {static_cast<double>(red) / 255.0, 0xAB / 255.0, 0xFE / 255.0, 0x33 / 255.0};
        parameter.numbers.resize(static_cast<std::size_t>(field.count));
        char text[16];
        std::snprintf(text, sizeof text, "#%02XABFE%s", static_cast<unsigned>(red), field.count == 4 ? "33" : "");
        return option + text;
    }
    case KWFIELD_POINT:
        parameter.numbers = {real, field.maximum - real / 2};
        return option + digits(real) + "," + digits(field.maximum - real / 2);
    default:
        parameter.numbers = {field.kind == KWFIELD_WHOLE || field.type == KWTYPE_LONG ? std::round(real) : real};
        return option + digits(parameter.numbers[0]);
    }
}

/// Noise with alphas of its own or without.
inline std::vector<std::uint8_t> noise(int width, int height, unsigned seed, bool opaque) {
    std::minstd_rand random(seed);
    std::vector<std::uint8_t> bytes(static_cast<std::size_t>(width * height * 4));
    for (std::size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = opaque && i % 4 == 3 ? 255 : static_cast<std::uint8_t>(random() >> 8);
    return bytes;
}

/// A surface of noise, blue first, the highest row first; in floats between the steps of bytes, with a row
/// beyond white and one beyond black.
inline Surface surfaceOf(int width, int height, unsigned seed, bool opaque, bool floats) {
    const auto bytes = noise(width, height, seed, opaque);
    const Surface surface =
        Surface::create(floats ? PixelFormat::Float128 : PixelFormat::PremultipliedArgb32, width, height);
    const ImageView view = surface.view();
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        const std::size_t row = i / static_cast<std::size_t>(width * 4), at = i % static_cast<std::size_t>(width * 4);
        std::byte* const line = view.data + static_cast<std::ptrdiff_t>(row) * view.stride;
        if (floats)
            reinterpret_cast<float*>(line)[at] = i % 4 == 3 && opaque ? 1.0f
                                                 : i % 4 != 3 && row < 2
                                                     ? (row == 0 ? 1.5f : -0.25f)
                                                     : (static_cast<float>(bytes[i]) + 0.3f) / 255.6f;
        else
            line[at] = static_cast<std::byte>(bytes[i]);
    }
    return surface;
}

/// The pixel of a host's picture that stands for one of a surface.
inline std::vector<std::byte> hostPixel(const Surface& surface, int x, int row) {
    const ImageView view = surface.view();
    const std::size_t sample = view.format == PixelFormat::Float128 ? 4 : 1;
    const std::byte* const p = view.data + row * view.stride + x * static_cast<int>(4 * sample);
    std::vector<std::byte> pixel;
    for (const std::size_t channel : {2, 1, 0, 3})
        pixel.insert(pixel.end(), p + channel * sample, p + (channel + 1) * sample);
    return pixel;
}

inline void fill(Picture& picture, const Area& frame, const Surface& surface) {
    for (int y = frame.y1; y < frame.y2; ++y)
        for (int x = frame.x1; x < frame.x2; ++x) {
            const auto pixel = hostPixel(surface, x - frame.x1, frame.y2 - 1 - y);
            std::memcpy(picture.at(x, y), pixel.data(), pixel.size());
        }
}

/// Pixels of `area` that are not those of the surface over `frame`.
inline int differences(Picture& picture, const Area& frame, const Area& area, const Surface& surface) {
    int count = 0;
    for (int y = area.y1; y < area.y2; ++y)
        for (int x = area.x1; x < area.x2; ++x) {
            const auto pixel = hostPixel(surface, x - frame.x1, frame.y2 - 1 - y);
            count += std::memcmp(picture.at(x, y), pixel.data(), pixel.size()) != 0;
        }
    return count;
}

/// What the command makes of pictures with settings in its words.
inline Surface commanded(const EffectInfo& info, const std::vector<std::string>& settings,
                         const std::vector<Surface>& inputs, double progress, double frame, Surface output) {
    EffectRequest request{.name = info.name, .values = larkmoor::Values::Unchecked};
    for (const std::string& setting : settings) request.options.emplace_back(EffectRequest::Kind::Set, setting);
    larkmoor::Recipe recipe;
    const larkmoor::Step step = larkmoor::planStep(module(), request);
    if (info.kind == EffectKind::Filter)
        recipe.effects = {step};
    else
        recipe.head = step;
    const tSurfaceInfo told{1, kRate, std::llround(frame / kRate * 1e7)};
    for (Surface input : inputs) input.setInfo(told);
    output.setInfo(told);
    Chain chain(module(), recipe);
    chain.run(inputs.empty() ? Surface() : inputs[0], inputs.size() > 1 ? inputs[1] : Surface(), output, {0, progress});
    // What nothing has changed keeps the samples that it came with.
    for (const Surface& input : inputs)
        if (!larkmoor::limitsLevels(step) && larkmoor::isUnchanged(input.view(), output.view())) return input;
    return output;
}

inline RectD regionOf(const Area& area) {
    return {double(area.x1), double(area.y1), double(area.x2), double(area.y2)};
}

/// An instance with pictures on its clips.
struct Bench {
    Bench(std::size_t nth, const std::string& context, const Area& frame, bool floats, Alpha alpha, int padding = 0,
          bool topDown = false)
        : Bench(*plugins()[nth], infoOf(nth), context, frame, floats, alpha, padding, topDown) {}
    Bench(LoadedPlugin& plugin, const EffectInfo& info, const std::string& context, const Area& frame, bool floats,
          Alpha alpha, int padding = 0, bool topDown = false)
        : info(info), instance(plugin, context), frame(frame), out(frame, floats, alpha, padding, topDown) {
        for (const std::string& name : inputsOf(info)) {
            pictures.push_back(std::make_unique<Picture>(frame, floats, alpha, padding, topDown));
            connect(name, *pictures.back());
        }
        connect("Output", out);
    }
    void connect(const std::string& name, Picture& picture) {
        Clip& clip = instance.clip(name);
        clip.picture = &picture;
        clip.region = regionOf(frame);
        clip.properties.put<double>("OfxImageEffectPropFrameRate", {kRate});
    }
    /// Noise on the inputs, as surfaces too.
    std::vector<Surface> feed(bool opaque) {
        std::vector<Surface> surfaces;
        for (std::size_t i = 0; i < pictures.size(); ++i) {
            surfaces.push_back(surfaceOf(static_cast<int>(frame.width()), static_cast<int>(frame.height()),
                                         static_cast<unsigned>(i + 1), opaque, out.floats));
            fill(*pictures[i], frame, surfaces.back());
        }
        return surfaces;
    }
    std::vector<std::string> change() {
        std::vector<std::string> settings;
        for (std::size_t i = 0; i < info.fields.size(); ++i)
            if (!isKept(info.fields[i])) settings.push_back(changeField(instance, info.fields[i], i));
        return settings;
    }
    Surface target() const {
        const PixelFormat form = out.floats                           ? PixelFormat::Float128
                                 : info.kind == EffectKind::Generator ? PixelFormat::Argb32
                                                                      : PixelFormat::PremultipliedArgb32;
        return Surface::create(form, static_cast<int>(frame.width()), static_cast<int>(frame.height()));
    }

    const EffectInfo& info;
    Instance instance;
    Area frame;
    std::vector<std::unique_ptr<Picture>> pictures;
    Picture out;
};

/// Fails where the host saw a fault.
class OpenFx : public testing::Test {
  protected:
    void SetUp() override { ASSERT_EQ(plugins().size(), module().effects().size()); }
    void TearDown() override {
        for (const std::string& fault : takeFaults()) ADD_FAILURE() << "the plug-in " << fault;
    }
};

} // namespace openfxhost
