// A picture through an effect: picture_cpp "Gaussian Blur" horizontalRange=0.1 < in.ppm > out.ppm
#include <host/module.h>

#include <cstdio>

int main(int argc, char** argv) try {
    int width = 0, height = 0;
    if (argc < 2 || std::scanf("P6 %d %d 255%*c", &width, &height) != 2 || width < 1 || height < 1) return 2;
    std::vector<std::byte> in(std::size_t{4} * width * height), out(in.size());
    for (std::size_t i = 0; i < in.size(); in[i + 3] = std::byte{255}, i += 4)
        for (std::size_t c = 3; c-- > 0;) in[i + c] = static_cast<std::byte>(std::getchar());

    const larkmoor::Module module = larkmoor::Module::load();
    larkmoor::Effect effect = module.create(module.find(argv[1]));
    for (const char* const setting : std::span(argv + 2, argv + argc)) effect.apply(setting);
    const auto surface = [&](std::vector<std::byte>& pixels) {
        return larkmoor::Surface::wrap({pixels.data(), width, height, width * 4, larkmoor::PixelFormat::Argb32});
    };
    const larkmoor::Surface source = surface(in);
    effect.renderAnew({&source, 1}, surface(out));

    std::printf("P6 %d %d 255\n", width, height);
    for (std::size_t i = 0; i < out.size(); i += 4)
        for (std::size_t c = 3; c-- > 0;) std::putchar(static_cast<int>(out[i + c]));
} catch (const larkmoor::Error& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
}
