// The lock of an object's record, which no call of the host's meets.
#include <gtest/gtest.h>

#include <functional>
#include <future>

#include "frame/made.h"
#include "host/object.h"
#include "platform/page.h"

namespace {

/// Waits, within its call, for another thread that reads the record.
class CReadingSink final : public larkmoor::ObjectOf<IKwParamSink> {
  public:
    IKwEffect* effect = nullptr;
    int calls = 0;

    HRESULT OnParamsChanged() override { return ReadElsewhere(); }
    HRESULT ReadElsewhere() {
        ++calls;
        std::byte record[64];
        return std::async(std::launch::async, [&] { return effect->get_all(record, sizeof record); }).get();
    }
};

/// The same for a stream, and for a window that is posted to.
class CReadingStream final : public larkmoor::ObjectOf<ISequentialStream> {
  public:
    CReadingSink* reader = nullptr;
    HRESULT Read(void*, ULONG, ULONG* got) override {
        *got = 0;
        return reader->ReadElsewhere();
    }
    HRESULT Write(const void*, ULONG, ULONG* put) override {
        *put = 0;
        return reader->ReadElsewhere();
    }
};
struct tReadingWindow : tMessageTarget {
    CReadingSink* reader;
    explicit tReadingWindow(CReadingSink* r)
        : tMessageTarget{[](void* self, UINT, std::uintptr_t, std::intptr_t) {
              static_cast<tReadingWindow*>(static_cast<tMessageTarget*>(self))->reader->ReadElsewhere();
          }},
          reader(r) {}
};

TEST(ParamLock, IsHeldInNoCallOfTheHost) {
    const auto object = Made(KwObjectMap()[7].className);
    const auto effect = KwReceived<IKwEffect>([&](void** out) {
        tClassInfo info{};
        KwQuery<IKwParamInfo>(object.Get())->GetClassInfo(&info, sizeof info);
        return object->QueryInterface(&info.iid, out);
    });
    const auto sink = larkmoor::makeObject<CReadingSink>();
    sink->effect = effect.Get();
    tReadingWindow window(sink.Get());
    const auto stream = larkmoor::makeObject<CReadingStream>();
    stream->reader = sink.Get();
    auto* const host = reinterpret_cast<IStream*>(static_cast<ISequentialStream*>(stream.Get())); // reads and writes
    const auto ramp = KwQuery<IKwParamRamp>(object.Get());
    const auto persist = KwQuery<IPersistStreamInit>(object.Get());
    ramp->SetParamSink(sink.Get());
    effect->put_NotifyWindow(&window, 1);
    const struct {
        const char* name;
        int calls; ///< of stream, window and sink together
        std::function<HRESULT()> call;
    } rows[] = {
        {"Load", 3, [&] { return persist->Load(host); }},
        {"Save", 2, [&] { return persist->Save(host, TRUE); }},
        {"InitNew", 2, [&] { return persist->InitNew(); }},
        {"SaveParams", 1, [&] { return ramp->SaveParams(host); }},
        {"LoadParams", 2, [&] { return ramp->LoadParams(host); }},
        {"SetRampRecords", 2, [&] { return ramp->SetRampRecords(host, host); }},
        {"Apply", 2, [&] { return KwQuery<IKwPresets>(object.Get())->Apply(0); }},
        {"put_all", 1, [&] { return effect->put_all(&window, 0); }},
    };
    for (const auto& row : rows) {
        sink->calls = 0;
        EXPECT_EQ(row.call(), S_OK) << row.name;
        EXPECT_EQ(sink->calls, row.calls) << row.name;
    }
    effect->put_NotifyWindow(nullptr, 0);
    ramp->SetParamSink(nullptr);
}

} // namespace
