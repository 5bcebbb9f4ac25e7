// A plug-in file: compiled once for each effect, whose class LARKMOOR_CLASS names.
#pragma GCC visibility push(default)
extern "C" {
#include <frei0r.h>
}
#pragma GCC visibility pop

#include "bridge.h"

int f0r_init() {
    return larkmoor_frei0r_init(LARKMOOR_CLASS);
}

void f0r_deinit() {}

void f0r_get_plugin_info(f0r_plugin_info_t* info) {
    larkmoor_frei0r_plugin_info(LARKMOOR_CLASS, info);
}

void f0r_get_param_info(f0r_param_info_t* info, int index) {
    larkmoor_frei0r_param_info(LARKMOOR_CLASS, info, index);
}

f0r_instance_t f0r_construct(unsigned width, unsigned height) {
    return larkmoor_frei0r_construct(LARKMOOR_CLASS, width, height);
}

void f0r_destruct(f0r_instance_t instance) {
    larkmoor_frei0r_destruct(instance);
}

void f0r_set_param_value(f0r_instance_t instance, f0r_param_t value, int index) {
    larkmoor_frei0r_set(instance, value, index);
}

void f0r_get_param_value(f0r_instance_t instance, f0r_param_t value, int index) {
    larkmoor_frei0r_get(instance, value, index);
}

void f0r_update(f0r_instance_t instance, double time, const uint32_t* in, uint32_t* out) {
    larkmoor_frei0r_update(instance, time, in, nullptr, out, __builtin_return_address(0));
}

void f0r_update2(f0r_instance_t instance, double time, const uint32_t* first, const uint32_t* second, const uint32_t*,
                 uint32_t* out) {
    larkmoor_frei0r_update(instance, time, first, second, out, __builtin_return_address(0));
}
