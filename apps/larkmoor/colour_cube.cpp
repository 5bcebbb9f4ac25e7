#include "colour_cube.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <numeric>
#include <random>
#include <type_traits>

#include <fmt/format.h>

namespace larkmoor {

namespace {

/// Blue, green, red, alpha: bytes of 0 to 255, or floats of 0 to 1.
template <class Sample>
using Pixel = std::array<Sample, 4>;
template <class Sample>
using Pixels = std::vector<Pixel<Sample>>;

constexpr std::uint8_t full = 255;
constexpr int latticeWidth = 4096;

/// All colours of those levels, red fastest.
template <class Sample>
Pixels<Sample> lattice(const std::vector<Sample>& levels, Sample opaque) {
    Pixels<Sample> pixels;
    pixels.reserve(levels.size() * levels.size() * levels.size());
    for (const Sample blue : levels)
        for (const Sample green : levels)
            for (const Sample red : levels) pixels.push_back({blue, green, red, opaque});
    return pixels;
}

/// Pixels through effects as one frame of a clip. The last row is filled up with the first colour.
template <class Sample>
Pixels<Sample> rendered(const Module& module, const std::vector<Step>& effects, const Pixels<Sample>& colours,
                        int width, std::int64_t frame) {
    constexpr PixelFormat form =
        std::is_same_v<Sample, float> ? PixelFormat::Float128 : PixelFormat::PremultipliedArgb32;
    const auto columns = static_cast<std::size_t>(width);
    const auto rows = (colours.size() + columns - 1) / columns;
    const auto height = static_cast<int>(rows);
    const Surface from = Surface::create(form, width, height);
    const Surface to = Surface::create(form, width, height);
    constexpr double rate = 25;
    for (Surface surface : {from, to})
        surface.setInfo({1, rate, static_cast<std::int64_t>(static_cast<double>(frame) * 1e7 / rate)});
    const auto rowOf = [](const ImageView& view, std::size_t y) {
        return view.data + static_cast<std::ptrdiff_t>(y) * view.stride;
    };
    Pixels<Sample> row(columns);
    for (std::size_t y = 0; y < rows; ++y) {
        for (std::size_t x = 0; x < columns; ++x) {
            const std::size_t at = y * columns + x;
            row[x] = colours[at < colours.size() ? at : 0];
        }
        std::memcpy(rowOf(from.view(), y), row.data(), columns * sizeof row[0]);
    }
    Surface(from).touch();
    Chain chain(module, {.head = {}, .effects = effects});
    const bool changed = chain.run(from, {}, to, {.index = frame});
    const ImageView view = changed ? to.view() : from.view();
    Pixels<Sample> out(colours.size());
    for (std::size_t y = 0; y < rows; ++y)
        std::memcpy(out.data() + y * columns, rowOf(view, y),
                    std::min(columns, out.size() - y * columns) * sizeof out[0]);
    return out;
}

/// Whether each colour becomes the same one wherever, whenever and beside whatever it stands.
bool isTonal(const Module& module, const Step& step) {
    std::vector<std::uint8_t> levels;
    for (int level = 0; level <= full; level += 15) levels.push_back(static_cast<std::uint8_t>(level));
    const Pixels<std::uint8_t> colours = lattice(levels, full);
    const std::vector<Step> alone{step};
    const Pixels<std::uint8_t> wanted = rendered(module, alone, colours, 64, 0);
    std::mt19937 random(1);
    std::vector<std::size_t> order(colours.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    // Whole, and with part of the colours only: some effects measure the picture.
    for (const auto& [share, width, frame] : {std::tuple(1, 97, 1), {3, 31, 1000}, {7, 256, 77}}) {
        std::shuffle(order.begin(), order.end(), random);
        Pixels<std::uint8_t> other;
        for (std::size_t i = 0; i < order.size() / static_cast<std::size_t>(share); ++i)
            other.push_back(colours[order[i]]);
        const Pixels<std::uint8_t> got = rendered(module, alone, other, width, frame);
        for (std::size_t i = 0; i < got.size(); ++i)
            if (got[i] != wanted[order[i]]) return false;
    }
    return true;
}

} // namespace

void checkTonal(const Module& module, const std::vector<Step>& effects) {
    for (const Step& step : effects) {
        const std::string& name = step.info->name;
        if (step.over) throw UsageError(fmt::format("{} is laid over pictures, which no LUT can do", name));
        if (!step.curves.empty() || step.span != Span())
            throw UsageError(
                fmt::format("{} has keys, a ramp or a range of frames, and a LUT is the same at all times", name));
        if (!isTonal(module, step))
            throw UsageError(
                fmt::format("{}, as set, goes by more than a pixel's colour: by its place, its neighbours, "
                            "the picture or time, which no LUT can hold",
                            name));
    }
}

namespace {

[[noreturn]] void refuseClear() {
    throw UsageError("the effects make colours transparent, which no LUT can hold");
}

ColourCube cubeByFloats(const Module& module, const std::vector<Step>& effects, int size) {
    std::vector<float> levels;
    for (int i = 0; i < size; ++i) levels.push_back(static_cast<float>(i) / static_cast<float>(size - 1));
    ColourCube cube{size, {}};
    for (const auto& [blue, green, red, alpha] : rendered(module, effects, lattice(levels, 1.0f), latticeWidth, 0)) {
        if (alpha < 1 - 0.5f / full) refuseClear();
        cube.colours.push_back({red, green, blue});
    }
    return cube;
}

} // namespace

ColourCube colourCube(const Module& module, const std::vector<Step>& effects, int size) {
    if (std::ranges::all_of(effects, [](const Step& step) { return step.info->soundInFloat; }))
        return cubeByFloats(module, effects, size);
    const auto levelOf = [&](int index) { return static_cast<double>(full) * index / (size - 1); };
    std::vector<std::uint8_t> levels;
    for (int i = 0; i < size; ++i)
        for (const double level : {std::floor(levelOf(i)), std::ceil(levelOf(i))})
            if (levels.empty() || levels.back() < level) levels.push_back(static_cast<std::uint8_t>(level));
    const Pixels<std::uint8_t> out = rendered(module, effects, lattice(levels, full), latticeWidth, 0);
    for (const Pixel<std::uint8_t>& pixel : out)
        if (pixel[3] != full) refuseClear();

    // For each index the places of the levels below and above, and how far it is on the way.
    struct Between {
        std::size_t below, above;
        double share;
    };
    std::vector<Between> places;
    for (int i = 0; i < size; ++i) {
        const double level = levelOf(i);
        const auto place = [&](double whole) {
            return static_cast<std::size_t>(std::ranges::find(levels, whole) - levels.begin());
        };
        places.push_back({place(std::floor(level)), place(std::ceil(level)), level - std::floor(level)});
    }
    ColourCube cube{size, {}};
    const std::size_t count = levels.size();
    for (const Between& b : places)
        for (const Between& g : places)
            for (const Between& r : places) {
                std::array<double, 3> sum{};
                for (int corner = 0; corner < 8; ++corner) {
                    const auto side = [&](const Between& at, int bit) {
                        return corner & bit ? std::pair(at.above, at.share) : std::pair(at.below, 1 - at.share);
                    };
                    const auto [red, redShare] = side(r, 1);
                    const auto [green, greenShare] = side(g, 2);
                    const auto [blue, blueShare] = side(b, 4);
                    const Pixel<std::uint8_t>& pixel = out[(blue * count + green) * count + red];
                    const double share = redShare * greenShare * blueShare;
                    for (std::size_t c = 0; c < 3; ++c) sum[c] += share * pixel[2 - c];
                }
                cube.colours.push_back({static_cast<float>(sum[0] / full), static_cast<float>(sum[1] / full),
                                        static_cast<float>(sum[2] / full)});
            }
    return cube;
}

std::string cubeText(const ColourCube& cube, const std::string& title) {
    std::string name;
    for (const char c : title)
        if (c != '"' && static_cast<unsigned char>(c) >= 32) name += c;
    fmt::memory_buffer text;
    fmt::format_to(std::back_inserter(text), "TITLE \"{}\"\nLUT_3D_SIZE {}\nDOMAIN_MIN 0 0 0\nDOMAIN_MAX 1 1 1\n", name,
                   cube.size);
    for (const auto& [red, green, blue] : cube.colours)
        fmt::format_to(std::back_inserter(text), "{:.6f} {:.6f} {:.6f}\n", red, green, blue);
    return fmt::to_string(text);
}

} // namespace larkmoor
