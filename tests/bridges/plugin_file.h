// A plug-in as a host holds it: an open file and its functions.
#pragma once

#include <string>

#include <dlfcn.h>

#include <gtest/gtest.h>

#include "catalog.h"

extern "C" {
#include <frei0r.h>
}

namespace larkmoor::frei0r {

inline const Catalog& catalog() {
    ::setenv("LARKMOOR_MODULE", LARKMOOR_MODULE_FILE, 1);
    return *Catalog::shared();
}

inline const Plugin& pluginNamed(const std::string& name) {
    for (const Plugin& plugin : catalog().plugins())
        if (plugin.fileName == name) return plugin;
    throw Error("no plug-in " + name);
}

} // namespace larkmoor::frei0r

class PluginFile {
  public:
    explicit PluginFile(const std::string& name)
        : m_file(::dlopen((LARKMOOR_FREI0R_FOLDER "/" + name + ".so").c_str(), RTLD_NOW | RTLD_LOCAL)) {
        EXPECT_TRUE(m_file) << ::dlerror();
        if (!m_file) return;
        take(init, "f0r_init");
        take(deinit, "f0r_deinit");
        take(pluginInfo, "f0r_get_plugin_info");
        take(paramInfo, "f0r_get_param_info");
        take(construct, "f0r_construct");
        take(destruct, "f0r_destruct");
        take(set, "f0r_set_param_value");
        take(get, "f0r_get_param_value");
        take(update, "f0r_update");
        take(update2, "f0r_update2");
    }
    PluginFile(const PluginFile&) = delete;
    PluginFile& operator=(const PluginFile&) = delete;
    ~PluginFile() {
        if (m_file) ::dlclose(m_file);
    }

    decltype(&f0r_init) init = nullptr;
    decltype(&f0r_deinit) deinit = nullptr;
    decltype(&f0r_get_plugin_info) pluginInfo = nullptr;
    decltype(&f0r_get_param_info) paramInfo = nullptr;
    decltype(&f0r_construct) construct = nullptr;
    decltype(&f0r_destruct) destruct = nullptr;
    decltype(&f0r_set_param_value) set = nullptr;
    decltype(&f0r_get_param_value) get = nullptr;
    decltype(&f0r_update) update = nullptr;
    decltype(&f0r_update2) update2 = nullptr;

  private:
    template <class Function>
    void take(Function& function, const char* name) {
        function = reinterpret_cast<Function>(::dlsym(m_file, name));
        EXPECT_TRUE(function) << name;
    }
    void* m_file;
};
