// What the frame answers to whatever a host may hand in by mistake, and to surfaces and services that fail.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <functional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "frame/effect.h"
#include "host/foreign_surface.h"
#include "host/services.h"
#include "host/surface.h"
#include "platform/exports.h"
#include "platform/page.h"

namespace {

using larkmoor::PixelFormat;
using larkmoor::Surface;

CComPtr<IUnknown> Made(std::string_view className) {
    const auto rows = KwObjectMap();
    const auto row = std::ranges::find(rows, className, &tObjectMapRow::className);
    if (row == rows.end()) throw std::invalid_argument(std::string(className));
    return CComPtr<IUnknown>::Adopt(row->create(*row, nullptr));
}

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

/// A transform with the options that none of the effects takes.
class COptions final : public CEffect<tNoRecord> {
  public:
    explicit COptions(DWORD options, DWORD misc = 0x06030003, ULONG bands = 1)
        : CEffect(KwObjectMap()[0], nullptr, kClass) {
        m_OptionFlags = options;
        m_MiscFlags = misc;
        m_MaxBands = bands;
        SetSite(larkmoor::createTransformFactory().Get());
    }
    HRESULT Draw(const CEffectViews&, const tNoRecord&) override { return S_OK; }
    HRESULT PickSurface(const DXBNDS&, ULONG&, DXVEC&) override { return picked; }
    HRESULT GetPickOrder(const DXBNDS&, ULONG& count, ULONG* indices, ULONG* weights) override {
        std::ranges::copy(std::array<ULONG, 3>{1, 0, 0}, indices);
        std::ranges::copy(std::array<ULONG, 3>{255, 0, 255}, weights);
        count = 3;
        return order;
    }

    HRESULT picked = E_NOTIMPL, order = S_OK;

  private:
    static constexpr tEffectClass kClass{.iid = {0x22222222, 2, 2, {2, 2, 2, 2, 2, 2, 2, 2}},
                                         .kind = KWKIND_TRANSITION,
                                         .minInputs = 1,
                                         .maxInputs = 2,
                                         .maxBands = 1};
};

/// Its owner.
template <class... Args>
CComPtr<IUnknown> Owned(COptions*& made, Args... args) {
    made = new COptions(args...);
    return CComPtr<IUnknown>::Adopt(made->InnerUnknown());
}

TEST(Answers, OptionsOfATransform) {
    COptions* made = nullptr;
    DXBNDS box{}, out{};
    float quality = 0;
    {
        const auto owner = Owned(made, COptions::kOptionMeshInputs | COptions::kOptionMeshOutput);
        EXPECT_EQ(E_INVALIDARG, made->MapBoundsIn2Out(&box, 1, 0, &out)) << "a box of pixels is no mesh's";
        box.eType = 2;
        EXPECT_EQ(S_OK, made->MapBoundsIn2Out(&box, 1, 0, &out));
        EXPECT_EQ(2, static_cast<int>(out.eType));
        EXPECT_EQ(E_NOTIMPL, made->MapBoundsOut2In(0, &box, 0, &out));
        GUID ids[2]{};
        ULONG count = 2;
        EXPECT_EQ(S_OK, made->GetInOutInfo(FALSE, 0, nullptr, ids, &count, nullptr));
        EXPECT_EQ(1u, count);
        EXPECT_EQ(GUID{}, ids[1]);
    }
    {
        const auto owner = Owned(made, DWORD{0}, COptions::kMiscQuality);
        EXPECT_EQ(S_OK, made->GetQuality(&quality));
        EXPECT_EQ(0.5f, quality);
        EXPECT_EQ(E_POINTER, made->GetQuality(nullptr));
        for (const float value : {0.0f, 1.0f, 1.0f}) EXPECT_EQ(S_OK, made->SetQuality(value));
        for (const float value : {-0.01f, 1.01f}) EXPECT_EQ(E_INVALIDARG, made->SetQuality(value));
        ULONG count = 1;
        GUID ids[2]{};
        DWORD flags = 9;
        IUnknown* bound = owner.Get();
        EXPECT_EQ(KW_E_MORE_DATA, made->GetInOutInfo(FALSE, 1, &flags, ids, &count, &bound));
        EXPECT_EQ(2u, count);
        EXPECT_EQ(1u, flags) << "the second may be missing";
        EXPECT_EQ(nullptr, bound);
        EXPECT_EQ(IDXSurface::iid, ids[0]);
        EXPECT_EQ(GUID{}, ids[1]);
        EXPECT_EQ(S_OK, made->GetInOutInfo(FALSE, 0, &flags, nullptr, &count, nullptr));
        EXPECT_EQ(0u, flags);
        EXPECT_EQ(S_OK, made->GetInOutInfo(TRUE, 0, &flags, ids, &count, nullptr));
        EXPECT_EQ(S_FALSE, made->GetInOutInfo(TRUE, 1, &flags, ids, &count, nullptr));
        EXPECT_EQ(S_FALSE, made->GetInOutInfo(FALSE, 2, &flags, ids, &count, nullptr));
        EXPECT_EQ(E_NOTIMPL, KwQuery<IDXTransform>(Made("DXTInvert").Get())->SetQuality(0));
    }
    Surface picture = Surface::create(PixelFormat::PremultipliedArgb32, 4, 4);
    IUnknown* const bound = picture.get();
    const DXBNDS clip = larkmoor::boundsOf(0, 0, 2, 2);
    const DXVEC corner{};
    for (const DWORD misc : {DWORD{0}, DWORD{COptions::kMiscCustomClip}, DWORD{COptions::kMiscCustomPlacement}}) {
        const auto owner = Owned(made, DWORD{0}, misc, ULONG{0}); // no bands: frames go to a routine that it lacks
        ASSERT_EQ(S_OK, made->Setup(&bound, 1, &bound, 1, 0));
        EXPECT_EQ(E_FAIL, made->Execute(nullptr, nullptr, nullptr));
        EXPECT_EQ(misc & COptions::kMiscCustomClip ? E_FAIL : E_INVALIDARG, made->Execute(nullptr, &clip, nullptr));
        EXPECT_EQ(misc & COptions::kMiscCustomPlacement ? E_FAIL : E_INVALIDARG,
                  made->Execute(nullptr, nullptr, &corner));
        EXPECT_EQ(E_INVALIDARG, made->SetMiscFlags(1)) << "not its to change";
        EXPECT_EQ(E_INVALIDARG, made->SetMiscFlags(2)) << "not its to change";
    }
    const auto owner = Owned(made, DWORD{0});
    DXVEC wrong{.eType = 1};
    ULONG index = 0;
    ASSERT_EQ(S_OK, made->Setup(&bound, 1, &bound, 1, 0));
    EXPECT_EQ(E_INVALIDARG, made->Execute(nullptr, nullptr, &wrong));
    EXPECT_EQ(E_INVALIDARG, made->PointPick(&wrong, &index, &wrong));
    EXPECT_EQ(E_POINTER, made->PointPick(&corner, &index, nullptr));
    wrong = {};
    EXPECT_EQ(S_FALSE, made->PointPick(&corner, &index, &wrong)) << "clear there";
    std::memset(picture.view().data, 0xFF, 4);
    index = 9;
    EXPECT_EQ(S_OK, made->PointPick(&corner, &index, &wrong));
    EXPECT_EQ(0u, index) << "the second is not connected, and the first one's first turn weighs nothing";
    made->order = E_UNEXPECTED;
    EXPECT_EQ(E_UNEXPECTED, made->PointPick(&corner, &index, &wrong));
    made->picked = S_FALSE;
    EXPECT_EQ(S_FALSE, made->PointPick(&corner, &index, &wrong));
    for (const LONG away : {4, -4}) {
        const DXVEC beside{.Axis = {0, away, 0, 0}};
        EXPECT_EQ(S_FALSE, made->Execute(nullptr, nullptr, &beside)) << "nothing of the output is met";
    }
    EXPECT_EQ(E_INVALIDARG, made->MapBoundsOut2In(0, nullptr, 0, &out));
    EXPECT_EQ(E_INVALIDARG, made->MapBoundsOut2In(1, &box, 0, &out));
    EXPECT_EQ(E_INVALIDARG, made->Setup(&bound, 1, &bound, 1, 1)) << "no flag is known";
    IUnknown* const none = nullptr;
    EXPECT_EQ(E_INVALIDARG, made->Setup(&none, 1, &bound, 1, 0));
    EXPECT_EQ(E_INVALIDARG, made->Setup(&bound, 1, &none, 1, 0));
    EXPECT_EQ(S_OK, made->IncrementGenerationId(FALSE));
    for (const double level : {-1.0, 0.5, 2.0}) EXPECT_EQ(S_OK, made->SetLevel(level));
}

/// A site that does no more than give services.
struct CServingSite : larkmoor::ObjectOf<IDXTransformFactory> {
    HRESULT SetService(const GUID*, IUnknown*, BOOL) override { return E_NOTIMPL; }
    HRESULT CreateTransform(IUnknown* const*, ULONG, IUnknown* const*, ULONG, IPropertyBag*, IErrorLog*, const CLSID*,
                            const IID*, void**) override {
        return E_NOTIMPL;
    }
    HRESULT InitializeTransform(IDXTransform*, IUnknown* const*, ULONG, IUnknown* const*, ULONG, IPropertyBag*,
                                IErrorLog*) override {
        return E_NOTIMPL;
    }
};

/// A site that has all services but one, which it refuses or, asked for it, says to have given.
struct CPoorSite final : CServingSite {
    HRESULT QueryService(const GUID* service, const IID* iid, void** out) override {
        if (*iid == missing) return *out = nullptr, status;
        return larkmoor::createTransformFactory()->QueryService(service, iid, out);
    }

    IID missing{};
    HRESULT status = E_FAIL;
};

TEST(Answers, SitesMayLackServices) {
    const auto site = larkmoor::makeObject<CPoorSite>();
    const Surface pictures[] = {Surface::create(PixelFormat::PremultipliedArgb32, 4, 4),
                                Surface::create(PixelFormat::PremultipliedArgb32, 6, 3)};
    COptions* fresh = nullptr;
    const auto freshOwner = Owned(fresh, DWORD{0});
    IUnknown* none = freshOwner.Get();
    EXPECT_EQ(S_OK, fresh->GetInOutInfo(FALSE, 0, nullptr, nullptr, nullptr, &none));
    EXPECT_EQ(nullptr, none);
    IUnknown *const two[] = {pictures[0].get(), pictures[1].get()}, *const one[] = {pictures[0].get(), nullptr};
    for (const DWORD options : {DWORD{0}, DWORD{COptions::kOptionMeshInputs}, DWORD{COptions::kOptionMeshOutput},
                                DWORD{COptions::kOptionSameSizeInputs}})
        for (const IID& missing : {GUID{}, IDXSurfaceFactory::iid, IDXTaskManager::iid, IDXSurfaceModifier::iid})
            for (const HRESULT status : {E_FAIL, S_OK}) {
                site->missing = missing;
                site->status = status;
                COptions* made = nullptr;
                const auto owner = Owned(made, options);
                IUnknown* bound = owner.Get();
                made->SetSite(owner.Get()); // no site at all
                EXPECT_EQ(DXTERR_UNINITIALIZED, made->Setup(two, 2, two, 1, 0));
                EXPECT_EQ(S_OK, made->Setup(nullptr, 0, nullptr, 0, 0));
                EXPECT_EQ(S_OK, made->SetSite(site.Get()));
                const bool fails = options == COptions::kOptionSameSizeInputs && missing == IDXSurfaceModifier::iid;
                EXPECT_EQ(fails ? E_FAIL : S_OK, made->Setup(two, 2, two, 1, 0));
                const bool mesh = options & (COptions::kOptionMeshInputs | COptions::kOptionMeshOutput);
                EXPECT_EQ(fails  ? DXTERR_UNINITIALIZED
                          : mesh ? E_FAIL
                                 : S_OK,
                          made->Execute(nullptr, nullptr, nullptr));
                EXPECT_EQ(S_OK, made->Setup(one, 2, two, 1, 0)) << "the second is not connected";
                EXPECT_EQ(S_OK, made->GetInOutInfo(FALSE, 0, nullptr, nullptr, nullptr, &bound));
                EXPECT_EQ(one[0], bound);
                bound->Release();
                EXPECT_EQ(S_OK, made->GetInOutInfo(TRUE, 0, nullptr, nullptr, nullptr, &bound));
                EXPECT_EQ(two[0], bound);
                bound->Release();
                EXPECT_EQ(S_OK, made->SetSite(nullptr));
            }
}

/// Not what a host should bind.
struct COdd final : larkmoor::ObjectOf<IServiceProvider> {
    HRESULT QueryInterface(const IID* iid, void** out) override {
        if (*iid == IUnknown::iid || !(*iid == IDXSurface::iid)) return ObjectOf::QueryInterface(iid, out);
        return *out = nullptr, status;
    }
    HRESULT QueryService(const GUID*, const IID*, void**) override { return E_NOTIMPL; }
    HRESULT status = S_OK;
};

TEST(Answers, WhatIsNoSurfaceIsNotBound) {
    const auto site = larkmoor::makeObject<CPoorSite>();
    const auto odd = larkmoor::makeObject<COdd>();
    const Surface picture = Surface::create(PixelFormat::PremultipliedArgb32, 4, 4);
    IUnknown *const bad = odd.Get(), *const good = picture.get();
    for (const IID& missing : {GUID{}, IDXSurfaceFactory::iid})
        for (const auto& [status, expected] :
             {std::pair(S_OK, E_INVALIDARG), {E_NOINTERFACE, E_INVALIDARG}, {E_UNEXPECTED, E_UNEXPECTED}}) {
            site->missing = missing;
            odd->status = status;
            COptions* made = nullptr;
            const auto owner = Owned(made, DWORD{0});
            made->SetSite(site.Get());
            EXPECT_EQ(expected, made->Setup(&bad, 1, &good, 1, 0));
            EXPECT_EQ(expected, made->Setup(&good, 1, &bad, 1, 0));
            EXPECT_EQ(DXTERR_UNINITIALIZED, made->Execute(nullptr, nullptr, nullptr));
        }
}

/// What a host does in the middle of a call of its surface or site.
struct tNosy {
    LONG left = -1; ///< calls until then; below 0 it is past
    std::function<void()> act;

    void Call() {
        if (left >= 0 && left-- == 0) act();
    }
};

class CNosySurface final : public larkmoor::ForeignSurface {
  public:
    CNosySurface(tNosy& nosy, const Surface& picture) : m_nosy(nosy), m_picture(picture) {}
    HRESULT QueryInterface(const IID* iid, void** out) override {
        m_nosy.Call();
        return ForeignSurface::QueryInterface(iid, out);
    }
    HRESULT GetGenerationId(ULONG* id) override { return m_nosy.Call(), *id = ++m_generation, S_OK; }
    HRESULT GetPixelFormat(GUID* format, DWORD* samples) override {
        return m_nosy.Call(), m_picture.get()->GetPixelFormat(format, samples);
    }
    HRESULT GetBounds(DXBNDS* bounds) override { return m_nosy.Call(), m_picture.get()->GetBounds(bounds); }
    HRESULT LockSurface(const DXBNDS* bounds, ULONG timeout, DWORD flags, const IID* iid, void** out,
                        DWORD* generation) override {
        return m_nosy.Call(), m_picture.get()->LockSurface(bounds, timeout, flags, iid, out, generation);
    }

  private:
    tNosy& m_nosy;
    Surface m_picture;
    ULONG m_generation = 0;
};

class CNosySite final : public CServingSite {
  public:
    explicit CNosySite(tNosy& nosy) : m_nosy(nosy) {}
    HRESULT QueryInterface(const IID* iid, void** out) override {
        m_nosy.Call();
        return ObjectOf::QueryInterface(iid, out);
    }
    HRESULT QueryService(const GUID* service, const IID* iid, void** out) override {
        m_nosy.Call();
        return m_services->QueryService(service, iid, out);
    }

  private:
    tNosy& m_nosy;
    CComPtr<IDXTransformFactory> m_services = larkmoor::createTransformFactory(2);
};

TEST(Answers, AHostMayCallBackFromAnywhere) {
    const Surface wide = Surface::create(PixelFormat::PremultipliedArgb32, 6, 3),
                  high = Surface::create(PixelFormat::PremultipliedArgb32, 4, 4);
    COptions* made = nullptr;
    tNosy nosy;
    const auto bindFresh = [&] {
        const auto first = larkmoor::makeObject<CNosySurface>(nosy, wide),
                   second = larkmoor::makeObject<CNosySurface>(nosy, high);
        IUnknown *const in[] = {first.Get(), second.Get()}, *const out[] = {second.Get()};
        return made->Setup(in, 2, out, 1, 0);
    };
    const std::function<void()> acts[] = {
        [&] { made->SetSite(nullptr); },
        [&] { made->Setup(nullptr, 0, nullptr, 0, 0); },
        [&] { bindFresh(); },
        [&] { made->IncrementGenerationId(TRUE); },
        [&] { made->Execute(nullptr, nullptr, nullptr); },
        [&] { made->SetSite(larkmoor::createTransformFactory().Get()); },
    };
    for (const DWORD options : {DWORD{0}, DWORD{COptions::kOptionSameSizeInputs}})
        for (const auto& act : acts)
            for (LONG turn = 0, left = -1; left < 0; ++turn) {
                const auto owner = Owned(made, options);
                nosy = {turn, act};
                // The object alone holds what it is given.
                made->SetSite(larkmoor::makeObject<CNosySite>(nosy).Get());
                bindFresh();
                ULONG id = 0;
                DXBNDS bounds{};
                DXVEC point{};
                made->GetGenerationId(&id);
                made->MapBoundsIn2Out(nullptr, 0, 0, &bounds);
                made->PointPick(&point, &id, &point);
                made->IncrementGenerationId(TRUE);
                made->Execute(nullptr, nullptr, nullptr);
                made->Setup(nullptr, 0, nullptr, 0, 0);
                left = std::exchange(nosy.left, -1);
                made->SetSite(larkmoor::createTransformFactory().Get());
                EXPECT_EQ(S_OK, bindFresh()) << "turn " << turn;
                EXPECT_EQ(S_OK, made->Execute(nullptr, nullptr, nullptr)) << "turn " << turn;
            }
}

/// A picture that answers `allowed` calls and then none.
struct CTiringSurface final : larkmoor::ForeignSurface {
    bool IsTired() {
        if (allowed < 0) return false;
        tired = tired || allowed == 0;
        allowed = std::max<LONG>(allowed - 1, 0);
        return tired;
    }
    HRESULT Answer(HRESULT status) { return IsTired() ? E_FAIL : status; }

    HRESULT GetGenerationId(ULONG* id) override { return Answer((*id = 1, S_OK)); }
    HRESULT GetPixelFormat(GUID* format, DWORD* samples) override {
        *format = DDPF_PMARGB32;
        *samples = DXSAMPLE_TRANSLUCENT | dither;
        return Answer(S_OK);
    }
    HRESULT GetBounds(DXBNDS* bounds) override {
        *bounds = larkmoor::boundsOf(0, 0, size, size);
        return Answer(S_OK);
    }
    HRESULT LockSurface(const DXBNDS* bounds, ULONG x, DWORD flags, const IID* iid, void** out, DWORD* id) override {
        if (IsTired()) return E_FAIL;
        const auto inner = KwQuery<IDXSurface>(picture.get());
        return inner->LockSurface(bounds, x, flags, iid, out, id);
    }

    LONG size = 4, allowed = -1;
    DWORD dither = 0;
    bool tired = false;
    Surface picture = Surface::create(PixelFormat::PremultipliedArgb32, 4, 4);
};

TEST(Answers, SurfacesMayFailAtAnyCall) {
    for (const auto* const name : {"DXTInvert", "DXTKwWipe", "DXTGaussianBlur"})
        for (const LONG size : {4, 3}) // of the first; another than the second's is shown through a modifier
            for (int failing = 0; failing < 3; ++failing) {
                const CComPtr<IUnknown> object = Made(name);
                const auto transform = KwQuery<IDXTransform>(object.Get());
                ASSERT_TRUE(transform) << name;
                KwQuery<IObjectWithSite>(object.Get())->SetSite(larkmoor::createTransformFactory().Get());
                std::array<CComPtr<CTiringSurface>, 3> surfaces;
                for (auto& surface : surfaces) surface = larkmoor::makeObject<CTiringSurface>();
                surfaces[0]->size = size;
                surfaces[0]->picture = Surface::create(PixelFormat::PremultipliedArgb32, size, size);
                surfaces[2]->dither = 0x00100000;
                surfaces[1]->dither = 0x00200000;
                CTiringSurface& tiring = *surfaces[static_cast<std::size_t>(failing)].Get();
                IUnknown *const inputs[] = {surfaces[0].Get(), surfaces[1].Get()}, *const output = surfaces[2].Get();
                ULONG count = 0;
                DXBNDS two[2]{};
                count = transform->MapBoundsOut2In(0, two, 1, two + 1) == S_OK ? 2 : 1;
                const auto frame = [&] {
                    const HRESULT bound = transform->Setup(inputs, count, &output, 1, 0);
                    const HRESULT drawn = transform->Execute(nullptr, nullptr, nullptr);
                    ULONG generation = 0;
                    EXPECT_EQ(S_OK, transform->GetGenerationId(&generation));
                    return std::pair(bound, drawn);
                };
                LONG allowed = 0, failures = 0;
                do {
                    tiring.tired = false;
                    tiring.allowed = allowed++;
                    const auto [bound, drawn] = frame();
                    tiring.allowed = -1;
                    if (FAILED(bound)) {
                        EXPECT_EQ(DXTERR_UNINITIALIZED, drawn);
                    }
                    failures += FAILED(bound) || FAILED(drawn);
                    EXPECT_EQ(std::pair(S_OK, S_OK), frame()) << "once it answers again";
                } while (tiring.tired && allowed < 100);
                EXPECT_TRUE(failures > 2 || (failing == 1 && count == 1)) << name;
                EXPECT_EQ(S_OK, transform->Setup(nullptr, 0, nullptr, 0, 0));
                for (const auto& surface : surfaces) EXPECT_FALSE(surface->isShared()) << name;
            }
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
