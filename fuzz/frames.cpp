// Frames of any effect: records, ramps, sizes, layouts, origins, forms, clips, placements, progress, processors, and
// the order of calls.
#include <array>

#include "target.h"

using namespace larkmoor;
using namespace larkmoor::fuzz;

namespace {

constexpr std::array formats{PixelFormat::PremultipliedArgb32, PixelFormat::Argb32, PixelFormat::Float128};
constexpr int mostPixels = 4096;

Picture picture(FuzzedDataProvider& in, PixelFormat format, int width, int height) {
    const bool plain = in.ConsumeBool();
    const validate::Layout layout{in.ConsumeBool(), plain ? 0 : in.ConsumeIntegralInRange(0, 5) * 16,
                                  !plain && in.ConsumeBool(), plain ? 0 : in.ConsumeIntegralInRange(-300, 300),
                                  plain ? 0 : in.ConsumeIntegralInRange(-300, 300)};
    Picture made(format, width, height, layout);
    made.fill(in.ConsumeIntegral<std::uint8_t>(), in.ConsumeBool());
    return made;
}

LONG place(FuzzedDataProvider& in) {
    return in.ConsumeBool() ? in.ConsumeIntegralInRange(-20, 220) : in.ConsumeIntegral<LONG>();
}

void frame(const Subject& subject, FuzzedDataProvider& in) {
    const PixelFormat format = in.PickValueInArray(formats);
    const int width = in.ConsumeIntegralInRange(1, 200);
    const int height = in.ConsumeIntegralInRange(1, std::min(200, mostPixels / width));
    std::vector<Picture> inputs;
    std::vector<Bytes> before;
    for (int i = in.ConsumeIntegralInRange(subject.minInputs(), subject.maxInputs()); i > 0; --i) {
        const bool same = in.ConsumeIntegral<std::uint8_t>() % 8 != 0;
        inputs.push_back(picture(in, in.ConsumeBool() ? format : in.PickValueInArray(formats),
                                 same ? width : in.ConsumeIntegralInRange(1, 60),
                                 same ? height : in.ConsumeIntegralInRange(1, 60)));
        before.push_back(inputs.back().pixels());
    }
    Picture output = picture(in, format, width, height);
    std::vector<const Picture*> given;
    for (const Picture& input : inputs) given.push_back(&input);
    DXBNDS clip{};
    DXVEC placement{};
    const bool clipped = in.ConsumeBool(), placed = in.ConsumeBool();
    for (int axis = 0; axis < 2; ++axis) {
        if (clipped) clip.Axis[axis] = {place(in), place(in)};
        if (placed) placement.Axis[axis] = place(in);
    }
    clip.Axis[2] = clip.Axis[3] = {0, 1};
    subject.draw(given, output, clipped ? &clip : nullptr, placed ? &placement : nullptr);
    require(output.gapsStand());
    for (std::size_t i = 0; i < inputs.size(); ++i) require(inputs[i].pixels() == before[i] && inputs[i].gapsStand());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider in(data, size);
    const Subject subject(module(), pickEffect(in).clsid, in.ConsumeIntegralInRange(1u, 8u));
    const auto ramp = subject.face<IKwParamRamp>();
    const auto stream = [](const Bytes& content) { return createMemoryStream(content); };
    for (int calls = 0; calls < 6 && in.remaining_bytes() > 0; ++calls) {
        switch (in.ConsumeIntegralInRange(0, 9)) {
        case 0:
            if (const LONG presets = subject.presetCount())
                subject.applyPreset(in.ConsumeIntegralInRange<LONG>(0, presets - 1));
            break;
        case 1:
        case 2:
            subject.setRecord(recordByFields(subject, in));
            break;
        case 3:
            subject.setRecord(bytes(in, 200));
            break;
        case 4:
            if (!ramp) break;
            ramp->SetRampRecords(stream(recordByFields(subject, in)).Get(), stream(recordByFields(subject, in)).Get());
            ramp->SetRampOn(in.ConsumeBool());
            ramp->SetRampPos(number(in, 0, 1));
            break;
        case 5:
            if (IDXTransform* const transform = subject.transform())
                transform->SetMiscFlags(in.ConsumeIntegral<std::uint8_t>() & 3);
            break;
        default:
            subject.setProgress(static_cast<float>(number(in, 0, 1)));
            frame(subject, in);
        }
    }
    return 0;
}
