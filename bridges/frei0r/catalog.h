// The effects of the loaded module as plug-ins.
#pragma once

#include <string_view>

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

/// The module with its plug-ins. Texts and plug-ins live as long as the process: hosts keep pointers to them, and may
/// end instances after they have ended the plug-in.
class Catalog {
  public:
    /// @param file the module; empty to look for it as `Module::load` does. Throws Error.
    explicit Catalog(const std::string& file = {});

    /// That of this process, loaded at the first call: the file that LARKMOOR_MODULE names, the one in the folder of
    /// this library, or any that `Module::load` finds. Null where there is none, which is told on standard error once.
    static const Catalog* shared();

    const Module& module() const { return m_module; }
    std::span<const Plugin> plugins() const { return m_plugins; }
    /// Null for a class that the module cannot make.
    const Plugin* find(std::string_view className) const;

  private:
    const Module m_module;
    std::vector<Plugin> m_plugins;
};

} // namespace larkmoor::frei0r
