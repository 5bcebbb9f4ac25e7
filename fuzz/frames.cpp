// Frames of any effect: records, ramps, sizes, layouts, origins, forms, clips, placements, progress, processors, and
// the order of calls.
#include <array>
#include <memory>

#include "kernels/table.h"
#include "target.h"

using namespace larkmoor;
using namespace larkmoor::fuzz;

namespace {

constexpr std::array formats{PixelFormat::PremultipliedArgb32, PixelFormat::Argb32, PixelFormat::Float128};
constexpr int mostSide = 200;
constexpr std::size_t mostRowBytes = mostSide * 16;
constexpr std::byte gapByte{0xA5};

/// Bytes to be pixels, so that a picture costs no more than its copy: wild ones, or colours up to their alpha, which is
/// full in most.
std::vector<std::byte> stock(bool floats, bool wild) {
    CKwDraw draw(floats ? 1 : 2);
    std::vector<std::byte> all;
    const auto add = [&](const auto value) {
        const auto* const bytes = reinterpret_cast<const std::byte*>(&value);
        all.insert(all.end(), bytes, bytes + sizeof value);
    };
    while (all.size() < 4 * mostRowBytes) {
        const auto bits = draw.Bits();
        const auto alpha = bits & 3 ? 255u : static_cast<unsigned>(bits >> 8 & 255);
        for (int c = 0; c < 4; ++c) {
            const auto value = static_cast<unsigned>(bits >> (16 + 8 * c) & 255) * alpha / 255;
            const auto level = static_cast<std::uint8_t>(c == 3 ? alpha : value);
            if (!floats)
                add(wild ? static_cast<std::uint8_t>(draw.Bits()) : level);
            else
                add(wild ? draw.RealF(-1, 2, 0) : static_cast<float>(level) / 255.0f);
        }
    }
    return all;
}

const std::byte* stocked(bool floats, bool wild, std::size_t at) {
    static const std::array<std::vector<std::byte>, 4> all{stock(false, false), stock(false, true), stock(true, false),
                                                           stock(true, true)};
    const auto& bytes = all[floats * 2 + wild];
    return bytes.data() + at * 16 % (bytes.size() - mostRowBytes);
}

/// A picture in memory of exactly its size, which AddressSanitizer watches; what it does not see, bytes before the
/// first row and between rows, is looked at afterwards.
class Sheet {
  public:
    Sheet(FuzzedDataProvider& in, PixelFormat format, int width, int height)
        : m_rowBytes(static_cast<std::size_t>(width * bytesPerPixel(format))), m_height(height) {
        const auto layout = in.ConsumeIntegral<std::uint8_t>(), content = in.ConsumeIntegral<std::uint8_t>();
        const bool plain = layout & 1, upsideDown = !plain && layout & 2;
        m_before = plain ? 0 : (layout >> 2 & 3) * std::size_t{4};
        m_stride = m_rowBytes + (plain ? 0 : (layout >> 4 & 3) * std::size_t{4});
        m_bytes = m_before + m_stride * static_cast<std::size_t>(height - 1) + m_rowBytes;
        m_memory.reset(new std::byte[m_bytes]);
        std::memset(m_memory.get(), static_cast<int>(gapByte), m_bytes);
        for (int y = 0; y < height; ++y)
            std::memcpy(row(y),
                        stocked(format == PixelFormat::Float128, content & 1, content / 2u + static_cast<unsigned>(y)),
                        m_rowBytes);
        const auto step = static_cast<std::ptrdiff_t>(m_stride);
        const int left = plain ? 0 : in.ConsumeIntegralInRange(-300, 300);
        const int top = plain ? 0 : in.ConsumeIntegralInRange(-300, 300);
        m_surface = Surface::wrap(upsideDown ? ImageView{row(height - 1), width, height, -step, format}
                                             : ImageView{row(0), width, height, step, format},
                                  left, top, m_memory);
        m_surface.setInfo({1.0, 25.0, 400000});
    }

    const Surface& surface() const { return m_surface; }
    std::vector<std::byte> bytes() const { return {m_memory.get(), m_memory.get() + m_bytes}; }
    bool gapsStand() const {
        const auto stands = [](const std::byte* at, const std::byte* end) {
            return std::all_of(at, end, [](std::byte b) { return b == gapByte; });
        };
        if (!stands(m_memory.get(), m_memory.get() + m_before)) return false;
        for (int y = 0; y + 1 < m_height; ++y)
            if (!stands(row(y) + m_rowBytes, row(y + 1))) return false;
        return true;
    }

  private:
    std::byte* row(int y) const { return m_memory.get() + m_before + m_stride * static_cast<std::size_t>(y); }

    std::shared_ptr<std::byte[]> m_memory;
    std::size_t m_rowBytes, m_before = 0, m_stride = 0, m_bytes = 0;
    int m_height;
    Surface m_surface;
};

LONG place(FuzzedDataProvider& in) {
    return in.ConsumeBool() ? in.ConsumeIntegralInRange(-20, 220) : in.ConsumeIntegral<LONG>();
}

/// Most pictures are small, so that there are many of them; large ones are cut into bands.
int mostPixels(FuzzedDataProvider& in) {
    const auto chance = in.ConsumeIntegral<std::uint8_t>();
    return chance == 0xFF ? mostSide * mostSide : chance >= 0xF8 ? 4096 : 256;
}

void frame(const Subject& subject, FuzzedDataProvider& in) {
    const PixelFormat format = in.PickValueInArray(formats);
    const int most = mostPixels(in), width = in.ConsumeIntegralInRange(1, mostSide);
    const int height = in.ConsumeIntegralInRange(1, std::clamp(most / width, 1, mostSide));
    std::vector<Sheet> inputs;
    std::vector<Bytes> before;
    std::vector<IUnknown*> given;
    for (int i = in.ConsumeIntegralInRange(subject.minInputs(), subject.maxInputs()); i > 0; --i) {
        const bool same = in.ConsumeIntegral<std::uint8_t>() % 8 != 0;
        inputs.emplace_back(in, in.ConsumeBool() ? format : in.PickValueInArray(formats),
                            same ? width : in.ConsumeIntegralInRange(1, 60),
                            same ? height : in.ConsumeIntegralInRange(1, 60));
        before.push_back(inputs.back().bytes());
    }
    for (const Sheet& input : inputs) given.push_back(input.surface().get());
    const Sheet output(in, format, width, height);
    DXBNDS clip{};
    DXVEC placement{};
    const bool clipped = in.ConsumeBool(), placed = in.ConsumeBool();
    for (int axis = 0; axis < 2; ++axis) {
        if (clipped) clip.Axis[axis] = {place(in), place(in)};
        if (placed) placement.Axis[axis] = place(in);
    }
    clip.Axis[2] = clip.Axis[3] = {0, 1};
    subject.draw(given, output.surface(), clipped ? &clip : nullptr, placed ? &placement : nullptr);
    require(output.gapsStand());
    for (std::size_t i = 0; i < inputs.size(); ++i) require(inputs[i].bytes() == before[i]);
}

/// A site whose task manager tells of so many processors. Bands run one after the other: what threads do to each other
/// is ThreadSanitizer's to find, and each of them costs as much as a small frame.
IUnknown* site(std::size_t processors) {
    static const std::array<CComPtr<IDXTransformFactory>, 8> all = [] {
        std::array<CComPtr<IDXTransformFactory>, 8> made;
        for (unsigned count = 1; count <= made.size(); ++count) {
            auto& site = made[count - 1] = createTransformFactory(count);
            const auto tasks = KwReceived<IDXTaskManager>(
                [&](void** out) { return site->QueryService(&SID_SDXTaskManager, &IDXTaskManager::iid, out); });
            tasks->SetConcurrencyLimit(1);
        }
        return made;
    }();
    return all[processors - 1].Get();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider in(data, size);
    const Subject subject(module(), pickEffect(in).clsid);
    if (const auto sited = subject.face<IObjectWithSite>())
        sited->SetSite(site(in.ConsumeIntegralInRange<std::size_t>(1, 8)));
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
