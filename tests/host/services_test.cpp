#include "host/services.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <latch>
#include <mutex>
#include <set>
#include <thread>

#include "host/error.h"
#include "host/surface.h"

namespace larkmoor {
namespace {

std::vector<std::byte> bytesOf(std::string_view text) {
    const auto* const first = reinterpret_cast<const std::byte*>(text.data());
    return {first, first + text.size()};
}

template <class T>
CComPtr<T> serviceOf(IDXTransformFactory* factory, const GUID& service) {
    CComPtr<T> found;
    EXPECT_EQ(factory->QueryService(&service, &T::iid, found.ReceiveVoid()), S_OK);
    return found;
}

TEST(HostFactory, HandsOutItsServices) {
    const auto factory = createTransformFactory(3);
    const auto surfaces = serviceOf<IDXSurfaceFactory>(factory.Get(), IDXSurfaceFactory::iid);
    const auto tasks = serviceOf<IDXTaskManager>(factory.Get(), SID_SDXTaskManager);
    ULONG processors = 0;
    EXPECT_EQ(tasks->QueryNumProcessors(&processors), S_OK);
    EXPECT_EQ(processors, 3u);
    EXPECT_NE(serviceOf<IDXSurfaceModifier>(factory.Get(), CLSID_DXSurfaceModifier).Get(),
              serviceOf<IDXSurfaceModifier>(factory.Get(), CLSID_DXSurfaceModifier).Get());
    CComPtr<IDXSurfaceModifier> modifier;
    EXPECT_EQ(factory->CreateTransform(nullptr, 0, nullptr, 0, nullptr, nullptr, &CLSID_DXSurfaceModifier,
                                       &IDXSurfaceModifier::iid, modifier.ReceiveVoid()),
              S_OK);
    void* out = &processors;
    EXPECT_TRUE(FAILED(
        factory->CreateTransform(nullptr, 0, nullptr, 0, nullptr, nullptr, &IDXSurface::iid, &IUnknown::iid, &out)));
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(factory->QueryService(&IDXSurface::iid, &IUnknown::iid, &out), E_NOINTERFACE);
    EXPECT_EQ(factory->QueryService(nullptr, &IUnknown::iid, &out), E_POINTER);
}

TEST(HostFactory, TakesServicesOfTheUser) {
    const auto factory = createTransformFactory();
    const auto stream = createMemoryStream();
    ASSERT_EQ(factory->SetService(&SID_SDXTaskManager, stream.Get(), FALSE), S_OK);
    EXPECT_EQ(serviceOf<IStream>(factory.Get(), SID_SDXTaskManager).Get(), stream.Get());
    const ULONG references = stream->AddRef();
    EXPECT_EQ(references, 3u);
    stream->Release();
    ASSERT_EQ(factory->SetService(&SID_SDXTaskManager, stream.Get(), TRUE), S_OK);
    EXPECT_EQ(stream->AddRef(), 2u) << "a weak service is not counted";
    stream->Release();
    ASSERT_EQ(factory->SetService(&SID_SDXTaskManager, nullptr, FALSE), S_OK);
    void* out = nullptr;
    EXPECT_EQ(factory->QueryService(&SID_SDXTaskManager, &IUnknown::iid, &out), E_NOINTERFACE);
}

TEST(HostFactory, MakesSurfaces) {
    const auto surfaces = serviceOf<IDXSurfaceFactory>(createTransformFactory().Get(), IDXSurfaceFactory::iid);
    const auto create = [&](const GUID* format, LONG width, LONG height, CComPtr<IDXSurface>& surface) {
        DXBNDS bounds{};
        bounds.Axis[0] = {3, 3 + width};
        bounds.Axis[1] = {4, 4 + height};
        return surfaces->CreateSurface(nullptr, nullptr, format, &bounds, 0, nullptr, &IDXSurface::iid,
                                       surface.ReceiveVoid());
    };
    CComPtr<IDXSurface> surface;
    ASSERT_EQ(create(&KWPF_FLOAT128, 7, 2, surface), S_OK);
    GUID format{};
    DWORD sampleFormat = 0;
    EXPECT_EQ(surface->GetPixelFormat(&format, &sampleFormat), S_OK);
    EXPECT_EQ(format, KWPF_FLOAT128);
    EXPECT_EQ(sampleFormat & (DXSAMPLE_TRANSLUCENT | DXSAMPLE_DITHER_MASK), DXSAMPLE_TRANSLUCENT);
    EXPECT_EQ(create(&SID_SDXTaskManager, 7, 2, surface), E_INVALIDARG);
    EXPECT_EQ(create(nullptr, 0, 2, surface), E_INVALIDARG);
    EXPECT_EQ(create(nullptr, 1 << 26, 1 << 30, surface), E_OUTOFMEMORY);
}

TEST(HostTasks, RunAllAndReturnAfterTheLast) {
    for (const unsigned processors : {0u, 1u, 4u}) {
        const auto manager = serviceOf<IDXTaskManager>(createTransformFactory(processors).Get(), SID_SDXTaskManager);
        ULONG reported = 0;
        manager->QueryNumProcessors(&reported);
        EXPECT_EQ(reported, processors ? processors : std::max(1u, std::thread::hardware_concurrency()));
        struct Work {
            std::atomic<int> runs{0};
            BOOL goOn = FALSE;
        };
        std::vector<Work> works(64);
        std::vector<DXTASKINFO> tasks;
        for (Work& work : works)
            tasks.push_back({[](void* data, BOOL* goOn) {
                                 auto& mine = *static_cast<Work*>(data);
                                 mine.goOn = *goOn;
                                 ++mine.runs;
                             },
                             &work, nullptr, 0, nullptr});
        std::vector<DWORD> ids(works.size());
        EXPECT_EQ(manager->ScheduleTasks(tasks.data(), nullptr, ids.data(), 64, UINT32_MAX), S_OK);
        for (const Work& work : works) {
            EXPECT_EQ(work.runs, 1);
            EXPECT_EQ(work.goOn, TRUE);
        }
        std::sort(ids.begin(), ids.end());
        EXPECT_EQ(std::unique(ids.begin(), ids.end()), ids.end());
        tasks[40].pfnTaskProc = nullptr;
        EXPECT_EQ(manager->ScheduleTasks(tasks.data(), nullptr, nullptr, 64, 0), E_INVALIDARG);
        EXPECT_EQ(works[0].runs, 1);
        EXPECT_EQ(manager->ScheduleTasks(nullptr, nullptr, nullptr, 2, 0), E_POINTER);

        IKwWorkers* workers = nullptr;
        ASSERT_EQ(manager->QueryInterface(&IKwWorkers::iid, reinterpret_cast<void**>(&workers)), S_OK);
        const auto piece = [](void* data, ULONG i) { ++static_cast<Work*>(data)[i].runs; };
        EXPECT_EQ(workers->RunPieces(piece, works.data(), 64), S_OK);
        EXPECT_TRUE(std::ranges::all_of(works, [](const Work& work) { return work.runs == 2; }));
        EXPECT_EQ(workers->RunPieces(nullptr, nullptr, 1), E_POINTER);
        workers->Release();
        EXPECT_EQ(manager->ScheduleTasks(nullptr, nullptr, nullptr, 0, 0), S_OK);
    }
}

TEST(HostTasks, RunAtOnceUnlessLimited) {
    struct Meeting {
        std::latch all{3};
        std::set<std::thread::id> threads;
        std::mutex lock;
    } meeting;
    const auto manager = serviceOf<IDXTaskManager>(createTransformFactory(3).Get(), SID_SDXTaskManager);
    const auto run = [&](void (*task)(void*, BOOL*)) {
        std::vector<DXTASKINFO> tasks(3, {task, &meeting, nullptr, 0, nullptr});
        EXPECT_EQ(manager->ScheduleTasks(tasks.data(), nullptr, nullptr, 3, 0), S_OK);
    };
    run([](void* data, BOOL*) { static_cast<Meeting*>(data)->all.arrive_and_wait(); });
    manager->SetConcurrencyLimit(1);
    run([](void* data, BOOL*) {
        auto& [all, threads, lock] = *static_cast<Meeting*>(data);
        const std::scoped_lock guard(lock);
        threads.insert(std::this_thread::get_id());
    });
    EXPECT_THAT(meeting.threads, testing::ElementsAre(std::this_thread::get_id()));
}

TEST(HostStream, ReadsWritesAndSeeks) {
    const auto stream = createMemoryStream(bytesOf("abcdef"));
    char text[8] = "-------";
    ULONG got = 9;
    EXPECT_EQ(stream->Read(text, 4, &got), S_OK);
    EXPECT_EQ(stream->Read(text + 4, 4, &got), S_FALSE);
    EXPECT_EQ(got, 2u);
    EXPECT_EQ(std::string_view(text, 7), "abcdef-");
    EXPECT_EQ(stream->Read(text, 1, nullptr), S_FALSE);

    std::uint64_t position = 0;
    EXPECT_EQ(stream->Seek(-2, 2, &position), S_OK);
    EXPECT_EQ(position, 4u);
    EXPECT_TRUE(FAILED(stream->Seek(-5, 1, nullptr)));
    EXPECT_TRUE(FAILED(stream->Seek(INT64_MIN, 1, nullptr)));
    EXPECT_TRUE(FAILED(stream->Seek(INT64_MAX, 2, nullptr)));
    EXPECT_TRUE(FAILED(stream->Seek(0, 3, nullptr)));
    EXPECT_EQ(stream->Write("XYZ", 3, &got), S_OK);
    EXPECT_EQ(streamContent(stream.Get()), bytesOf("abcdXYZ"));

    // Writing behind the end leaves zeros between; a clone shares the bytes and has a position of its own.
    CComPtr<IStream> clone;
    ASSERT_EQ(stream->Clone(clone.Receive()), S_OK);
    EXPECT_EQ(stream->Seek(9, 0, nullptr), S_OK);
    EXPECT_EQ(stream->Write("!", 1, nullptr), S_OK);
    EXPECT_EQ(streamContent(clone.Get()), bytesOf(std::string_view("abcdXYZ\0\0!", 10)));
    EXPECT_EQ(clone->Read(text, 3, &got), S_OK);
    EXPECT_EQ(std::memcmp(text, "\0\0!", 3), 0);

    EXPECT_EQ(stream->SetSize(2), S_OK);
    EXPECT_EQ(clone->Read(text, 3, &got), S_FALSE);
    EXPECT_EQ(got, 0u);
    EXPECT_TRUE(FAILED(stream->SetSize(UINT64_MAX)));
    EXPECT_EQ(clone->Seek(0, 0, nullptr), S_OK);
    std::uint64_t read = 0, written = 0;
    EXPECT_EQ(clone->CopyTo(stream.Get(), UINT64_MAX, &read, &written), S_OK);
    EXPECT_EQ(read, 2u);
    EXPECT_EQ(written, 2u);
}

TEST(HostStream, KnowsItsOwnMake) {
    EXPECT_THROW(streamContent(nullptr), Error);
    const Surface surface = Surface::create(PixelFormat::Argb32, 1, 1);
    EXPECT_TRUE(KwQuery<ISequentialStream>(createMemoryStream().Get()));
    EXPECT_FALSE(KwQuery<IStream>(surface.get()));
}

TEST(HostStorage, KeepsNamedStreams) {
    const auto storage = createMemoryStorage();
    CComPtr<IStream> stream;
    EXPECT_TRUE(FAILED(storage->OpenStream(u"Contents", nullptr, 16, 0, stream.Receive())));
    ASSERT_EQ(storage->CreateStream(u"Contents", 0x1012, 0, 0, stream.Receive()), S_OK);
    stream->Write("abc", 3, nullptr);
    ASSERT_EQ(storage->OpenStream(u"Contents", nullptr, 16, 0, stream.Receive()), S_OK);
    EXPECT_EQ(streamContent(stream.Get()), bytesOf("abc"));
    EXPECT_TRUE(FAILED(stream->Write("x", 1, nullptr))) << "opened for reading";
    CComPtr<IStream> other;
    EXPECT_TRUE(FAILED(storage->CreateStream(u"Contents", 0x12, 0, 0, other.Receive())));
    ASSERT_EQ(storage->CreateStream(u"Contents", 0x1012, 0, 0, other.Receive()), S_OK);
    EXPECT_TRUE(streamContent(other.Get()).empty());
    EXPECT_EQ(storage->RenameElement(u"Contents", u"Old"), S_OK);
    EXPECT_EQ(storage->DestroyElement(u"Old"), S_OK);
    EXPECT_TRUE(FAILED(storage->DestroyElement(u"Old")));
}

TEST(HostMessages, AreQueuedInOrderFromAnyThread) {
    MessageQueue queue;
    const HWND window = &queue;
    {
        std::vector<std::jthread> threads;
        for (UINT t = 0; t < 4; ++t)
            threads.emplace_back([=] {
                for (std::intptr_t i = 0; i < 100; ++i) window->post(window, WM_COMMAND, t, i);
            });
    }
    const auto messages = queue.take();
    ASSERT_EQ(messages.size(), 400u);
    std::intptr_t next[4] = {};
    for (const auto& message : messages) {
        EXPECT_EQ(message.message, WM_COMMAND);
        EXPECT_EQ(message.lParam, next[message.wParam]++);
    }
    EXPECT_TRUE(queue.take().empty());
}

} // namespace
} // namespace larkmoor
