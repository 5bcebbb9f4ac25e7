// The transform frame from inside: bands, sizes, picking, and the parameter frame's corners.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <functional>
#include <thread>
#include <vector>

#include "frame/effect.h"
#include "host/foreign_surface.h"
#include "host/services.h"
#include "host/surface.h"

namespace {

using larkmoor::PixelFormat;
using larkmoor::Surface;

struct tTESTPROP {
    float number;
    LONG whole;
    double wide;
    double hue;
};

constexpr tTESTPROP kDefault{1.0f, 2, 3.0, 0.5};
constexpr tFieldInfo kFields[] = {
    KwNumber(KWMEMBER(tTESTPROP, number), {"number", "", 0, 1, 0.1}),
    KwWhole(KWMEMBER(tTESTPROP, whole), {"whole", "", 0, 10, 1}),
    KwNumber(KWMEMBER(tTESTPROP, wide), {"wide", "", 0, 1, 0.1}),
    KwNumber(KWMEMBER(tTESTPROP, hue), {"hue", "", 0, 1, 0.1}, KWRAMP_HUE),
};
constexpr tEffectClass ClassOf(LONG inputs, LONG least) {
    return {.iid = {0x11111111, 1, 1, {1, 1, 1, 1, 1, 1, 1, 1}},
            .kind = KWKIND_FILTER,
            .minInputs = least,
            .maxInputs = inputs,
            .infoFlags = 0,
            .maxBands = 4,
            .defaults = &kDefault,
            .recordSize = sizeof(tTESTPROP),
            .fields = kFields};
}
constexpr tEffectClass kOneInput = ClassOf(1, 1), kTwoInputs = ClassOf(2, 2), kMaybeOneInput = ClassOf(1, 0);

/// Notes the bands and the records that it was given.
class CProbe final : public CEffect<tTESTPROP> {
  public:
    CProbe(const tEffectClass& effect) : CEffect(KwObjectMap()[0], nullptr, effect) {}

    HRESULT Work(const tWorkInfo& info, BOOL* pContinue) override {
        EXPECT_TRUE(*pContinue);
        const std::scoped_lock guard(m_notes);
        m_bands.push_back({KwRectOf(info.DoBounds), KwRectOf(info.OutputBounds)});
        m_records.push_back(UpdateWorkParams());
        return info.DoBounds.Axis[1].Min == m_failAt ? E_OUTOFMEMORY : S_OK;
    }
    HRESULT Draw(const CEffectViews&, const tTESTPROP&) override { return S_OK; }
    void ReleaseObjects() override { ++m_released; }

    struct tBand {
        RECT in, out;
    };
    std::vector<tBand> Bands() {
        std::sort(m_bands.begin(), m_bands.end(), [](auto& a, auto& b) { return a.in.top < b.in.top; });
        return std::exchange(m_bands, {});
    }

    IDXSurface* Input(ULONG i) const { return InputSurface(i); }

    std::mutex m_notes;
    std::vector<tBand> m_bands;
    std::vector<tTESTPROP> m_records;
    LONG m_failAt = -1;
    int m_released = 0;
};

class Frame : public testing::Test {
  protected:
    CProbe& Make(const tEffectClass& effect, unsigned processors = 1) {
        auto* const probe = new CProbe(effect);
        m_object = CComPtr<IUnknown>::Adopt(probe->InnerUnknown());
        probe->SetSite(larkmoor::createTransformFactory(processors).Get());
        return *probe;
    }
    static HRESULT Setup(CProbe& probe, std::vector<Surface> inputs, const Surface& output) {
        std::vector<IUnknown*> in;
        for (const Surface& s : inputs) in.push_back(s.get());
        IUnknown* const out = output.get();
        return probe.Setup(in.data(), static_cast<ULONG>(in.size()), &out, 1, 0);
    }

    CComPtr<IUnknown> m_object;
};

TEST_F(Frame, BandsCutTheRows) {
    CProbe& probe = Make(kOneInput, 4);
    const struct {
        int width, height;
        std::vector<LONG> heights;
    } rows[] = {
        {1024, 13, {3, 3, 3, 4}}, // the remainder goes to the last band
        {2048, 10, {2, 2, 2, 2}}, // two rows left over stay in no band
        {64, 63, {63}},           // below 4096 pixels
        {64, 64, {32, 32}},       // 4096 pixels: a second band
        {4096, 3, {1, 1, 1}},     // never more bands than rows
        {100, 100, {33, 33, 34}}, // three bands for 10,000 pixels
    };
    for (const auto& row : rows) {
        const Surface picture = Surface::create(PixelFormat::PremultipliedArgb32, row.width, row.height);
        ASSERT_EQ(S_OK, Setup(probe, {picture}, picture));
        ASSERT_EQ(S_OK, probe.Execute(nullptr, nullptr, nullptr));
        std::vector<LONG> heights;
        LONG y = 0;
        for (const auto& band : probe.Bands()) {
            EXPECT_EQ(y, band.in.top);
            EXPECT_EQ(band.in, band.out);
            heights.push_back(band.in.bottom - band.in.top);
            y = band.in.bottom;
        }
        EXPECT_EQ(row.heights, heights) << row.width << "x" << row.height;
    }
}

TEST_F(Frame, BandsReachAcrossAllCoordinates) {
    CProbe& probe = Make(kOneInput, 4);
    const Surface in = Surface::create(PixelFormat::PremultipliedArgb32, 128, 64, INT32_MAX - 128, INT32_MAX - 64);
    const Surface out = Surface::create(PixelFormat::PremultipliedArgb32, 128, 64, INT32_MIN, INT32_MIN);
    ASSERT_EQ(S_OK, Setup(probe, {in}, out));
    const DXVEC corner{.Axis = {INT32_MIN, INT32_MIN, 0, 0}};
    ASSERT_EQ(S_OK, probe.Execute(nullptr, nullptr, &corner));
    const auto bands = probe.Bands();
    ASSERT_EQ(3u, bands.size());
    EXPECT_EQ((RECT{INT32_MAX - 128, INT32_MAX - 43, INT32_MAX, INT32_MAX - 22}), bands[1].in);
    EXPECT_EQ((RECT{INT32_MIN, INT32_MIN + 21, INT32_MIN + 128, INT32_MIN + 42}), bands[1].out);
}

/// A surface that says wild bounds, and calls back when it is asked for them.
struct CWildSurface final : larkmoor::ForeignSurface {
    HRESULT GetPixelFormat(GUID* format, DWORD*) override { return *format = DDPF_PMARGB32, S_OK; }
    HRESULT GetBounds(DXBNDS* out) override {
        *out = bounds;
        if (callBack) callBack();
        return S_OK;
    }
    HRESULT LockSurface(const DXBNDS*, ULONG, DWORD, const IID*, void**, DWORD*) override {
        locked = true;
        return E_FAIL;
    }

    DXBNDS bounds{};
    bool locked = false;
    std::function<void()> callBack;
};

TEST_F(Frame, WildBoundsAreRefusedByTheViews) {
    CProbe& probe = Make(kOneInput, 4);
    const auto held = larkmoor::makeObject<CWildSurface>();
    CWildSurface& wild = *held.Get();
    const DXBNDS::tAxis all{INT32_MIN, INT32_MAX}, one{0, 1};
    wild.bounds = {.Axis = {all, all, one, one}};
    IUnknown* const surface = &wild;
    ASSERT_EQ(S_OK, probe.Setup(&surface, 1, &surface, 1, 0));
    const DXVEC corner{.Axis = {INT32_MIN, INT32_MIN, 0, 0}};
    EXPECT_EQ(S_OK, probe.Execute(nullptr, nullptr, &corner));
    EXPECT_EQ(4u, probe.Bands().size());
    for (const DXBNDS::tAxis& axis : {all, DXBNDS::tAxis{5, -5}, DXBNDS::tAxis{INT32_MAX, INT32_MIN}}) {
        wild.bounds = {.Axis = {axis, axis, one, one}};
        CKwSurface view;
        EXPECT_FALSE(view.Lock(&wild, &DDPF_PMARGB32, FALSE));
        CKwSurface copy;
        EXPECT_FALSE(copy.Lock(&wild, &KWPF_FLOAT128, TRUE, &wild.bounds));
    }
    // No pixels are a picture; the longest rows are those whose bytes in floats fit a stride.
    constexpr LONG most = INT32_MAX / 16;
    const std::tuple<DXBNDS::tAxis, DXBNDS::tAxis, bool> rows[] = {
        {{5, 5}, {0, 1}, true},      {{0, 1}, {7, 7}, true},         {{0, most}, {0, 1}, true},
        {{-1, most}, {0, 1}, false}, {{0, 1}, {0, INT32_MAX}, true}, {{0, 1}, {-1, INT32_MAX}, false}};
    for (const auto& [across, down, taken] : rows) {
        wild.bounds = {.Axis = {across, down, one, one}};
        wild.locked = false;
        CKwSurface view;
        EXPECT_FALSE(view.Lock(&wild, &DDPF_PMARGB32, FALSE));
        EXPECT_EQ(taken, wild.locked) << across.Max << " " << down.Max;
    }
    probe.Setup(nullptr, 0, nullptr, 0, 0);
}

TEST_F(Frame, NothingIsBoundAnewDuringAFrame) {
    CProbe& probe = Make(kOneInput);
    const auto held = larkmoor::makeObject<CWildSurface>();
    CWildSurface& surface = *held.Get();
    surface.bounds = larkmoor::boundsOf(0, 0, 4, 4);
    IUnknown *const bound = &surface, *const none = m_object.Get();
    EXPECT_EQ(E_INVALIDARG, probe.Setup(&none, 1, &bound, 1, 0));
    ASSERT_EQ(S_OK, probe.Setup(&bound, 1, &bound, 1, 0));
    EXPECT_EQ(E_INVALIDARG, probe.Setup(&bound, 1, &bound, 1, 1));
    EXPECT_EQ(DXTERR_UNINITIALIZED, probe.Execute(nullptr, nullptr, nullptr)) << "a refusal leaves nothing bound";
    ASSERT_EQ(S_OK, probe.Setup(&bound, 1, &bound, 1, 0));
    HRESULT unbound = S_OK;
    surface.callBack = [&] {
        unbound = probe.Setup(nullptr, 0, nullptr, 0, 0);
        probe.SetSite(nullptr);
    };
    EXPECT_EQ(S_OK, probe.Execute(nullptr, nullptr, nullptr));
    EXPECT_EQ(E_UNEXPECTED, unbound);
    surface.callBack = nullptr;
    EXPECT_EQ(2, probe.m_released);
    EXPECT_EQ(S_OK, probe.Setup(nullptr, 0, nullptr, 0, 0));
    EXPECT_EQ(3, probe.m_released);
    EXPECT_EQ(DXTERR_UNINITIALIZED, probe.Execute(nullptr, nullptr, nullptr));
}

TEST_F(Frame, ParametersMayChangeFromOtherThreadsDuringBands) {
    CProbe& probe = Make(kOneInput, 4);
    larkmoor::MessageQueue page;
    const Surface picture = Surface::create(PixelFormat::PremultipliedArgb32, 128, 128);
    ASSERT_EQ(S_OK, Setup(probe, {picture}, picture));
    std::atomic<bool> done = false;
    std::thread setter([&] {
        while (!done) {
            const float value = 3.0f;
            const tTESTPROP record{value, 3, value, value};
            probe.put_all(const_cast<tTESTPROP*>(&record), sizeof record);
            probe.put_NotifyWindow(&page, 1);
            probe.InitNew();
            probe.put_NotifyWindow(nullptr, 0);
            probe.SetRampPos(0.5);
            DWORD flags = 0;
            probe.GetMiscFlags(&flags);
            probe.IsDirty();
        }
    });
    for (DWORD i = 0; i < 50; ++i) {
        probe.SetMiscFlags(i & 3);
        probe.put_Progress(0.5f);
        EXPECT_EQ(S_OK, probe.Execute(nullptr, nullptr, nullptr));
    }
    done = true;
    setter.join();
    for (const tTESTPROP& record : probe.m_records)
        EXPECT_EQ(record.number == 3.0f ? 3 : 2, record.whole) << "a record is seen whole";
}

TEST_F(Frame, TheFirstFailingBandSpeaks) {
    CProbe& probe = Make(kOneInput, 4);
    const Surface picture = Surface::create(PixelFormat::PremultipliedArgb32, 128, 128);
    ASSERT_EQ(S_OK, Setup(probe, {picture}, picture));
    probe.m_failAt = 64;
    EXPECT_EQ(E_OUTOFMEMORY, probe.Execute(nullptr, nullptr, nullptr));
    const GUID request{};
    probe.m_failAt = 0;
    EXPECT_EQ(E_OUTOFMEMORY, probe.Execute(&request, nullptr, nullptr));
}

TEST_F(Frame, SmallerInputsAreCentredInTheUnion) {
    CProbe& probe = Make(kTwoInputs);
    Surface big = Surface::create(PixelFormat::PremultipliedArgb32, 20, 9);
    Surface small = Surface::create(PixelFormat::PremultipliedArgb32, 7, 4);
    std::memset(small.view().data, 0xFF, 4);
    ASSERT_EQ(S_OK, Setup(probe, {big, small}, big));
    ASSERT_EQ(big.get(), probe.Input(0));
    DXBNDS bounds{};
    ASSERT_EQ(S_OK, probe.Input(1)->GetBounds(&bounds));
    EXPECT_EQ((RECT{0, 0, 20, 9}), KwRectOf(bounds));
    CKwSurface view;
    ASSERT_TRUE(view.Lock(probe.Input(1), &DDPF_PMARGB32, FALSE));
    int lit = 0;
    for (LONG y = 0; y < 9; ++y)
        for (LONG x = 0; x < 20; ++x)
            if (std::to_integer<int>(*KwPixelAddress(view.View(), x, y, 4))) {
                ++lit;
                EXPECT_EQ(6, x); // (20 - 7) >> 1
                EXPECT_EQ(2, y); // (9 - 4) >> 1
            }
    EXPECT_EQ(1, lit);
}

TEST_F(Frame, GenerationsFollowInputsProgressAndFlags) {
    CProbe& probe = Make(kOneInput);
    Surface in = Surface::create(PixelFormat::PremultipliedArgb32, 4, 4);
    const Surface out = Surface::create(PixelFormat::PremultipliedArgb32, 4, 4);
    ASSERT_EQ(S_OK, Setup(probe, {in}, out));
    ULONG first = 0, id = 0;
    ASSERT_EQ(S_OK, probe.GetGenerationId(&first));
    probe.GetGenerationId(&id);
    EXPECT_EQ(first, id);
    in.touch();
    probe.GetGenerationId(&id);
    EXPECT_EQ(first + 1, id);
    EXPECT_EQ(E_INVALIDARG, probe.put_Progress(1.01f));
    EXPECT_EQ(S_OK, probe.put_Progress(0.5f));
    EXPECT_EQ(S_OK, probe.SetMiscFlags(3)); // as it was
    EXPECT_EQ(S_OK, probe.SetMiscFlags(2));
    EXPECT_EQ(S_OK, probe.SetMiscFlags(1));
    EXPECT_EQ(S_OK, probe.put_Duration(0.5f)); // as it was
    EXPECT_EQ(E_INVALIDARG, probe.put_Duration(0.0f));
    probe.GetGenerationId(&id);
    EXPECT_EQ(first + 4, id);
    EXPECT_EQ(S_OK, probe.put_Progress(0.0f));
    EXPECT_EQ(E_INVALIDARG, probe.put_Progress(-0.001f));
    EXPECT_EQ(E_POINTER, probe.GetGenerationId(nullptr));
    EXPECT_EQ(S_OK, probe.IncrementGenerationId(TRUE));
}

TEST_F(Frame, PicksTheInputUnderThePoint) {
    CProbe& probe = Make(kOneInput);
    Surface in = Surface::create(PixelFormat::PremultipliedArgb32, 4, 4);
    std::memset(in.view().data + in.view().stride * 2 + 4, 0xFF, 4);
    ASSERT_EQ(S_OK, Setup(probe, {in}, in));
    DXVEC at{.Axis = {1, 2, 0, 0}}, found{};
    ULONG index = 9;
    EXPECT_EQ(S_OK, probe.PointPick(&at, &index, &found));
    EXPECT_EQ(0u, index);
    EXPECT_EQ(1, found.Axis[0]);
    EXPECT_EQ(2, found.Axis[1]);
    at.Axis[0] = 2;
    EXPECT_EQ(S_FALSE, probe.PointPick(&at, &index, &found));
    at.Axis[0] = -1;
    EXPECT_EQ(S_FALSE, probe.PointPick(&at, &index, &found));
    EXPECT_EQ(E_POINTER, probe.PointPick(&at, nullptr, &found));
    EXPECT_EQ(E_INVALIDARG, probe.PointPick(nullptr, &index, &found));
    CProbe& two = Make(kTwoInputs);
    ASSERT_EQ(S_OK, Setup(two, {in, in}, in));
    EXPECT_EQ(E_NOTIMPL, two.PointPick(&at, &index, &found)) << "which of them?";
    CProbe& without = Make(kMaybeOneInput);
    ASSERT_EQ(S_OK, Setup(without, {}, in));
    EXPECT_EQ(S_FALSE, without.PointPick(&at, &index, &found));
}

TEST_F(Frame, BoundsMapBothWays) {
    CProbe& probe = Make(kOneInput);
    DXBNDS two[2]{}, out{};
    two[0].Axis[0] = {1, 5};
    two[1].Axis[0] = {-3, 2};
    EXPECT_EQ(S_OK, probe.MapBoundsIn2Out(two, 2, 0, &out));
    EXPECT_EQ(-3, out.Axis[0].Min);
    EXPECT_EQ(5, out.Axis[0].Max);
    EXPECT_EQ(S_OK, probe.MapBoundsIn2Out(two, 2, 0, &two[1])) << "in place";
    EXPECT_EQ(0, std::memcmp(&out, &two[1], sizeof out));
    two[1].eType = 1;
    EXPECT_EQ(E_INVALIDARG, probe.MapBoundsIn2Out(two, 2, 0, &out));
    EXPECT_EQ(E_INVALIDARG, probe.MapBoundsIn2Out(nullptr, 1, 0, &out));
    EXPECT_EQ(E_INVALIDARG, probe.MapBoundsIn2Out(two, 1, 1, &out));
    EXPECT_EQ(E_POINTER, probe.MapBoundsIn2Out(two, 1, 0, nullptr));
    EXPECT_EQ(S_OK, probe.MapBoundsOut2In(0, two, 0, &out));
    EXPECT_EQ(E_INVALIDARG, probe.MapBoundsOut2In(0, two, 1, &out));
    EXPECT_EQ(E_POINTER, probe.MapBoundsOut2In(0, two, 0, nullptr));
}

TEST_F(Frame, ARecordLivesThroughBlocksRampsAndFrames) {
    CProbe& probe = Make(kOneInput);
    const Surface picture = Surface::create(PixelFormat::PremultipliedArgb32, 4, 4);
    ASSERT_EQ(S_OK, Setup(probe, {picture}, picture));
    const auto frame = [&] {
        EXPECT_EQ(S_OK, probe.Execute(nullptr, nullptr, nullptr));
        return probe.m_records.back();
    };
    EXPECT_EQ(S_OK, probe.IsDirty());
    EXPECT_EQ(1.0f, frame().number) << "a new object renders its default record";
    EXPECT_EQ(S_FALSE, probe.IsDirty());

    tTESTPROP record{5.0f, 6, 7.0, 0.25};
    EXPECT_EQ(S_OK, probe.put_all(&record, 4)); // the front alone
    EXPECT_EQ(5.0f, frame().number);
    EXPECT_EQ(2, frame().whole);
    EXPECT_EQ(S_OK, probe.put_all(&record, -1)); // the whole
    EXPECT_EQ(6, frame().whole);
    EXPECT_EQ(S_OK, probe.put_all(&record, 0));
    EXPECT_EQ(S_OK, probe.IsDirty());
    EXPECT_EQ(E_INVALIDARG, probe.put_all(nullptr, 8));
    tTESTPROP half{};
    EXPECT_EQ(S_OK, probe.get_all(&half, 8));
    EXPECT_EQ(6, half.whole);
    EXPECT_EQ(0.0, half.wide);

    const tTESTPROP from{0.0f, 1, 10.0, 0.9}, to{1.0f, 9, 20.0, 0.1};
    const auto streamOf = [](const tTESTPROP& r) {
        return larkmoor::createMemoryStream(std::as_bytes(std::span(&r, 1)));
    };
    EXPECT_EQ(S_OK, probe.SetRampRecords(streamOf(from).Get(), streamOf(to).Get()));
    probe.SetRampOn(TRUE);
    probe.SetRampPos(0.75);
    const tTESTPROP at = frame();
    EXPECT_EQ(0.75f, at.number);
    EXPECT_EQ(1, at.whole) << "from the start record";
    EXPECT_EQ(17.5, at.wide);
    EXPECT_NEAR(0.05, at.hue, 1e-12) << "through 1, the shorter way";
    probe.put_all(&record, sizeof record);
    EXPECT_EQ(0.75f, frame().number) << "a record set under a ramp waits";
    probe.SetRampOn(FALSE);
    EXPECT_EQ(0.75f, frame().number) << "its dirty mark was spent";
    EXPECT_EQ(E_POINTER, probe.SetRampRecords(nullptr, streamOf(to).Get()));
    probe.SetRampOn(TRUE);
    EXPECT_EQ(1.0f, frame().number) << "both default after a failed read";
}

/// A hue on its way, in a record of that number alone.
template <class T>
T HueBetween(T from, T to, double position) {
    const tFieldInfo field{.type = sizeof(T) == 4 ? KWTYPE_FLOAT : KWTYPE_DOUBLE, .count = 1, .ramp = KWRAMP_HUE};
    T out;
    KwInterpolateRecord(std::span(&field, 1), reinterpret_cast<const std::byte*>(&from),
                        reinterpret_cast<const std::byte*>(&to), position, reinterpret_cast<std::byte*>(&out),
                        sizeof out);
    return out;
}

TEST_F(Frame, HuesTakeTheShorterWayAndTiesGoDownFromTheLower) {
    const struct {
        double from, to, half;
    } rows[] = {{0.25, 0.75, 0.0},     {0.75, 0.25, 1.0},     {0.25, 0.5, 0.375},   {0.5, 0.25, 0.375},
                {0.125, 0.75, 0.9375}, {0.75, 0.125, 0.9375}, {0.875, 0.25, 0.0625}};
    for (const auto& row : rows) {
        EXPECT_EQ(row.half, HueBetween(row.from, row.to, 0.5)) << row.from << " " << row.to;
        EXPECT_EQ(row.half, HueBetween(static_cast<float>(row.from), static_cast<float>(row.to), 0.5)) << row.from;
    }
}

TEST_F(Frame, PagesAndSinksAreTold) {
    struct CSink final : IKwParamSink {
        HRESULT QueryInterface(const IID*, void** out) override { return *out = nullptr, E_NOINTERFACE; }
        ULONG AddRef() override { return ++references; }
        ULONG Release() override { return --references; }
        HRESULT OnParamsChanged() override { return ++calls, S_OK; }
        ULONG references = 0;
        int calls = 0;
    } sink;
    CProbe& probe = Make(kOneInput);
    larkmoor::MessageQueue page;
    probe.put_NotifyWindow(&page, 32512);
    probe.SetParamSink(&sink);
    tTESTPROP record{};
    probe.put_all(&record, sizeof record);
    EXPECT_EQ(1, sink.calls);
    EXPECT_TRUE(page.take().empty()) << "the page is not told of its own change";
    probe.InitNew();
    const auto stream = larkmoor::createMemoryStream();
    EXPECT_EQ(S_OK, probe.Save(stream.Get(), FALSE));
    EXPECT_EQ(S_OK, probe.IsDirty()) << "saving without clearing marks dirty";
    EXPECT_EQ(2, sink.calls);
    const auto messages = page.take();
    ASSERT_EQ(2u, messages.size());
    EXPECT_EQ(WM_COMMAND, messages[0].message);
    EXPECT_EQ(32512u, messages[0].wParam);
    EXPECT_EQ(S_OK, stream->Seek(0, 0, nullptr));
    EXPECT_EQ(S_OK, probe.Load(stream.Get()));
    EXPECT_EQ(3, sink.calls);
    EXPECT_EQ(1u, page.take().size());
    probe.SetParamSink(nullptr);
    EXPECT_EQ(0u, sink.references);
}

/// A record so long that a copy of it takes a while.
struct tLONGPROP {
    LONG whole[4096];
};
constexpr tLONGPROP kLong{};

struct CLongRecord final : CEffect<tLONGPROP> {
    explicit CLongRecord(const tEffectClass& effect) : CEffect(KwObjectMap()[0], nullptr, effect) {}
    HRESULT Draw(const CEffectViews&, const tLONGPROP&) override { return S_OK; }
};

TEST_F(Frame, ABlockIsSetAndAskedForAsAWhole) {
    constexpr tEffectClass kClass{.iid = kOneInput.iid,
                                  .kind = KWKIND_FILTER,
                                  .minInputs = 1,
                                  .maxInputs = 1,
                                  .maxBands = 1,
                                  .defaults = &kLong,
                                  .recordSize = sizeof(tLONGPROP)};
    auto* const effect = new CLongRecord(kClass);
    m_object = CComPtr<IUnknown>::Adopt(effect->InnerUnknown());
    std::atomic<bool> done = false;
    std::thread setter([&] {
        auto record = std::make_unique<tLONGPROP>();
        for (LONG i = 0; !done; ++i) {
            std::ranges::fill(record->whole, i);
            effect->put_all(record.get(), sizeof *record);
        }
    });
    auto record = std::make_unique<tLONGPROP>();
    int torn = 0;
    for (int i = 0; i < 20000; ++i) {
        effect->get_all(record.get(), sizeof *record);
        torn += std::ranges::any_of(record->whole, [&](LONG w) { return w != record->whole[0]; });
    }
    done = true;
    setter.join();
    EXPECT_EQ(0, torn);
}

TEST_F(Frame, ALastReleaseMayReachBackIntoTheObject) {
    struct CSink final : IKwParamSink {
        HRESULT QueryInterface(const IID*, void** out) override { return *out = nullptr, E_NOINTERFACE; }
        ULONG AddRef() override { return 2; }
        ULONG Release() override {
            if (IUnknown* const alive = std::exchange(object, nullptr)) {
                alive->AddRef();
                alive->Release();
            }
            return 1;
        }
        HRESULT OnParamsChanged() override { return S_OK; }
        IUnknown* object = nullptr;
    } sink;
    const LONG before = CModuleLock::Count();
    CProbe& probe = Make(kOneInput);
    probe.SetParamSink(&sink);
    sink.object = probe.InnerUnknown();
    m_object.Reset();
    EXPECT_EQ(nullptr, sink.object);
    EXPECT_EQ(before, CModuleLock::Count()) << "it ended once";
}

TEST_F(Frame, SafetyKeepsAWordForEachInterface) {
    CProbe& probe = Make(kOneInput);
    DWORD supported = 9, enabled = 9;
    EXPECT_EQ(E_NOINTERFACE, probe.GetInterfaceSafetyOptions(&IDXTransform::iid, &supported, &enabled));
    EXPECT_EQ(0u, supported | enabled);
    EXPECT_EQ(S_OK, probe.SetInterfaceSafetyOptions(&IDispatch::iid, 3, 1));
    EXPECT_EQ(S_OK, probe.GetInterfaceSafetyOptions(&IDispatch::iid, &supported, &enabled));
    EXPECT_EQ(1u, supported & enabled);
    EXPECT_EQ(E_POINTER, probe.GetInterfaceSafetyOptions(&IDispatch::iid, nullptr, &enabled));
}

TEST_F(Frame, ViewsStandInSurfaceCoordinates) {
    Surface picture = Surface::create(PixelFormat::PremultipliedArgb32, 100, 80, 5, -3);
    DXBNDS part{.Axis = {{10, 30}, {20, 40}, {0, 1}, {0, 1}}};
    const auto address = [&](int x, int y) {
        return picture.view().data + picture.view().stride * (y + 3) + (x - 5) * 4;
    };
    for (const BOOL forWrite : {FALSE, TRUE}) {
        CKwSurface view;
        ASSERT_TRUE(view.Lock(picture.get(), &DDPF_ARGB32, forWrite, &part));
        EXPECT_EQ(address(10, 20), KwPixelAddress(view.View(), 10, 20, 4));
        EXPECT_EQ((RECT{10, 20, 30, 40}), view.m_ClipRect);
        EXPECT_EQ((RECT{5, -3, 105, 77}), view.m_Frame);
        EXPECT_EQ(1.0, view.GetPixelAspect());
    }
    picture.setInfo({.pixelAspect = -2.0, .frameRate = 25.0, .time100ns = 7});
    CKwSurface view;
    EXPECT_FALSE(view.Lock(picture.get(), &KWPF_FLOAT128, FALSE)) << "nothing converts into floats";
    CKwSurface again;
    ASSERT_TRUE(again.Lock(picture.get(), &DDPF_PMARGB32, FALSE));
    EXPECT_EQ(1.0, again.GetPixelAspect());
    EXPECT_EQ(25.0, again.m_SurfaceInfo.frameRate);
}

TEST_F(Frame, OtherFormatsAreViewedThroughAPremultipliedCopy) {
    // Rows longer than what stands before them.
    Surface picture = Surface::create(PixelFormat::Float128, 600, 2, 5, -3);
    auto* const pixels = reinterpret_cast<float*>(picture.view().data);
    pixels[0] = 0.5f, pixels[3] = 1.0f;
    CKwSurface view;
    ASSERT_TRUE(view.Lock(picture.get(), &DDPF_PMARGB32, FALSE));
    EXPECT_LT(view.m_Stride, 0);
    EXPECT_EQ(4, view.m_BytesPerPixel);
    EXPECT_EQ(128, std::to_integer<int>(*KwPixelAddress(view.View(), 5, -3, 4)));
}

} // namespace
