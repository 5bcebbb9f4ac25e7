#include "catalog.h"

#include <algorithm>
#include <cstdio>

#include <fmt/format.h>

namespace larkmoor::frei0r {
namespace {

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

Plugin pluginOf(const Module&, const EffectInfo& info) {
    Plugin plugin{.info = &info, .fileName = fileNameOf(info.name), .title = "Larkmoor " + info.name};
    const char* what = "filter";
    if (info.kind == EffectKind::Transition) {
        plugin.type = F0R_PLUGIN_TYPE_MIXER2;
        what = "transition";
    } else if (info.kind == EffectKind::Generator) {
        plugin.type = F0R_PLUGIN_TYPE_SOURCE;
        what = "generator";
    }
    plugin.parameters = parametersOf(info);
    plugin.explanation = fmt::format("{}, a {} of the Larkmoor effects", info.name, what);
    return plugin;
}

} // namespace

Catalog::Catalog(const std::string& file) : PluginCatalog(file, &pluginOf) {}

const Catalog* Catalog::shared() {
    return sharedCatalog<Catalog>(reinterpret_cast<const void*>(&Catalog::shared),
                                  [](const char* sentence) { std::fprintf(stderr, "larkmoor: %s\n", sentence); });
}

const Plugin* Catalog::find(std::string_view className) const {
    const auto found = std::ranges::find(plugins(), className, [](const Plugin& p) { return p.info->className; });
    return found == plugins().end() ? nullptr : &*found;
}

} // namespace larkmoor::frei0r
