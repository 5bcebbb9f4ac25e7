// A host that knows nothing of this project's headers: it builds its own tables of operations, slot by slot, and calls
// the module's by slot number. What breaks here breaks every host in the field.
#pragma once

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <vector>

namespace foreign {

struct Id {
    std::uint32_t a;
    std::uint16_t b, c;
    std::uint8_t d[8];
    friend bool operator==(const Id& x, const Id& y) { return std::memcmp(&x, &y, 16) == 0; }
};
using Status = std::int32_t;

constexpr Id kUnknown{0, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
constexpr Id kFactory{1, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
constexpr Id kTransform{0x30A5FB78, 0xE11F, 0x11D1, {0x90, 0x64, 0x00, 0xC0, 0x4F, 0xD9, 0x18, 0x9D}};
constexpr Id kBaseObject{0x17B59B2B, 0x9CC8, 0x11D1, {0x90, 0x53, 0x00, 0xC0, 0x4F, 0xD9, 0x18, 0x9D}};
constexpr Id kObjectWithSite{0xFC4801A3, 0x2BA9, 0x11CF, {0xA2, 0x29, 0x00, 0xAA, 0x00, 0x3D, 0x73, 0x52}};
constexpr Id kInvert{0xC3062BE7, 0xE69D, 0x11D1, {0x9A, 0xA9, 0x00, 0xA0, 0xC9, 0x9B, 0x12, 0xC5}};
constexpr Id kInvertDual{0xC3062BE2, 0xE69D, 0x11D1, {0x9A, 0xA9, 0x00, 0xA0, 0xC9, 0x9B, 0x12, 0xC5}};
constexpr Id kPresets{0x36A22460, 0x0CC9, 0x11D0, {0x85, 0x74, 0x00, 0xA0, 0xC9, 0x05, 0x39, 0x12}};
constexpr Id kRamp{0x8D506FC4, 0x9541, 0x11D2, {0x96, 0x01, 0x00, 0xC0, 0x4F, 0x8E, 0xDC, 0x2D}};
constexpr Id kInfo{0x709BA0D3, 0xF965, 0x11D1, {0x9A, 0xA9, 0x00, 0xA0, 0xC9, 0x9B, 0x12, 0xC5}};
constexpr Id kPersistStream{0x7FD52380, 0x4E07, 0x101B, {0xAE, 0x2D, 0x08, 0x00, 0x2B, 0x2E, 0xC7, 0x13}};
constexpr Id kPersistStorage{0x0000010A, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
constexpr Id kPropertyBag{0x37D84F60, 0x42CB, 0x11CE, {0x81, 0x35, 0x00, 0xAA, 0x00, 0x4B, 0xB8, 0x51}};
constexpr Id kAdditiveDissolve{0x5B934F21, 0x5251, 0x11D2, {0x95, 0xCC, 0x00, 0xC0, 0x4F, 0x8E, 0xDC, 0x2D}};
constexpr Id kSpecifyPages{0xB196B28B, 0xBAB4, 0x101A, {0xB6, 0x9C, 0x00, 0xAA, 0x00, 0x34, 0x1D, 0x07}};
constexpr Id kDispatch{0x00020400, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
constexpr Id kEffect{0xE31FB81B, 0x1335, 0x11D1, {0x81, 0x89, 0x00, 0x00, 0xF8, 0x75, 0x57, 0xDB}};
constexpr Id kTransformFactory{0x6A950B2B, 0xA971, 0x11D1, {0x81, 0xC8, 0x00, 0x00, 0xF8, 0x75, 0x57, 0xDB}};
constexpr Id kSurface{0xB39FD73F, 0xE139, 0x11D1, {0x90, 0x65, 0x00, 0xC0, 0x4F, 0xD9, 0x18, 0x9D}};
constexpr Id kPremultiplied{0xBBF7D403, 0x143F, 0x11D1, {0xB5, 0x0A, 0x00, 0x00, 0xF8, 0x75, 0x6A, 0x10}};
constexpr Id kFloat{0xEC385932, 0x2D38, 0x11D2, {0x99, 0xD3, 0x00, 0xC0, 0x4F, 0x8E, 0xDC, 0x2D}};
constexpr Id kRead{0xEAAAC2D6, 0xC290, 0x11D1, {0x90, 0x5D, 0x00, 0xC0, 0x4F, 0xD9, 0x18, 0x9D}};
constexpr Id kWrite{0xEAAAC2D7, 0xC290, 0x11D1, {0x90, 0x5D, 0x00, 0xC0, 0x4F, 0xD9, 0x18, 0x9D}};
constexpr Id kFloatRead{0xEC385924, 0x2D38, 0x11D2, {0x99, 0xD3, 0x00, 0xC0, 0x4F, 0x8E, 0xDC, 0x2D}};
constexpr Id kFloatWrite{0xEC385927, 0x2D38, 0x11D2, {0x99, 0xD3, 0x00, 0xC0, 0x4F, 0x8E, 0xDC, 0x2D}};

constexpr std::uintptr_t kNothing = 0; // a null pointer or number

/// Anything with a table of operations.
struct Object {
    void* const* table;
};

template <class R = Status, class... A>
R Call(void* object, int slot, A... arguments) {
    return reinterpret_cast<R (*)(void*, A...)>(static_cast<Object*>(object)->table[slot])(object, arguments...);
}

inline void* Query(void* object, const Id& id) {
    void* out = nullptr;
    return Call(object, 0, &id, &out) == 0 ? out : nullptr;
}
inline void Release(void* object) {
    Call<std::uint32_t>(object, 2);
}

template <class F>
void* Slot(F* function) {
    return reinterpret_cast<void*>(function);
}

struct Bounds {
    std::int32_t type = 0, padding = 0, axis[4][2]{{0, 0}, {0, 0}, {0, 1}, {0, 1}}, spare[8]{};
};
inline Bounds BoundsOf(int left, int top, int right, int bottom) {
    Bounds b;
    b.axis[0][0] = left, b.axis[0][1] = right, b.axis[1][0] = top, b.axis[1][1] = bottom;
    return b;
}
struct Vector {
    std::int32_t type = 0, padding = 0, axis[4]{}, spare[4]{};
};

// A surface and the pointer object that its lock hands out.
struct Surface;
struct Pointer : Object {
    Surface* surface;
    std::uint8_t* first;
};
struct Surface : Object {
    int left, top, width, height, pixelBytes;
    std::vector<std::uint8_t> memory;
    int references = 1, locks = 0;
    std::vector<Pointer*> pointers;

    std::uint8_t* At(int x, int y) { return memory.data() + ((y - top) * width + x - left) * pixelBytes; }
};

struct NativeType {
    void *current, *first;
    std::int32_t pitch;
    std::uint32_t key;
};

inline Status NotImplemented() {
    return static_cast<Status>(0x80004001);
}

inline Status PointerQuery(void*, const Id*, void** out) {
    return *out = nullptr, static_cast<Status>(0x80004002);
}
inline std::uint32_t PointerAddRef(void*) {
    return 2;
}
inline std::uint32_t PointerRelease(void* self) {
    auto* const p = static_cast<Pointer*>(self);
    --p->surface->locks;
    delete p;
    return 0;
}
inline std::uint32_t PointerNative(void* self, NativeType* out) {
    auto* const p = static_cast<Pointer*>(self);
    *out = {p->first, p->first, p->surface->width * p->surface->pixelBytes, 0};
    return 0x00020000;
}
inline void* const kPointerTable[] = {Slot(PointerQuery),   Slot(PointerAddRef),  Slot(PointerRelease),
                                      Slot(NotImplemented), Slot(PointerNative),  Slot(NotImplemented),
                                      Slot(NotImplemented), Slot(NotImplemented), Slot(NotImplemented)};

inline Status SurfaceQuery(void* self, const Id* id, void** out) {
    auto* const s = static_cast<Surface*>(self);
    *out = *id == kUnknown || *id == kSurface || *id == kBaseObject ? self : nullptr;
    if (!*out) return static_cast<Status>(0x80004002);
    ++s->references;
    return 0;
}
inline std::uint32_t SurfaceAddRef(void* self) {
    return static_cast<std::uint32_t>(++static_cast<Surface*>(self)->references);
}
inline std::uint32_t SurfaceRelease(void* self) {
    return static_cast<std::uint32_t>(--static_cast<Surface*>(self)->references);
}
inline Status SurfaceGeneration(void*, std::uint32_t* out) {
    return *out = 7, 0;
}
inline Status SurfaceFormat(void* self, Id* format, std::uint32_t* samples) {
    *format = static_cast<Surface*>(self)->pixelBytes == 4 ? kPremultiplied : kFloat;
    *samples = 0x00020000;
    return 0;
}
inline Status SurfaceBounds(void* self, Bounds* out) {
    auto* const s = static_cast<Surface*>(self);
    *out = BoundsOf(s->left, s->top, s->left + s->width, s->top + s->height);
    return 0;
}
inline Status SurfaceLock(void* self, const Bounds* bounds, std::uint32_t, std::uint32_t flags, const Id* id,
                          void** out, std::uint32_t*) {
    auto* const s = static_cast<Surface*>(self);
    const Id wanted = s->pixelBytes == 4 ? (flags ? kWrite : kRead) : (flags ? kFloatWrite : kFloatRead);
    if (!(*id == wanted)) return static_cast<Status>(0x80004002);
    const auto& [x, y] = std::pair(bounds->axis[0], bounds->axis[1]);
    if (x[0] < s->left || x[1] > s->left + s->width || y[0] < s->top || y[1] > s->top + s->height)
        return static_cast<Status>(0x80070057);
    auto* const p = new Pointer;
    p->table = kPointerTable;
    p->surface = s;
    p->first = s->At(bounds->axis[0][0], bounds->axis[1][0]);
    ++s->locks;
    *out = p;
    return 0;
}
inline void* const kSurfaceTable[] = {
    Slot(SurfaceQuery),   Slot(SurfaceAddRef),  Slot(SurfaceRelease), Slot(SurfaceGeneration), Slot(NotImplemented),
    Slot(NotImplemented), Slot(SurfaceFormat),  Slot(SurfaceBounds),  Slot(NotImplemented),    Slot(NotImplemented),
    Slot(SurfaceLock),    Slot(NotImplemented), Slot(NotImplemented), Slot(NotImplemented),    Slot(NotImplemented),
    Slot(NotImplemented), Slot(NotImplemented)};

// A transform factory with no service at all: a complete host still.
inline Status FactoryQuery(void* self, const Id* id, void** out) {
    *out = *id == kUnknown || *id == kTransformFactory ? self : nullptr;
    return *out ? 0 : static_cast<Status>(0x80004002);
}
inline std::uint32_t FactoryCount(void*) {
    return 1;
}
inline Status FactoryService(void*, const Id*, const Id*, void** out) {
    return *out = nullptr, static_cast<Status>(0x80004002);
}
inline void* const kFactoryTable[] = {Slot(FactoryQuery),   Slot(FactoryCount),   Slot(FactoryCount),
                                      Slot(FactoryService), Slot(NotImplemented), Slot(NotImplemented),
                                      Slot(NotImplemented)};

// A stream over a vector.
struct Stream : Object {
    std::vector<std::uint8_t> bytes;
    std::size_t at = 0;
};
inline Status StreamRead(void* self, void* target, std::uint32_t count, std::uint32_t* got) {
    auto* const s = static_cast<Stream*>(self);
    const std::size_t n = std::min<std::size_t>(count, s->bytes.size() - s->at);
    if (n) std::memcpy(target, s->bytes.data() + s->at, n);
    s->at += n;
    if (got) *got = static_cast<std::uint32_t>(n);
    return n == count ? 0 : 1;
}
inline Status StreamWrite(void* self, const void* source, std::uint32_t count, std::uint32_t* put) {
    auto* const s = static_cast<Stream*>(self);
    const auto* const p = static_cast<const std::uint8_t*>(source);
    s->bytes.insert(s->bytes.end(), p, p + count);
    if (put) *put = count;
    return 0;
}
inline void* const kStreamTable[] = {
    Slot(PointerQuery),   Slot(FactoryCount),   Slot(FactoryCount),   Slot(StreamRead),     Slot(StreamWrite),
    Slot(NotImplemented), Slot(NotImplemented), Slot(NotImplemented), Slot(NotImplemented), Slot(NotImplemented),
    Slot(NotImplemented), Slot(NotImplemented), Slot(NotImplemented), Slot(NotImplemented)};
inline Stream StreamOf(double value) {
    Stream s;
    s.table = kStreamTable;
    s.bytes.resize(8);
    std::memcpy(s.bytes.data(), &value, 8);
    return s;
}

class ForeignHost : public testing::Test {
  protected:
    void SetUp() override {
        m_library = dlopen(LARKMOOR_MODULE_FILE, RTLD_NOW | RTLD_LOCAL);
        ASSERT_TRUE(m_library) << dlerror();
        m_factory.table = kFactoryTable;
    }
    void TearDown() override {
        if (m_object) Release(m_object);
        if (m_library) {
            EXPECT_EQ(0, Function<Status()>("DllCanUnloadNow")()) << "an object is still alive";
        }
    }

    template <class F>
    F* Function(const char* name) {
        void* const found = dlsym(m_library, name);
        EXPECT_TRUE(found) << name;
        return reinterpret_cast<F*>(found);
    }

    Status GetClassObject(const Id& clsid, void** out) {
        return Function<Status(const Id*, const Id*, void**)>("DllGetClassObject")(&clsid, &kFactory, out);
    }

    void* Create(const Id& clsid, const Id& iid) {
        void *factory = nullptr, *object = nullptr;
        EXPECT_EQ(0, GetClassObject(clsid, &factory));
        EXPECT_EQ(0, Call(factory, 3, static_cast<void*>(nullptr), &iid, &object));
        Release(factory);
        return object;
    }

    void MakeInvert() {
        m_object = Create(kInvert, kUnknown);
        ASSERT_TRUE(m_object);
        m_transform = Query(m_object, kTransform);
        m_dual = Query(m_object, kInvertDual);
        ASSERT_TRUE(m_transform && m_dual);
        Release(m_transform);
        Release(m_dual);
        void* const site = Query(m_object, kObjectWithSite);
        EXPECT_EQ(0, Call(site, 3, static_cast<void*>(&m_factory)));
        Release(site);
    }

    static Surface MakeSurface(int pixelBytes, int left, int top, int width, int height) {
        Surface s;
        s.table = kSurfaceTable;
        s.left = left, s.top = top, s.width = width, s.height = height, s.pixelBytes = pixelBytes;
        s.memory.assign(static_cast<std::size_t>(width * height * pixelBytes), 0);
        return s;
    }

    void SetAmount(double amount) { ASSERT_EQ(0, Call(m_dual, 14, static_cast<void*>(&amount), 8)); }
    double Amount() {
        double amount = -1;
        EXPECT_EQ(0, Call(m_dual, 13, static_cast<void*>(&amount), 8));
        return amount;
    }

    Status BindSurfaces(Surface* input, Surface* output) {
        void *in = input, *out = output;
        return Call(m_transform, 6, static_cast<void*>(&in), input ? 1u : 0u, static_cast<void*>(&out),
                    output ? 1u : 0u, 0u);
    }
    Status Execute(const Bounds* clip = nullptr, const Vector* placement = nullptr) {
        return Call(m_transform, 7, static_cast<void*>(nullptr), clip, placement);
    }

    void* m_library = nullptr;
    void *m_object = nullptr, *m_transform = nullptr, *m_dual = nullptr;
    Object m_factory{};
};

} // namespace foreign
