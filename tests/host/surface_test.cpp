#include "host/surface.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>

#include "host/error.h"
#include "host/foreign_surface.h"
#include "host/samples.h"
#include "host/services.h"

namespace larkmoor {
namespace {

CComPtr<IDXARGBReadWritePtr> lockForWrite(IDXSurface* surface, const DXBNDS* area = nullptr,
                                          const IID& iid = IDXARGBReadWritePtr::iid) {
    CComPtr<IDXARGBReadWritePtr> pointer;
    EXPECT_EQ(surface->LockSurface(area, 0, DXLOCKF_READWRITE, &iid, pointer.ReceiveVoid(), nullptr), S_OK);
    return pointer;
}

CComPtr<IDXARGBReadPtr> lockForRead(IDXSurface* surface, const DXBNDS* area = nullptr,
                                    const IID& iid = IDXARGBReadPtr::iid) {
    CComPtr<IDXARGBReadPtr> pointer;
    EXPECT_EQ(surface->LockSurface(area, 0, DXLOCKF_READ, &iid, pointer.ReceiveVoid(), nullptr), S_OK);
    return pointer;
}

ULONG generationOf(IDXSurface* surface) {
    ULONG id = 0;
    EXPECT_EQ(surface->GetGenerationId(&id), S_OK);
    return id;
}

TEST(HostSurface, LocksOnlyWhatLiesInsideItsBounds) {
    const Surface surface = Surface::create(PixelFormat::PremultipliedArgb32, 100, 60, -10, 5);
    const struct {
        DXBNDS area;
        HRESULT expected;
    } rows[] = {
        {boundsOf(-10, 5, 90, 65), S_OK},
        {boundsOf(89, 64, 90, 65), S_OK},
        {boundsOf(-11, 5, 90, 65), E_INVALIDARG},
        {boundsOf(-10, 4, 90, 65), E_INVALIDARG},
        {boundsOf(-10, 5, 91, 65), E_INVALIDARG},
        {boundsOf(-10, 5, 90, 66), E_INVALIDARG},
        {boundsOf(20, 20, 20, 30), E_INVALIDARG},
        {boundsOf(30, 20, 20, 30), E_INVALIDARG},
        {boundsOf(INT32_MIN, INT32_MIN, INT32_MAX, INT32_MAX), E_INVALIDARG},
    };
    for (const auto& row : rows) {
        CComPtr<IDXARGBReadPtr> pointer;
        EXPECT_EQ(surface.get()->LockSurface(&row.area, 0, 0, &IDXARGBReadPtr::iid, pointer.ReceiveVoid(), nullptr),
                  row.expected);
        EXPECT_EQ(static_cast<bool>(pointer), row.expected == S_OK);
    }
    DXBNDS realNumbers = boundsOf(-10, 5, 90, 65);
    realNumbers.eType = 1;
    void* out = &realNumbers;
    EXPECT_EQ(surface.get()->LockSurface(&realNumbers, 0, 0, &IDXARGBReadPtr::iid, &out, nullptr), E_INVALIDARG);
    EXPECT_EQ(out, nullptr);

    DXBNDS told{};
    ASSERT_EQ(surface.get()->GetBounds(&told), S_OK);
    EXPECT_EQ(std::memcmp(&told, &(const DXBNDS&)boundsOf(-10, 5, 90, 65), sizeof told), 0);
}

TEST(HostSurface, NativePointerIsThePixelAtTheTopLeftOfTheLockedArea) {
    for (const PixelFormat format : {PixelFormat::Argb32, PixelFormat::Float128}) {
        const Surface surface = Surface::create(format, 100, 60, -10, 5);
        const DXBNDS area = boundsOf(0, 25, 20, 35);
        const auto pointer = lockForWrite(surface.get(), &area);
        DXNATIVETYPEINFO native{};
        EXPECT_TRUE(pointer->GetNativeType(&native) & DXSAMPLE_TRANSLUCENT);
        const ImageView view = surface.view();
        EXPECT_EQ(native.pFirstByte, view.data + 20 * view.stride + 10 * bytesPerPixel(format));
        EXPECT_EQ(native.lPitch, view.stride);
        pointer->MoveToXY(3, 2);
        pointer->GetNativeType(&native);
        EXPECT_EQ(native.pCurrentData, view.data + 22 * view.stride + 13 * bytesPerPixel(format));
        EXPECT_EQ(view.stride % 64, 0);
    }
}

TEST(HostSurface, PointersKeepTheRulesOfIdentity) {
    const Surface bytes = Surface::create(PixelFormat::PremultipliedArgb32, 4, 4);
    const Surface floats = Surface::create(PixelFormat::Float128, 4, 4);
    void* out = nullptr;
    EXPECT_EQ(bytes.get()->LockSurface(nullptr, 0, 0, &IID_KwFloatReadPtr, &out, nullptr), E_NOINTERFACE);
    EXPECT_EQ(bytes.get()->LockSurface(nullptr, 0, 0, &IDXARGBReadWritePtr::iid, &out, nullptr), E_NOINTERFACE);
    EXPECT_EQ(bytes.get()->LockSurface(nullptr, 0, 1, &IDXSurface::iid, &out, nullptr), E_NOINTERFACE);
    EXPECT_EQ(bytes.get()->LockSurface(nullptr, 0, 1, &IDXARGBReadPtr::iid, nullptr, nullptr), E_POINTER);

    const auto check = [](const CComPtr<IDXARGBReadWritePtr>& pointer, const IID& readId, const IID& otherId,
                          IDXSurface* surface) {
        CComPtr<IDXARGBReadPtr> read;
        ASSERT_EQ(pointer->QueryInterface(&readId, read.ReceiveVoid()), S_OK);
        EXPECT_EQ(KwQuery<IUnknown>(read.Get()).Get(), KwQuery<IUnknown>(pointer.Get()).Get());
        void* none = pointer.Get();
        EXPECT_EQ(pointer->QueryInterface(&otherId, &none), E_NOINTERFACE);
        EXPECT_EQ(none, nullptr);
        CComPtr<IDXSurface> back;
        ASSERT_EQ(pointer->GetSurface(&IDXSurface::iid, back.ReceiveVoid()), S_OK);
        EXPECT_EQ(back.Get(), surface);
    };
    check(lockForWrite(bytes.get()), IDXARGBReadPtr::iid, IID_KwFloatReadPtr, bytes.get());
    check(lockForWrite(floats.get(), nullptr, IID_KwFloatReadWritePtr), IID_KwFloatReadPtr, IDXARGBReadPtr::iid,
          floats.get());
    CComPtr<IDXARGBReadWritePtr> write;
    EXPECT_EQ(lockForRead(bytes.get())->QueryInterface(&IDXARGBReadWritePtr::iid, write.ReceiveVoid()), E_NOINTERFACE);

    const auto info = KwQuery<IKwSurfaceInfo>(bytes.get());
    ASSERT_TRUE(info);
    EXPECT_EQ(KwQuery<IUnknown>(info.Get()).Get(), KwQuery<IUnknown>(bytes.get()).Get());
    EXPECT_EQ(KwQuery<IDXBaseObject>(info.Get()).Get(), static_cast<IDXBaseObject*>(bytes.get()));
}

TEST(HostSurface, APointerKeepsTheMemoryAlive) {
    auto owner = std::make_shared<std::array<std::byte, 16>>();
    const std::weak_ptr<void> watch = owner;
    CComPtr<IDXARGBReadWritePtr> pointer;
    {
        const ImageView view{owner->data(), 2, 2, 8, PixelFormat::Argb32};
        const Surface surface = Surface::wrap(view, 0, 0, std::move(owner));
        pointer = lockForWrite(surface.get());
    }
    ASSERT_FALSE(watch.expired());
    const DWORD sample = 0x80102030;
    pointer->PackAndMove(&sample, 1);
    pointer.Reset();
    EXPECT_TRUE(watch.expired());
}

TEST(HostSurface, GenerationStepsWithWritesOnly) {
    Surface surface = Surface::create(PixelFormat::Float128, 2, 2);
    ULONG last = generationOf(surface.get());
    lockForRead(surface.get());
    EXPECT_EQ(generationOf(surface.get()), last);
    const auto stepped = [&](const char* what) {
        const ULONG now = generationOf(surface.get());
        EXPECT_NE(now, last) << what;
        last = now;
    };
    auto pointer = lockForWrite(surface.get());
    stepped("lock");
    pointer.Reset();
    stepped("unlock");
    surface.touch();
    stepped("touch");
    surface.clear();
    stepped("clear");
}

TEST(HostSurface, WrapsForeignMemoryOfEitherRowOrder) {
    std::array<DWORD, 12> memory{};
    // Bottom up: the top row is the last in memory.
    const ImageView view{reinterpret_cast<std::byte*>(&memory[8]), 3, 3, -16, PixelFormat::PremultipliedArgb32};
    const Surface surface = Surface::wrap(view, 7, 9);
    EXPECT_EQ(surface.bounds(), (RECT{7, 9, 10, 12}));
    const auto pointer = lockForWrite(surface.get());
    const DWORD samples[] = {0xFF000001, 0xFF000002, 0xFF000003};
    for (ULONG y = 0; y < 3; ++y) {
        pointer->MoveToRow(y);
        pointer->PackPremultAndMove(samples, 3);
    }
    const std::array<DWORD, 12> expected{0xFF000001, 0xFF000002, 0xFF000003, 0,          0xFF000001, 0xFF000002,
                                         0xFF000003, 0,          0xFF000001, 0xFF000002, 0xFF000003, 0};
    EXPECT_EQ(memory, expected);
}

TEST(HostSurface, RefusesPicturesThatCannotBe) {
    const auto refused = [](int width, int height, int left, int top) {
        EXPECT_THROW(Surface::create(PixelFormat::Float128, width, height, left, top), Error) << width << " " << height;
    };
    refused(0, 5, 0, 0);
    refused(5, -1, 0, 0);
    refused(INT32_MAX, 1, 0, 0);
    refused(2, 2, INT32_MAX - 1, 0);
    refused(1 << 26, INT32_MAX, 0, 0);
    alignas(4) std::array<std::byte, 64> memory{};
    const auto wrapped = [&](std::byte* data, std::ptrdiff_t stride) {
        return Surface::wrap({data, 4, 2, stride, PixelFormat::Argb32});
    };
    EXPECT_THROW(wrapped(nullptr, 16), Error);
    EXPECT_THROW(wrapped(memory.data() + 1, 16), Error);
    EXPECT_THROW(wrapped(memory.data(), 12), Error);
    EXPECT_THROW(wrapped(memory.data(), -12), Error);
    EXPECT_THROW(wrapped(memory.data(), 18), Error);
    EXPECT_THROW(wrapped(memory.data(), std::ptrdiff_t{1} << 33), Error);
    EXPECT_NO_THROW(wrapped(memory.data(), 16));
    EXPECT_THROW(Surface().view(), Error);
}

TEST(HostSurface, PlacesOutsideTheLockedAreaReadAsNothingAndTakeNothing) {
    const Surface surface = Surface::create(PixelFormat::Argb32, 4, 3);
    const std::array<DWORD, 4> white{~0u, ~0u, ~0u, ~0u};
    const DXBNDS area = boundsOf(1, 1, 3, 2);
    const auto pointer = lockForWrite(surface.get(), &area);
    const auto sampleAt = [&](int x, int y) {
        DWORD sample = 0;
        std::memcpy(&sample, surface.view().data + y * surface.view().stride + x * 4, 4);
        return sample;
    };
    for (const ULONG y : {1u, UINT32_MAX}) {
        pointer->MoveToRow(y);
        pointer->PackAndMove(white.data(), 4);
    }
    pointer->MoveToXY(UINT32_MAX, 0);
    pointer->PackAndMove(white.data(), 4);
    pointer->MoveToXY(0, 0);
    pointer->Move(-2);
    pointer->PackAndMove(white.data(), 3); // only its last sample is inside, at x 0
    for (int y = 0; y < 3; ++y)
        for (int x = 0; x < 4; ++x) EXPECT_EQ(sampleAt(x, y), x == 1 && y == 1 ? ~0u : 0u) << x << " " << y;

    std::array<DWORD, 6> read;
    read.fill(0x12345678);
    pointer->MoveToXY(0, 0);
    pointer->Move(-2);
    EXPECT_EQ(pointer->Unpack(read.data(), 5, TRUE), read.data());
    EXPECT_EQ(read, (std::array<DWORD, 6>{0, 0, ~0u, 0, 0, 0x12345678}));
    EXPECT_EQ(pointer->UnpackPremult(nullptr, 5, FALSE), nullptr);
}

// The definitions of the conversions, over every colour and alpha.
TEST(HostSamples, ConvertByNearestRounding) {
    for (DWORD a = 0; a < 256; ++a)
        for (DWORD c = 0; c < 256; ++c) {
            const DWORD sample = a << 24 | c << 16 | (255 - c) << 8 | c;
            const auto each = [&](auto convert) {
                return a << 24 | convert(c) << 16 | convert(255 - c) << 8 | convert(c);
            };
            const DWORD multiplied = each([&](DWORD v) { return static_cast<DWORD>(std::lround(v * a / 255.0)); });
            const DWORD divided = each([&](DWORD v) {
                return a == 0 ? 0u : std::min(255u, static_cast<DWORD>(std::floor(v * 255.0 / a + 0.5)));
            });
            const auto unpacked = [&](PixelFormat format, SampleKind kind) {
                DWORD out = 0;
                unpackRow(format, reinterpret_cast<const std::byte*>(&sample), kind, &out, 1);
                return out;
            };
            const auto packed = [&](PixelFormat format, SampleKind kind) {
                DWORD out = 0;
                packRow(format, reinterpret_cast<std::byte*>(&out), kind, &sample, 1);
                return out;
            };
            ASSERT_EQ(unpacked(PixelFormat::Argb32, SampleKind::Straight), sample);
            ASSERT_EQ(unpacked(PixelFormat::Argb32, SampleKind::Premultiplied), multiplied) << a << " " << c;
            ASSERT_EQ(unpacked(PixelFormat::PremultipliedArgb32, SampleKind::Straight), divided) << a << " " << c;
            ASSERT_EQ(packed(PixelFormat::PremultipliedArgb32, SampleKind::Straight), multiplied);
            ASSERT_EQ(packed(PixelFormat::Argb32, SampleKind::Premultiplied), divided);

            // Floats hold each premultiplied sample exactly.
            float pixel[4];
            DWORD back = 0;
            packRow(PixelFormat::Float128, reinterpret_cast<std::byte*>(pixel), SampleKind::Premultiplied, &sample, 1);
            unpackRow(PixelFormat::Float128, reinterpret_cast<std::byte*>(pixel), SampleKind::Premultiplied, &back, 1);
            ASSERT_EQ(back, sample);
        }
}

TEST(HostSamples, WildFloatsAreLimited) {
    constexpr float kNan = std::numeric_limits<float>::quiet_NaN(), kInf = std::numeric_limits<float>::infinity();
    const struct {
        float pixel[4];
        DWORD straight, premultiplied;
    } rows[] = {
        {{0.25f, 0.5f, 1.0f, 0.5f}, 0x80FFFF80, 0x80FF8040}, {{kNan, -1.0f, 1e30f, 1.0f}, 0xFFFF0000, 0xFFFF0000},
        {{1.0f, 1.0f, kInf, 0.0f}, 0x00000000, 0x00FFFFFF},  {{0.5f, kInf, -kInf, kNan}, 0x00000000, 0x0000FF80},
        {{0.5f, 1.0f, 2.0f, 2.0f}, 0xFFFF8040, 0xFFFFFF80},
    };
    for (const auto& row : rows) {
        DWORD sample = 0;
        unpackRow(PixelFormat::Float128, reinterpret_cast<const std::byte*>(row.pixel), SampleKind::Straight, &sample,
                  1);
        EXPECT_EQ(sample, row.straight);
        unpackRow(PixelFormat::Float128, reinterpret_cast<const std::byte*>(row.pixel), SampleKind::Premultiplied,
                  &sample, 1);
        EXPECT_EQ(sample, row.premultiplied);
    }
}

// The surface modifier.

struct Modifier {
    CComPtr<IDXSurfaceModifier> modifier;
    CComPtr<IDXSurface> surface;
};

Modifier createModifier() {
    const auto factory = createTransformFactory();
    Modifier made;
    EXPECT_EQ(factory->QueryService(&CLSID_DXSurfaceModifier, &IDXSurfaceModifier::iid, made.modifier.ReceiveVoid()),
              S_OK);
    made.surface = KwQuery<IDXSurface>(made.modifier.Get());
    return made;
}

TEST(HostModifier, ShowsItsForegroundAtAnOffsetAndNothingAroundIt) {
    for (const PixelFormat format : {PixelFormat::Argb32, PixelFormat::PremultipliedArgb32, PixelFormat::Float128})
        for (const POINT origin :
             {POINT{0, 0}, POINT{2, 1}, POINT{-1, -1}, POINT{4, 3}, POINT{50, 0}, POINT{INT32_MIN, INT32_MAX}}) {
            const Surface front = Surface::create(format, 3, 2, 5, 5);
            {
                const auto pointer = lockForWrite(front.get());
                const DWORD samples[] = {0xFF000001, 0xFF000002, 0xFF000003, 0xFF000004, 0xFF000005, 0xFF000006};
                pointer->PackPremultAndMove(samples, 3);
                pointer->MoveToRow(1);
                pointer->PackPremultAndMove(samples + 3, 3);
            }
            const Modifier shown = createModifier();
            const DXBNDS all = boundsOf(-2, -1, 4, 4);
            ASSERT_EQ(shown.modifier->SetForeground(front.get(), FALSE, &origin), S_OK);
            ASSERT_EQ(shown.modifier->SetBounds(&all), S_OK);
            const bool isFloat = format == PixelFormat::Float128;
            const auto pointer =
                lockForRead(shown.surface.Get(), &all, isFloat ? IID_KwFloatReadPtr : IDXARGBReadPtr::iid);
            for (int y = 0; y < 5; ++y) {
                DWORD row[16];
                pointer->MoveToRow(static_cast<ULONG>(y));
                pointer->UnpackPremult(row, 6, FALSE);
                for (int x = 0; x < 6; ++x) {
                    const std::int64_t fx = std::int64_t{x} - origin.x, fy = std::int64_t{y} - origin.y;
                    const bool inside = fx >= 0 && fx < 3 && fy >= 0 && fy < 2;
                    EXPECT_EQ(row[x], inside ? 0xFF000001 + static_cast<DWORD>(fy * 3 + fx) : 0u) << x << " " << y;
                }
            }
            CComPtr<IDXSurface> back;
            EXPECT_EQ(pointer->GetSurface(&IDXSurface::iid, back.ReceiveVoid()), S_OK);
            EXPECT_EQ(back.Get(), shown.surface.Get());
        }
}

TEST(HostModifier, FollowsItsForeground) {
    Surface front = Surface::create(PixelFormat::PremultipliedArgb32, 2, 1);
    front.setInfo({.pixelAspect = 1.5, .frameRate = 25, .time100ns = 400000});
    const Modifier shown = createModifier();
    void* out = nullptr;
    EXPECT_EQ(shown.surface->LockSurface(nullptr, 0, 0, &IDXARGBReadPtr::iid, &out, nullptr), DXTERR_UNINITIALIZED);
    shown.modifier->SetForeground(front.get(), FALSE, nullptr);
    EXPECT_EQ(shown.surface->LockSurface(nullptr, 0, 1, &IDXARGBReadWritePtr::iid, &out, nullptr), E_NOTIMPL);
    const auto first = [](IDXARGBReadPtr* pointer) {
        DWORD sample = 0;
        pointer->MoveToRow(0);
        pointer->UnpackPremult(&sample, 1, FALSE);
        return sample;
    };
    const auto before = lockForRead(shown.surface.Get());
    EXPECT_EQ(first(before.Get()), 0u);
    ULONG generation = 0;
    shown.surface->GetGenerationId(&generation);
    const DWORD sample = 0x80402010;
    lockForWrite(front.get())->PackPremultAndMove(&sample, 1);
    ULONG later = 0;
    shown.surface->GetGenerationId(&later);
    EXPECT_NE(later, generation);
    EXPECT_EQ(first(lockForRead(shown.surface.Get()).Get()), sample);
    EXPECT_EQ(first(before.Get()), 0u) << "a lock that is out keeps its picture";

    tSurfaceInfo info{};
    const auto told = KwQuery<IKwSurfaceInfo>(shown.modifier.Get());
    ASSERT_TRUE(told);
    EXPECT_EQ(told->GetSurfaceInfo(&info, sizeof info), S_OK);
    EXPECT_EQ(info.pixelAspect, 1.5);
    EXPECT_EQ(info.time100ns, 400000);
    info = {};
    EXPECT_EQ(told->GetSurfaceInfo(&info, 8), S_OK);
    EXPECT_EQ(info.frameRate, 0);
    EXPECT_EQ(told->GetSurfaceInfo(nullptr, 8), E_POINTER);
}

/// Rows that are computed at the read and stand nowhere, a run of which goes 8 samples beyond what was asked.
class ComputedSurface final : public ForeignSurface {
  public:
    class Rows final : public ObjectOf<IDXARGBReadPtr> {
      public:
        HRESULT GetSurface(const IID*, void**) override { return E_NOTIMPL; }
        DWORD GetNativeType(DXNATIVETYPEINFO*) override { return DXSAMPLE_TRANSLUCENT; }
        void Move(LONG) override {}
        void MoveToRow(ULONG y) override { m_y = y; }
        void MoveToXY(ULONG, ULONG y) override { m_y = y; }
        ULONG MoveAndGetRunInfo(ULONG, const void**) override { return 0; }
        DWORD* Unpack(DWORD* samples, ULONG count, BOOL) override {
            for (ULONG x = 0; x < count + 8; ++x) samples[x] = 0xFF000000 | m_y << 8 | x;
            return samples;
        }
        DWORD* UnpackPremult(DWORD* samples, ULONG count, BOOL move) override { return Unpack(samples, count, move); }
        void UnpackRect(const void*) override {}

      private:
        ULONG m_y = 0;
    };
    HRESULT GetPixelFormat(GUID* format, DWORD*) override { return answer(format, m_format); }
    HRESULT GetBounds(DXBNDS* out) override { return answer(out, boundsOf(0, 0, 5, 4)); }
    HRESULT LockSurface(const DXBNDS*, ULONG, DWORD, const IID* iid, void** out, DWORD*) override {
        return makeObject<Rows>()->QueryInterface(iid, out);
    }

    GUID m_format = DDPF_ARGB32;
};

TEST(HostModifier, ShowsSurfacesThatHaveNoMemory) {
    for (const GUID& format : {DDPF_ARGB32, DDPF_PMARGB32, IUnknown::iid}) {
        const auto front = makeObject<ComputedSurface>();
        front->m_format = format;
        const Modifier shown = createModifier();
        const DXBNDS all = boundsOf(0, 0, 3, 3);
        const POINT origin{-2, -1};
        shown.modifier->SetForeground(front.Get(), FALSE, &origin);
        shown.modifier->SetBounds(&all);
        const auto pointer = lockForRead(shown.surface.Get());
        for (ULONG y = 0; y < 3; ++y) {
            DWORD row[16]; // room that GCC believes a computed row might take
            pointer->MoveToRow(y);
            pointer->UnpackPremult(row, 3, FALSE);
            for (ULONG x = 0; x < 3; ++x) EXPECT_EQ(row[x], 0xFF000000 | (y + 1) << 8 | (x + 2));
        }
    }
}

} // namespace
} // namespace larkmoor
