// Every part of the contract that a host meets, by one that knows nothing of this project's headers.
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "frame/foreign_host.h"

namespace foreign {
namespace {

TEST_F(ForeignHost, ExportsAnswer) {
    auto* const walk =
        Function<Status(std::int32_t, Id*, Id*, char*, std::int32_t, void*, void*, void*)>("DllEnumObjects2");
    Id category{}, clsid{};
    char text[9] = "????????";
    EXPECT_EQ(0, walk(0, &category, &clsid, text, 8, nullptr, nullptr, nullptr));
    EXPECT_STREQ("Kestrel", text);
    EXPECT_FALSE(category == Id{} || clsid == Id{});
    EXPECT_EQ(1, walk(65, &category, &clsid, text, 8, nullptr, nullptr, nullptr));
    EXPECT_EQ(static_cast<Status>(0x80004001), Function<Status()>("DllRegisterServer")());
    EXPECT_EQ(0, Function<Status()>("DllUnregisterServer")());
}

TEST_F(ForeignHost, TheModuleLeavesTheProcess) {
    // A copy of the file, as others in this process may hold the module itself.
    const std::string path = testing::TempDir() + "module_to_unload.so";
    std::filesystem::copy_file(LARKMOOR_MODULE_FILE, path, std::filesystem::copy_options::overwrite_existing);
    void* const usual = std::exchange(m_library, dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL));
    ASSERT_TRUE(m_library) << dlerror();
    MakeInvert();
    Release(std::exchange(m_object, nullptr));
    EXPECT_EQ(0, Function<Status()>("DllCanUnloadNow")());
    dlclose(std::exchange(m_library, usual));
    EXPECT_EQ(nullptr, dlopen(path.c_str(), RTLD_NOW | RTLD_NOLOAD)) << "something pins it";
    std::filesystem::remove(path);
}

TEST_F(ForeignHost, PlacesTheClippedAreaAndNothingElse) {
    MakeInvert();
    struct {
        Bounds clip;
        int placeX, placeY; // of `placement`
        int inX, inY, w, h; // what is read
        int outX, outY;     // where it lands
    } const rows[] = {
        {BoundsOf(2, 3, 7, 9), 4, 1, 2, 3, 5, 6, 4, 1},
        {BoundsOf(-5, -5, 4, 4), 0, 0, 0, 0, 4, 4, 0, 0},
        {BoundsOf(8, 8, 40, 40), 15, 15, 8, 8, 3, 2, 15, 15}, // cut by the output's far corner
        {BoundsOf(0, 0, 20, 17), -3, -2, 3, 2, 17, 15, 0, 0}, // cut by its near corner
    };
    for (const auto& row : rows) {
        Surface in = MakeSurface(4, 0, 0, 20, 17), out = MakeSurface(4, 0, 0, 18, 17);
        for (int y = 0; y < 17; ++y)
            for (int x = 0; x < 20; ++x) {
                std::uint8_t* const p = in.At(x, y);
                p[0] = static_cast<std::uint8_t>(x), p[1] = static_cast<std::uint8_t>(y), p[3] = 255;
            }
        Vector place;
        place.axis[0] = row.placeX, place.axis[1] = row.placeY;
        ASSERT_EQ(0, BindSurfaces(&in, &out));
        ASSERT_EQ(0, Execute(&row.clip, &place));
        for (int y = 0; y < 17; ++y)
            for (int x = 0; x < 18; ++x) {
                const int dx = x - row.outX, dy = y - row.outY;
                const bool inside = dx >= 0 && dy >= 0 && dx < row.w && dy < row.h;
                const std::uint8_t* const p = out.At(x, y);
                ASSERT_EQ(inside ? 255 - (row.inX + dx) : 0, p[0]) << x << ", " << y;
                ASSERT_EQ(inside ? 255 - (row.inY + dy) : 0, p[1]) << x << ", " << y;
            }
        EXPECT_EQ(0, in.locks + out.locks);
        BindSurfaces(nullptr, nullptr);
        EXPECT_EQ(2, in.references + out.references);
    }
}

TEST_F(ForeignHost, TellsWhatIsWrong) {
    MakeInvert();
    Surface in = MakeSurface(4, 0, 0, 4, 4), out = MakeSurface(4, 0, 0, 4, 4);
    EXPECT_EQ(static_cast<Status>(0x887A0001), Execute());
    void* pair[2] = {&in, &in};
    void* target = &out;
    EXPECT_EQ(static_cast<Status>(0x80070057),
              Call(m_transform, 6, static_cast<void*>(pair), 2u, static_cast<void*>(&target), 1u, 0u));
    ASSERT_EQ(0, BindSurfaces(&in, &out));
    const Bounds outside = BoundsOf(10, 10, 20, 20);
    EXPECT_EQ(1, Execute(&outside));
    EXPECT_EQ(0, Call(m_transform, 7, &kUnknown, kNothing, kNothing)) << "a request where nobody takes tasks";
    Bounds wrongType = BoundsOf(0, 0, 4, 4);
    wrongType.type = 1;
    EXPECT_EQ(static_cast<Status>(0x80070057), Execute(&wrongType));
    EXPECT_EQ(static_cast<Status>(0x80004001), Call(m_transform, 13, 0.5f));
    std::uint32_t flags = 0;
    EXPECT_EQ(0, Call(m_transform, 11, &flags));
    EXPECT_EQ(0x06030003u, flags);
    EXPECT_EQ(static_cast<Status>(0x80070057), Call(m_transform, 10, 4u));
    BindSurfaces(nullptr, nullptr);
}

TEST_F(ForeignHost, WithoutAnInputTheOutputIsInvertedInPlace) {
    MakeInvert();
    SetAmount(0.25);
    Surface out = MakeSurface(4, 0, 0, 3, 3);
    void *none = nullptr, *target = &out;
    for (const unsigned inputs : {0u, 1u}) { // none at all, and one that is not connected
        for (auto& byte : out.memory) byte = 255;
        ASSERT_EQ(0, Call(m_transform, 6, static_cast<void*>(&none), inputs, static_cast<void*>(&target), 1u, 0u));
        ASSERT_EQ(0, Execute());
        EXPECT_EQ(0, out.At(1, 1)[0]);
        EXPECT_EQ(255, out.At(1, 1)[3]);
    }
    BindSurfaces(nullptr, nullptr);
}

TEST_F(ForeignHost, NullPointersGiveAStatus) {
    MakeInvert();
    constexpr auto kPointer = static_cast<Status>(0x80004003), kInvalid = static_cast<Status>(0x80070057);
    constexpr std::uintptr_t kOne = 1, kMost = 0xFFFFFFFF;
    const auto unknown = reinterpret_cast<std::uintptr_t>(&kUnknown);
    std::uintptr_t target = unknown;
    const auto out = reinterpret_cast<std::uintptr_t>(&target);
    void* const site = Query(m_object, kObjectWithSite);
    EXPECT_EQ(0, Call(site, 3, static_cast<void*>(nullptr)));
    EXPECT_EQ(static_cast<Status>(0x80004005), Call(site, 4, unknown, out)) << "none";
    Surface surface = MakeSurface(4, 0, 0, 2, 2);
    EXPECT_EQ(static_cast<Status>(0x887A0001), BindSurfaces(&surface, &surface)) << "no site";
    EXPECT_EQ(0, Call(site, 3, static_cast<void*>(&m_factory)));
    Release(site);

    // Arguments beyond those given are null.
    const struct {
        Id face;
        std::vector<int> slots;
        Status status;
        std::uintptr_t arguments[4]{};
    } rows[] = {{kUnknown, {0}, kPointer, {unknown}},
                {kUnknown, {0}, kInvalid, {0, out}},
                {kObjectWithSite, {4}, kPointer, {unknown}},
                {kObjectWithSite, {4}, kPointer, {0, out}},
                {kTransform, {3, 5, 8, 11}, kPointer},
                {kTransform, {6}, kInvalid, {0, kOne, 0, kOne}},
                {kTransform, {6}, kInvalid, {0, 0, 0, kOne}},
                {kTransform, {6}, kInvalid, {0, kMost, 0, kMost}},
                {kTransform, {8}, kInvalid, {0, kOne}},
                {kTransform, {9}, kInvalid},
                {kTransform, {12}, 0},
                {kInvertDual, {3, 4, 7, 8, 10, 11}, kPointer},
                {kInvertDual, {5}, kPointer, {unknown, 0, kOne}},
                {kInvertDual, {13, 14}, kInvalid, {0, 8}},
                {kInvertDual, {15}, 0},
                {kPersistStream, {3, 5}, kPointer},
                {kPersistStream, {7}, kInvalid},
                {kPersistStorage, {3, 6}, kPointer},
                {kPersistStorage, {7}, kPointer, {0, kOne}},
                {kPersistStorage, {5, 8}, 0}, // the storage of InitNew is not looked at
                {kPropertyBag, {3}, kPointer},
                {kRamp, {4, 5, 6, 7}, kPointer},
                {kRamp, {9}, 0},
                {kPresets, {3}, kInvalid},
                {kPresets, {4}, kInvalid, {0, 0, 8}},
                {kPresets, {4}, kInvalid, {0, out, kMost}},
                {kSpecifyPages, {3}, kPointer},
                {kInfo, {3}, kPointer, {0, 32}}};
    for (const auto& row : rows) {
        void* const face = Query(m_object, row.face);
        ASSERT_TRUE(face);
        const auto& a = row.arguments;
        for (const int slot : row.slots)
            EXPECT_EQ(row.status, Call(face, slot, a[0], a[1], a[2], a[3], kNothing, kNothing))
                << std::hex << row.face.a << " slot " << slot;
        Release(face);
    }
    EXPECT_EQ(0u, target) << "what is not found is null";
    void* factory = nullptr;
    ASSERT_EQ(0, GetClassObject(kInvert, &factory));
    EXPECT_EQ(kPointer, Call(factory, 3, kNothing, unknown, kNothing));
    target = unknown;
    for (const std::uintptr_t outer : {std::uintptr_t{0}, unknown})
        EXPECT_EQ(kInvalid, Call(factory, 3, outer, kNothing, out));
    EXPECT_EQ(0u, target);
    void* const presets = Query(m_object, kPresets);
    char16_t name[2] = {u'x', u'y'};
    EXPECT_EQ(0, Call(presets, 4, 0, static_cast<void*>(name), 1));
    EXPECT_EQ(std::u16string(u"\0y", 2), std::u16string(name, 2));
    Release(presets);
}

TEST_F(ForeignHost, PicturesReachTheEndsOfTheCoordinates) {
    MakeInvert();
    constexpr std::int32_t kLow = INT32_MIN, kHigh = INT32_MAX;
    Surface far = MakeSurface(4, kHigh - 6, kHigh - 5, 6, 5), near = MakeSurface(4, kLow, kLow, 6, 5);
    ASSERT_EQ(0, BindSurfaces(&far, &near));
    const Vector corner{0, 0, {kLow, kLow, 0, 0}, {}};
    *far.At(kHigh - 6, kHigh - 5) = 255;
    far.At(kHigh - 6, kHigh - 5)[3] = 255;
    EXPECT_EQ(0, Execute(nullptr, &corner));
    EXPECT_EQ(255, near.At(kLow, kLow)[1]);
    BindSurfaces(nullptr, nullptr);
}

TEST_F(ForeignHost, PresetsRampsAndStreams) {
    MakeInvert();
    void* const presets = Query(m_object, kPresets);
    std::int32_t count = 0;
    ASSERT_EQ(0, Call(presets, 3, &count));
    EXPECT_EQ(4, count);
    char16_t name[6];
    EXPECT_EQ(0, Call(presets, 4, 1, static_cast<char16_t*>(name), 6));
    EXPECT_EQ(std::u16string(u"60% I"), name);
    EXPECT_EQ(static_cast<Status>(0x80070057), Call(presets, 5, 4));
    ASSERT_EQ(0, Call(presets, 5, 1));
    EXPECT_EQ(0.6, Amount());
    Release(presets);

    void* const persist = Query(m_object, kPersistStream);
    Stream saved = StreamOf(0);
    saved.bytes.clear();
    EXPECT_EQ(0, Call(persist, 4)) << "dirty after a preset";
    ASSERT_EQ(0, Call(persist, 6, static_cast<void*>(&saved), 1));
    EXPECT_EQ(1, Call(persist, 4));
    ASSERT_EQ(8u, saved.bytes.size());
    SetAmount(0.1);
    ASSERT_EQ(0, Call(persist, 5, static_cast<void*>(&saved)));
    EXPECT_EQ(0.6, Amount());
    std::uint64_t size = 0;
    EXPECT_EQ(0, Call(persist, 7, &size));
    EXPECT_EQ(8u, size);
    EXPECT_EQ(0, Call(persist, 8));
    EXPECT_EQ(1.0, Amount());
    Release(persist);

    void* const ramp = Query(m_object, kRamp);
    Stream from = StreamOf(0.25), to = StreamOf(0.75), between = StreamOf(0);
    between.bytes.clear();
    ASSERT_EQ(0, Call(ramp, 6, static_cast<void*>(&between), static_cast<void*>(&from), static_cast<void*>(&to), 0.5));
    double half = 0;
    std::memcpy(&half, between.bytes.data(), 8);
    EXPECT_EQ(0.5, half);
    from.at = to.at = 0;
    ASSERT_EQ(0, Call(ramp, 7, static_cast<void*>(&from), static_cast<void*>(&to)));
    ASSERT_EQ(0, Call(ramp, 3, 1));
    ASSERT_EQ(0, Call(ramp, 8, 1.5)); // beyond the end: not clamped, so the full negative
    Surface in = MakeSurface(4, 0, 0, 1, 1), out = MakeSurface(4, 0, 0, 1, 1);
    in.memory = {0, 100, 255, 255};
    ASSERT_EQ(0, BindSurfaces(&in, &out));
    ASSERT_EQ(0, Execute());
    EXPECT_EQ((std::vector<std::uint8_t>{255, 155, 0, 255}), out.memory);
    Release(ramp);
    BindSurfaces(nullptr, nullptr);
}

TEST_F(ForeignHost, IdentityBlocksAndPages) {
    MakeInvert();
    EXPECT_EQ(m_dual, Query(m_object, kDispatch));
    EXPECT_EQ(m_dual, Query(m_object, kEffect));
    void* const same = Query(m_dual, kUnknown);
    EXPECT_EQ(m_object, same);
    for (int i = 0; i < 3; ++i) Release(m_object);

    void* const info = Query(m_object, kInfo);
    struct {
        std::int32_t kind, zero;
        double weight;
        std::int32_t least, most;
        std::uint32_t flags, zero2;
    } block{};
    ASSERT_EQ(0, Call(info, 3, static_cast<void*>(&block), 64u));
    EXPECT_EQ(2, block.kind);
    EXPECT_EQ(1.0, block.weight);
    EXPECT_EQ(0, block.least);
    EXPECT_EQ(1, block.most);
    EXPECT_EQ(0xC1u, block.flags);
    Release(info);

    void* const pages = Query(m_object, kSpecifyPages);
    struct {
        std::uint32_t count;
        Id* ids;
    } list{};
    ASSERT_EQ(0, Call(pages, 3, static_cast<void*>(&list)));
    ASSERT_EQ(1u, list.count);
    EXPECT_EQ(0x1D734F6Du, list.ids[0].a);
    std::free(list.ids);
    Release(pages);
}

TEST_F(ForeignHost, AnEffectWithoutARecordStillAnswers) {
    m_object = Create(kAdditiveDissolve, kUnknown);
    EXPECT_EQ(nullptr, Query(m_object, kPersistStream));
    EXPECT_EQ(nullptr, Query(m_object, kRamp));
    EXPECT_EQ(nullptr, Query(m_object, kPresets));
    void* const bag = Query(m_object, kPropertyBag);
    EXPECT_EQ(0, Call(bag, 4));
    Release(bag);
    void* const dual = Query(m_object, kEffect);
    std::uint8_t byte = 7;
    EXPECT_EQ(0, Call(dual, 13, static_cast<void*>(&byte), -1));
    EXPECT_EQ(7, byte);
    EXPECT_EQ(0, Call(dual, 14, static_cast<void*>(&byte), INT32_MAX));
    Release(dual);
    void* const storage = Query(m_object, kPersistStorage);
    EXPECT_EQ(static_cast<Status>(0x80004005), Call(storage, 5, static_cast<void*>(nullptr)));
    Release(storage);
}

TEST_F(ForeignHost, CallsByName) {
    MakeInvert();
    struct Variant {
        std::uint16_t type, reserved[3];
        union {
            float real;
            double wide;
            void* pointer;
            std::int32_t whole;
        };
        void* second;
    };
    struct {
        Variant* arguments;
        std::int32_t* names;
        std::uint32_t count, namedCount;
    } params{};
    const auto idOf = [&](const char16_t* name) {
        char16_t* names = const_cast<char16_t*>(name);
        std::int32_t id = -7;
        const Status status = Call(m_dual, 5, &kUnknown, static_cast<void*>(&names), 1u, 0u, &id);
        return status == 0 ? id : status;
    };
    const auto invoke = [&](std::int32_t id, std::uint16_t flags, Variant* result) {
        return Call(m_dual, 6, id, &kUnknown, 0u, flags, static_cast<void*>(&params), static_cast<void*>(result),
                    static_cast<void*>(nullptr), static_cast<void*>(nullptr));
    };
    Variant argument{4, {}, {.real = 0.5f}, nullptr}, result{};
    std::int32_t put = -3;
    params = {&argument, &put, 1, 1};
    ASSERT_EQ(0, invoke(idOf(u"progress"), 4, nullptr));
    params = {};
    ASSERT_EQ(0, invoke(idOf(u"Progress"), 2, &result));
    EXPECT_EQ(4, result.type);
    EXPECT_EQ(0.5f, result.real);
    float byReference = 0;
    argument = {0x4004, {}, {.pointer = &byReference}, nullptr};
    params = {&argument, nullptr, 1, 0};
    ASSERT_EQ(0, invoke(idOf(u"Progress"), 2, nullptr));
    EXPECT_EQ(0.5f, byReference);

    double amount = 0.375;
    Variant block[2]{{3, {}, {.whole = 8}, nullptr}, {0x4005, {}, {.pointer = &amount}, nullptr}}; // last to first
    params = {block, &put, 2, 1};
    ASSERT_EQ(0, invoke(idOf(u"put_all"), 4, nullptr));
    EXPECT_EQ(0.375, Amount());
    amount = 0;
    params = {block, nullptr, 2, 0};
    ASSERT_EQ(0, invoke(idOf(u"all"), 2, nullptr));
    EXPECT_EQ(0.375, amount);
    // The id of a window message keeps all 32 bits.
    struct Window {
        void (*post)(void* self, std::uint32_t message, std::uintptr_t wParam, std::intptr_t lParam);
        std::uintptr_t id;
    } window{[](void* self, std::uint32_t, std::uintptr_t id, std::intptr_t) { static_cast<Window*>(self)->id = id; },
             0};
    block[0] = {19, {}, {.whole = -2}, nullptr};
    block[1] = {21, {}, {.pointer = &window}, nullptr};
    params = {block, nullptr, 2, 0};
    ASSERT_EQ(0, invoke(idOf(u"put_NotifyWindow"), 1, nullptr));
    void* const presets = Query(m_object, kPresets);
    Call(presets, 5, 0);
    Release(presets);
    EXPECT_EQ(0xFFFFFFFEu, window.id);
}

} // namespace
} // namespace foreign
