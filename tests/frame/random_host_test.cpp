// A host that calls by chance: one object from four threads at once, and four objects from one thread in turn.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <barrier>
#include <iterator>
#include <random>
#include <set>
#include <thread>
#include <utility>
#include <vector>

#include "frame/effect_class.h"
#include "host/object.h"
#include "host/services.h"
#include "host/surface.h"
#include "platform/exports.h"

namespace {

using larkmoor::PixelFormat;
using larkmoor::Surface;
using tBytes = std::vector<std::byte>;

constexpr int kWidth = 24, kHeight = 16; // one band
constexpr LONG kSizes[][2] = {{24, 16}, {19, 13}};
constexpr float kProgress[] = {0.0f, 0.375f, 1.0f};
constexpr std::int64_t kTime = 12'345'678; // of every picture, so that a grain that moves is the same

class CCountingSink final : public larkmoor::ObjectOf<IKwParamSink> {
    HRESULT OnParamsChanged() override { return ++m_calls, S_OK; }
    std::atomic<int> m_calls = 0;
};

CComPtr<IUnknown> Made(const CLSID& clsid) {
    const auto factory =
        KwReceived<IClassFactory>([&](void** out) { return DllGetClassObject(&clsid, &IClassFactory::iid, out); });
    return KwReceived<IUnknown>([&](void** out) { return factory->CreateInstance(nullptr, &IUnknown::iid, out); });
}

Surface Picture(unsigned seed) {
    Surface surface = Surface::create(PixelFormat::PremultipliedArgb32, kWidth, kHeight);
    surface.setInfo({1, 25, kTime});
    const auto view = surface.view();
    std::minstd_rand random(seed);
    for (int y = 0; seed && y < kHeight; ++y)
        for (int x = 0; x < kWidth * 4; ++x)
            view.data[view.stride * y + x] = x % 4 == 3 ? std::byte{255} : std::byte(random() >> 8);
    return surface;
}

/// The pictures of a host, in which an effect works.
struct tStage {
    Surface first = Picture(1), second = Picture(2), output = Picture(0);
    CComPtr<IDXTransformFactory> factory = larkmoor::createTransformFactory(2);

    HRESULT Bind(IDXTransform* transform, LONG inputs) const {
        IUnknown* const in[] = {first.get(), second.get()};
        IUnknown* const out[] = {output.get()};
        return transform->Setup(in, static_cast<ULONG>(inputs), out, 1, 0);
    }
    tBytes Shown() const {
        const auto view = output.view();
        tBytes all;
        for (int y = 0; y < kHeight; ++y)
            all.insert(all.end(), view.data + view.stride * y, view.data + view.stride * y + kWidth * 4);
        return all;
    }
};

/// Whatever a generator shows now, in a block that holds any of its sizes.
tBytes RowsOf(IUnknown* object) {
    const auto reader = KwReceived<IDXARGBReadPtr>([&](void** out) {
        return KwQuery<IDXSurface>(object)->LockSurface(nullptr, 0, DXLOCKF_READ, &IDXARGBReadPtr::iid, out, nullptr);
    });
    std::vector<DWORD> samples(kWidth * kHeight);
    for (ULONG y = 0; reader && y < kHeight; ++y) {
        reader->MoveToRow(y);
        reader->UnpackPremult(samples.data() + y * kWidth, kWidth, FALSE);
    }
    const auto bytes = std::as_bytes(std::span(samples));
    return {bytes.begin(), bytes.end()};
}

HRESULT Size(IUnknown* object, const LONG (&size)[2]) {
    const DXBNDS bounds = larkmoor::boundsOf(RECT{0, 0, size[0], size[1]});
    return KwQuery<IDXSurfaceInit>(object)->InitSurface(nullptr, nullptr, nullptr, &bounds, 0);
}

/// What the host may set, and everything that an object by itself makes of it.
struct tKnown {
    tClassInfo info{};
    CLSID clsid;
    std::vector<tBytes> records;
    std::set<tBytes> blocks, streams, frames;

    explicit tKnown(const tObjectMapRow& row) : clsid(row.clsid) {
        const auto told = KwQuery<IKwParamInfo>(Made(clsid).Get());
        told->GetClassInfo(&info, sizeof info);
        bool pointers = false; // a block holds the place of a text
        for (LONG i = 0; i < info.fieldCount; ++i) {
            tFieldInfo field{};
            told->GetField(i, &field, sizeof field);
            pointers = pointers || field.kind == KWFIELD_TEXT;
        }
        for (LONG i = -1; i < std::min<LONG>(info.presetCount, 3); ++i) {
            records.emplace_back(static_cast<std::size_t>(info.recordSize) + 1); // never nothing
            told->GetPreset(i, nullptr, records.back().data(), static_cast<ULONG>(info.recordSize));
        }
        for (const tBytes& record : records) {
            if (!pointers) blocks.insert(record);
            for (std::size_t way = 0; way < (IsGenerator() ? std::size(kSizes) : std::size(kProgress)); ++way) {
                const auto object = Made(clsid);
                Put(object.Get(), record);
                if (IsGenerator()) Size(object.Get(), kSizes[way]), frames.insert(RowsOf(object.Get()));
                frames.insert(Drawn(object.Get(), way));
                if (const tBytes stream = Saved(object.Get()); !stream.empty()) streams.insert(stream);
            }
        }
        if (!IsGenerator()) frames.insert(tStage().Shown()); // nobody got to draw
    }
    bool IsGenerator() const { return info.kind == 0; }
    /// @param dispatch the class's own dual interface
    template <class Body>
    HRESULT WithDual(IDispatch* dispatch, Body&& body) const {
        return IsGenerator() ? body(static_cast<IKwGenerator*>(dispatch)) : body(static_cast<IKwEffect*>(dispatch));
    }
    HRESULT Put(IUnknown* object, const tBytes& record) const {
        return WithDual(KwQuery<IDispatch>(object).Get(), [&](const auto& dual) {
            return dual->put_all(const_cast<std::byte*>(record.data()), info.recordSize);
        });
    }
    /// What a generator shows may not be there before it is asked where it is.
    HRESULT Draw(IUnknown* object) const {
        std::byte cache[256];
        const auto dual = KwReceived<IKwGenerator>([&](void** out) { return object->QueryInterface(&info.iid, out); });
        return dual->GetCacheInfo(cache);
    }
    static tBytes Saved(IUnknown* object) {
        const auto stream = larkmoor::createMemoryStream();
        if (const auto persist = KwQuery<IPersistStreamInit>(object)) persist->Save(stream.Get(), TRUE);
        return larkmoor::streamContent(stream.Get());
    }
    /// With the record that is set.
    /// @param way a size of a generator, a progress of an effect
    tBytes Drawn(IUnknown* object, std::size_t way) const {
        if (IsGenerator()) {
            Size(object, kSizes[way]);
            Draw(object);
            return RowsOf(object);
        }
        const tStage stage;
        const auto transform = KwQuery<IDXTransform>(object);
        const auto sited = KwQuery<IObjectWithSite>(object);
        transform->SetMiscFlags(0);
        KwQuery<IDXEffect>(object)->put_Progress(kProgress[way]);
        sited->SetSite(stage.factory.Get());
        EXPECT_EQ(stage.Bind(transform.Get(), info.maxInputs), S_OK);
        EXPECT_EQ(transform->Execute(nullptr, nullptr, nullptr), S_OK);
        transform->Setup(nullptr, 0, nullptr, 0, 0);
        sited->SetSite(nullptr);
        return stage.Shown();
    }
};

/// The ways into one object. They are asked for once: a count of references puts the calls around it in order.
struct tFaces {
    CComPtr<IUnknown> object;
    CComPtr<IKwParamRamp> ramp = KwQuery<IKwParamRamp>(object.Get());
    CComPtr<IPersistStreamInit> persist = KwQuery<IPersistStreamInit>(object.Get());
    CComPtr<IKwPresets> presets = KwQuery<IKwPresets>(object.Get());
    CComPtr<IDXTransform> transform = KwQuery<IDXTransform>(object.Get());
    CComPtr<IDXEffect> effect = KwQuery<IDXEffect>(object.Get());
    CComPtr<IKwEffectInfo> level = KwQuery<IKwEffectInfo>(object.Get());
    CComPtr<IObjectWithSite> sited = KwQuery<IObjectWithSite>(object.Get());
    CComPtr<IObjectSafety> safety = KwQuery<IObjectSafety>(object.Get());
    CComPtr<IDXBaseObject> base = KwQuery<IDXBaseObject>(object.Get());
    CComPtr<IDXSurface> surface = KwQuery<IDXSurface>(object.Get());
    CComPtr<IDispatch> dispatch = KwQuery<IDispatch>(object.Get());
};

/// One thread's part: what it owns, what it calls by chance, and what it was answered.
class CCaller {
  public:
    static constexpr std::size_t kEntries = 32;

    /// @param alone nobody draws in its pictures while it looks at them
    CCaller(const tKnown& known, const CComPtr<IUnknown>& object, unsigned seed, bool alone)
        : m_known(known), m_faces{object}, m_random(seed), m_alone(alone) {}

    void Call() { Call(Below(kEntries)); }
    void Call(std::size_t entry) {
        if (entry < 16)
            CallAny(entry);
        else if (m_known.IsGenerator())
            CallGenerator(entry);
        else
            CallEffect(entry);
        if (!m_known.IsGenerator() && m_alone) m_answers.push_back(m_stage.Shown());
    }
    /// Takes back what it left with the object, of which others may have left more.
    void Leave() {
        if (m_faces.ramp) m_faces.ramp->SetParamSink(nullptr);
        WithDual([](const auto& dual) { return dual->put_NotifyWindow(nullptr, 0); });
    }
    const tStage& Stage() const { return m_stage; }
    const std::vector<tBytes>& Answers() const { return m_answers; }

  private:
    std::size_t Below(std::size_t end) { return m_random() % end; }
    template <class T>
    const T& Pick(const std::vector<T>& all) {
        return all[Below(all.size())];
    }
    CComPtr<IStream> Stream() {
        const auto nth = static_cast<std::ptrdiff_t>(Below(m_known.streams.size()));
        return larkmoor::createMemoryStream(*std::next(m_known.streams.begin(), nth));
    }

    template <class T>
    void Note(const T& value) {
        const auto bytes = std::as_bytes(std::span(&value, 1));
        m_answers.emplace_back(bytes.begin(), bytes.end());
    }
    void NoteOneOf(const std::set<tBytes>& known, const tBytes& answer, const char* what) {
        EXPECT_TRUE(known.contains(answer)) << m_known.info.className << ": another " << what;
        m_answers.push_back(answer);
    }
    template <class Body>
    HRESULT WithDual(Body&& body) {
        return m_known.WithDual(m_faces.dispatch.Get(), body);
    }

    void CallEffect(std::size_t entry) {
        const tFaces& to = m_faces;
        float real = 0;
        DWORD flags = 0;
        ULONG count = 0;
        DXBNDS bounds{};
        CComPtr<IUnknown> face;
        switch (entry) {
        case 16:
        case 17:
            return Note(m_stage.Bind(to.transform.Get(), m_known.info.maxInputs));
        case 18:
        case 19:
        case 20: {
            const GUID request{};
            return Note(to.transform->Execute(Below(2) ? &request : nullptr, nullptr, nullptr));
        }
        case 21:
            return Note(to.transform->Setup(nullptr, 0, nullptr, 0, 0));
        case 22:
            return Note(to.effect->put_Progress(kProgress[Below(std::size(kProgress))]));
        case 23:
            Note(to.effect->get_Progress(&real));
            EXPECT_TRUE(std::ranges::find(kProgress, real) != std::end(kProgress)) << real;
            return Note(real);
        case 24:
            if (Below(2)) return Note(to.effect->put_Duration(Below(2) ? 0.5f : 2.0f));
            Note(to.effect->get_StepResolution(&real));
            return Note(to.effect->get_Duration(&real));
        case 25:
            return Note(to.sited->SetSite(Below(4) ? m_stage.factory.Get() : nullptr));
        case 26:
            Note(to.transform->MapBoundsIn2Out(nullptr, 0, 0, &bounds));
            return Note(bounds);
        case 27:
            return Note(to.transform->GetInOutInfo(Below(2) != 0, 0, &flags, nullptr, &count, face.Receive()));
        case 28: // the lowest bit lets older pictures show through
            return Note(Below(2) ? to.transform->SetMiscFlags(Below(2) ? 2 : 0) : to.transform->GetMiscFlags(&flags));
        case 29:
            return Note(Below(2) ? to.transform->SetQuality(0.5f) : to.transform->GetQuality(&real));
        case 30:
            return Note(to.base->IncrementGenerationId(Below(2) != 0));
        default:
            return Note(to.level->SetLevel(Below(2) ? 0.5 : 1.0));
        }
    }

    void CallGenerator(std::size_t entry) {
        DWORD value = 0;
        std::uintptr_t data = 0;
        DXBNDS bounds{};
        switch (entry) {
        case 16:
        case 17:
            return Note(Size(m_faces.object.Get(), kSizes[Below(std::size(kSizes))]));
        case 18:
            Note(m_faces.surface->GetBounds(&bounds));
            return Note(bounds);
        case 19:
            return Note(Below(2) ? m_faces.surface->SetColorKey(7) : m_faces.surface->GetColorKey(&value));
        case 20:
            return Note(Below(2) ? m_faces.surface->SetStatusFlags(7) : m_faces.surface->GetStatusFlags(&value));
        case 21:
            return Note(Below(2) ? m_faces.surface->SetAppData(7) : m_faces.surface->GetAppData(&data));
        case 22:
            return Note(m_faces.sited->SetSite(Below(2) ? m_stage.factory.Get() : nullptr));
        case 23:
            return Note(m_faces.base->IncrementGenerationId(FALSE));
        case 24:
            return Note(m_known.Draw(m_faces.object.Get()));
        default:
            return NoteOneOf(m_known.frames, RowsOf(m_faces.object.Get()), "picture");
        }
    }

    void CallAny(std::size_t entry) {
        const tFaces& to = m_faces;
        switch (entry) {
        case 0:
        case 1: {
            const tBytes& record = Pick(m_known.records);
            return Note(WithDual([&](const auto& dual) {
                return dual->put_all(const_cast<std::byte*>(record.data()), m_known.info.recordSize);
            }));
        }
        case 2:
        case 3: {
            tBytes block(static_cast<std::size_t>(m_known.info.recordSize) + 1);
            Note(WithDual([&](const auto& dual) { return dual->get_all(block.data(), m_known.info.recordSize); }));
            if (!m_known.blocks.empty()) NoteOneOf(m_known.blocks, block, "record");
            return;
        }
        case 4:
            if (to.presets) Note(to.presets->Apply(static_cast<LONG>(Below(m_known.records.size() - 1))));
            return;
        case 5:
            if (to.persist) Note(Below(2) ? to.persist->InitNew() : to.persist->Load(Stream().Get()));
            return;
        case 6:
            if (to.persist) NoteOneOf(m_known.streams, tKnown::Saved(to.persist.Get()), "stream");
            return;
        case 7:
            if (to.ramp) Note(to.ramp->SetRampRecords(Stream().Get(), Stream().Get()));
            return;
        case 8:
            if (to.ramp) Note(to.ramp->SetRampPos(0));
            return;
        case 9:
            if (to.ramp) Note(to.ramp->SetRampOn(Below(2) != 0));
            return;
        case 10: {
            const auto sink = larkmoor::makeObject<CCountingSink>();
            if (to.ramp) Note(to.ramp->SetParamSink(Below(3) ? sink.Get() : nullptr));
            return;
        }
        case 11: {
            const bool none = Below(2) != 0;
            Note(WithDual([&](const auto& dual) { return dual->put_NotifyWindow(none ? nullptr : &m_window, 1); }));
            m_window.take();
            return;
        }
        case 12: {
            DWORD supported = 0, enabled = 0;
            Note(to.safety->SetInterfaceSafetyOptions(&IDispatch::iid, 1, Below(2)));
            return Note(to.safety->GetInterfaceSafetyOptions(&IDispatch::iid, &supported, &enabled));
        }
        case 13: {
            ULONG generation = 0;
            Note(to.base->GetGenerationId(&generation));
            return Note(generation);
        }
        case 14: {
            LONG id = 0;
            OLECHAR word[] = u"put_all";
            OLECHAR* words[] = {word};
            Note(to.dispatch->GetIDsOfNames(nullptr, words, 1, 0, &id));
            tBytes record = Pick(m_known.records);
            VARIANT arguments[2]{};
            arguments[0].vt = VT_I4;
            arguments[0].lVal = m_known.info.recordSize;
            arguments[1].vt = VT_PTR;
            arguments[1].byref = record.data();
            DISPPARAMS params{arguments, nullptr, 2, 0};
            return Note(to.dispatch->Invoke(id, nullptr, 0, DISPATCH_METHOD, &params, nullptr, nullptr, nullptr));
        }
        default: {
            CComPtr<IUnknown> face;
            Note(to.sited->GetSite(&IUnknown::iid, face.ReceiveVoid()));
            if (to.persist) Note(to.persist->IsDirty());
        }
        }
    }

    const tKnown& m_known;
    const tFaces m_faces;
    std::minstd_rand m_random;
    const bool m_alone;
    tStage m_stage;
    larkmoor::MessageQueue m_window;
    std::vector<tBytes> m_answers;
};

std::vector<const tObjectMapRow*> EffectRows() {
    std::vector<const tObjectMapRow*> rows;
    for (const tObjectMapRow& row : KwObjectMap())
        if (row.description) rows.push_back(&row);
    return rows;
}

/// An object as its host wants to find it.
CComPtr<IUnknown> Prepared(const tKnown& known) {
    auto object = Made(known.clsid);
    if (known.IsGenerator())
        Size(object.Get(), kSizes[0]);
    else
        KwQuery<IDXTransform>(object.Get())->SetMiscFlags(0);
    return object;
}

// Rounds of two entries each, in which nothing but the object puts the threads in order; then all entries. Each pair
// comes up with both generators and with some of the effects, which share their frame.
TEST(RandomHost, FourThreadsCallOneObject) {
    using tPair = std::pair<std::size_t, std::size_t>;
    std::vector<tPair> pairs;
    for (std::size_t first = 0; first < CCaller::kEntries; ++first)
        for (std::size_t second = first; second < CCaller::kEntries; ++second) pairs.emplace_back(first, second);
    std::shuffle(pairs.begin(), pairs.end(), std::minstd_rand(1));
    for (const tObjectMapRow* const row : EffectRows()) {
        SCOPED_TRACE(row->className);
        const tKnown known(*row);
        const auto object = Prepared(known);
        std::vector<std::unique_ptr<CCaller>> callers;
        for (unsigned seed = 1; seed <= 4; ++seed)
            callers.push_back(std::make_unique<CCaller>(known, object, seed, false));
        std::vector<tPair> rounds = pairs;
        if (!known.IsGenerator()) {
            rounds.resize(60);
            std::rotate(pairs.begin(), pairs.begin() + 60, pairs.end());
        }
        {
            std::barrier together(static_cast<std::ptrdiff_t>(callers.size()));
            std::vector<std::jthread> threads;
            for (const auto& caller : callers)
                threads.emplace_back([&] {
                    for (const auto& [first, second] : rounds) {
                        together.arrive_and_wait();
                        for (unsigned i = 0; i < 3; ++i) caller->Call(i % 2 ? first : second);
                    }
                    for (int i = 0; i < 100; ++i) caller->Call();
                });
        }
        for (const auto& caller : callers) {
            caller->Leave();
            EXPECT_TRUE(known.IsGenerator() || known.frames.contains(caller->Stage().Shown())) << "another frame";
        }
        if (const auto ramp = KwQuery<IKwParamRamp>(object.Get())) ramp->SetRampOn(FALSE);
        const auto fresh = Made(known.clsid);
        for (const tBytes& record : known.records) {
            known.Put(object.Get(), record);
            known.Put(fresh.Get(), record);
            EXPECT_TRUE(known.Drawn(object.Get(), 1) == known.Drawn(fresh.Get(), 1)) << "another frame afterwards";
        }
    }
}

TEST(RandomHost, ObjectsOnOneThreadAnswerAsEachByItself) {
    constexpr std::size_t kObjects = 4;
    constexpr int kCalls = 120;
    std::vector<std::unique_ptr<tKnown>> known;
    for (const tObjectMapRow* const row : EffectRows()) known.push_back(std::make_unique<tKnown>(*row));
    for (std::size_t start = 0; start < known.size(); ++start) {
        // Two of one class, two of others.
        const std::size_t picks[kObjects] = {start, start, (start + 7) % known.size(), (start + 12) % known.size()};
        std::vector<CComPtr<IUnknown>> objects;
        std::vector<std::unique_ptr<CCaller>> callers;
        const auto caller = [&](std::size_t i) {
            objects.push_back(Prepared(*known[picks[i]]));
            return std::make_unique<CCaller>(*known[picks[i]], objects.back().Get(), static_cast<unsigned>(start + i),
                                             true);
        };
        for (std::size_t i = 0; i < kObjects; ++i) callers.push_back(caller(i));
        std::minstd_rand random(static_cast<unsigned>(start + 1));
        int calls[kObjects]{};
        for (int i = 0; i < kCalls; ++i) {
            const std::size_t turn = random() % kObjects;
            callers[turn]->Call();
            ++calls[turn];
        }
        for (std::size_t i = 0; i < kObjects; ++i) {
            const auto alone = caller(i);
            for (int call = 0; call < calls[i]; ++call) alone->Call();
            EXPECT_TRUE(alone->Answers() == callers[i]->Answers()) << known[picks[i]]->info.className;
            alone->Leave();
            callers[i]->Leave();
        }
    }
}

} // namespace
