// The OpenFX plug-ins in the tests' host. Some hosts make, render and end an instance for every frame: without the
// picture that may take 50 microseconds, the host's own part included.
#include <benchmark/benchmark.h>

#include "bridges/openfx_host.h"

namespace {

using namespace openfxhost;

LoadedPlugin& Named(const std::string& identifier) {
    for (const auto& plugin : plugins())
        if (plugin->entry().identifier == "org.larkmoor." + identifier) return *plugin;
    throw std::runtime_error(identifier);
}

void OpenFxInstance(benchmark::State& state, const char* identifier) {
    LoadedPlugin& plugin = Named(identifier);
    const auto described = plugin.describe("OfxImageEffectContextGeneral");
    for (auto _ : state) Instance(plugin, *described);
}

void OpenFxDescribeAndInstance(benchmark::State& state, const char* identifier) {
    LoadedPlugin& plugin = Named(identifier);
    for (auto _ : state) {
        LoadedPlugin again(plugin.entry());
        Instance(again, "OfxImageEffectContextGeneral");
    }
}

/// 1920x1080, one instance.
void OpenFxRender(benchmark::State& state, const char* identifier, bool floats, Alpha alpha) {
    constexpr Area frame{0, 0, 1920, 1080};
    Instance instance(Named(identifier), "OfxImageEffectContextGeneral");
    Picture in(frame, floats, alpha), out(frame, floats, alpha);
    for (const char* const name : {"Source", "Output"}) {
        Clip& clip = instance.clip(name);
        clip.picture = name[0] == 'S' ? &in : &out;
        clip.region = {0, 0, 1920, 1080};
    }
    for (auto _ : state) instance.render(0, frame);
}

} // namespace

BENCHMARK_CAPTURE(OpenFxInstance, Invert, "Invert")->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(OpenFxInstance, BroadcastColors, "BroadcastColors")->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(OpenFxDescribeAndInstance, BroadcastColors, "BroadcastColors")->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(OpenFxRender, InvertBytes, "Invert", false, Alpha::Premultiplied)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(OpenFxRender, InvertStraight, "Invert", false, Alpha::Straight)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(OpenFxRender, InvertFloats, "Invert", true, Alpha::Premultiplied)->Unit(benchmark::kMillisecond);
