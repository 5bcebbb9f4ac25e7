#include <algorithm>
#include <cmath>

#include "fmt/format.h"
#include "host/module_state.h"
#include "host/names.h"
#include "host/object.h"
#include "host/samples.h"
#include "host/text_fields.h"

namespace larkmoor {
namespace {

constexpr DWORD kBlends = 1; ///< of an effect's flags

std::string inputsText(const EffectInfo& info) {
    const auto pictures = [](int count) { return fmt::format("{} input{}", count, count == 1 ? "" : "s"); };
    return info.minInputs == info.maxInputs ? pictures(info.maxInputs)
                                            : fmt::format("{} to {}", info.minInputs, pictures(info.maxInputs));
}

/// Why a call failed and what to do, as the end of "NAME ...".
std::string reason(HRESULT status, const char* doing) {
    switch (status) {
    case E_OUTOFMEMORY:
        return fmt::format("cannot {}: there is not enough memory; use smaller pictures or fewer threads", doing);
    case E_NOTIMPL:
        return fmt::format("cannot {}: it does not offer that", doing);
    case E_NOINTERFACE:
        return fmt::format("cannot {}: the module does not offer the interface for it", doing);
    case E_INVALIDARG:
        return fmt::format("cannot {}: it refuses what it was given", doing);
    default:
        return fmt::format("cannot {}: the module answers with status 0x{:08X}", doing, static_cast<DWORD>(status));
    }
}

[[noreturn]] void failRendering(const EffectInfo& info, HRESULT status, std::span<const Surface> inputs,
                                const Surface& output) {
    const PixelFormat format = output.view().format;
    const auto isFloat = [](const Surface& surface) {
        return surface && surface.view().format == PixelFormat::Float128;
    };
    const bool anyFloat = isFloat(output) || std::any_of(inputs.begin(), inputs.end(), isFloat);
    const bool mixed = std::any_of(inputs.begin(), inputs.end(), [&](const Surface& input) {
        return input && isFloat(input) != (format == PixelFormat::Float128);
    });
    std::string text;
    if (status == E_NOTIMPL && anyFloat)
        text = " works on 8-bit pictures only: convert the picture to 8 bits a channel first";
    else if (status == E_FAIL && mixed)
        text = " cannot mix float and 8-bit pictures: give it inputs and an output of one format";
    else
        text = " " + reason(status, "render the picture");
    throw StatusError(info.name + text, status);
}

} // namespace

void Effect::State::check(HRESULT status, const char* doing) const {
    if (FAILED(status)) throw StatusError(fmt::format("{} {}", info->name, reason(status, doing)), status);
}

std::vector<std::byte> Effect::State::record() const {
    if (info->textField()) {
        const auto stream = createMemoryStream();
        check(need<IKwParamRamp>("tell its settings")->SaveParams(stream.Get()), "tell its settings");
        return streamContent(stream.Get());
    }
    std::vector<std::byte> bytes(info->defaults.size());
    if (bytes.empty()) return bytes;
    const auto size = static_cast<LONG>(bytes.size());
    check(generator ? generator->get_all(bytes.data(), size) : effect->get_all(bytes.data(), size),
          "tell its settings");
    return bytes;
}

void Effect::State::setRecord(std::span<const std::byte> bytes) {
    if (const tFieldInfo* const text = info->textField()) {
        // The front of a record leaves the rest as it is.
        std::vector<std::byte> whole(bytes.begin(), bytes.end());
        if (bytes.size() <= static_cast<std::size_t>(text->offset)) {
            whole = record();
            std::copy(bytes.begin(), bytes.end(), whole.begin());
        }
        checkRecord(whole);
        const auto stream = createMemoryStream(whole);
        check(need<IKwParamRamp>("take its settings")->LoadParams(stream.Get()), "take its settings");
        return;
    }
    if (bytes.size() > info->defaults.size())
        throw Error(
            fmt::format("the record of {} has {} bytes, not {}", info->name, info->defaults.size(), bytes.size()));
    if (bytes.empty()) return;
    // The interface takes the record as writable memory, though it only reads.
    std::vector<std::byte> copy(bytes.begin(), bytes.end());
    const auto size = static_cast<LONG>(copy.size());
    check(generator ? generator->put_all(copy.data(), size) : effect->put_all(copy.data(), size), "take its settings");
}

void Effect::State::checkRecord(std::span<const std::byte> bytes) const {
    std::size_t wanted = info->defaults.size();
    if (const tFieldInfo* const text = info->textField()) wanted = textEnd(*text, bytes);
    if (bytes.size() != wanted)
        throw Error(fmt::format("the record of {} has {} bytes, not {}", info->name, wanted, bytes.size()));
}

const EffectInfo& Effect::info() const {
    return *m_state->info;
}

IUnknown* Effect::object() const {
    return m_state->object.Get();
}

std::vector<std::byte> Effect::record() const {
    return m_state->record();
}

void Effect::setRecord(std::span<const std::byte> record) {
    m_state->setRecord(record);
}

void Effect::set(std::string_view field, std::string_view value) {
    const tFieldInfo& row = info().field(field);
    auto bytes = record();
    try {
        setFieldText(row, bytes, value);
    } catch (const Error& error) {
        throw Error(fmt::format("{}: {}", info().name, error.what()));
    }
    setRecord(bytes);
}

std::string Effect::get(std::string_view field) const {
    return fieldText(info().field(field), record());
}

void Effect::applyPreset(std::string_view nameOrNumber) {
    const PresetInfo& preset = info().preset(nameOrNumber);
    if (const auto presets = KwQuery<IKwPresets>(object()))
        m_state->check(presets->Apply(static_cast<LONG>(&preset - info().presets.data())), "apply the preset");
    else
        setRecord(preset.record);
}

void Effect::apply(std::string_view setting) {
    if (const auto sign = setting.find('='); sign != setting.npos)
        set(setting.substr(0, sign), setting.substr(sign + 1));
    else
        applyPreset(setting);
}

std::vector<std::byte> Effect::saveState() const {
    const auto persist = KwQuery<IPersistStreamInit>(object());
    if (!persist) return record();
    const auto stream = createMemoryStream();
    // Without clearing the dirty mark, which also tells the next frame to take over a record that was just set.
    m_state->check(persist->Save(stream.Get(), FALSE), "save its settings");
    return streamContent(stream.Get());
}

void Effect::loadState(std::span<const std::byte> state) {
    if (state.empty() && !info().defaults.empty())
        throw Error(fmt::format("the saved settings of {} are empty", info().name));
    const auto persist = KwQuery<IPersistStreamInit>(object());
    if (!persist) return setRecord(state);
    const auto stream = createMemoryStream(state);
    m_state->check(persist->Load(stream.Get()), "load its settings");
}

void Effect::setRamp(std::span<const std::byte> from, std::span<const std::byte> to) {
    for (const auto& record : {from, to}) m_state->checkRecord(record);
    const auto ramp = m_state->need<IKwParamRamp>("be animated");
    const auto first = createMemoryStream(from), second = createMemoryStream(to);
    m_state->check(ramp->SetRampRecords(first.Get(), second.Get()), "be animated");
    m_state->check(ramp->SetRampPos(0), "be animated");
    m_state->check(ramp->SetRampOn(TRUE), "be animated");
}

void Effect::setRampPosition(double position) {
    if (!std::isfinite(position)) throw Error("a ramp position has to be a number");
    m_state->check(m_state->need<IKwParamRamp>("be animated")->SetRampPos(position), "be animated");
}

void Effect::clearRamp() {
    m_state->check(m_state->need<IKwParamRamp>("be animated")->SetRampOn(FALSE), "end its animation");
    // The ramp has spent the mark by which frames take over the record as set.
    setRecord(record());
}

void Effect::setProgress(float progress) {
    if (!(progress >= 0.0f && progress <= 1.0f)) throw Error("progress has to be a number from 0 to 1");
    if (!m_state->effect) throw Error(fmt::format("{} is a generator and has no progress", info().name));
    m_state->check(m_state->effect->put_Progress(progress), "take its progress");
}

void Effect::setBlending(bool on) {
    constexpr DWORD kChangeable = 1 << 16;
    DWORD flags = 0;
    if (!m_state->transform || FAILED(m_state->transform->GetMiscFlags(&flags))) return;
    if ((flags & kChangeable) && bool(flags & kBlends) != on)
        m_state->check(m_state->transform->SetMiscFlags((flags & 0xFFFF) ^ kBlends), "change its blending");
}

bool Effect::render(std::span<const Surface> inputs, const Surface& output, const RECT* clip, const POINT* placement) {
    State& state = *m_state;
    if (!state.effect || !state.transform)
        throw Error(fmt::format("{} is a generator: it makes a picture from nothing and renders none", info().name));
    if (!output) throw Error(fmt::format("{} was given no output picture", info().name));
    const auto least = static_cast<std::size_t>(std::max(info().minInputs, 0));
    const auto most = static_cast<std::size_t>(std::max(info().maxInputs, 0));
    if (inputs.size() < least || inputs.size() > most ||
        std::any_of(inputs.begin(), inputs.begin() + static_cast<std::ptrdiff_t>(least),
                    [](const Surface& input) { return !input; }))
        throw Error(fmt::format("{} takes {}, not {}", info().name, inputsText(info()),
                                std::count_if(inputs.begin(), inputs.end(), [](const Surface& s) { return bool(s); })));

    const auto isBound = [&] {
        return state.bound.size() == inputs.size() + 1 && state.bound.back().Get() == output.get() &&
               std::equal(inputs.begin(), inputs.end(), state.bound.begin(),
                          [](const Surface& input, const auto& bound) { return input.get() == bound.Get(); });
    };
    if (!isBound()) {
        unbind();
        std::vector<CComPtr<IDXSurface>> bound;
        std::vector<IUnknown*> objects;
        for (const Surface& input : inputs) {
            bound.emplace_back(input.get());
            objects.push_back(input.get());
        }
        bound.emplace_back(output.get());
        IUnknown* const target = output.get();
        const HRESULT status =
            state.transform->Setup(objects.data(), static_cast<ULONG>(objects.size()), &target, 1, 0);
        if (FAILED(status)) failRendering(info(), status, inputs, output);
        state.bound = std::move(bound);
    }

    const DXBNDS clipBounds = clip ? boundsOf(*clip) : DXBNDS{};
    DXVEC place{};
    if (placement) {
        place.Axis[0] = placement->x;
        place.Axis[1] = placement->y;
    }
    const HRESULT status =
        state.transform->Execute(nullptr, clip ? &clipBounds : nullptr, placement ? &place : nullptr);
    if (FAILED(status)) failRendering(info(), status, inputs, output);
    return status != S_FALSE;
}

bool Effect::covers(std::span<const Surface> inputs, const Surface& output) const {
    const ImageView target = output.view();
    DWORD flags = kBlends;
    return info().kind == EffectKind::Filter && (target.format != PixelFormat::Float128 || info().soundInFloat) &&
           SUCCEEDED(m_state->transform->GetMiscFlags(&flags)) && !(flags & kBlends) &&
           std::ranges::all_of(inputs, [&](const Surface& input) {
               return input && input.view().width == target.width && input.view().height == target.height;
           });
}

bool Effect::renderAnew(std::span<const Surface> inputs, Surface output) {
    if (output && m_state->transform && !covers(inputs, output)) output.clear();
    return render(inputs, output);
}

void Effect::unbind() {
    m_state->bound.clear();
    if (m_state->transform) m_state->transform->Setup(nullptr, 0, nullptr, 0, 0);
}

void Effect::generate(const Surface& output) {
    if (!m_state->generator) throw Error(fmt::format("{} is no generator: render a picture through it", info().name));
    if (!output) throw Error(fmt::format("{} was given no output picture", info().name));
    constexpr const char* kDoing = "draw its picture";
    const ImageView view = output.view();
    const auto surface = m_state->need<IDXSurface>(kDoing);
    const auto sized = m_state->need<IDXSurfaceInit>(kDoing);
    GUID format{};
    DWORD sampleFormat = 0;
    m_state->check(surface->GetPixelFormat(&format, &sampleFormat), kDoing);
    const DXBNDS bounds = boundsOf({0, 0, view.width, view.height});
    m_state->check(sized->InitSurface(nullptr, nullptr, &format, &bounds, 0), kDoing);
    // A generator that draws ahead does so when it is asked for its cache.
    alignas(16) std::byte cache[256]{};
    m_state->check(m_state->generator->GetCacheInfo(cache), kDoing);

    CComPtr<IDXARGBReadPtr> rows;
    const HRESULT status =
        surface->LockSurface(&bounds, 0, DXLOCKF_READ, &IDXARGBReadPtr::iid, rows.ReceiveVoid(), nullptr);
    if (FAILED(status)) rows.Detach();
    m_state->check(rows ? status : FAILED(status) ? status : E_FAIL, kDoing);
    const SampleKind kind = view.format == PixelFormat::Argb32 ? SampleKind::Straight : SampleKind::Premultiplied;
    const auto width = static_cast<ULONG>(view.width);
    std::vector<DWORD> samples(std::size_t{width} + kSpareSamples);
    for (int y = 0; y < view.height; ++y) {
        rows->MoveToRow(static_cast<ULONG>(y));
        if (kind == SampleKind::Straight)
            rows->Unpack(samples.data(), width, FALSE);
        else
            rows->UnpackPremult(samples.data(), width, FALSE);
        packRow(view.format, view.data + y * view.stride, kind, samples.data(), width);
    }
    Surface(output).touch();
}

} // namespace larkmoor
