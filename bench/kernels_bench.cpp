// Every kernel of the table at 1920x1080 with its typical parameters, in both pixel forms, one thread; those with
// bodies for several levels at each of them.
#include "base/level.h"
#include "kernels/table.h"
#include "row.h"

namespace {

void Run(benchmark::State& state, const tKernel& kernel, LONG bytesPerPixel, eKwLevel level) {
    CBenchPicture second(bytesPerPixel, 3);
    const eKwLevel before = KwLimitLevel(level);
    RunBenchRow(state, bytesPerPixel, [&](CBenchPicture& d, CBenchPicture& s) {
        kernel.run({.out = d.View(), .in = {s.View(), second.View()}, .bytesPerPixel = bytesPerPixel, .draw = {}});
    });
    KwLimitLevel(before);
}

[[maybe_unused]] const bool s_registered = [] {
    for (const LONG bytesPerPixel : {4, 16}) {
        const std::string form = bytesPerPixel == 4 ? "/8" : "/F";
        const auto add = [&form](const std::string& name, auto run) {
            benchmark::RegisterBenchmark((name + form).c_str(), run)->UseManualTime()->Unit(benchmark::kMillisecond);
        };
        add("Copy", [bytesPerPixel](benchmark::State& state) {
            RunBenchRow(state, bytesPerPixel,
                        [](CBenchPicture& d, CBenchPicture& s) { std::memcpy(d.Data(), s.Data(), s.Bytes()); });
        });
        for (const tKernel& kernel : KwKernels()) {
            if (!(kernel.takes & (bytesPerPixel == 4 ? kTakes8 : kTakesFloat))) continue;
            for (const eKwLevel level : KwLevels()) {
                if (level == eKwLevel::Plain || level == eKwLevel::V2) continue; // definitions, and nobody's own
                add(std::string(kernel.name) + "/" + KwLevelName(level),
                    [&kernel, bytesPerPixel, level](auto& state) { Run(state, kernel, bytesPerPixel, level); });
            }
        }
    }
    return true;
}();

} // namespace
