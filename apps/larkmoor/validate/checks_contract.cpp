// Birth, identity and manners of objects.
#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>

#include "host/object.h"
#include "platform/page.h"
#include "validate/checks.h"

namespace larkmoor::validate {

namespace {

constexpr GUID unknownId{0x13572468, 0xABCD, 0x4321, {1, 2, 3, 4, 5, 6, 7, 8}};

struct Face {
    const char* name;
    GUID iid;
};
constexpr Face faces[] = {
    {"IUnknown", IUnknown::iid},
    {"IObjectWithSite", IObjectWithSite::iid},
    {"IDXBaseObject", IDXBaseObject::iid},
    {"IDXTransform", IDXTransform::iid},
    {"IDXEffect", IDXEffect::iid},
    {"IDispatch", IDispatch::iid},
    {"IKwEffectInfo", IKwEffectInfo::iid},
    {"IKwParamRamp", IKwParamRamp::iid},
    {"IKwPresets", IKwPresets::iid},
    {"IKwEffectGroup", IKwEffectGroup::iid},
    {"IPersistStreamInit", IPersistStreamInit::iid},
    {"IPersistStorage", IPersistStorage::iid},
    {"IPersistPropertyBag", IPersistPropertyBag::iid},
    {"ISpecifyPropertyPages", ISpecifyPropertyPages::iid},
    {"IObjectSafety", IObjectSafety::iid},
    {"IDXSurface", IDXSurface::iid},
    {"IDXSurfaceInit", IDXSurfaceInit::iid},
};

/// Every interface leads to every other, to one identity, and unknown ids to none.
void expectOneIdentity(IUnknown* object) {
    const auto identity = KwQuery<IUnknown>(object);
    expect(bool(identity), "the object does not answer IUnknown");
    const auto answered = [](IUnknown* from, const GUID& iid) {
        return KwReceived<IUnknown>([&](void** out) { return from->QueryInterface(&iid, out); });
    };
    for (const Face& first : faces) {
        const auto face = answered(object, first.iid);
        if (!face) continue;
        expect(answered(face.Get(), IUnknown::iid).Get() == identity.Get(), "{} leads to another IUnknown", first.name);
        for (const Face& second : faces)
            expect(bool(answered(face.Get(), second.iid)) == bool(answered(object, second.iid)),
                   "{} answers {} otherwise than the object", first.name, second.name);
        void* out = &out;
        const HRESULT status = face->QueryInterface(&unknownId, &out);
        expect(status == E_NOINTERFACE, "{} answers an unknown id with {} in place of 0x80004002", first.name,
               told(status));
        expect(out == nullptr, "{} leaves a pointer for an unknown id", first.name);
        const ULONG more = face->AddRef(), less = face->Release();
        expect(more == less + 1, "AddRef of {} tells {} and Release {}", first.name, more, less);
    }
}

void expectEffectInfo(const Subject& subject) {
    const auto teller = subject.face<IKwEffectInfo>();
    std::array<std::byte, 40> block;
    block.fill(std::byte{0xA5});
    tEffectInfo info{};
    expectDone(teller->GetEffectInfo(block.data(), 64), "GetEffectInfo with more room");
    std::memcpy(&info, block.data(), sizeof info);
    expect(std::all_of(block.begin() + 32, block.end(), [](std::byte b) { return b == std::byte{0xA5}; }),
           "GetEffectInfo writes more than 32 bytes");
    expect(info.kind == KWKIND_FILTER || info.kind == KWKIND_TRANSITION || info.kind == KWKIND_MASK,
           "GetEffectInfo tells of kind {}", info.kind);
    expect(info.weight == 1.0, "GetEffectInfo tells of weight {}", info.weight);
    block.fill(std::byte{0xA5});
    expectDone(teller->GetEffectInfo(block.data(), 4), "GetEffectInfo with less room");
    expect(block[4] == std::byte{0xA5}, "GetEffectInfo writes beyond the room given");
}

void expectTransform(const Subject& subject) {
    IDXTransform* const transform = subject.transform();
    DWORD flags = 0;
    expectDone(transform->GetMiscFlags(&flags), "GetMiscFlags");
    constexpr DWORD watchesOutput = 0x01000000;
    expect((flags & ~watchesOutput) == 0x06030003, "the miscellaneous flags are {:#010x} at first", flags);
    expectRefused(transform->Execute(nullptr, nullptr, nullptr), "Execute without surfaces");
    Picture picture(PixelFormat::PremultipliedArgb32, 8, 8);
    std::vector<IUnknown*> tooMany(static_cast<std::size_t>(subject.maxInputs()) + 1, picture.object());
    expectRefused(subject.bind(tooMany, picture.object()), "Setup with an input too many");
    tooMany.resize(static_cast<std::size_t>(subject.maxInputs()));
    expectRefused(subject.bind(tooMany, nullptr), "Setup without an output");
    if (subject.minInputs() > 0) expectRefused(subject.bind({}, picture.object()), "Setup with an input too few");
    expectDone(subject.bind(tooMany, picture.object()), "Setup");
    DXBNDS wrong{};
    wrong.eType = 1;
    expectRefused(transform->Execute(nullptr, &wrong, nullptr), "Execute with bounds of another type");
    const auto sited = subject.face<IObjectWithSite>();
    expect(bool(sited), "a transform does not answer IObjectWithSite");
    const float progress = 0.375f;
    float back = 0;
    expectDone(subject.dual()->put_Progress(progress), "put_Progress");
    expectDone(subject.dual()->get_Progress(&back), "get_Progress");
    expect(back == progress, "progress {} comes back as {}", progress, back);
}

} // namespace

void checkMap(Context& context) {
    const auto rows = context.module.rows();
    expect(!rows.empty(), "the object map has no rows");
    Row row;
    expect(context.module.enumerate(-1, row, 64) == E_INVALIDARG, "DllEnumObjects2 takes row -1");
    for (std::size_t i = 0; i < rows.size(); ++i) {
        for (std::size_t j = 0; j < i; ++j)
            expect(rows[i].clsid != rows[j].clsid, "rows {} and {} have one class id", j, i);
        expect(rows[i].isEffect() != rows[i].description.empty(), "row {} has a description or a category alone", i);
        Row cut;
        expectDone(context.module.enumerate(static_cast<LONG>(i), cut, 4), "DllEnumObjects2 with less room");
        expect(cut.description == rows[i].description.substr(0, 3), "row {}: a description of 4 bytes is \"{}\"", i,
               cut.description);
        expect(bool(context.module.factory(rows[i].clsid)), "row {} has no class factory", i);
    }
    void* out = &out;
    expect(context.module.classObject(&unknownId, &IClassFactory::iid, &out) == CLASS_E_CLASSNOTAVAILABLE,
           "an unknown class is not answered with 0x80040111");
    expectRefused(context.module.classObject(&rows[0].clsid, &IClassFactory::iid, nullptr),
                  "DllGetClassObject without a place for the answer");
    expect(context.module.canUnload(), "DllCanUnloadNow says no while no object is left");
    const auto factory = context.module.factory(rows[0].clsid);
    factory->LockServer(TRUE);
    expect(!context.module.canUnload(), "DllCanUnloadNow says yes while the server is locked");
    factory->LockServer(FALSE);
}

void checkExports(Context& context) {
    constexpr const char* names[] = {"DllRegisterServer",
                                     "DllUnregisterServer",
                                     "KwDibBrightness",
                                     "KwDibChannelMin",
                                     "KwDibClock",
                                     "KwDibMask",
                                     "KwDibPush",
                                     "KwDibBarn",
                                     "KwDibSqueeze",
                                     "KwDibZoom",
                                     "KwDibWipe",
                                     "KwTwin_mix",
                                     "KwDibCreateDifferenceAlpha",
                                     "KwDibApplyChromaCorrection",
                                     "CreateMaskBorder",
                                     "KwSetMemoryDWords",
                                     "KwWndCenter",
                                     "Internet_BrowseWebPage"};
    for (const char* name : names) expect(context.module.symbol(name) != nullptr, "{} is not exported", name);
    std::array<ULONG, 5> words{1, 1, 1, 1, 1};
    const auto fill = reinterpret_cast<void (*)(void*, ULONG, ULONG)>(context.module.symbol("KwSetMemoryDWords"));
    fill(words.data() + 1, 7, 3);
    expect(words == std::array<ULONG, 5>{1, 7, 7, 7, 1}, "KwSetMemoryDWords does not fill its words");
    const auto brightness = reinterpret_cast<HRESULT (*)(void*, const RECT*, LONG, const RECT*, LONG, float)>(
        context.module.symbol("KwDibBrightness"));
    expect(brightness(words.data(), nullptr, 4, nullptr, 4, 0.5f) == E_POINTER,
           "KwDibBrightness does not answer a missing frame with 0x80004003");
}

void checkContract(Context& context) {
    {
        const Subject subject = context.make();
        expect(!context.module.canUnload(), "DllCanUnloadNow says yes while an object lives");
        expectOneIdentity(subject.object());
        if (subject.isGenerator())
            expect(subject.face<IDXSurface>() && subject.face<IDXSurfaceInit>(),
                   "an object is neither transform nor generator");
        else
            expectEffectInfo(subject), expectTransform(subject);
        const auto sited = subject.face<IObjectWithSite>();
        const auto site = createTransformFactory();
        CComPtr<IUnknown> back;
        expectDone(sited->SetSite(site.Get()), "SetSite");
        expectDone(sited->GetSite(&IUnknown::iid, back.ReceiveVoid()), "GetSite");
        expect(back.Get() == KwQuery<IUnknown>(site.Get()).Get(), "GetSite gives another object than was set");
        expectDone(sited->SetSite(nullptr), "SetSite without an object");
        expect(sited->GetSite(&IUnknown::iid, back.ReceiveVoid()) == E_FAIL,
               "GetSite does not answer a missing site with 0x80004005");
        back.Detach();
        if (!subject.isGenerator()) {
            Picture picture(PixelFormat::PremultipliedArgb32, 8, 8);
            const std::vector<IUnknown*> inputs(static_cast<std::size_t>(subject.maxInputs()), picture.object());
            expect(subject.bind(inputs, picture.object()) == DXTERR_UNINITIALIZED,
                   "Setup without a site is not answered with 0x887A0001");
        }
        const auto classed = subject.face<IPersistStorage>();
        CLSID clsid{};
        expect(classed && SUCCEEDED(classed->GetClassID(&clsid)) && clsid == context.clsid,
               "GetClassID tells another class");
    }
    expect(context.module.canUnload(), "an object, or what it made, is alive after its last Release");
}

void checkNulls(Context& context) {
    const Subject subject = context.make();
    IUnknown* const object = subject.object();
    void* out = &out;
    expectRefused(object->QueryInterface(&IUnknown::iid, nullptr), "QueryInterface without a place for the answer");
    expectRefused(object->QueryInterface(nullptr, &out), "QueryInterface without an id");
    const auto factory = context.module.factory(context.clsid);
    expectRefused(factory->CreateInstance(nullptr, &IUnknown::iid, nullptr), "CreateInstance without a place");
    out = &out;
    expectRefused(factory->CreateInstance(nullptr, &unknownId, &out), "CreateInstance with an unknown id");
    expect(out == nullptr, "CreateInstance leaves a pointer where it failed");

    if (const auto face = subject.face<ISpecifyPropertyPages>()) expectRefused(face->GetPages(nullptr), "GetPages(0)");
    if (const auto face = subject.face<IKwPresets>()) {
        WCHAR name[8];
        expectRefused(face->GetCount(nullptr), "GetCount(0)");
        expectRefused(face->GetName(0, nullptr, 8), "GetName without a buffer");
        for (const LONG index : {-1, subject.presetCount(), INT32_MIN, INT32_MAX}) {
            expectRefused(face->GetName(index, name, 8), fmt::format("GetName({})", index));
            expectRefused(face->Apply(index), fmt::format("Apply({})", index));
        }
    }
    if (const auto face = subject.face<IKwParamRamp>()) {
        const auto stream = createMemoryStream();
        expectRefused(face->SaveParams(nullptr), "SaveParams(0)");
        expectRefused(face->LoadParams(nullptr), "LoadParams(0)");
        expectRefused(face->Interpolate(nullptr, stream.Get(), stream.Get(), 0.5), "Interpolate into nothing");
        expectRefused(face->Interpolate(stream.Get(), nullptr, stream.Get(), 0.5), "Interpolate from nothing");
        expectRefused(face->SetRampRecords(nullptr, nullptr), "SetRampRecords(0, 0)");
        expectDone(face->SetParamSink(nullptr), "SetParamSink(0)");
    }
    if (const auto face = subject.face<IPersistStreamInit>()) {
        expectRefused(face->GetClassID(nullptr), "GetClassID(0)");
        expectRefused(face->Load(nullptr), "Load(0)");
        expectRefused(face->Save(nullptr, TRUE), "Save(0)");
        expectRefused(face->GetSizeMax(nullptr), "GetSizeMax(0)");
    }
    if (const auto face = subject.face<IPersistStorage>()) {
        expectRefused(face->Load(nullptr), "Load of no storage");
        expectRefused(face->Save(nullptr, TRUE), "Save to no storage");
    }
    if (const auto face = subject.face<IDispatch>()) {
        LONG id = 0;
        expectRefused(face->GetIDsOfNames(nullptr, nullptr, 1, 0, &id), "GetIDsOfNames without names");
        WCHAR unknown[] = u"Nothing";
        OLECHAR* names[] = {unknown};
        expectRefused(face->GetIDsOfNames(nullptr, names, 1, 0, &id), "GetIDsOfNames of an unknown name");
        expectRefused(face->Invoke(9999, nullptr, 0, DISPATCH_METHOD, nullptr, nullptr, nullptr, nullptr),
                      "Invoke of an unknown member");
    }
    if (const auto face = subject.face<IObjectSafety>()) {
        DWORD word = 0;
        expectRefused(face->GetInterfaceSafetyOptions(&IDispatch::iid, nullptr, &word), "safety options into nothing");
    }
    if (subject.isGenerator()) {
        const auto surface = subject.face<IDXSurface>();
        expectRefused(surface->GetBounds(nullptr), "GetBounds(0)");
        expectRefused(surface->LockSurface(nullptr, 0, DXLOCKF_READ, &IDXARGBReadPtr::iid, nullptr, nullptr),
                      "LockSurface without a place");
        expectRefused(subject.face<IDXSurfaceInit>()->InitSurface(nullptr, nullptr, nullptr, nullptr, 0),
                      "InitSurface without bounds");
        return;
    }
    expectRefused(subject.face<IKwEffectInfo>()->GetEffectInfo(nullptr, 32), "GetEffectInfo(0)");
    IDXTransform* const transform = subject.transform();
    expectRefused(transform->GetMiscFlags(nullptr), "GetMiscFlags(0)");
    expectRefused(transform->GetGenerationId(nullptr), "GetGenerationId(0)");
    expectRefused(transform->Setup(nullptr, 1, nullptr, 1, 0), "Setup with counts and no objects");
    expectRefused(transform->Setup(nullptr, UINT32_MAX, nullptr, UINT32_MAX, 0), "Setup with huge counts");
    expectRefused(transform->MapBoundsIn2Out(nullptr, 0, 0, nullptr), "MapBoundsIn2Out(0)");
    expectRefused(transform->MapBoundsOut2In(0, nullptr, 0, nullptr), "MapBoundsOut2In(0)");
    IKwEffect* const dual = subject.dual();
    LONG whole = 0;
    expectRefused(dual->get_Capabilities(nullptr), "get_Capabilities(0)");
    expectRefused(dual->get_Progress(nullptr), "get_Progress(0)");
    expectRefused(dual->get_Duration(nullptr), "get_Duration(0)");
    expectRefused(dual->get_StepResolution(nullptr), "get_StepResolution(0)");
    expectDone(dual->get_Capabilities(&whole), "get_Capabilities");
    expectDone(dual->put_NotifyWindow(nullptr, 0), "put_NotifyWindow(0)");
    if (subject.record().empty()) return;
    expectRefused(dual->get_all(nullptr, 8), "get_all(0)");
    expectRefused(dual->put_all(nullptr, 8), "put_all(0)");
}

namespace {

/// An object that has another one inside.
class Outer final : public ObjectOf<IUnknown> {
  public:
    CComPtr<IUnknown> inner;

    HRESULT QueryInterface(const IID* iid, void** out) override {
        if (!inner || !iid || *iid == IUnknown::iid) return ObjectOf::QueryInterface(iid, out);
        return inner->QueryInterface(iid, out);
    }
};

} // namespace

void checkAggregation(Context& context) {
    const auto outer = makeObject<Outer>();
    const auto factory = context.module.factory(context.clsid);
    void* out = &out;
    const HRESULT status = factory->CreateInstance(outer.Get(), &IDispatch::iid, &out);
    expect(status == CLASS_E_NOAGGREGATION, "an outer object with another id than IUnknown's gives {}", told(status));
    expect(out == nullptr, "a refused aggregation leaves a pointer");
    expectDone(factory->CreateInstance(outer.Get(), &IUnknown::iid, outer->inner.ReceiveVoid()), "aggregation");
    expect(!outer->isShared(), "the inner object holds a reference to its outer one");
    {
        const auto face = KwQuery<IDispatch>(outer.Get());
        expect(bool(face), "the aggregated object does not answer IDispatch");
        expect(outer->isShared(), "an interface of the aggregated object does not count on the outer one");
        expect(KwQuery<IUnknown>(face.Get()).Get() == KwQuery<IUnknown>(outer.Get()).Get(),
               "the aggregated object shows an identity of its own");
    }
    expect(!outer->isShared(), "references on the outer object are left");
    outer->inner.Reset();
}

void checkPages(Context& context) {
    const Subject subject = context.make();
    const auto specifies = subject.face<ISpecifyPropertyPages>();
    if (!specifies) return;
    CAUUID list{};
    expectDone(specifies->GetPages(&list), "GetPages");
    const std::vector<GUID> ids(list.pElems, list.pElems + list.cElems);
    std::free(list.pElems);
    const auto rows = context.module.rows();
    for (const GUID& id : ids) {
        expect(std::ranges::any_of(rows, [&](const Row& row) { return row.clsid == id && !row.isEffect(); }),
               "a page of GetPages is not in the object map");
        const auto page = KwQuery<IPropertyPage>(context.module.create(id).Get());
        if (!page) continue;
        IUnknown* objects[] = {subject.object()};
        expectDone(page->SetObjects(1, objects), "SetObjects");
        expectDone(page->SetObjects(0, nullptr), "SetObjects without objects");
        const auto stranger = createMemoryStream();
        objects[0] = stranger.Get();
        const HRESULT status = page->SetObjects(1, objects);
        expect(status == E_NOINTERFACE, "SetObjects takes an object of another class, and gives {}", told(status));
    }
}

} // namespace larkmoor::validate
