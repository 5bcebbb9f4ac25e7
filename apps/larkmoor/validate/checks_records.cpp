// What an effect holds: its record, presets, saved state and ramp.
#include <algorithm>
#include <array>
#include <cstring>

#include "host/object.h"
#include "validate/checks.h"

namespace larkmoor::validate {

namespace {

using Bytes = std::vector<std::byte>;

/// Reads and writes so many bytes, then fails or comes short.
class MeanStream final : public ObjectOf<IStream> {
  public:
    MeanStream(Bytes content, std::size_t room, bool fails)
        : m_content(std::move(content)), m_room(room), m_fails(fails) {}

    HRESULT Read(void* target, ULONG count, ULONG* got) override {
        const std::size_t length = std::min({std::size_t{count}, m_room, m_content.size() - m_at});
        if (target && length) std::memcpy(target, m_content.data() + m_at, length);
        return spend(length, count, got);
    }
    HRESULT Write(const void*, ULONG count, ULONG* put) override {
        return spend(std::min<std::size_t>(count, m_room), count, put);
    }
    HRESULT Seek(std::int64_t, DWORD, std::uint64_t*) override { return E_NOTIMPL; }
    HRESULT SetSize(std::uint64_t) override { return E_NOTIMPL; }
    HRESULT CopyTo(IStream*, std::uint64_t, std::uint64_t*, std::uint64_t*) override { return E_NOTIMPL; }
    HRESULT Commit(DWORD) override { return E_NOTIMPL; }
    HRESULT Revert() override { return E_NOTIMPL; }
    HRESULT LockRegion(std::uint64_t, std::uint64_t, DWORD) override { return E_NOTIMPL; }
    HRESULT UnlockRegion(std::uint64_t, std::uint64_t, DWORD) override { return E_NOTIMPL; }
    HRESULT Stat(void*, DWORD) override { return E_NOTIMPL; }
    HRESULT Clone(IStream**) override { return E_NOTIMPL; }

  private:
    HRESULT spend(std::size_t length, ULONG count, ULONG* told) {
        m_at += length;
        m_room -= length;
        if (told) *told = static_cast<ULONG>(length);
        return length == count ? S_OK : m_fails ? E_FAIL : S_FALSE;
    }

    const Bytes m_content;
    std::size_t m_room, m_at = 0;
    const bool m_fails;
};

IStream* streamOf(const CComPtr<MeanStream>& stream) {
    return stream.Get();
}

class CountingSink final : public ObjectOf<IKwParamSink> {
  public:
    int calls = 0;
    HRESULT OnParamsChanged() override { return ++calls, S_OK; }
};

struct CountingWindow : tMessageTarget {
    int posts = 0;
    std::uintptr_t id = 0;
    CountingWindow()
        : tMessageTarget{[](void* self, UINT, std::uintptr_t wParam, std::intptr_t) {
              static_cast<CountingWindow*>(static_cast<tMessageTarget*>(self))->id = wParam;
              ++static_cast<CountingWindow*>(static_cast<tMessageTarget*>(self))->posts;
          }} {}
};

} // namespace

void checkRecords(Context& context) {
    const Subject subject = context.make();
    const Bytes defaults = subject.record();
    expect(defaults == context.make().record(), "two new objects have different records");
    if (defaults.empty() || subject.isGenerator()) return;
    IKwEffect* const dual = subject.dual();
    const auto size = static_cast<LONG>(defaults.size());
    const auto all = [&](LONG room) {
        Bytes bytes(defaults.size() + 16, std::byte{0xA5});
        expectDone(dual->get_all(bytes.data(), room), "get_all");
        return bytes;
    };
    const auto expectFront = [&](LONG room, std::size_t length) {
        Bytes wanted(defaults.size() + 16, std::byte{0xA5});
        std::copy_n(subject.record().begin(), length, wanted.begin());
        expect(all(room) == wanted, "get_all with {} bytes does not write the first {} of the record", room, length);
    };
    for (const LONG room : {0, 1, size / 2, size - 1, size}) expectFront(room, static_cast<std::size_t>(room));
    for (const LONG room : {size + 1, INT32_MAX, -1, INT32_MIN}) expectFront(room, defaults.size());
    for (int i = 0; i < context.rounds * 20; ++i) {
        Bytes wild = wildRecord(context, defaults);
        const Bytes before = subject.record();
        const LONG part = context.below(4) ? context.below(size + 1) : -context.below(2) - 1;
        expectDone(dual->put_all(wild.data(), part), "put_all");
        if (part >= 0) std::copy(before.begin() + part, before.end(), wild.begin() + part);
        expect(subject.record() == wild, "put_all with {} bytes leaves another record", part);
        const Bytes loaded = wildRecord(context, defaults);
        expectDone(subject.setRecord(loaded), "LoadParams");
        expect(subject.record() == loaded, "LoadParams leaves another record than the stream's");
    }
}

void checkPresets(Context& context) {
    const Subject subject = context.make();
    const LONG count = subject.presetCount();
    const auto presets = subject.face<IKwPresets>();
    const auto persist = subject.face<IPersistStreamInit>();
    const auto ramp = subject.face<IKwParamRamp>();
    if (!presets) return;
    expect(count > 0, "IKwPresets is answered without presets");
    const auto sink = makeObject<CountingSink>();
    CountingWindow window;
    expectDone(ramp->SetParamSink(sink.Get()), "SetParamSink");
    if (!subject.isGenerator()) expectDone(subject.dual()->put_NotifyWindow(&window, 77), "put_NotifyWindow");
    for (LONG i = 0; i < count; ++i) {
        std::array<WCHAR, 256> name;
        name.fill(u'#');
        expectDone(presets->GetName(i, name.data(), 256), "GetName");
        const auto end = std::ranges::find(name, u'\0');
        expect(end != name.end() && end != name.begin(), "preset {} has no name, or one without an end", i);
        const auto length = static_cast<LONG>(end - name.begin());
        for (const LONG room : {1, length / 2 + 1, length, length + 1}) {
            std::array<WCHAR, 256> cut;
            cut.fill(u'#');
            expectDone(presets->GetName(i, cut.data(), room), "GetName with less room");
            const LONG kept = std::min(room - 1, length);
            expect(std::equal(cut.begin(), cut.begin() + kept, name.begin()) &&
                       cut[static_cast<std::size_t>(kept)] == 0 && cut[static_cast<std::size_t>(kept) + 1] == u'#',
                   "the name of preset {} in {} characters is not cut to them", i, room);
        }
        sink->calls = window.posts = 0;
        subject.applyPreset(i);
        expect(sink->calls > 0, "Apply({}) does not tell the parameter sink", i);
        expect(subject.isGenerator() || (window.posts > 0 && window.id == 77), "Apply({}) does not tell the window", i);
        expect(!persist || persist->IsDirty() == S_OK, "Apply({}) leaves the object clean", i);
        const Bytes record = subject.record();
        subject.setRecord(wildRecord(context, record));
        subject.applyPreset(i);
        expect(subject.record() == record, "Apply({}) gives another record the second time", i);
        const Subject fresh = context.make();
        fresh.applyPreset(i);
        expect(fresh.record() == record, "Apply({}) depends on what the object held", i);
    }
    ramp->SetParamSink(nullptr);
    if (!subject.isGenerator()) subject.dual()->put_NotifyWindow(nullptr, 0);
    expect(!sink->isShared(), "the parameter sink is still held");
}

void checkPersistence(Context& context) {
    const Subject subject = context.make();
    const auto persist = subject.face<IPersistStreamInit>();
    const auto ramp = subject.face<IKwParamRamp>();
    expect(bool(persist) == bool(ramp), "IPersistStreamInit and IKwParamRamp do not go together");
    if (!persist) return;
    const Bytes defaults = subject.record();
    std::vector<Bytes> records{defaults};
    for (LONG i = 0; i < subject.presetCount(); ++i) {
        subject.applyPreset(i);
        records.push_back(subject.record());
    }
    // A wild record of an object that is not one block may be no record at all.
    for (int i = 0; i < context.rounds * 4 && !subject.isGenerator(); ++i)
        records.push_back(wildRecord(context, defaults));

    const auto storage = createMemoryStorage();
    for (const Bytes& record : records) {
        expectDone(subject.setRecord(record), "LoadParams");
        const auto stream = createMemoryStream();
        std::uint64_t most = 0;
        expectDone(persist->Save(stream.Get(), TRUE), "Save");
        expectDone(persist->GetSizeMax(&most), "GetSizeMax");
        expect(persist->IsDirty() == S_FALSE, "the object is dirty after Save");
        expect(streamContent(stream.Get()) == record, "Save does not write the record as it was loaded");
        expect(most >= record.size(), "GetSizeMax tells {}, and Save writes {} bytes", most, record.size());
        const Subject other = context.make();
        expectDone(other.face<IPersistStreamInit>()->Load(createMemoryStream(record).Get()), "Load");
        expect(other.record() == record, "Load does not bring back what Save wrote");
        const auto stored = subject.face<IPersistStorage>(), otherStored = other.face<IPersistStorage>();
        expectDone(other.face<IPersistStreamInit>()->InitNew(), "InitNew");
        expect(other.record() == defaults, "InitNew does not bring back the default record");
        expectDone(stored->Save(storage.Get(), TRUE), "Save to a storage");
        expectDone(otherStored->Load(storage.Get()), "Load from a storage");
        expect(other.record() == record, "a storage does not bring back the record");

        const auto out = createMemoryStream(), from = createMemoryStream(defaults), to = createMemoryStream(record);
        expectDone(ramp->Interpolate(out.Get(), from.Get(), to.Get(), 0.5), "Interpolate");
        expect(subject.record() == record, "Interpolate changed the object's own record");
        if (!subject.isGenerator())
            expect(streamContent(out.Get()).size() == defaults.size(), "Interpolate writes a record of another size");

        // A stream that ends early may be an older form; of one that fails nothing can be taken for the whole.
        const std::size_t step = std::max<std::size_t>(1, record.size() / static_cast<std::size_t>(8 * context.rounds));
        for (std::size_t length = 0; length < record.size(); length += step)
            for (const bool fails : {false, true}) {
                const auto mean = [&] { return makeObject<MeanStream>(record, length, fails); };
                const auto what = fmt::format("of a stream that {} after {} of {} bytes", fails ? "fails" : "ends",
                                              length, record.size());
                const HRESULT loaded = persist->Load(streamOf(mean()));
                expect(FAILED(loaded) || !fails, "Load {} gave {}", what, told(loaded));
                subject.record();
                ramp->LoadParams(streamOf(mean()));
                subject.record();
                expectDone(subject.setRecord(record), "LoadParams after a stream that came short");
                if (!fails) continue;
                expectRefused(persist->Save(streamOf(mean()), FALSE), "Save " + what);
                expectRefused(ramp->SaveParams(streamOf(mean())), "SaveParams " + what);
                expect(subject.record() == record, "Save {} changed the record", what);
            }
    }
    // Whatever bytes a stream has, the object stands.
    for (int i = 0; i < context.rounds * 50; ++i) {
        Bytes noise(static_cast<std::size_t>(context.below(static_cast<int>(defaults.size()) * 2)));
        for (std::byte& byte : noise) byte = static_cast<std::byte>(context.random());
        if (context.below(2)) noise = wildRecord(context, records[context.random() % records.size()]);
        subject.setRecord(noise);
        ramp->SetRampRecords(createMemoryStream(noise).Get(), createMemoryStream(defaults).Get());
        ramp->SetRampOn(context.below(2));
        ramp->SetRampPos(context.below(5) - 1.5);
        subject.record();
    }
}

} // namespace larkmoor::validate
