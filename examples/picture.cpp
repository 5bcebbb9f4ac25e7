// A picture through an effect: picture_cpp "Gaussian Blur" horizontalRange=0.1 < in.ppm > out.ppm
#include <host/module.h>

#include <iostream>

int main(int argc, char** argv) try {
    std::string magic;
    int width = 0, height = 0, most = 0;
    std::cin >> magic >> width >> height >> most;
    std::cin.get();
    if (argc < 2 || magic != "P6" || most != 255) return 2;
    const auto format = larkmoor::PixelFormat::Argb32;
    const larkmoor::Surface in = larkmoor::Surface::create(format, width, height);
    const larkmoor::Surface out = larkmoor::Surface::create(format, width, height);
    const auto pixel = [=](const larkmoor::Surface& of, int i) {
        return of.view().data + i / width * of.view().stride + i % width * 4;
    };
    for (int i = 0; i < width * height; ++i) {
        for (const int channel : {2, 1, 0}) pixel(in, i)[channel] = static_cast<std::byte>(std::cin.get());
        pixel(in, i)[3] = std::byte{255};
    }

    const larkmoor::Module module = larkmoor::Module::load();
    larkmoor::Effect effect = module.create(module.find(argv[1]));
    for (const std::string setting : std::span(argv + 2, argv + argc)) {
        const auto sign = setting.find('=');
        if (sign == setting.npos)
            effect.applyPreset(setting);
        else
            effect.set(setting.substr(0, sign), setting.substr(sign + 1));
    }
    effect.render({&in, 1}, out);

    std::cout << "P6 " << width << ' ' << height << " 255\n";
    for (int i = 0; i < width * height; ++i)
        for (const int channel : {2, 1, 0}) std::cout.put(static_cast<char>(pixel(out, i)[channel]));
} catch (const larkmoor::Error& error) {
    std::cerr << error.what() << '\n';
    return 1;
}
