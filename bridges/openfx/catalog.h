// The effects of the loaded module as OpenFX plug-ins.
#pragma once

#include <string>
#include <vector>

#include "host/plug_in.h"
#include "parameters.h"

namespace larkmoor::openfx {

/// What one plug-in of the bundle offers. Everything stays as long as the process: hosts keep pointers to it.
struct Plugin {
    const EffectInfo* info = nullptr;
    std::string identifier; ///< "org.larkmoor.GaussianBlur"; projects keep it
    std::string label;      ///< "Gaussian Blur"
    std::string group;      ///< "Larkmoor/Blur"
    std::string description;
    std::vector<Parameter> parameters;
    bool hasIdentity = false; ///< the preset that is to leave pictures as they are does

    /// Of its fixed context: "OfxImageEffectContextFilter". All have the general one besides.
    const char* context() const;
    /// Names of the clips it reads, in order.
    std::span<const char* const> inputs() const;
};

class Catalog : public PluginCatalog<Plugin> {
  public:
    /// @param file the module; empty to look for it as `Module::load` does. Throws Error.
    explicit Catalog(const std::string& file = {});

    /// That of this process, loaded at the first call that can. Null where there is no module: nothing is offered
    /// then, and a host is not to be written to.
    static const Catalog* shared();
};

} // namespace larkmoor::openfx
