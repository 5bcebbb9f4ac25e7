#include "effects/digests.h"

#include <algorithm>
#include <cstring>

#include "digest_value.h"

namespace {

using namespace larkmoor;

constexpr const char* kHead[] = {"# Digests of pictures, see effects/digest_test.cpp. Columns: effect; preset, or the "
                                 "field that takes its ends and a",
                                 "# point between; soft, opaque and wild pictures of bytes; the same of floats."};

constexpr tSurfaceInfo kInfo{.pixelAspect = 1.25, .frameRate = 25, .time100ns = 12400000};

enum class eContent { Soft, Opaque, Wild };

/// A picture of blocks that are smooth, flat or noise, by whole numbers alone so that it is the same everywhere. Soft
/// content is premultiplied with blocks of alpha 0, full and between; wild colour ignores alpha, and as floats 0 to 1.
Surface picture(PixelFormat format, int width, int height, eContent content, std::uint32_t seed) {
    Surface surface = Surface::create(format, width, height);
    const ImageView view = surface.view();
    constexpr std::uint32_t kFull = 0xFFFF;
    for (std::uint32_t y = 0; y < static_cast<std::uint32_t>(height); ++y)
        for (std::uint32_t x = 0; x < static_cast<std::uint32_t>(width); ++x) {
            const std::uint32_t block = x / 11 * 7 + y / 9 * 13 + seed * 5;
            const auto channel = [&](std::uint32_t c) -> std::uint32_t {
                std::uint32_t noise = (block % 3 == 1 ? block : y * 4099 + x) * 2654435761u + (c + seed) * 40503u;
                noise ^= noise >> 15;
                noise *= 2246822519u;
                return block % 3 == 0 ? (x * (211 + 97 * c) + y * (389 - 83 * c) + seed * 7919) * 3 & kFull
                                      : noise >> 13 & kFull;
            };
            const std::uint32_t cover = (x / 17 + y / 13 + seed) % 4;
            const std::uint32_t alpha = content == eContent::Opaque || cover == 0 ? kFull : cover == 1 ? 0 : channel(3);
            std::byte* const pixel = view.data + y * view.stride + x * static_cast<unsigned>(bytesPerPixel(format));
            for (std::uint32_t c = 0; c < 4; ++c) {
                const std::uint32_t color = c == 3                      ? alpha
                                            : content == eContent::Wild ? channel(c)
                                                                        : channel(c) * alpha / kFull;
                if (format != PixelFormat::Float128) {
                    pixel[c] = static_cast<std::byte>(color >> 8);
                    continue;
                }
                float value = static_cast<float>(color) / static_cast<float>(kFull);
                if (content == eContent::Wild && c != 3) value = value * 3.0f - 1.0f;
                std::memcpy(pixel + c * 4, &value, 4);
            }
        }
    surface.setInfo(kInfo);
    return surface;
}

/// With what stands between the rows, which nobody writes.
std::span<std::byte> pixelsOf(const Surface& surface) {
    const ImageView view = surface.view();
    return {view.data, static_cast<std::size_t>(view.stride * view.height)};
}

// Odd, and wide enough for several blocks of the widest vectors and a rest.
constexpr int kWidth = 83, kHeight = 61;
constexpr std::size_t kMostInputs = 2;

using tRecords = std::vector<std::vector<std::byte>>;

/// One kind of picture, and what effects make of it.
class Form {
  public:
    Form(PixelFormat format, eContent content)
        : m_format(format), m_content(content), m_inputs{picture(format, kWidth, kHeight, content, 1),
                                                         picture(format, kWidth, kHeight, content, 2)},
          m_under(picture(format, kWidth, kHeight, eContent::Soft, 3)) {}

    /// "refused" where the output was left alone each time.
    std::string digestOf(const Module& module, const EffectInfo& info, const tRecords& records) const {
        Digest digest;
        bool refused = info.kind != EffectKind::Generator;
        for (const auto& record : records) {
            Effect effect = module.create(info);
            effect.setRecord(record);
            if (info.kind == EffectKind::Generator)
                generate(effect, digest);
            else
                refused = render(effect, digest) && refused;
        }
        return refused ? "refused" : digest.text();
    }

  private:
    void generate(Effect& effect, Digest& digest) const {
        // A generator knows no contents: sizes and straight colour in their place.
        const int size = 1 + static_cast<int>(m_content);
        const bool straight = m_content == eContent::Wild && m_format != PixelFormat::Float128;
        const auto format = straight ? PixelFormat::Argb32 : m_format;
        const Surface output = Surface::create(format, kWidth * size, kHeight * size);
        effect.generate(output);
        digest.add(pixelsOf(output));
    }

    bool render(Effect& effect, Digest& digest) const {
        const auto transform = KwQuery<IDXTransform>(effect.object());
        const auto under = pixelsOf(m_under);
        const auto count = static_cast<std::size_t>(effect.info().maxInputs);
        IUnknown* inputs[kMostInputs];
        std::ranges::transform(m_inputs, inputs, [](const Surface& input) { return input.get(); });
        bool refused = true;
        for (const float progress : {0.375f, 0.0f, 0.5f, 0.8125f, 1.0f}) {
            effect.setProgress(progress);
            for (const DWORD overOutput : {1, 0}) {
                Surface output = Surface::create(m_format, kWidth, kHeight);
                output.setInfo(kInfo);
                std::copy(under.begin(), under.end(), pixelsOf(output).begin());
                // Not by `Effect::render`: what is refused would be an exception, which not every platform has.
                IUnknown* const target = output.get();
                HRESULT status = transform->SetMiscFlags(2 | overOutput);
                if (SUCCEEDED(status)) status = transform->Setup(inputs, static_cast<ULONG>(count), &target, 1, 0);
                if (SUCCEEDED(status)) status = transform->Execute(nullptr, nullptr, nullptr);
                if (FAILED(status)) digest.add(static_cast<DWORD>(status));
                digest.add(pixelsOf(output));
                refused = refused && FAILED(status) && std::ranges::equal(under, pixelsOf(output));
            }
            if (effect.info().kind == EffectKind::Filter) break;
        }
        return refused;
    }

    PixelFormat m_format;
    eContent m_content;
    Surface m_inputs[kMostInputs], m_under;
};

void setNumber(std::vector<std::byte>& record, const tFieldInfo& field, LONG element, double value) {
    const auto put = [&](auto number) {
        std::memcpy(record.data() + field.offset + element * static_cast<LONG>(sizeof number), &number, sizeof number);
    };
    if (field.type == KWTYPE_DOUBLE) put(value);
    if (field.type == KWTYPE_FLOAT) put(static_cast<float>(value));
    if (field.type == KWTYPE_LONG) put(static_cast<LONG>(value));
}

double between(const tFieldInfo& field, double part) {
    return field.minimum + (field.maximum - field.minimum) * part;
}

/// The records that try one field out: on the default, where every other number stands a third up its range, and where
/// also every other choice is the last but one and every switch the other way.
tRecords recordsOf(const EffectInfo& info, const tFieldInfo& field) {
    std::vector<std::byte> amid = info.defaults;
    for (const tFieldInfo& other : info.fields)
        for (LONG i = 0; i < other.count; ++i)
            if (other.kind == KWFIELD_NUMBER || other.kind == KWFIELD_COLOR || other.kind == KWFIELD_POINT)
                setNumber(amid, other, i, between(other, 0.34375));
    std::vector<std::byte> otherwise = amid;
    for (const tFieldInfo& other : info.fields) {
        if (other.kind == KWFIELD_CHOICE)
            setNumber(otherwise, other, 0, other.choices[std::max(0, other.choiceCount - 2)].value);
        if (other.kind == KWFIELD_SWITCH) {
            LONG before = 0;
            std::memcpy(&before, info.defaults.data() + other.offset, sizeof before);
            setNumber(otherwise, other, 0, !before);
        }
    }
    std::vector<double> values{field.minimum, between(field, 0.71875), field.maximum};
    if (field.kind == KWFIELD_CHOICE) {
        values.clear();
        for (LONG i = 0; i < field.choiceCount; ++i) values.push_back(field.choices[i].value);
    }
    tRecords records;
    for (const auto& base : {info.defaults, amid, otherwise})
        for (LONG i = 0; i < field.count; ++i)
            for (const double value : values) setNumber(records.emplace_back(base), field, i, value);
    return records;
}

/// The facts by which hosts treat an effect.
std::string factsOf(const Module& module, const EffectInfo& info) {
    const Effect effect = module.create(info);
    tEffectInfo block{};
    if (const auto told = KwQuery<IKwEffectInfo>(effect.object())) told->GetEffectInfo(&block, sizeof block);
    Digest record;
    record.add(info.defaults);
    return fmt::format("{}, kind {}, flags {:#x}, {} to {} inputs, {} bytes {}{}{}{}{}", info.className, block.kind,
                       block.flags, info.minInputs, info.maxInputs, info.defaults.size(), record.text(),
                       KwQuery<IKwPresets>(effect.object()) ? ", presets" : "",
                       KwQuery<IKwEffectGroup>(effect.object()) ? ", group" : "",
                       KwQuery<IPersistStreamInit>(effect.object()) ? ", streams" : "",
                       KwQuery<IKwParamRamp>(effect.object()) ? ", ramp" : "");
}

} // namespace

std::vector<std::string> digestsOf(const Module& module, eWalk walk) {
    std::vector<Form> forms;
    for (const auto format : {PixelFormat::PremultipliedArgb32, PixelFormat::Float128})
        for (const auto content : {eContent::Soft, eContent::Opaque, eContent::Wild})
            forms.emplace_back(format, content);
    std::vector<std::string> lines(std::begin(kHead), std::end(kHead));
    for (const EffectInfo& info : module.effects()) {
        const auto addLine = [&](const std::string& what, const tRecords& records) {
            std::string line = fmt::format("{} | {} |", info.name, what);
            for (const Form& form : forms) line += " " + form.digestOf(module, info, records);
            lines.push_back(line);
        };
        lines.push_back(fmt::format("{} | {}", info.name, factsOf(module, info)));
        addLine("default", {info.defaults});
        for (const PresetInfo& preset : info.presets) {
            Digest record;
            record.add(preset.record);
            addLine(fmt::format("{} [{}]", preset.name, record.text()), {preset.record});
        }
        for (const tFieldInfo& field : info.fields)
            if (walk == eWalk::PresetsAndFields && field.type != KWTYPE_BYTES)
                addLine(fmt::format(".{}", field.name), recordsOf(info, field));
    }
    return lines;
}
