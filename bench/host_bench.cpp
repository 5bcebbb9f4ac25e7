// Every effect as a host runs it: through the contract and as over a cleared picture, on a ring of pictures that
// no cache holds, in one thread. Each row stands beside a plain copy of the same ring, timed turn by turn.
#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstring>
#include <vector>

#include "host/module.h"
#include "row.h"

namespace {

using namespace larkmoor;

constexpr int kWidth = 1920, kHeight = 1080, kRing = 4;

/// Smooth gradients with noise; soft ones have an alpha that falls from full to nothing over the middle third.
Surface picture(unsigned seed, bool soft) {
    Surface made = Surface::create(PixelFormat::PremultipliedArgb32, kWidth, kHeight);
    const ImageView view = made.view();
    const double phase = seed % 2;
    for (int y = 0; y < kHeight; ++y) {
        auto* const row = reinterpret_cast<std::uint8_t*>(view.data + y * view.stride);
        for (int x = 0; x < kWidth; ++x) {
            const double u = double(x) / kWidth, v = double(y) / kHeight;
            const double a = soft ? std::clamp(2 - 3 * u, 0.0, 1.0) : 1.0;
            const double at[3] = {u, v, u + v};
            for (int c = 0; c < 3; ++c) {
                seed = seed * 69069 + 1;
                row[x * 4 + c] = static_cast<std::uint8_t>(
                    a * std::clamp(128 + 100 * std::sin(at[c] * 5 + phase) + (seed >> 28), 0.0, 255.0));
            }
            row[x * 4 + 3] = static_cast<std::uint8_t>(std::floor(a * 255));
        }
    }
    return made;
}

struct Ring {
    std::array<Surface, kRing> first, second, out;
};

const Ring& ring(bool soft) {
    static std::array<Ring, 2> rings;
    Ring& chosen = rings[soft];
    if (!chosen.out[0])
        for (unsigned i = 0; i < kRing; ++i) {
            chosen.first[i] = picture(2 * i, soft);
            chosen.second[i] = picture(2 * i + 1, soft);
            chosen.out[i] = Surface::create(PixelFormat::PremultipliedArgb32, kWidth, kHeight);
        }
    return chosen;
}

void copy(const Surface& from, const Surface& to) {
    const ImageView source = from.view(), target = to.view();
    for (int y = 0; y < kHeight; ++y)
        std::memcpy(target.data + y * target.stride, source.data + y * source.stride, std::size_t{kWidth} * 4);
}

/// How long `work` takes for each picture of the ring in turn, and how many copies of a picture that is.
template <class Work>
void run(benchmark::State& state, const Ring& pictures, Work work) {
    std::vector<double> copies, works;
    std::size_t turn = 0;
    work(0); // what an effect keeps from one picture to the next is made with the first
    for (auto _ : state) {
        const std::size_t i = turn++ % kRing, behind = (i + kRing / 2) % kRing;
        const double start = Worked();
        copy(pictures.first[behind], pictures.out[behind]);
        benchmark::ClobberMemory();
        const double middle = Worked();
        work(i);
        benchmark::ClobberMemory();
        works.push_back(Worked() - middle);
        copies.push_back(middle - start);
        state.SetIterationTime(works.back());
    }
    const auto median = [](std::vector<double>& v) {
        std::nth_element(v.begin(), v.begin() + static_cast<std::ptrdiff_t>(v.size() / 2), v.end());
        return v[v.size() / 2];
    };
    state.counters["copies"] = median(works) / median(copies);
}

void runEffect(benchmark::State& state, const Module& module, const EffectInfo& info, const std::string& preset,
               bool soft) {
    Effect effect = module.create(info);
    effect.setBlending(false);
    if (!preset.empty()) effect.applyPreset(preset);
    const Ring& pictures = ring(soft);
    if (info.kind == EffectKind::Transition) effect.setProgress(0.4f);
    run(state, pictures, [&](std::size_t i) {
        std::array inputs{pictures.first[i], pictures.second[i]};
        effect.renderAnew(std::span(inputs).first(info.kind == EffectKind::Transition ? 2 : 1), pictures.out[i]);
    });
}

/// One frame by the clock, with every processor of the machine and with one: what a studio waits for.
void runFrame(benchmark::State& state, const Module& module, const EffectInfo& info, const std::string& preset) {
    const Ring& pictures = ring(true);
    std::array<std::vector<double>, 2> times;
    std::array effects{module.create(info, 1), module.create(info, 0)};
    for (Effect& effect : effects) {
        effect.setBlending(false);
        effect.applyPreset(preset);
    }
    std::size_t turn = 0;
    for (auto _ : state) {
        const std::size_t i = turn++ % kRing;
        for (std::size_t k : {0, 1}) {
            Surface out = pictures.out[i];
            const auto start = std::chrono::steady_clock::now();
            effects[k].render(std::span(&pictures.first[i], 1), out);
            times[k].push_back(std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
        }
        state.SetIterationTime(times[1].back());
    }
    state.counters["part"] = std::ranges::min(times[1]) / std::ranges::min(times[0]);
}

[[maybe_unused]] const bool kRegistered = [] {
    static const Module module = Module::load(LARKMOOR_MODULE_FILE);
    for (const EffectInfo& info : module.effects()) {
        if (info.kind == EffectKind::Generator) continue;
        std::vector<std::string> presets;
        for (const PresetInfo& preset : info.presets)
            if (preset.name != "Reset to None") presets.push_back(preset.name);
        if (presets.empty()) presets.emplace_back();
        for (const std::string& preset : presets)
            for (const bool soft : {false, true})
                benchmark::RegisterBenchmark(
                    ("host/" + info.name + "/" + preset + (soft ? "/soft" : "/opaque")).c_str(),
                    [&info, preset, soft](benchmark::State& state) { runEffect(state, module, info, preset, soft); })
                    ->Unit(benchmark::kMillisecond)
                    ->UseManualTime();
    }
    for (const auto& [name, preset] :
         {std::pair("Gaussian Blur", "Soften"), {"Median", "50 %"}, {"Chroma Keyer", "Green Screen"}})
        benchmark::RegisterBenchmark(
            (std::string("frame/") + name).c_str(),
            [&info = module.find(name), preset](benchmark::State& state) { runFrame(state, module, info, preset); })
            ->Unit(benchmark::kMillisecond)
            ->UseManualTime();
    return true;
}();

} // namespace
