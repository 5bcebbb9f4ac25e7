// The module under test, loaded once.
#pragma once

#include "host/module.h"

namespace larkmoor {

inline const Module& module() {
    static const Module loaded = Module::load(LARKMOOR_MODULE_FILE);
    return loaded;
}

} // namespace larkmoor
