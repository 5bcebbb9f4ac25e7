// What the frame answers to whatever a host may hand in by mistake.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "frame/effect.h"
#include "frame/made.h"
#include "host/foreign_surface.h"
#include "host/services.h"
#include "host/surface.h"
#include "platform/exports.h"
#include "platform/page.h"

namespace {

using larkmoor::PixelFormat;
using larkmoor::Surface;

/// Calls one member of a dual interface, with arguments in the order of its declaration.
class CCaller {
  public:
    explicit CCaller(std::string_view className) : m_dual(KwQuery<IDispatch>(Made(className).Get())) {}

    LONG Id(std::u16string name) const {
        OLECHAR* text = name.data();
        LONG id = -7;
        const HRESULT status = m_dual->GetIDsOfNames(nullptr, &text, 1, 0, &id);
        return SUCCEEDED(status) ? id : status;
    }
    HRESULT operator()(LONG id, WORD flags, std::vector<VARIANT> arguments, VARIANT* result = nullptr) {
        std::ranges::reverse(arguments);
        DISPPARAMS params{arguments.data(), nullptr, static_cast<UINT>(arguments.size()), 0};
        badArgument = 99;
        return m_dual->Invoke(id, nullptr, 0, flags, &params, result, nullptr, &badArgument);
    }
    IDispatch* operator->() const { return m_dual.Get(); }

    UINT badArgument = 99;

  private:
    CComPtr<IDispatch> m_dual;
};

template <class T>
VARIANT Variant(WORD type, T value) {
    VARIANT made{};
    made.vt = type;
    std::memcpy(&made.llVal, &value, sizeof value);
    return made;
}

TEST(Answers, AMemberTakesEveryKindOfNumber) {
    CCaller call("DXTInvert");
    const LONG duration = call.Id(u"DURATION");
    const auto held = [&] {
        VARIANT result{};
        EXPECT_EQ(S_OK, call(duration, DISPATCH_PROPERTYGET, {}, &result));
        EXPECT_EQ(VT_R4, result.vt);
        return result.fltVal;
    };
    std::uint8_t room[8];
    const auto kind = [&](WORD type, auto value, float expected) {
        const auto put = [&](const VARIANT& given, WORD flags) {
            EXPECT_EQ(S_OK, call(duration, DISPATCH_PROPERTYPUT, {Variant(VT_R4, 1.5f)}));
            EXPECT_EQ(S_OK, call(duration, flags, {given})) << type;
            EXPECT_EQ(expected, held()) << type;
        };
        put(Variant(type, value), DISPATCH_PROPERTYPUT);
        std::memcpy(room, &value, sizeof value);
        VARIANT byReference = Variant<void*>(type | VT_BYREF, room);
        put(byReference, DISPATCH_PROPERTYPUTREF);
        put(Variant<void*>(VT_VARIANT | VT_BYREF, &byReference), DISPATCH_PROPERTYPUT);
    };
    kind(VT_I2, std::int16_t{300}, 300.0f);
    kind(VT_BOOL, std::int16_t{7}, 7.0f);
    kind(VT_UI2, std::uint16_t{65535}, 65535.0f);
    kind(VT_I1, std::int8_t{100}, 100.0f);
    kind(VT_UI1, std::uint8_t{200}, 200.0f);
    kind(VT_I4, std::int32_t{70000}, 70000.0f);
    kind(VT_INT, std::int32_t{5}, 5.0f);
    kind(VT_UI4, 0x80000000u, 2147483648.0f);
    kind(VT_UINT, 6u, 6.0f);
    kind(VT_I8, std::int64_t{1} << 40, 1099511627776.0f);
    kind(VT_UI8, std::uint64_t{1} << 63, 9223372036854775808.0f);
    kind(VT_R4, 0.25f, 0.25f);
    kind(VT_R8, 0.375, 0.375f);
    EXPECT_EQ(E_INVALIDARG, call(duration, DISPATCH_PROPERTYPUT, {Variant(VT_BOOL, std::int16_t{-1})}));

    for (const VARIANT& bad :
         {Variant(VT_EMPTY, 0), Variant(7, 1.0), Variant<void*>(VT_I4 | VT_BYREF, nullptr),
          Variant<void*>(VT_VARIANT | VT_BYREF, nullptr), Variant<void*>(7 | VT_BYREF, room), Variant(VT_PTR, 0)}) {
        EXPECT_EQ(DISP_E_TYPEMISMATCH, call(duration, DISPATCH_PROPERTYPUT, {bad})) << bad.vt;
        EXPECT_EQ(0u, call.badArgument);
    }
}

TEST(Answers, AMemberTakesEveryKindOfAddress) {
    CCaller call("DXTInvert");
    const LONG all = call.Id(u"all");
    double amount = 0;
    const auto address = reinterpret_cast<std::uintptr_t>(&amount);
    const VARIANT eight = Variant(VT_I4, 8);
    for (const WORD type : std::initializer_list<WORD>{VT_UI1 | VT_BYREF, VT_R8 | VT_BYREF, VT_PTR, VT_I8, VT_UI8}) {
        amount = 0;
        EXPECT_EQ(S_OK, call(all, DISPATCH_PROPERTYGET, {Variant(type, address), eight})) << type;
        EXPECT_EQ(1.0, amount) << type;
    }
    for (const WORD type : std::initializer_list<WORD>{VT_EMPTY, VT_NULL, VT_PTR, VT_I4, VT_UI4, VT_INT, VT_UINT})
        EXPECT_EQ(E_INVALIDARG, call(all, DISPATCH_PROPERTYPUT, {Variant(type, std::uintptr_t{0}), eight})) << type;
    EXPECT_EQ(DISP_E_TYPEMISMATCH, call(all, DISPATCH_PROPERTYPUT, {Variant(VT_R8, address), eight}));
    EXPECT_EQ(1u, call.badArgument) << "counted from the last";
    static_assert(sizeof(void*) == 8); // half an address is none
    for (const WORD type : std::initializer_list<WORD>{VT_I4, VT_UI4, VT_INT, VT_UINT})
        EXPECT_EQ(DISP_E_TYPEMISMATCH, call(all, DISPATCH_PROPERTYPUT, {Variant(type, 1), eight})) << type;
}

TEST(Answers, MembersByName) {
    CCaller call("DXTInvert");
    EXPECT_EQ(call.Id(u"Progress"), call.Id(u"pROGRESS"));
    for (const auto* const name : {u"Progres", u"Progresss", u"Prog\u0155ess", u"", u"[rogress", u"1rogress"})
        EXPECT_EQ(DISP_E_UNKNOWNNAME, call.Id(name));
    OLECHAR progress[] = u"Progress", value[] = u"value";
    OLECHAR* names[] = {progress, value};
    OLECHAR* none = nullptr;
    LONG ids[2]{5, 5};
    EXPECT_EQ(DISP_E_UNKNOWNNAME, call->GetIDsOfNames(nullptr, names, 2, 0, ids));
    EXPECT_EQ(call.Id(u"Progress"), ids[0]);
    EXPECT_EQ(DISPID_UNKNOWN, ids[1]);
    EXPECT_EQ(S_OK, call->GetIDsOfNames(nullptr, names, 0, 0, ids));
    EXPECT_EQ(E_POINTER, call->GetIDsOfNames(nullptr, names, 1, 0, nullptr));
    EXPECT_EQ(E_POINTER, call->GetIDsOfNames(nullptr, &none, 1, 0, ids));
    UINT count = 9;
    EXPECT_EQ(S_OK, call->GetTypeInfoCount(&count));
    EXPECT_EQ(0u, count);
    ITypeInfo* info = nullptr;
    EXPECT_EQ(E_NOTIMPL, call->GetTypeInfo(0, 0, &info));

    const struct {
        const char16_t* name;
        WORD flags;
        std::vector<VARIANT> arguments;
        HRESULT status;
    } rows[] = {{u"Capabilities", DISPATCH_PROPERTYGET, {}, S_OK},
                {u"StepResolution", DISPATCH_PROPERTYGET, {}, S_OK},
                {u"Progress", DISPATCH_PROPERTYGET, {}, S_OK},
                {u"Duration", DISPATCH_PROPERTYGET | DISPATCH_METHOD, {}, S_OK},
                {u"Capabilities", DISPATCH_PROPERTYPUT, {Variant(VT_I4, 1)}, DISP_E_MEMBERNOTFOUND},
                {u"Progress", DISPATCH_PROPERTYGET, {Variant(VT_I4, 1)}, DISP_E_TYPEMISMATCH},
                {u"Progress", DISPATCH_PROPERTYGET, {Variant(VT_I4, 1), Variant(VT_I4, 1)}, DISP_E_BADPARAMCOUNT},
                {u"Progress", DISPATCH_PROPERTYPUT, {}, DISP_E_BADPARAMCOUNT},
                {u"Progress", DISPATCH_PROPERTYPUT, {Variant(VT_R4, 2.0f)}, E_INVALIDARG},
                {u"Progress", DISPATCH_PROPERTYGET, {Variant<void*>(VT_R4 | VT_BYREF, nullptr)}, DISP_E_TYPEMISMATCH},
                {u"put_Progress", DISPATCH_METHOD, {Variant(VT_R4, 0.5f)}, S_OK},
                {u"put_NotifyWindow", DISPATCH_METHOD, {Variant(VT_NULL, 0), Variant(VT_I4, 0)}, S_OK},
                {u"all", DISPATCH_PROPERTYGET, {Variant(VT_PTR, std::uintptr_t{0})}, DISP_E_BADPARAMCOUNT}};
    for (const auto& row : rows) {
        VARIANT result = Variant(VT_I2, 1);
        const std::string name(row.name, row.name + std::char_traits<char16_t>::length(row.name));
        EXPECT_EQ(row.status, call(call.Id(row.name), row.flags, row.arguments, &result)) << name;
        const bool gets = row.status == S_OK && (row.flags & DISPATCH_PROPERTYGET);
        if (gets) {
            EXPECT_EQ(name == "Capabilities" ? VT_I4 : VT_R4, result.vt) << name;
        } else if (row.status == S_OK) {
            EXPECT_EQ(VT_EMPTY, result.vt) << name;
        }
    }
    // A number by reference arrives in the type it refers to, and nothing is written beyond that.
    for (const auto& [type, bytes] : {std::pair(VT_I2, 0),
                                      {VT_UI1, 0},
                                      {VT_I4, 4},
                                      {VT_INT, 4},
                                      {VT_UI4, 4},
                                      {VT_UINT, 4},
                                      {VT_R4, 4},
                                      {VT_R8, 8},
                                      {VT_VARIANT, 24}}) {
        std::array<std::uint8_t, 32> room;
        room.fill(0xA5);
        const auto got = call(call.Id(u"Capabilities"), DISPATCH_PROPERTYGET,
                              {Variant<void*>(static_cast<WORD>(type | VT_BYREF), room.data())});
        EXPECT_EQ(bytes ? S_OK : DISP_E_TYPEMISMATCH, got) << type;
        for (std::size_t i = static_cast<std::size_t>(bytes); i < room.size(); ++i) ASSERT_EQ(0xA5, room[i]) << type;
        const bool whole = bytes == 4 && type != VT_R4;
        EXPECT_TRUE(!whole || room[0] == 2) << type;
    }
    double amount = 0;
    const std::vector block{Variant<void*>(VT_PTR, &amount), Variant(VT_I4, 8)};
    EXPECT_EQ(S_OK, call(call.Id(u"get_all"), DISPATCH_METHOD, block)) << "an operation's own name";
    EXPECT_EQ(1.0, amount);
    EXPECT_EQ(S_OK, call(call.Id(u"put_all"), DISPATCH_METHOD, block));
    EXPECT_EQ(DISP_E_MEMBERNOTFOUND, call(call.Id(u"all"), DISPATCH_METHOD, block)) << "which of the two?";
    EXPECT_EQ(DISP_E_MEMBERNOTFOUND, call(99, DISPATCH_PROPERTYGET, {}));
    DISPPARAMS missing{nullptr, nullptr, 1, 0};
    for (const WORD flags : {DISPATCH_PROPERTYGET, DISPATCH_PROPERTYPUT})
        EXPECT_TRUE(FAILED(call->Invoke(call.Id(u"Progress"), nullptr, 0, flags, &missing, nullptr, nullptr, nullptr)));
    EXPECT_EQ(DISP_E_BADPARAMCOUNT,
              call->Invoke(call.Id(u"Progress"), nullptr, 0, DISPATCH_PROPERTYPUT, nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(S_OK,
              call->Invoke(call.Id(u"Progress"), nullptr, 0, DISPATCH_PROPERTYGET, nullptr, nullptr, nullptr, nullptr));

    CCaller generator("DXSTestp");
    alignas(16) std::array<std::byte, 256> cache{};
    EXPECT_EQ(S_OK, generator(generator.Id(u"GetCacheInfo"), DISPATCH_METHOD, {Variant<void*>(VT_PTR, cache.data())}));
    const VARIANT eight = Variant(VT_I4, 8);
    EXPECT_EQ(E_INVALIDARG, generator(generator.Id(u"all"), DISPATCH_PROPERTYPUT, {Variant(VT_NULL, 0), eight}));
    EXPECT_EQ(S_OK, generator(generator.Id(u"NotifyWindow"), DISPATCH_PROPERTYPUT, {Variant(VT_NULL, 0), eight}));
    EXPECT_EQ(E_POINTER, generator->GetTypeInfo(0, 0, nullptr));
}

TEST(Answers, NullsAndUnknownIdsOfAGenerator) {
    const CComPtr<IUnknown> object = Made("DXSText");
    const auto surface = KwQuery<IDXSurface>(object.Get());
    const auto sized = KwQuery<IDXSurfaceInit>(object.Get());
    const auto site = KwQuery<IObjectWithSite>(object.Get());
    for (const auto& [call, status] : std::initializer_list<std::pair<HRESULT, HRESULT>>{
             {surface->GetBounds(nullptr), E_POINTER},
             {surface->GetGenerationId(nullptr), E_POINTER},
             {surface->GetObjectSize(nullptr), E_POINTER},
             {surface->GetPixelFormat(nullptr, nullptr), E_POINTER},
             {surface->GetStatusFlags(nullptr), E_POINTER},
             {surface->GetColorKey(nullptr), E_POINTER},
             {surface->GetAppData(nullptr), E_POINTER},
             {surface->GetDirectDrawSurface(&IUnknown::iid, nullptr), E_POINTER},
             {surface->LockSurfaceDC(nullptr, 0, 0, nullptr), E_POINTER},
             {surface->LockSurface(nullptr, 0, 0, &IDXARGBReadPtr::iid, nullptr, nullptr), E_POINTER},
             {sized->InitSurface(nullptr, nullptr, nullptr, nullptr, 0), E_INVALIDARG},
             {site->GetSite(&IUnknown::iid, nullptr), E_POINTER}})
        EXPECT_EQ(status, call);

    void* out = &out;
    IUnknown* context = object.Get();
    EXPECT_EQ(E_NOTIMPL, surface->GetDirectDrawSurface(&IUnknown::iid, &out));
    EXPECT_EQ(E_NOTIMPL, surface->LockSurfaceDC(nullptr, 0, 0, &context));
    EXPECT_TRUE(!out && !context);
    EXPECT_EQ(E_POINTER, surface->LockSurface(nullptr, 0, 0, nullptr, &out, nullptr));
    EXPECT_EQ(E_NOTIMPL, surface->LockSurface(nullptr, 0, DXLOCKF_READWRITE, &IDXARGBReadPtr::iid, &out, nullptr));
    EXPECT_EQ(E_FAIL, site->GetSite(&IUnknown::iid, &out));

    const DXBNDS wrongType{.eType = 1, .Axis = {{0, 4}, {0, 4}}};
    EXPECT_EQ(E_INVALIDARG, sized->InitSurface(nullptr, nullptr, nullptr, &wrongType, 0));
    constexpr LONG low = INT32_MIN, high = INT32_MAX;
    for (const RECT& rect : {RECT{0, 0, 0, 4}, {0, 0, 4, 0}, {4, 0, 0, 4}, {-1, 0, high, 4}, {0, low, 4, high}}) {
        const DXBNDS bounds = larkmoor::boundsOf(rect.left, rect.top, rect.right, rect.bottom);
        EXPECT_EQ(E_INVALIDARG, sized->InitSurface(nullptr, nullptr, nullptr, &bounds, 0));
    }
    ULONG before = 0, after = 0;
    const DXBNDS bounds = larkmoor::boundsOf(3, 3, 9, 8), same = larkmoor::boundsOf(0, 0, 6, 5);
    EXPECT_EQ(S_OK, sized->InitSurface(nullptr, nullptr, nullptr, &bounds, 0));
    surface->GetGenerationId(&before);
    EXPECT_EQ(S_OK, sized->InitSurface(nullptr, nullptr, nullptr, &same, 0));
    surface->GetGenerationId(&after);
    EXPECT_EQ(before, after) << "its size is what it was";
    for (const LONG height : {6, 5}) {
        const DXBNDS other = larkmoor::boundsOf(0, 0, 6, height);
        EXPECT_EQ(S_OK, sized->InitSurface(nullptr, nullptr, nullptr, &other, 0));
    }
    surface->GetGenerationId(&after);
    EXPECT_EQ(before + 2, after);

    for (const RECT& rect : {RECT{0, 0, 0, 5}, {0, 0, 7, 5}, {-1, 0, 6, 5}, {0, 0, 6, 6}}) {
        const DXBNDS area = larkmoor::boundsOf(rect.left, rect.top, rect.right, rect.bottom);
        EXPECT_EQ(E_INVALIDARG, surface->LockSurface(&area, 0, 0, &IDXARGBReadPtr::iid, &out, nullptr));
    }
    EXPECT_EQ(E_NOINTERFACE, surface->LockSurface(nullptr, 0, 0, &IID_KwFloatReadPtr, &out, nullptr));
    DWORD generation = 0;
    const auto read = KwReceived<IDXARGBReadPtr>(
        [&](void** to) { return surface->LockSurface(nullptr, 0, 0, &IDXARGBReadPtr::iid, to, &generation); });
    ASSERT_TRUE(read);
    EXPECT_EQ(after, generation);
    EXPECT_EQ(E_POINTER, read->QueryInterface(&IUnknown::iid, nullptr));
    EXPECT_EQ(E_INVALIDARG, read->QueryInterface(nullptr, &out));
    EXPECT_EQ(E_NOINTERFACE, read->QueryInterface(&IDispatch::iid, &out));
    EXPECT_TRUE(KwQuery<IUnknown>(read.Get()));
    DXNATIVETYPEINFO info{};
    EXPECT_EQ(read->GetNativeType(nullptr), read->GetNativeType(&info));
    const void* runs = &runs;
    EXPECT_EQ(0u, read->MoveAndGetRunInfo(1, &runs));
    EXPECT_EQ(nullptr, runs);
    EXPECT_EQ(0u, read->MoveAndGetRunInfo(1, nullptr));
    EXPECT_EQ(nullptr, read->Unpack(nullptr, 2, TRUE));
    EXPECT_EQ(nullptr, read->UnpackPremult(nullptr, 2, TRUE));
    std::array<DWORD, 4> samples;
    for (const auto& [x, y] : {std::pair(6, 0), {0, 5}, {5, 4}}) {
        samples.fill(0xA5A5A5A5);
        read->MoveToXY(static_cast<ULONG>(x), static_cast<ULONG>(y));
        read->Unpack(samples.data(), 3, FALSE);
        EXPECT_EQ((std::array<DWORD, 4>{0, 0, 0, 0xA5A5A5A5}), samples) << x << ", " << y;
    }
    read->MoveToXY(5, 0);
    read->Move(-6);
    samples.fill(1);
    read->UnpackPremult(samples.data(), 2, FALSE);
    EXPECT_EQ(0u, samples[0]) << "before the row";
}

TEST(Answers, ParameterTablesAndRamps) {
    const CComPtr<IUnknown> object = Made("DXTInvert");
    const auto info = KwQuery<IKwParamInfo>(object.Get());
    const auto ramp = KwQuery<IKwParamRamp>(object.Get());
    tClassInfo known{};
    EXPECT_EQ(E_POINTER, info->GetClassInfo(nullptr, sizeof known));
    ASSERT_EQ(S_OK, info->GetClassInfo(&known, sizeof known));
    tFieldInfo field{};
    EXPECT_EQ(E_INVALIDARG, info->GetField(0, nullptr, sizeof field));
    for (const LONG index : {-1, known.fieldCount, INT32_MAX, INT32_MIN})
        EXPECT_EQ(E_INVALIDARG, info->GetField(index, &field, sizeof field)) << index;
    EXPECT_EQ(S_OK, info->GetField(known.fieldCount - 1, &field, 4));
    const char* name = nullptr;
    double record = 9;
    for (const LONG index : {-2, known.presetCount})
        EXPECT_EQ(E_INVALIDARG, info->GetPreset(index, &name, &record, sizeof record)) << index;
    EXPECT_EQ(S_OK, info->GetPreset(-1, nullptr, &record, 1000)) << "a longer record has room";
    EXPECT_EQ(1.0, record);
    EXPECT_EQ(S_OK, info->GetPreset(1, &name, nullptr, 8));
    EXPECT_STREQ("60% Inversion", name);
    EXPECT_EQ(S_OK, KwQuery<IKwParamInfo>(Made("DXTAdditiveDissolve").Get())->GetPreset(-1, &name, &record, 8));
    EXPECT_EQ(1.0, record) << "there is none to copy";

    EXPECT_TRUE(KwQuery<IPersist>(object.Get()));
    tMessageTarget silent{};
    KwQuery<IKwEffect>(object.Get())->put_NotifyWindow(&silent, 1);
    EXPECT_EQ(S_OK, KwQuery<IKwPresets>(object.Get())->Apply(1)) << "nobody to post to";
    const std::array<double, 1> values{0.25};
    const auto full = [&] { return larkmoor::createMemoryStream(std::as_bytes(std::span(values))); };
    const auto out = larkmoor::createMemoryStream();
    EXPECT_EQ(E_POINTER, ramp->Interpolate(out.Get(), nullptr, full().Get(), 0.5));
    EXPECT_EQ(E_POINTER, ramp->Interpolate(out.Get(), full().Get(), nullptr, 0.5));
    EXPECT_EQ(E_POINTER, ramp->SetRampRecords(full().Get(), nullptr));
    const auto group = KwQuery<IKwEffectGroup>(Made("DXTWave").Get());
    LONG number = -1, item = -1;
    EXPECT_EQ(S_OK, group->GetGroup(&number, &item));
    EXPECT_EQ(std::pair(LONG{2}, LONG{1}), std::pair(number, item));
    EXPECT_EQ(S_OK, group->GetGroup(nullptr, nullptr));
}

TEST(Answers, ViewsOfWhatCannotBeSeen) {
    const auto sees = [](IDXSurface* surface, const GUID& format) {
        CKwSurface view;
        return view.Lock(surface, &format, FALSE) != FALSE;
    };
    EXPECT_FALSE(sees(nullptr, DDPF_PMARGB32));
    Surface picture = Surface::create(PixelFormat::PremultipliedArgb32, 4, 4);
    const GUID unknown{1, 2, 3, {}};
    EXPECT_FALSE(sees(picture.get(), unknown));
    DXBNDS bounds = larkmoor::boundsOf(0, 0, 4, 4);
    bounds.eType = 1;
    CKwSurface view;
    EXPECT_FALSE(view.Lock(picture.get(), &DDPF_PMARGB32, TRUE, &bounds)) << "no area of pixels";

    /// Says that it has rows, and gives none.
    struct CHollow final : larkmoor::ForeignSurface {
        HRESULT GetPixelFormat(GUID* out, DWORD*) override { return *out = format, S_OK; }
        HRESULT GetBounds(DXBNDS* out) override { return *out = larkmoor::boundsOf(0, 0, 2, 2), S_OK; }
        HRESULT LockSurface(const DXBNDS*, ULONG, DWORD, const IID*, void** out, DWORD*) override {
            return *out = nullptr, status;
        }
        HRESULT status = S_OK;
        GUID format = DDPF_PMARGB32;
    };
    const auto hollow = larkmoor::makeObject<CHollow>();
    EXPECT_FALSE(sees(hollow.Get(), DDPF_PMARGB32));
    hollow->format = KWPF_FLOAT128;
    EXPECT_FALSE(sees(hollow.Get(), DDPF_PMARGB32)) << "nothing to copy from";
    hollow->status = E_FAIL;
    EXPECT_FALSE(sees(hollow.Get(), DDPF_PMARGB32)) << "nor here";
    hollow->format = unknown;
    EXPECT_FALSE(sees(hollow.Get(), DDPF_PMARGB32));
}

TEST(Answers, ExportsAndFactories) {
    void* out = &out;
    const CLSID invert =
        std::ranges::find(KwObjectMap(), std::string_view("DXTInvert"), &tObjectMapRow::className)->clsid;
    EXPECT_EQ(E_POINTER, DllGetClassObject(&invert, &IClassFactory::iid, nullptr));
    EXPECT_EQ(E_INVALIDARG, DllGetClassObject(nullptr, &IClassFactory::iid, &out));
    EXPECT_EQ(nullptr, out);
    EXPECT_EQ(E_INVALIDARG, DllGetClassObject(&invert, nullptr, &out));
    EXPECT_EQ(E_NOINTERFACE, DllGetClassObject(&invert, &IDispatch::iid, &out));
    const GUID unknown{};
    EXPECT_EQ(CLASS_E_CLASSNOTAVAILABLE, DllGetClassObject(&unknown, &IClassFactory::iid, &out));
    EXPECT_EQ(S_OK, DllGetClassObject(&invert, &IUnknown::iid, &out));
    EXPECT_EQ(E_POINTER, static_cast<IUnknown*>(out)->QueryInterface(&IUnknown::iid, nullptr));
    EXPECT_EQ(E_INVALIDARG, DllEnumObjects2(-1, nullptr, nullptr, nullptr, 0, nullptr, nullptr, nullptr));
    EXPECT_EQ(S_OK, DllEnumObjects2(0, nullptr, nullptr, nullptr, 0, nullptr, nullptr, nullptr));
    char letter = 'x';
    EXPECT_EQ(S_OK, DllEnumObjects2(0, nullptr, nullptr, &letter, 0, nullptr, nullptr, nullptr));
    EXPECT_EQ('x', letter);
    EXPECT_EQ(S_OK, DllEnumObjects2(0, nullptr, nullptr, &letter, 1, nullptr, nullptr, nullptr));
    EXPECT_EQ('\0', letter);

    const CComPtr<IUnknown> object = Made("DXTInvert");
    for (const CComPtr<IUnknown>& any : {object, Made("DXSText")}) {
        const auto safety = KwQuery<IObjectSafety>(any.Get());
        DWORD word = 0;
        EXPECT_EQ(E_POINTER, safety->GetInterfaceSafetyOptions(&IDispatch::iid, &word, nullptr));
        EXPECT_EQ(E_NOINTERFACE, safety->GetInterfaceSafetyOptions(nullptr, &word, &word));
        EXPECT_EQ(E_NOINTERFACE, safety->SetInterfaceSafetyOptions(&IDXTransform::iid, 1, 1));
    }
}

} // namespace
