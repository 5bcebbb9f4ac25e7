#include "catalog.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include <dlfcn.h>
#include <fmt/format.h>

namespace larkmoor::frei0r {
namespace {

/// Bit of `tEffectInfo::flags` in effects that take the frame's time from the surface.
constexpr ULONG kFlagWatchesTime = 0x100;

bool watchesTime(const Module& module, const EffectInfo& info) {
    tEffectInfo told{};
    const auto teller = KwQuery<IKwEffectInfo>(module.createObject(info.clsid).Get());
    return teller && SUCCEEDED(teller->GetEffectInfo(&told, sizeof told)) && (told.flags & kFlagWatchesTime) != 0;
}

/// Lower case, one underscore for whatever is neither letter nor digit, none at the ends.
std::string fileNameOf(std::string_view name) {
    std::string file;
    for (char c : "larkmoor " + std::string(name)) {
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
        const bool plain = (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9');
        if (plain)
            file += c;
        else if (!file.ends_with('_'))
            file += '_';
    }
    while (file.ends_with('_')) file.pop_back();
    return file;
}

Plugin pluginOf(const Module& module, const EffectInfo& info) {
    Plugin plugin{.info = &info, .fileName = fileNameOf(info.name), .title = "Larkmoor " + info.name};
    const char* what = "filter";
    if (info.kind == EffectKind::Transition) {
        plugin.type = F0R_PLUGIN_TYPE_MIXER2;
        what = "transition";
    } else if (info.kind == EffectKind::Generator) {
        plugin.type = F0R_PLUGIN_TYPE_SOURCE;
        what = "generator";
    }
    plugin.watchesTime = watchesTime(module, info);
    plugin.parameters = parametersOf(info, plugin.watchesTime);
    plugin.explanation = fmt::format("{}, a {} of the Larkmoor effects", info.name, what);
    return plugin;
}

std::string moduleFile() {
    Dl_info place{};
    if (std::getenv("LARKMOOR_MODULE") || !dladdr(reinterpret_cast<const void*>(&moduleFile), &place)) return {};
    std::error_code error;
    const auto folder = std::filesystem::canonical(place.dli_fname, error).parent_path();
    const auto file = folder / "liblarkmoor.so";
    return !error && std::filesystem::exists(file, error) ? file.string() : std::string();
}

} // namespace

Catalog::Catalog(const std::string& file) : m_module(Module::load(file)) {
    for (const EffectInfo& info : m_module.effects()) m_plugins.push_back(pluginOf(m_module, info));
}

const Catalog* Catalog::shared() {
    static const Catalog* const catalog = []() -> const Catalog* {
        try {
            return new Catalog(moduleFile());
        } catch (const std::exception& error) {
            std::fprintf(stderr, "larkmoor: %s\n", error.what());
            return nullptr;
        }
    }();
    return catalog;
}

const Plugin* Catalog::find(std::string_view className) const {
    const auto found = std::ranges::find(m_plugins, className, [](const Plugin& p) { return p.info->className; });
    return found == m_plugins.end() ? nullptr : &*found;
}

} // namespace larkmoor::frei0r
