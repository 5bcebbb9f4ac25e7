#include "validate/subject.h"

#include <array>

#include <dlfcn.h>

#include "host/object.h"

namespace larkmoor::validate {

std::string told(HRESULT status) {
    return fmt::format("0x{:08X}", static_cast<ULONG>(status));
}

void expectDone(HRESULT status, std::string_view what) {
    expect(SUCCEEDED(status), "{} failed with {}", what, told(status));
}

void expectRefused(HRESULT status, std::string_view what) {
    expect(FAILED(status), "{} should have been refused, and gave {}", what, told(status));
}

std::string Row::name() const {
    const std::size_t blank = description.find(' ');
    return blank == std::string::npos || blank + 1 == description.size() ? description : description.substr(blank + 1);
}

ForeignModule::ForeignModule(const std::string& file) : m_library(::dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL)) {
    if (!m_library) {
        const char* const reason = ::dlerror();
        throw Fault(fmt::format("{} cannot be loaded: {}", file, reason ? reason : "the system does not say why"));
    }
    find(m_get, "DllGetClassObject");
    find(m_enumerate, "DllEnumObjects2");
    find(m_canUnload, "DllCanUnloadNow");
}

template <class F>
void ForeignModule::find(F*& function, const char* name) {
    function = reinterpret_cast<F*>(symbol(name));
    expect(function != nullptr, "{} is not exported", name);
}

void* ForeignModule::symbol(const char* name) const {
    return ::dlsym(m_library, name);
}

HRESULT ForeignModule::enumerate(LONG index, Row& row, LONG room) const {
    std::array<char, 513> text;
    text.fill('#');
    text.back() = 0;
    const HRESULT status = m_enumerate(index, &row.category, &row.clsid, text.data(), room, nullptr, nullptr, nullptr);
    row.description = text.data();
    return status;
}

std::vector<Row> ForeignModule::rows() const {
    constexpr LONG mostRows = 10000, room = 512;
    std::vector<Row> all;
    for (Row row; static_cast<LONG>(all.size()) < mostRows; all.push_back(row)) {
        row = {};
        const HRESULT status = enumerate(static_cast<LONG>(all.size()), row, room);
        if (status != S_OK) {
            expect(status == S_FALSE, "DllEnumObjects2 ends with {} in place of 1", told(status));
            return all;
        }
    }
    throw Fault("DllEnumObjects2 has no end");
}

CComPtr<IClassFactory> ForeignModule::factory(const CLSID& clsid) const {
    HRESULT status = S_OK;
    auto found =
        KwReceived<IClassFactory>([&](void** out) { return status = m_get(&clsid, &IClassFactory::iid, out); });
    expectDone(status, "DllGetClassObject");
    expect(bool(found), "DllGetClassObject gave no class factory");
    return found;
}

CComPtr<IUnknown> ForeignModule::create(const CLSID& clsid) const {
    HRESULT status = S_OK;
    const auto makes = factory(clsid);
    auto made =
        KwReceived<IUnknown>([&](void** out) { return status = makes->CreateInstance(nullptr, &IUnknown::iid, out); });
    expectDone(status, "CreateInstance");
    expect(bool(made), "CreateInstance gave no object");
    return made;
}

Subject::Subject(const ForeignModule& module, const CLSID& clsid, unsigned processors)
    : m_site(createTransformFactory(processors)), m_object(module.create(clsid)), m_transform(face<IDXTransform>()),
      m_effect(face<IDXEffect>()) {
    if (const auto sited = face<IObjectWithSite>()) expectDone(sited->SetSite(m_site.Get()), "SetSite");
    if (isGenerator()) return;
    expect(bool(m_effect), "a transform does not answer IDXEffect");
    const auto teller = face<IKwEffectInfo>();
    expect(bool(teller), "a transform does not answer IKwEffectInfo");
    expectDone(teller->GetEffectInfo(&m_info, sizeof m_info), "GetEffectInfo");
    expect(m_info.minInputs >= 0 && m_info.minInputs <= m_info.maxInputs && m_info.maxInputs <= 2,
           "GetEffectInfo tells of {} to {} inputs", m_info.minInputs, m_info.maxInputs);
}

Subject::~Subject() {
    if (m_transform) m_transform->Setup(nullptr, 0, nullptr, 0, 0);
}

std::vector<std::byte> Subject::record() const {
    const auto ramp = face<IKwParamRamp>();
    if (!ramp) return {};
    const auto stream = createMemoryStream();
    expectDone(ramp->SaveParams(stream.Get()), "SaveParams");
    return streamContent(stream.Get());
}

HRESULT Subject::setRecord(std::span<const std::byte> record) const {
    const auto ramp = face<IKwParamRamp>();
    return ramp ? ramp->LoadParams(createMemoryStream(record).Get()) : S_OK;
}

LONG Subject::presetCount() const {
    LONG count = 0;
    if (const auto presets = face<IKwPresets>()) expectDone(presets->GetCount(&count), "GetCount");
    return count;
}

void Subject::applyPreset(LONG index) const {
    expectDone(face<IKwPresets>()->Apply(index), fmt::format("Apply({})", index));
}

void Subject::setProgress(float progress) const {
    if (m_effect) m_effect->put_Progress(progress);
}

HRESULT Subject::bind(std::span<IUnknown* const> inputs, IUnknown* output) const {
    return m_transform->Setup(inputs.data(), static_cast<ULONG>(inputs.size()), &output, 1, 0);
}

HRESULT Subject::draw(std::span<const Picture* const> inputs, const Picture& output, const DXBNDS* clip,
                      const DXVEC* place) const {
    std::vector<IUnknown*> bound;
    for (const Picture* input : inputs) bound.push_back(input->object());
    return draw(bound, output.surface(), clip, place);
}

HRESULT Subject::draw(std::span<IUnknown* const> inputs, const Surface& output, const DXBNDS* clip,
                      const DXVEC* place) const {
    if (isGenerator()) return generate(output);
    HRESULT status = bind(inputs, output.get());
    if (SUCCEEDED(status)) status = m_transform->Execute(nullptr, clip, place);
    expectDone(m_transform->Setup(nullptr, 0, nullptr, 0, 0), "Setup without surfaces");
    return status;
}

HRESULT Subject::generate(const Surface& output) const {
    const ImageView view = output.view();
    const auto sized = face<IDXSurfaceInit>();
    const auto surface = face<IDXSurface>();
    const auto ramp = face<IKwParamRamp>();
    const auto dual = CComPtr<IKwGenerator>(static_cast<IKwGenerator*>(face<IDispatch>().Get()));
    expect(sized && surface && dual, "an object that is no transform lacks an interface of generators");
    const DXBNDS bounds = boundsOf({0, 0, view.width, view.height});
    if (const HRESULT status = sized->InitSurface(nullptr, nullptr, nullptr, &bounds, 0); FAILED(status)) return status;
    std::array<std::byte, 256> cache{};
    if (const HRESULT status = dual->GetCacheInfo(cache.data()); FAILED(status)) return status;
    HRESULT status = S_OK;
    const auto reader = KwReceived<IDXARGBReadPtr>([&](void** out) {
        return status = surface->LockSurface(nullptr, 0, DXLOCKF_READ, &IDXARGBReadPtr::iid, out, nullptr);
    });
    if (FAILED(status)) return status;
    for (int y = 0; y < view.height; ++y) {
        reader->MoveToXY(0, static_cast<ULONG>(y));
        reader->UnpackPremult(reinterpret_cast<DWORD*>(view.data + view.stride * y), static_cast<ULONG>(view.width),
                              FALSE);
    }
    return S_OK;
}

} // namespace larkmoor::validate
