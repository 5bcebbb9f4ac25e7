// What every effect's row tells of its float form, held against its pictures.
#include "effects/pictures.h"

#include <cmath>

namespace {

using namespace effect_test;
using larkmoor::EffectKind;
using larkmoor::ImageView;

constexpr int kWidth = 48, kHeight = 36;
constexpr tSurfaceInfo kInfo{1, 25, 400000};

template <class T>
T* RowOf(const Surface& surface, int y) {
    return reinterpret_cast<T*>(surface.view().data + y * surface.view().stride);
}

/// Slopes of each channel, under an alpha that is full or a slope, too.
Surface Slopes(bool soft, bool turned) {
    Surface surface = Surface::create(kBytes, kWidth, kHeight);
    for (int y = 0; y < kHeight; ++y)
        for (int x = 0; x < kWidth; ++x) {
            const int across = x * 255 / (kWidth - 1), down = y * 255 / (kHeight - 1);
            const int alpha = soft ? (turned ? down : across) : 255;
            const int bgra[4] = {turned ? down : across, turned ? 255 - across : down, (across + down) / 2, 255};
            for (int c = 0; c < 4; ++c)
                RowOf<std::uint8_t>(surface, y)[4 * x + c] = static_cast<std::uint8_t>(bgra[c] * alpha / 255);
        }
    return surface;
}

Surface Opaque(Surface surface) {
    for (int y = 0; y < kHeight; ++y)
        for (int x = 0; x < kWidth; ++x) RowOf<std::uint8_t>(surface, y)[4 * x + 3] = 255;
    return surface;
}

/// As floats, `finer` by a part of a step.
Surface Floats(const Surface& bytes, bool finer = false) {
    Surface surface = Surface::create(kFloats, kWidth, kHeight);
    for (int y = 0; y < kHeight; ++y)
        for (int i = 0; i < 4 * kWidth; ++i) {
            const float value = static_cast<float>(RowOf<std::uint8_t>(bytes, y)[i]) / 255;
            RowOf<float>(surface, y)[i] = finer ? value * 0.9983f : value;
        }
    return surface;
}

struct Difference {
    double mean = 0, far = 0; ///< in steps of 1/255; the share of samples that are more than three steps off
    bool sound() const { return mean <= 1.5 && far <= 0.01; }
};

Difference Between(const Surface& bytes, const Surface& floats) {
    Difference d;
    for (int y = 0; y < kHeight; ++y)
        for (int i = 0; i < 4 * kWidth; ++i) {
            const double off = std::abs(RowOf<float>(floats, y)[i] * 255.0 - RowOf<std::uint8_t>(bytes, y)[i]);
            d.mean += off;
            d.far += off <= 3 ? 0 : 1;
        }
    return {d.mean / (4 * kWidth * kHeight), d.far / (4 * kWidth * kHeight)};
}

/// Whether values stand between the 256 of bytes, or only at its ends.
bool IsFiner(const Surface& floats) {
    bool ends = true;
    for (int y = 0; y < kHeight; ++y)
        for (int i = 0; i < 4 * kWidth; ++i) {
            const double value = RowOf<float>(floats, y)[i] * 255.0;
            if (std::abs(value - std::round(value)) > 1e-3) return true;
            if (value != 0 && value != 255) ends = false;
        }
    return ends;
}

class FloatForm : public testing::TestWithParam<std::size_t> {};

/// Sound: for every preset, on opaque and on soft pictures, the float picture of 8-bit values lies within a step and a
/// half of the 8-bit picture in the mean, and no more than one sample in a hundred lies beyond three steps, to which
/// the roundings of an 8-bit form add up; and of finer values it makes finer ones.
TEST_P(FloatForm, IsWhatTheRowTells) {
    const EffectInfo& info = module().effects()[GetParam()];
    if (info.kind == EffectKind::Generator) {
        EXPECT_FALSE(info.soundInFloat);
        return;
    }
    const auto picture = [&](const std::vector<std::byte>& record, float progress, std::vector<Surface> inputs) {
        Surface output = Surface::create(inputs[0].view().format, kWidth, kHeight);
        output.setInfo(kInfo);
        for (Surface& input : inputs) input.setInfo(kInfo);
        Effect effect = module().create(info);
        effect.setRecord(record);
        effect.setProgress(progress);
        effect.render(std::span(inputs).first(static_cast<std::size_t>(info.maxInputs)), output);
        return output;
    };
    std::vector<std::vector<std::byte>> records{info.defaults};
    for (const auto& preset : info.presets) records.push_back(preset.record);
    const std::pair<Surface, Surface> pairs[] = {
        {Slopes(false, false), Slopes(false, true)},
        {Slopes(true, false), Slopes(true, true)},
        {Opaque(Random(kBytes, kWidth, kHeight, 1)), Opaque(Random(kBytes, kWidth, kHeight, 2))},
        {Random(kBytes, kWidth, kHeight, 1), Random(kBytes, kWidth, kHeight, 2)}};
    const std::vector<float> moments =
        info.kind == EffectKind::Transition ? std::vector<float>{0, 0.2f, 0.5f, 0.77f, 1} : std::vector<float>{0};
    bool sound = true, finer = true;
    std::string worst;
    for (std::size_t r = 0; r < records.size(); ++r)
        for (const auto& [a, b] : pairs)
            for (const float progress : moments) try {
                    const Difference d = Between(picture(records[r], progress, {a, b}),
                                                 picture(records[r], progress, {Floats(a), Floats(b)}));
                    if (!d.sound()) worst = "record " + std::to_string(r) + " at " + std::to_string(progress);
                    sound = sound && d.sound();
                    finer = finer && IsFiner(picture(records[r], progress, {Floats(a, true), Floats(b, true)}));
                } catch (const larkmoor::StatusError&) {
                    sound = false;
                }
    EXPECT_EQ(info.soundInFloat, sound && finer) << worst;
}

INSTANTIATE_TEST_SUITE_P(Module, FloatForm, testing::Range<std::size_t>(0, module().effects().size()),
                         [](const auto& tested) { return module().effects()[tested.param].className; });

} // namespace
