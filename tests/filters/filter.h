// One-input effects through the module's public face, against the rule for a single pixel.
#pragma once

#include <functional>
#include <optional>

#include "kernels/picture.h"
#include "module.h"

/// What becomes of one pixel. Called in the order of rows and pixels. Without a rule for floats the effect refuses them
/// once they are copied.
struct tPixelRule {
    std::function<tPixel8(tPixel8)> bytes;
    std::function<tPixelF(tPixelF)> floats;
};

struct tFilterCase {
    bool wholeFrame = false;                            ///< the clip does not bind
    std::function<tPixel8(tPixel8)> outsideBytes = {};  ///< what becomes of the output's pixels outside the clip
    std::function<tPixelF(tPixelF)> outsideFloats = {}; ///< (nothing without)
    std::vector<std::pair<LONG, LONG>> sizes = {{1, 1}, {1, 7}, {67, 9}};
};

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

/// Renders pictures of both forms, odd sizes, whole and clipped, colours beyond alpha and floats beyond 0 to 1 among
/// them, and expects the bytes of the rule.
template <class Record>
void ExpectRule(const char* name, const Record& record, const std::function<tPixelRule()>& rule,
                const tFilterCase& how = {}) {
    larkmoor::Effect effect = larkmoor::module().create(larkmoor::module().find(name));
    effect.setRecord(BytesOf(record));
    for (const LONG form : {4, 16})
        for (const auto& [width, height] : how.sizes)
            for (const bool clipped : {false, true}) {
                SCOPED_TRACE(testing::Message() << name << " " << form << " bytes " << width << "x" << height
                                                << (clipped ? " clipped" : ""));
                CTestPicture input(width, height, form), output(width, height, form);
                input.Fill(static_cast<unsigned>(width) + 3, clipped);
                output.Fill(99);
                CTestPicture expected = output;
                const RECT clip{width / 3, height / 4, width - width / 4, height};
                const RECT part = clipped && !how.wholeFrame ? clip : RECT{0, 0, width, height};
                const tPixelRule pixel = rule();
                for (LONG y = 0; y < height; ++y)
                    for (LONG x = 0; x < width; ++x) {
                        const bool inside = x >= part.left && x < part.right && y >= part.top && y < part.bottom;
                        if (form == 4) {
                            if (inside)
                                expected.Pixel8(x, y) = pixel.bytes(input.Pixel8(x, y));
                            else if (how.outsideBytes)
                                expected.Pixel8(x, y) = how.outsideBytes(output.Pixel8(x, y));
                        } else if (inside) {
                            expected.PixelF(x, y) =
                                pixel.floats ? pixel.floats(input.PixelF(x, y)) : input.PixelF(x, y);
                        } else if (how.outsideFloats) {
                            expected.PixelF(x, y) = how.outsideFloats(output.PixelF(x, y));
                        }
                    }
                const auto format =
                    form == 4 ? larkmoor::PixelFormat::PremultipliedArgb32 : larkmoor::PixelFormat::Float128;
                const HRESULT status = Render(effect, input, output, format, clipped ? &clip : nullptr);
                EXPECT_EQ(form == 16 && !pixel.floats ? E_NOTIMPL : S_OK, status);
                ExpectSame(output, expected);
                if (testing::Test::HasFailure()) return;
            }
}

/// The records of an effect's presets, then `more`.
template <class Record>
std::vector<Record> Records(const char* name, std::initializer_list<Record> more = {}) {
    std::vector<Record> records;
    for (const larkmoor::PresetInfo& preset : larkmoor::module().find(name).presets) {
        EXPECT_EQ(sizeof(Record), preset.record.size());
        std::memcpy(&records.emplace_back(), preset.record.data(), sizeof(Record));
    }
    records.insert(records.end(), more.begin(), more.end());
    return records;
}

/// One pixel through an effect.
template <class Record>
tPixel8 Through(const char* name, const Record& record, tPixel8 pixel) {
    larkmoor::Effect effect = larkmoor::module().create(larkmoor::module().find(name));
    effect.setRecord(BytesOf(record));
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
