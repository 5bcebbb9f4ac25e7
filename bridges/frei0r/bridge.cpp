#include "bridge.h"

#include <cstdio>

#include "instance.h"

// Nothing is thrown into a host. The catalog stays for the whole process, so there is nothing that the end of a plug-in
// could take away from instances that live on, and nothing to be counted.

namespace {

using namespace larkmoor::frei0r;

const Plugin* pluginOf(const char* className) {
    const Catalog* const catalog = Catalog::shared();
    return catalog ? catalog->find(className) : nullptr;
}

Instance* instanceOf(f0r_instance_t instance) {
    return static_cast<Instance*>(instance);
}

template <class Call>
void quietly(f0r_instance_t instance, Call&& call) {
    if (!instance) return;
    try {
        call(*instanceOf(instance));
    } catch (const std::exception& error) {
        std::fprintf(stderr, "larkmoor: %s\n", error.what());
    }
}

} // namespace

int larkmoor_frei0r_init(const char* className) {
    return pluginOf(className) ? 1 : 0;
}

void larkmoor_frei0r_plugin_info(const char* className, f0r_plugin_info_t* info) {
    if (!info) return;
    const Plugin* const plugin = pluginOf(className);
    *info = {.name = plugin ? plugin->title.c_str() : className,
             .author = "Larkmoor",
             .plugin_type = plugin ? plugin->type : F0R_PLUGIN_TYPE_FILTER,
             .color_model = F0R_COLOR_MODEL_BGRA8888,
             .frei0r_version = FREI0R_MAJOR_VERSION,
             .major_version = LARKMOOR_MAJOR,
             .minor_version = LARKMOOR_MINOR,
             .num_params = plugin ? static_cast<int>(plugin->parameters.size()) : 0,
             .explanation = plugin ? plugin->explanation.c_str() : "not in the installed module"};
}

void larkmoor_frei0r_param_info(const char* className, f0r_param_info_t* info, int index) {
    if (!info) return;
    *info = {.name = "", .type = F0R_PARAM_DOUBLE, .explanation = ""};
    const Plugin* const plugin = pluginOf(className);
    if (!plugin || index < 0 || static_cast<std::size_t>(index) >= plugin->parameters.size()) return;
    const Parameter& parameter = plugin->parameters[static_cast<std::size_t>(index)];
    *info = {.name = parameter.name.c_str(), .type = parameter.type, .explanation = parameter.explanation.c_str()};
}

f0r_instance_t larkmoor_frei0r_construct(const char* className, unsigned width, unsigned height) {
    const Plugin* const plugin = pluginOf(className);
    try {
        if (plugin) return new Instance(*Catalog::shared(), *plugin, width, height);
        std::fprintf(stderr, "larkmoor: the installed module has no effect of the class %s\n", className);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "larkmoor: %s\n", error.what());
    }
    return nullptr;
}

void larkmoor_frei0r_destruct(f0r_instance_t instance) {
    delete instanceOf(instance);
}

void larkmoor_frei0r_set(f0r_instance_t instance, f0r_param_t value, int index) {
    quietly(instance, [&](Instance& it) { it.set(index, value); });
}

void larkmoor_frei0r_get(f0r_instance_t instance, f0r_param_t value, int index) {
    quietly(instance, [&](Instance& it) { it.get(index, value); });
}

void larkmoor_frei0r_update(f0r_instance_t instance, double time, const std::uint32_t* first,
                            const std::uint32_t* second, std::uint32_t* out, const void* caller) {
    quietly(instance, [&](Instance& it) { it.update(time, first, second, out, caller); });
}
