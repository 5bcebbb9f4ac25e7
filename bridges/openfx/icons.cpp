// larkmoor-openfx-icons MODULE FOLDER    writes FOLDER/IDENTIFIER.png for each effect: what it makes of a picture
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>

#include <png.h>

#include "catalog.h"
#include "host/alpha.h"

namespace {

using namespace larkmoor;

constexpr int kSide = 128;

/// A sun over hills, or the same by night.
Surface scene(bool night) {
    Surface picture = Surface::create(PixelFormat::PremultipliedArgb32, kSide, kSide);
    const ImageView view = picture.view();
    const auto mixed = [](double a, double b, double at) { return a + (b - a) * at; };
    for (int y = 0; y < kSide; ++y)
        for (int x = 0; x < kSide; ++x) {
            const double u = (x + 0.5) / kSide, v = (y + 0.5) / kSide;
            double color[] = {mixed(0.9, 0.55, v), mixed(0.55, 0.75, v), mixed(0.2, 0.95, v)}; // blue, green, red
            if (std::hypot(u - 0.68, v - 0.32) < 0.14) color[0] = 0.35, color[1] = 0.85, color[2] = 1;
            const double hills[] = {0.62 + 0.08 * std::sin(u * 7), 0.78 + 0.07 * std::sin(u * 11 + 2)};
            if (v > hills[0]) color[0] = 0.35, color[1] = 0.62, color[2] = 0.3;
            if (v > hills[1]) color[0] = 0.2, color[1] = 0.38, color[2] = 0.16;
            if (night) {
                for (double& c : color) c *= 0.35;
                color[0] += 0.2;
            }
            std::byte* const pixel = view.data + y * view.stride + 4 * x;
            for (int c = 0; c < 3; ++c) pixel[c] = static_cast<std::byte>(std::lround(color[c] * 255));
            pixel[3] = std::byte{255};
        }
    return picture;
}

/// Mean change of a byte.
double difference(const ImageView& a, const ImageView& b) {
    double sum = 0;
    for (int y = 0; y < kSide; ++y)
        for (int i = 0; i < 4 * kSide; ++i)
            sum += std::abs(std::to_integer<int>(a.data[y * a.stride + i]) -
                            std::to_integer<int>(b.data[y * b.stride + i]));
    return sum / (4 * kSide * kSide);
}

/// With the default settings or, where those show next to nothing, the first preset that shows something.
Surface drawn(const Module& module, const EffectInfo& info) {
    constexpr double visible = 3;
    const Surface first = scene(false), second = scene(true);
    Effect effect = module.create(info);
    Surface made = Surface::create(PixelFormat::PremultipliedArgb32, kSide, kSide);
    if (info.kind == EffectKind::Generator) {
        std::vector<std::byte> record = info.defaults;
        openfx::scalePixels(info, record, 0.4);
        effect.setRecord(record);
        ImageView straight = made.view();
        straight.format = PixelFormat::Argb32;
        effect.generate(Surface::wrap(straight));
        premultiply(made.view());
        return made;
    }
    std::vector<Surface> inputs{first};
    if (info.kind == EffectKind::Transition) {
        inputs.push_back(second);
        effect.setProgress(0.5f);
    }
    for (std::size_t preset = 0;; ++preset) {
        made.clear();
        effect.render(inputs, made);
        if (preset >= info.presets.size() || difference(first.view(), made.view()) > visible) return made;
        effect.setRecord(info.presets[preset].record);
    }
}

void write(const std::filesystem::path& path, const Surface& picture) {
    const ImageView view = picture.view();
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = image.height = kSide;
    image.format = PNG_FORMAT_BGRA;
    if (!png_image_write_to_file(&image, path.c_str(), 0, view.data, static_cast<png_int_32>(view.stride), nullptr))
        throw Error("cannot write " + path.string() + ": " + image.message);
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fputs("usage: larkmoor-openfx-icons MODULE FOLDER\n", stderr);
        return 2;
    }
    try {
        const openfx::Catalog catalog(argv[1]);
        std::filesystem::remove_all(argv[2]);
        std::filesystem::create_directories(argv[2]);
        for (const openfx::Plugin& plugin : catalog.plugins()) {
            // What is clear lies over the other scene.
            const Surface icon = Surface::create(PixelFormat::PremultipliedArgb32, kSide, kSide);
            layOver(drawn(catalog.module(), *plugin.info).view(), scene(true).view(), icon.view());
            write(std::filesystem::path(argv[2]) / (plugin.identifier + ".png"), icon);
        }
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "larkmoor-openfx-icons: %s\n", error.what());
        return 1;
    }
}
