#include "catalog.h"

#include <algorithm>
#include <cstdint>
#include <random>

#include "host/alpha.h"
#include "host/depth.h"

namespace larkmoor::openfx {
namespace {

/// The words in one: "BrightnessAndContrast".
std::string identifierOf(std::string_view name) {
    std::string identifier = "org.larkmoor.";
    bool begins = true;
    for (char c : name) {
        const bool small = c >= 'a' && c <= 'z';
        if (!small && !(c >= 'A' && c <= 'Z') && !(c >= '0' && c <= '9')) {
            begins = true;
            continue;
        }
        if (begins && small) c = static_cast<char>(c - 'a' + 'A');
        begins = false;
        identifier += c;
    }
    return identifier;
}

/// Whether a picture of noise with all kinds of alpha goes through bit for bit.
bool leavesPictures(const Module& module, const EffectInfo& info, std::span<const std::byte> record) {
    constexpr int width = 24, height = 16;
    std::minstd_rand random;
    const auto noise = Surface::create(PixelFormat::PremultipliedArgb32, width, height);
    const ImageView bytes = noise.view();
    for (int y = 0; y < height; ++y)
        for (int i = 0; i < 4 * width; ++i)
            bytes.data[y * bytes.stride + i] = static_cast<std::byte>(random() >> 8 & 255);
    premultiply(bytes);
    Effect effect = module.create(info);
    effect.setRecord(record);
    const auto leaves = [&](const Surface& before) {
        const auto after = Surface::create(before.view().format, width, height);
        effect.render(std::span(&before, 1), after);
        return isUnchanged(before.view(), after.view());
    };
    if (!leaves(noise)) return false;
    // Others get floats at 8 bits, and what they leave keeps its floats.
    if (!info.soundInFloat) return true;
    const auto floats = Surface::create(PixelFormat::Float128, width, height);
    restoreDepth({}, bytes, floats.view());
    return leaves(floats);
}

bool hasIdentity(const Module& module, const EffectInfo& info) {
    return info.kind == EffectKind::Filter && std::ranges::any_of(info.presets, [&](const PresetInfo& preset) {
               return isNone(info, preset.record) && leavesPictures(module, info, preset.record);
           });
}

Plugin pluginOf(const Module& module, const EffectInfo& info) {
    Plugin plugin{.info = &info, .identifier = identifierOf(info.name), .label = info.name};
    const std::string kind = info.kind == EffectKind::Transition  ? "Transition"
                             : info.kind == EffectKind::Generator ? "Generator"
                                                                  : "Filter";
    plugin.group = info.family.empty() ? "Larkmoor" : "Larkmoor/" + info.family;
    plugin.description = kind + " of the Larkmoor effects: " + info.name + ".";
    plugin.parameters = parametersOf(info);
    plugin.hasIdentity = hasIdentity(module, info);
    return plugin;
}

} // namespace

const char* Plugin::context() const {
    return info->kind == EffectKind::Transition  ? "OfxImageEffectContextTransition"
           : info->kind == EffectKind::Generator ? "OfxImageEffectContextGenerator"
                                                 : "OfxImageEffectContextFilter";
}

std::span<const char* const> Plugin::inputs() const {
    static constexpr const char* filter[] = {"Source"};
    static constexpr const char* transition[] = {"SourceFrom", "SourceTo"};
    if (info->kind == EffectKind::Generator) return {};
    return info->kind == EffectKind::Transition ? std::span<const char* const>(transition) : filter;
}

Catalog::Catalog(const std::string& file) : PluginCatalog(file, &pluginOf) {}

const Catalog* Catalog::shared() {
    return sharedCatalog<Catalog>(reinterpret_cast<const void*>(&Catalog::shared), [](const char*) {});
}

} // namespace larkmoor::openfx
