// The effects of the loaded module as OpenFX plug-ins.
#pragma once

#include <string>
#include <vector>

#include "parameters.h"

namespace larkmoor::openfx {

/// What one plug-in of the bundle offers. Everything stays as long as the process: hosts keep pointers to it.
struct Plugin {
    const EffectInfo* info = nullptr;
    std::string identifier; ///< "org.larkmoor.GaussianBlur"; projects keep it
    std::string label;      ///< "Gaussian Blur"
    std::string group;      ///< "Larkmoor/Filters"
    std::string description;
    std::vector<Parameter> parameters;
    bool hasIdentity = false; ///< the preset that is to leave pictures as they are does

    /// Of its fixed context: "OfxImageEffectContextFilter". All have the general one besides.
    const char* context() const;
    /// Names of the clips it reads, in order.
    std::span<const char* const> inputs() const;
};

class Catalog {
  public:
    /// @param file the module; empty to look for it as `Module::load` does. Throws Error.
    explicit Catalog(const std::string& file = {});

    /// That of this process, loaded at the first call: the file that LARKMOOR_MODULE names, the one in the folder of
    /// this library, or any that `Module::load` finds. Null where there is none.
    static const Catalog* shared();

    const Module& module() const { return m_module; }
    std::span<const Plugin> plugins() const { return m_plugins; }

  private:
    const Module m_module;
    std::vector<Plugin> m_plugins;
};

} // namespace larkmoor::openfx
