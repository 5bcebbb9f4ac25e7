// Short memory at every entry of the module: whichever allocation fails, the entry answers with a status, nothing is
// thrown, nothing is lost, and the object does afterwards what a fresh one does.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <new>
#include <string>
#include <string_view>
#include <vector>

#include "base/object.h"
#include "frame/effect_class.h"
#include "generators/text.h"
#include "generators/time_code.h"
#include "host/object.h"
#include "host/services.h"
#include "host/surface.h"
#include "kernels/exports.h"
#include "platform/exports.h"
#include "platform/page.h"
#include "support/locale_block.h"
#include "support/messages.h"

namespace {

thread_local LONG g_left = -1; ///< allocations that still succeed; below 0 all do
thread_local LONG g_live = 0;  ///< of `new`, made on this thread less those given back on it
thread_local bool g_struck = false;
thread_local std::size_t g_largest = 0; ///< bytes of the largest so far

bool Refused(std::size_t size) {
    g_largest = std::max(g_largest, size);
    if (g_left < 0 || --g_left >= 0) return false;
    return g_struck = true;
}

void* New(std::size_t size) {
    void* const memory = Refused(size) ? nullptr : std::malloc(size ? size : 1);
    if (!memory) throw std::bad_alloc();
    ++g_live;
    return memory;
}

void* New(std::size_t size, std::align_val_t alignment) {
    const auto step = static_cast<std::size_t>(alignment);
    void* const memory = Refused(size) ? nullptr : std::aligned_alloc(step, (size + step - 1) / step * step);
    if (!memory) throw std::bad_alloc();
    ++g_live;
    return memory;
}

void Delete(void* memory) {
    if (memory) --g_live;
    std::free(memory);
}

} // namespace

void* operator new(std::size_t size) {
    return New(size);
}
void* operator new(std::size_t size, std::align_val_t alignment) {
    return New(size, alignment);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    try {
        return New(size);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}
void operator delete(void* memory, const std::nothrow_t&) noexcept {
    Delete(memory);
}
void operator delete(void* memory) noexcept {
    Delete(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    Delete(memory);
}
void operator delete(void* memory, std::align_val_t) noexcept {
    Delete(memory);
}
void operator delete(void* memory, std::size_t, std::align_val_t) noexcept {
    Delete(memory);
}

// The linker leads the module's own calls of `calloc` here.
extern "C" void* __real_calloc(std::size_t count, std::size_t size);
extern "C" void* __wrap_calloc(std::size_t count, std::size_t size) {
    return Refused(count * size) ? nullptr : __real_calloc(count, size);
}
extern "C" void* __real_malloc(std::size_t size);
extern "C" void* __wrap_malloc(std::size_t size) {
    return Refused(size) ? nullptr : __real_malloc(size);
}

namespace {

/// Makes a call again and again, each time with a later allocation failing, until none fails. Gives that last answer.
/// @param quiet the entry may do without the memory, or its contract has no failure.
HRESULT WithEachAllocationFailing(const std::string& name, const std::function<HRESULT()>& call, bool quiet = false) {
    for (LONG n = 0;; ++n) {
        g_struck = false;
        g_left = n;
        const HRESULT status = call();
        g_left = -1;
        if (!g_struck) return status;
        EXPECT_TRUE(quiet || FAILED(status)) << name << ", allocation " << n;
    }
}

/// The entries of one object, walked one after the other.
class CWalk {
  public:
    explicit CWalk(std::string name) : m_name(std::move(name)) {}
    template <class Call>
    void operator()(const char* entry, Call&& call, bool quiet = false) const {
        const std::string name = m_name + "::" + entry;
        const HRESULT status = WithEachAllocationFailing(name, call, quiet);
        EXPECT_TRUE(SUCCEEDED(status) || status == E_NOTIMPL) << name << ' ' << status;
    }

  private:
    const std::string m_name;
};

class CPlainSink final : public larkmoor::ObjectOf<IKwParamSink> {
    HRESULT OnParamsChanged() override { return S_OK; }
};
class CPlainPageSink final : public larkmoor::ObjectOf<IKwPageSink> {
    HRESULT OnPageNotice(const tPageNotice*) override { return S_OK; }
};
struct tSilentWindow : tMessageTarget {
    tSilentWindow() : tMessageTarget{[](void*, UINT, std::uintptr_t, std::intptr_t) {}} {}
};

CComPtr<IUnknown> Made(const CLSID& clsid) {
    const auto factory =
        KwReceived<IClassFactory>([&](void** out) { return DllGetClassObject(&clsid, &IClassFactory::iid, out); });
    return KwReceived<IUnknown>([&](void** out) { return factory->CreateInstance(nullptr, &IUnknown::iid, out); });
}

tClassInfo ClassOf(IUnknown* object) {
    tClassInfo info{};
    if (const auto told = KwQuery<IKwParamInfo>(object)) told->GetClassInfo(&info, sizeof info);
    return info;
}

void WalkParams(const CWalk& walk, IUnknown* object) {
    const auto stream = larkmoor::createMemoryStream(), other = larkmoor::createMemoryStream();
    const auto storage = larkmoor::createMemoryStorage();
    const auto sink = larkmoor::makeObject<CPlainSink>();
    const auto rewound = [](const CComPtr<IStream>& used) {
        used->Seek(0, 0, nullptr);
        return used.Get();
    };
    if (const auto ramp = KwQuery<IKwParamRamp>(object)) {
        walk("SetParamSink", [&] { return ramp->SetParamSink(sink.Get()); });
        walk("SaveParams", [&] { return ramp->SaveParams(rewound(stream)); });
        ramp->SaveParams(rewound(other));
        walk("LoadParams", [&] { return ramp->LoadParams(rewound(stream)); });
        const auto out = larkmoor::createMemoryStream();
        walk("Interpolate", [&] { return ramp->Interpolate(rewound(out), rewound(stream), rewound(other), 0.5); });
        walk("SetRampRecords", [&] { return ramp->SetRampRecords(rewound(stream), rewound(other)); });
        walk("SetRampPos", [&] { return ramp->SetRampPos(0.25); });
        walk("SetRampOn", [&] { return ramp->SetRampOn(TRUE); });
    }
    if (const auto persist = KwQuery<IPersistStreamInit>(object)) {
        CLSID clsid{};
        std::uint64_t size = 0;
        walk("GetClassID", [&] { return persist->GetClassID(&clsid); });
        walk("Save", [&] { return persist->Save(rewound(stream), TRUE); });
        walk("Load", [&] { return persist->Load(rewound(stream)); });
        walk("GetSizeMax", [&] { return persist->GetSizeMax(&size); });
        walk("IsDirty", [&] { return persist->IsDirty(); });
        const auto stored = KwQuery<IPersistStorage>(object);
        walk("storage Save", [&] { return stored->Save(storage.Get(), TRUE); });
        walk("storage Load", [&] { return stored->Load(storage.Get()); });
        walk("storage InitNew", [&] { return stored->InitNew(storage.Get()); });
    }
    if (const auto presets = KwQuery<IKwPresets>(object)) {
        LONG count = 0;
        WCHAR name[64];
        walk("GetCount", [&] { return presets->GetCount(&count); });
        for (LONG i = 0; i < count; ++i) {
            walk("GetName", [&] { return presets->GetName(i, name, 64); });
            walk("Apply", [&] { return presets->Apply(i); });
        }
    }
    const auto known = KwQuery<IKwParamInfo>(object);
    tFieldInfo field{};
    const char* name = nullptr;
    walk("GetPreset", [&] { return known->GetPreset(-1, &name, nullptr, 0); });
    for (LONG i = 0; i < ClassOf(object).fieldCount; ++i)
        walk("GetField", [&] { return known->GetField(i, &field, sizeof field); });
    const auto pages = KwQuery<ISpecifyPropertyPages>(object);
    walk("GetPages", [&] {
        CAUUID ids{};
        const HRESULT status = pages->GetPages(&ids);
        std::free(ids.pElems);
        return status;
    });
}

/// The record through the dual interface, by its slots and by name.
template <class Dual>
void WalkDual(const CWalk& walk, IUnknown* object) {
    const tClassInfo info = ClassOf(object);
    const auto dual = KwReceived<Dual>([&](void** out) { return object->QueryInterface(&info.iid, out); });
    tSilentWindow window;
    std::vector<std::byte> record(static_cast<std::size_t>(info.recordSize) + 1);
    walk("put_NotifyWindow", [&] { return dual->put_NotifyWindow(&window, 1); });
    walk("get_all", [&] { return dual->get_all(record.data(), info.recordSize); });
    walk("put_all", [&] { return dual->put_all(record.data(), info.recordSize); });
    LONG id = 0;
    OLECHAR word[] = u"get_all";
    OLECHAR* words[] = {word};
    walk("GetIDsOfNames", [&] { return dual->GetIDsOfNames(nullptr, words, 1, 0, &id); });
    VARIANT arguments[2]{};
    arguments[0].vt = VT_I4;
    arguments[0].lVal = info.recordSize;
    arguments[1].vt = VT_PTR;
    arguments[1].byref = record.data();
    DISPPARAMS params{arguments, nullptr, 2, 0};
    walk("Invoke",
         [&] { return dual->Invoke(id, nullptr, 0, DISPATCH_PROPERTYGET, &params, nullptr, nullptr, nullptr); });
    dual->put_NotifyWindow(nullptr, 0);
}

/// A host's side of one effect: pictures of two sizes, so that the smaller input is set into the other's bounds.
struct tStage {
    larkmoor::Surface first = Filled(48, 40), second = Filled(40, 48), output = Filled(48, 48);
    CComPtr<IDXTransformFactory> factory = larkmoor::createTransformFactory();

    static larkmoor::Surface Filled(int width, int height) {
        auto surface = larkmoor::Surface::create(larkmoor::PixelFormat::PremultipliedArgb32, width, height);
        const auto view = surface.view();
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width * 4; ++x)
                view.data[view.stride * y + x] = x % 4 == 3 ? std::byte{255} : std::byte(x * 5 + y * 3);
        return surface;
    }
    HRESULT Setup(IDXTransform* transform, LONG inputs) {
        IUnknown* const in[] = {first.get(), second.get()};
        IUnknown* const out[] = {output.get()};
        return transform->Setup(in, static_cast<ULONG>(inputs), out, 1, 0);
    }
    std::vector<std::byte> Picture() const {
        const auto view = output.view();
        return {view.data, view.data + view.stride * view.height};
    }
};

/// What an effect with its default record draws.
std::vector<std::byte> Drawn(IUnknown* object) {
    tStage stage;
    if (const auto ramp = KwQuery<IKwParamRamp>(object)) ramp->SetRampOn(FALSE);
    if (const auto persist = KwQuery<IPersistStreamInit>(object)) persist->InitNew();
    if (const auto effect = KwQuery<IDXEffect>(object)) effect->put_Progress(0.4f);
    const auto transform = KwQuery<IDXTransform>(object);
    KwQuery<IObjectWithSite>(object)->SetSite(stage.factory.Get());
    EXPECT_EQ(stage.Setup(transform.Get(), ClassOf(object).maxInputs), S_OK);
    EXPECT_EQ(transform->Execute(nullptr, nullptr, nullptr), S_OK);
    transform->Setup(nullptr, 0, nullptr, 0, 0);
    KwQuery<IObjectWithSite>(object)->SetSite(nullptr);
    return stage.Picture();
}

void WalkEffect(const tObjectMapRow& row) {
    const CWalk walk(row.className);
    const auto object = Made(row.clsid);
    tStage stage;
    WalkParams(walk, object.Get());
    WalkDual<IKwEffect>(walk, object.Get());
    const auto transform = KwQuery<IDXTransform>(object.Get());
    const auto sited = KwQuery<IObjectWithSite>(object.Get());
    const LONG inputs = ClassOf(object.Get()).maxInputs;
    walk(
        "SetSite",
        [&] {
            const LONG left = std::exchange(g_left, -1);
            const auto own = Made(row.clsid);
            const auto ownSited = KwQuery<IObjectWithSite>(own.Get());
            g_left = left;
            const HRESULT status = ownSited->SetSite(stage.factory.Get());
            g_left = -1; // there is memory again
            EXPECT_EQ(stage.Setup(KwQuery<IDXTransform>(own.Get()).Get(), inputs), S_OK) << row.className;
            return status;
        },
        true); // S_OK in every case
    sited->SetSite(stage.factory.Get());
    walk("Setup", [&] { return stage.Setup(transform.Get(), inputs); });
    DXBNDS bounds{};
    CComPtr<IUnknown> bound;
    ULONG id = 0;
    DWORD flags = 0;
    walk("MapBoundsIn2Out", [&] { return transform->MapBoundsIn2Out(nullptr, 0, 0, &bounds); });
    walk("GetInOutInfo", [&] { return transform->GetInOutInfo(TRUE, 0, &flags, nullptr, nullptr, bound.Receive()); });
    walk("GetGenerationId", [&] { return transform->GetGenerationId(&id); });
    walk("IncrementGenerationId", [&] {
        if (!bound) stage.Setup(transform.Get(), inputs);
        const HRESULT status = transform->IncrementGenerationId(TRUE);
        if (FAILED(status)) stage.Setup(transform.Get(), inputs);
        return status;
    });
    // Effects that write the whole frame ask a host that refuses it for the area of the clip.
    constexpr std::string_view kAskAgain[] = {"DXTThreshold", "DXTSepia", "DXTSharpen", "DXTMax", "DXTChromaKeyFilter"};
    const bool asksAgain = std::ranges::find(kAskAgain, row.className) != std::end(kAskAgain);
    walk(
        "Execute", [&] { return transform->Execute(nullptr, nullptr, nullptr); }, asksAgain);
    const auto after = Drawn(object.Get());
    if (std::string_view(row.className) == "DXTNoise") return; // each frame has a grain of its own
    EXPECT_EQ(after, Drawn(Made(row.clsid).Get())) << row.className;
}

/// A generator's picture, read row by row; empty without a reader.
std::vector<DWORD> Rows(IDXSurface* surface) {
    std::vector<DWORD> samples(90 * 60);
    const auto reader = KwReceived<IDXARGBReadPtr>(
        [&](void** out) { return surface->LockSurface(nullptr, 0, 0, &IDXARGBReadPtr::iid, out, nullptr); });
    if (!reader) return {};
    for (ULONG y = 0; y < 60; ++y) {
        reader->MoveToRow(y);
        reader->Unpack(samples.data() + y * 90, 90, FALSE);
    }
    return samples;
}

std::vector<DWORD> DrawnRows(IUnknown* object) {
    KwQuery<IKwParamRamp>(object)->SetRampOn(FALSE);
    KwQuery<IPersistStreamInit>(object)->InitNew();
    const tClassInfo info = ClassOf(object);
    const auto dual = KwReceived<IKwGenerator>([&](void** out) { return object->QueryInterface(&info.iid, out); });
    std::byte cache[256];
    EXPECT_EQ(dual->GetCacheInfo(cache), S_OK);
    return Rows(KwQuery<IDXSurface>(object).Get());
}

void WalkGenerator(const tObjectMapRow& row) {
    const CWalk walk(row.className);
    const auto object = Made(row.clsid), fresh = Made(row.clsid);
    DXBNDS bounds{};
    for (auto& axis : bounds.Axis) axis = {0, 1};
    bounds.Axis[0].Max = 90;
    bounds.Axis[1].Max = 60;
    const auto surface = KwQuery<IDXSurface>(object.Get());
    const auto sized = KwQuery<IDXSurfaceInit>(object.Get());
    walk("InitSurface", [&] { return sized->InitSurface(nullptr, nullptr, nullptr, &bounds, 0); });
    KwQuery<IDXSurfaceInit>(fresh.Get())->InitSurface(nullptr, nullptr, nullptr, &bounds, 0);
    walk("LockSurface", [&] {
        CComPtr<IDXARGBReadPtr> reader;
        return surface->LockSurface(nullptr, 0, 0, &IDXARGBReadPtr::iid, reader.ReceiveVoid(), nullptr);
    });
    WalkParams(walk, object.Get());
    WalkDual<IKwGenerator>(walk, object.Get());
    const tClassInfo info = ClassOf(object.Get());
    const auto dual = KwReceived<IKwGenerator>([&](void** out) { return object->QueryInterface(&info.iid, out); });
    std::byte cache[256];
    walk("GetCacheInfo", [&] { return dual->GetCacheInfo(cache); });
    const auto reader = KwReceived<IDXARGBReadPtr>(
        [&](void** out) { return surface->LockSurface(nullptr, 0, 0, &IDXARGBReadPtr::iid, out, nullptr); });
    DWORD samples[90];
    walk(
        "Unpack", [&] { return reader->Unpack(samples, 90, FALSE) ? S_OK : E_FAIL; }, true);
    EXPECT_EQ(DrawnRows(object.Get()), DrawnRows(fresh.Get())) << row.className;
}

constexpr LONG kTextForeground = 1308;

/// What a page shows, in words.
std::string Shown(IKwPage* page) {
    std::string all;
    tPageControl control{};
    for (LONG i = 0; page->GetControl(i, &control, sizeof control) == S_OK; ++i)
        all += std::to_string(control.id) + ' ' + std::to_string(control.value) + ' ' + control.text + '\n';
    return all;
}

void WalkControls(const CWalk& walk, IKwPage* page) {
    tPageControl control{};
    for (LONG i = 0; page->GetControl(i, &control, sizeof control) == S_OK; ++i) {
        const LONG id = control.id;
        walk("FindControl", [&] { return page->FindControl(control.id, &control, sizeof control); });
        std::byte detail[1024], bits[16 * 16 * 4];
        tPageMenuItem item{};
        walk("GetDetail", [&] { return page->GetDetail(id, detail, sizeof detail); });
        for (LONG part = 0; part <= KWPART_LAST; ++part)
            WithEachAllocationFailing("PaintPart", [&] { return page->PaintPart(id, part, bits, 16, 16, 64); });
        WithEachAllocationFailing("GetMenuItem", [&] { return page->GetMenuItem(id, 0, &item, sizeof item); });
        const tPageEvent events[] = {{KWEVENT_SIZE, 120, 80, 0, 0, 0, nullptr},
                                     {KWEVENT_FOCUS, 0, 0, 0, 0, KWPART_EDIT1, nullptr},
                                     {KWEVENT_PRESS, 60, 40, 0, 0, 0, nullptr},
                                     {KWEVENT_MOVE, 70, 30, 1, 0, 0, nullptr},
                                     {KWEVENT_RELEASE, 70, 30, 0, 0, 0, nullptr},
                                     {KWEVENT_DOUBLE_PRESS, 20, 20, 0, 0, 0, nullptr},
                                     {KWEVENT_RELEASE, 20, 20, 0, 0, 0, nullptr},
                                     {KWEVENT_KEY, 0, 0, KWKEY_RIGHT, 0, 0, nullptr},
                                     {KWEVENT_TIMER, 0, 0, 1, 0, 0, nullptr},
                                     {KWEVENT_CLICK, 0, 0, 0, 0, 0, nullptr},
                                     {KWEVENT_SELECT, 0, 0, 1, 0, 0, nullptr},
                                     {KWEVENT_TEXT, 0, 0, 0, 0, KWPART_EDIT1, "0.375 or another text"},
                                     {KWEVENT_BLUR, 0, 0, 0, 0, KWPART_EDIT1, nullptr}};
        for (const tPageEvent& event : events)
            WithEachAllocationFailing(
                "SendEvent", [&] { return page->SendEvent(id, &event); }, true);
    }
}

void WalkPage(const tObjectMapRow& effectRow, const CLSID& clsid) {
    const CWalk walk(std::string("page of ") + effectRow.className);
    const auto effect = Made(effectRow.clsid);
    tSilentWindow window; // outlives the page
    const auto object = Made(clsid);
    const auto page = KwQuery<IPropertyPage>(object.Get());
    const auto model = KwQuery<IKwPage>(object.Get());
    const auto sink = larkmoor::makeObject<CPlainPageSink>();
    IUnknown* const effects[] = {effect.Get()};
    walk("SetPageSink", [&] { return model->SetPageSink(sink.Get()); });
    walk("SetObjects", [&] { return page->SetObjects(1, const_cast<IUnknown**>(effects)); });
    walk("Activate", [&] { return page->Activate(&window, nullptr, FALSE); });
    walk("SetObjects while open", [&] {
        const HRESULT status = page->SetObjects(1, const_cast<IUnknown**>(effects));
        if (FAILED(status)) page->SetObjects(1, const_cast<IUnknown**>(effects));
        page->Activate(&window, nullptr, FALSE);
        return status;
    });
    walk("GetPageInfo", [&] {
        PROPPAGEINFO info{};
        const HRESULT status = page->GetPageInfo(&info);
        std::free(info.pszTitle);
        return status;
    });
    walk("Apply", [&] { return page->Apply(); });
    walk("Help", [&] { return page->Help(nullptr); });
    tPageMenuItem item{};
    walk("GetMenuItem", [&] { return model->GetMenuItem(0, 0, &item, sizeof item); });
    for (const LONG command : {kPagePresetFirst, kPageRefresh, kPageHelp})
        walk("SendPage", [&] { return model->SendPage(WM_COMMAND, static_cast<std::uintptr_t>(command), 0, nullptr); });
    walk(
        "About", [&] { return model->SendPage(WM_COMMAND, static_cast<std::uintptr_t>(kPageAbout), 0, nullptr); },
        true);
    WalkControls(walk, model.Get());

    const tPageEvent click{KWEVENT_CLICK, 0, 0, 0, 0, 0, nullptr};
    model->SendEvent(kTextForeground, &click); // which colour is shown is the page's own
    if (const auto persist = KwQuery<IPersistStreamInit>(effect.Get())) persist->InitNew();
    EXPECT_EQ(model->SendPage(WM_COMMAND, static_cast<std::uintptr_t>(kPageRefresh), 0, nullptr), S_OK);
    const auto other = Made(clsid);
    const auto freshEffect = Made(effectRow.clsid);
    IUnknown* freshEffects[] = {freshEffect.Get()};
    KwQuery<IPropertyPage>(other.Get())->SetObjects(1, freshEffects);
    KwQuery<IPropertyPage>(other.Get())->Activate(&window, nullptr, FALSE);
    EXPECT_EQ(Shown(model.Get()), Shown(KwQuery<IKwPage>(other.Get()).Get())) << effectRow.className;
    walk("Deactivate", [&] { return page->Deactivate(); });
    model->SetPageSink(nullptr);
}

void WalkRow(const tObjectMapRow& row) {
    const CWalk walk(row.className);
    CComPtr<IClassFactory> factory;
    walk("DllGetClassObject",
         [&] { return DllGetClassObject(&row.clsid, &IClassFactory::iid, factory.ReceiveVoid()); });
    walk("CreateInstance", [&] {
        CComPtr<IUnknown> made;
        return factory->CreateInstance(nullptr, &IUnknown::iid, made.ReceiveVoid());
    });
    if (!row.description) return;
    const auto object = Made(row.clsid);
    if (KwQuery<IDXTransform>(object.Get()))
        WalkEffect(row);
    else
        WalkGenerator(row);
    if (const tObjectMapRow* const page = KwMateOf(row)) WalkPage(row, page->clsid);
}

class ShortMemory : public testing::TestWithParam<std::size_t> {};

TEST_P(ShortMemory, LeavesEveryEntryAndObjectWhole) {
    KwSetMessageCallback([](void*, const tMESSAGE&, bool*) -> UINT { return IDOK; }, nullptr);
    const tObjectMapRow& row = KwObjectMap()[GetParam()];
    UserLocale(); // made once, from what there is
    WalkRow(row); // fills what is kept for good
    const LONG live = g_live, objects = CModuleLock::Count();
    WalkRow(row);
    EXPECT_EQ(g_live, live) << "allocations that nobody gave back";
    EXPECT_EQ(CModuleLock::Count(), objects);
    KwSetMessageCallback(nullptr, nullptr);
}
INSTANTIATE_TEST_SUITE_P(Rows, ShortMemory, testing::Range(std::size_t{0}, KwObjectMap().size()),
                         [](const auto& row) { return std::string(KwObjectMap()[row.param].className); });

TEST(ShortMemory, ExportedKernelsSaySo) {
    const RECT frame{0, 0, 40, 30};
    std::vector<DWORD> pixels(40 * 30 * 3);
    DWORD* const out = pixels.data();
    DWORD *const first = out + 1200, *const second = out + 2400;
    const tSQUEEZEPROP squeeze{};
    const tZOOMPROP zoom{};
    const tMASKPROP mask{};
    const CWalk walk("export");
    walk("KwDibSqueeze", [&] {
        return KwDibSqueeze(out, &frame, 160, nullptr, first, &frame, 160, nullptr, second, &frame, 160, nullptr, 4,
                            squeeze, 0.5);
    });
    walk("KwDibZoom", [&] {
        return KwDibZoom(out, &frame, 160, nullptr, first, &frame, 160, nullptr, second, &frame, 160, nullptr, 4, zoom,
                         0.5);
    });
    walk("KwDibChannelMin",
         [&] { return KwDibChannelMin(out, &frame, 160, nullptr, 3, first, &frame, 160, nullptr, 3, 2, 4); });
    walk("KwDibMask", [&] { return KwDibMask(out, &frame, 160, nullptr, first, 160, &frame, nullptr, 4, &mask); });
}

/// A length that a stream only promises costs nothing.
TEST(ShortMemory, TextTakesWhatItsStreamGives) {
    const auto row = std::ranges::find(KwObjectMap(), std::string_view("DXSText"), &tObjectMapRow::className);
    const auto object = Made(row->clsid);
    std::vector<std::byte> content(132);
    std::memcpy(content.data() + 108, kTextSignature, sizeof kTextSignature);
    const LONG promised = 1 << 24;
    std::memcpy(content.data() + 124, &promised, sizeof promised);
    const auto stream = larkmoor::createMemoryStream(content);
    g_largest = 0;
    EXPECT_EQ(KwQuery<IPersistStreamInit>(object.Get())->Load(stream.Get()), S_FALSE);
    EXPECT_LT(g_largest, 1u << 16);
}

/// A digit that is a thousand times too large for the picture is kept as its levels alone.
TEST(ShortMemory, DigitsTakeNoPixelsThatAreNotSeen) {
    const auto row = std::ranges::find(KwObjectMap(), std::string_view("DXTTimeCode"), &tObjectMapRow::className);
    const auto object = Made(row->clsid);
    const tClassInfo info = ClassOf(object.Get());
    const auto effect = KwReceived<IKwEffect>([&](void** out) { return object->QueryInterface(&info.iid, out); });
    tTIMECODEPROP record{1, 1, kTimeFrames, 1100.0f, 1100.0f, 1.0f, 0, 0};
    effect->put_all(&record, sizeof record);
    tStage stage;
    KwQuery<IObjectWithSite>(object.Get())->SetSite(stage.factory.Get());
    const auto transform = KwQuery<IDXTransform>(object.Get());
    EXPECT_EQ(stage.Setup(transform.Get(), 1), S_OK);
    g_largest = 0;
    EXPECT_EQ(transform->Execute(nullptr, nullptr, nullptr), S_OK);
    EXPECT_GT(g_largest, 1u << 20);
    EXPECT_LT(g_largest, 1u << 26);
}

} // namespace
