// The effects of the loaded module as plug-ins.
#pragma once

#include <string_view>

#include "host/plug_in.h"
#include "parameters.h"

namespace larkmoor::frei0r {

/// What one plug-in file offers.
struct Plugin {
    const EffectInfo* info = nullptr;
    std::string fileName; ///< without ".so": "larkmoor_gaussian_blur"
    std::string title;    ///< "Larkmoor Gaussian Blur"
    std::string explanation;
    int type = F0R_PLUGIN_TYPE_FILTER;
    std::vector<Parameter> parameters;
};

/// Instances may end after their plug-in has.
class Catalog : public PluginCatalog<Plugin> {
  public:
    /// @param file the module; empty to look for it as `Module::load` does. Throws Error.
    explicit Catalog(const std::string& file = {});

    /// That of this process, loaded at the first call that can. Where there is no module, null, which is told on
    /// standard error once.
    static const Catalog* shared();

    /// Null for a class that the module cannot make.
    const Plugin* find(std::string_view className) const;
};

} // namespace larkmoor::frei0r
