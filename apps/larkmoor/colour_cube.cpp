#include "colour_cube.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <numeric>
#include <random>

#include <fmt/format.h>

namespace larkmoor {

namespace {

using Pixels = std::vector<std::uint32_t>; ///< blue, green, red, alpha from the lowest byte on

constexpr int full = 255;

constexpr std::uint32_t opaque(std::uint32_t red, std::uint32_t green, std::uint32_t blue) {
    return 0xFF000000u | red << 16 | green << 8 | blue;
}

/// All colours of those levels, red fastest.
Pixels lattice(const std::vector<int>& levels) {
    Pixels pixels;
    pixels.reserve(levels.size() * levels.size() * levels.size());
    for (const int blue : levels)
        for (const int green : levels)
            for (const int red : levels)
                pixels.push_back(opaque(static_cast<std::uint32_t>(red), static_cast<std::uint32_t>(green),
                                        static_cast<std::uint32_t>(blue)));
    return pixels;
}

/// Pixels through effects as one frame of a clip. The last row is filled up with the first colour.
Pixels rendered(const Module& module, const std::vector<Step>& effects, const Pixels& colours, int width,
                std::int64_t frame) {
    const auto columns = static_cast<std::size_t>(width);
    const auto rows = (colours.size() + columns - 1) / columns;
    const auto height = static_cast<int>(rows);
    const Surface from = Surface::create(PixelFormat::PremultipliedArgb32, width, height);
    const Surface to = Surface::create(PixelFormat::PremultipliedArgb32, width, height);
    constexpr double rate = 25;
    for (Surface surface : {from, to})
        surface.setInfo({1, rate, static_cast<std::int64_t>(static_cast<double>(frame) * 1e7 / rate)});
    const auto rowOf = [](const ImageView& view, std::size_t y) {
        return view.data + static_cast<std::ptrdiff_t>(y) * view.stride;
    };
    Pixels row(columns);
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
    Pixels out(colours.size());
    for (std::size_t y = 0; y < rows; ++y)
        std::memcpy(out.data() + y * columns, rowOf(view, y),
                    std::min(columns, out.size() - y * columns) * sizeof out[0]);
    return out;
}

/// Whether each colour becomes the same one wherever, whenever and beside whatever it stands.
bool isTonal(const Module& module, const Step& step) {
    std::vector<int> levels;
    for (int level = 0; level <= full; level += 15) levels.push_back(level);
    const Pixels colours = lattice(levels);
    const std::vector<Step> alone{step};
    const Pixels wanted = rendered(module, alone, colours, 64, 0);
    std::mt19937 random(1);
    std::vector<std::size_t> order(colours.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    // Whole, and with part of the colours only: some effects measure the picture.
    for (const auto& [share, width, frame] : {std::tuple(1, 97, 1), {3, 31, 1000}, {7, 256, 77}}) {
        std::shuffle(order.begin(), order.end(), random);
        Pixels other;
        for (std::size_t i = 0; i < order.size() / static_cast<std::size_t>(share); ++i)
            other.push_back(colours[order[i]]);
        const Pixels got = rendered(module, alone, other, width, frame);
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
        if (step.ramp) throw UsageError(fmt::format("{} has a ramp, and a LUT is the same at all times", name));
        if (!isTonal(module, step))
            throw UsageError(
                fmt::format("{}, as set, goes by more than a pixel's colour: by its place, its neighbours, "
                            "the picture or time, which no LUT can hold",
                            name));
    }
}

ColourCube colourCube(const Module& module, const std::vector<Step>& effects, int size) {
    const auto levelOf = [&](int index) { return static_cast<double>(full) * index / (size - 1); };
    std::vector<int> levels;
    for (int i = 0; i < size; ++i)
        for (const double level : {std::floor(levelOf(i)), std::ceil(levelOf(i))})
            if (levels.empty() || levels.back() < level) levels.push_back(static_cast<int>(level));
    constexpr int width = 4096;
    const Pixels colours = lattice(levels);
    const Pixels out = rendered(module, effects, colours, width, 0);
    for (const std::uint32_t pixel : out)
        if (pixel >> 24 != full) throw UsageError("the effects make colours transparent, which no LUT can hold");

    // For each index the places of the levels below and above, and how far it is on the way.
    struct Between {
        std::size_t below, above;
        double share;
    };
    std::vector<Between> places;
    for (int i = 0; i < size; ++i) {
        const double level = levelOf(i);
        const auto place = [&](double whole) {
            return static_cast<std::size_t>(std::ranges::find(levels, static_cast<int>(whole)) - levels.begin());
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
                    const std::uint32_t pixel = out[(blue * count + green) * count + red];
                    const double share = redShare * greenShare * blueShare;
                    for (std::size_t c = 0; c < 3; ++c)
                        sum[c] += share * static_cast<double>(pixel >> (16 - 8 * c) & 255);
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
