// What a plug-in file forwards to: the calls of frei0r with the class of the effect.
#pragma once

#include <cstdint>

extern "C" {
#include <frei0r.h>
}

#pragma GCC visibility push(default)
extern "C" {
/// 1, or 0 where the module is missing.
int larkmoor_frei0r_init(const char* className);
void larkmoor_frei0r_plugin_info(const char* className, f0r_plugin_info_t* info);
void larkmoor_frei0r_param_info(const char* className, f0r_param_info_t* info, int index);
/// Null, with a sentence on standard error, where the effect cannot be made.
f0r_instance_t larkmoor_frei0r_construct(const char* className, unsigned width, unsigned height);
void larkmoor_frei0r_destruct(f0r_instance_t instance);
void larkmoor_frei0r_set(f0r_instance_t instance, f0r_param_t value, int index);
void larkmoor_frei0r_get(f0r_instance_t instance, f0r_param_t value, int index);
/// @param caller an address in the calling program, which tells the unit of its time.
void larkmoor_frei0r_update(f0r_instance_t instance, double time, const std::uint32_t* first,
                            const std::uint32_t* second, std::uint32_t* out, const void* caller);
}
#pragma GCC visibility pop
