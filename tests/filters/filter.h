// One-input effects through the module's public face.
#pragma once

#include "kernels/picture.h"
#include "module.h"

template <class Record>
std::vector<std::byte> BytesOf(const Record& record) {
    std::vector<std::byte> bytes(sizeof record);
    std::memcpy(bytes.data(), &record, sizeof record);
    return bytes;
}

inline larkmoor::Surface SurfaceOn(CTestPicture& p, larkmoor::PixelFormat format) {
    auto surface =
        larkmoor::Surface::wrap({reinterpret_cast<std::byte*>(p.At(0, 0)), p.Width(), p.Height(), p.Stride(), format});
    surface.setInfo({1.0, 25.0, 400000});
    return surface;
}

/// 0, or the code of the refusal.
inline HRESULT Render(larkmoor::Effect& effect, CTestPicture& input, CTestPicture& output, larkmoor::PixelFormat format,
                      const RECT* clip = nullptr) {
    const larkmoor::Surface inputs[] = {SurfaceOn(input, format)};
    const POINT place = clip ? POINT{clip->left, clip->top} : POINT{};
    try {
        effect.render(inputs, SurfaceOn(output, format), clip, clip ? &place : nullptr);
        return S_OK;
    } catch (const larkmoor::StatusError& refusal) {
        return refusal.code();
    }
}

/// One pixel through an effect.
inline tPixel8 Through(const char* name, const std::vector<std::byte>& record, tPixel8 pixel) {
    larkmoor::Effect effect = larkmoor::module().create(larkmoor::module().find(name));
    effect.setRecord(record);
    CTestPicture input(1, 1, 4), output(1, 1, 4);
    input.Pixel8(0, 0) = pixel;
    EXPECT_EQ(S_OK, Render(effect, input, output, larkmoor::PixelFormat::PremultipliedArgb32));
    return output.Pixel8(0, 0);
}

constexpr bool operator==(const tPixel8& a, const tPixel8& b) {
    return a.b == b.b && a.g == b.g && a.r == b.r && a.a == b.a;
}
inline void PrintTo(const tPixel8& p, std::ostream* out) {
    *out << "(" << +p.b << ", " << +p.g << ", " << +p.r << ", " << +p.a << ")";
}
