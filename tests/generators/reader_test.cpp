// What holds of every generator's surface and its readers.
#include <atomic>
#include <thread>

#include "generators/generator.h"

namespace {

using tPicture = std::vector<DWORD>;

/// A generator and two settings of a field that are opaque and look different.
struct tCase {
    const char *className, *field, *settings[2];
};
constexpr tCase kCases[] = {{"DXSTestp", "type", {"Color Bars (NTSC)", "Pluge and Porches"}},
                            {"DXSText", "back", {"#804020", "#204080"}}};

class Generators : public testing::TestWithParam<tCase> {
  protected:
    struct tChanging : tGenerator {
        tChanging() : tGenerator(GetParam().className) {
            const larkmoor::Module module = larkmoor::Module::load(LARKMOOR_MODULE_FILE);
            for (std::size_t i = 0; i < 2; ++i) {
                larkmoor::Effect effect = module.create(module.find(GetParam().className));
                effect.set(GetParam().field, GetParam().settings[i]);
                streams[i] = effect.saveState();
            }
            Size(kWidth, kHeight);
        }
        void Set(std::size_t setting) { persist->Load(larkmoor::createMemoryStream(streams[setting]).Get()); }

        std::vector<std::byte> streams[2];
    };
    static constexpr LONG kWidth = 70, kHeight = 20;
};
INSTANTIATE_TEST_SUITE_P(All, Generators, testing::ValuesIn(kCases),
                         [](const auto& tested) { return tested.param.className; });

TEST_P(Generators, ReadersSeeThePictureTheyOpened) {
    tChanging made;
    made.Set(0);
    const tPicture whole = made.Picture(kWidth, kHeight);
    const DXBNDS part = larkmoor::boundsOf(35, 5, 60, 15);
    constexpr ULONG kColumns = 25, kRows = 10;
    const auto rows = made.Lock(&part);
    ASSERT_TRUE(rows);
    made.Set(1);
    EXPECT_NE(whole, made.Picture(kWidth, kHeight));
    ASSERT_EQ(S_OK, made.Size(10, 10));
    for (ULONG y = 0; y < kRows; ++y)
        for (const auto read : {&IDXARGBReadPtr::Unpack, &IDXARGBReadPtr::UnpackPremult}) {
            tPicture row(kColumns + 2, 0xDEAD);
            rows->MoveToXY(0, y);
            EXPECT_EQ(row.data(), (rows.Get()->*read)(row.data(), kColumns, FALSE));
            EXPECT_EQ(0xDEADu, row[kColumns]);
            const auto from = whole.begin() + (static_cast<LONG>(y) + 5) * kWidth + 35;
            ASSERT_TRUE(std::equal(from, from + kColumns, row.begin())) << y;
            (rows.Get()->*read)(row.data(), kColumns, TRUE);
            (rows.Get()->*read)(row.data() + kColumns, 1, FALSE);
            EXPECT_EQ(0u, row[kColumns]) << "moved behind the area";
            rows->Move(-1);
            (rows.Get()->*read)(row.data() + kColumns, 1, FALSE);
            EXPECT_EQ(row[kColumns - 1], row[kColumns]);
        }
    DWORD one = 1;
    rows->MoveToRow(kRows);
    rows->Unpack(&one, 1, FALSE);
    EXPECT_EQ(0u, one) << "below the area";
}

TEST_P(Generators, HaveTheirFacesAndNoOthers) {
    tChanging made;
    void* out = &made;
    EXPECT_EQ(E_POINTER, made.dual->GetCacheInfo(nullptr));
    const IID known[] = {IDispatch::iid,       IDXSurface::iid,    IDXBaseObject::iid,       IDXSurfaceInit::iid,
                         IObjectWithSite::iid, IObjectSafety::iid, IPersistPropertyBag::iid, IKwPresets::iid};
    for (const IID& iid : known) {
        CComPtr<IUnknown> face;
        EXPECT_EQ(S_OK, made.object->QueryInterface(&iid, face.ReceiveVoid()));
    }
    EXPECT_EQ(E_NOINTERFACE, made.object->QueryInterface(&IDXEffect::iid, &out));
}

TEST_P(Generators, APictureIsOfOneRecord) {
    tChanging made;
    const auto pictureOf = [&](std::size_t setting) { return made.Set(setting), made.Picture(kWidth, kHeight); };
    const tPicture first = pictureOf(0), second = pictureOf(1);
    std::atomic<bool> stop{false};
    std::thread changing([&] {
        for (std::size_t i = 0; !stop; ++i) made.Set(i % 2);
    });
    for (int i = 0; i < 100; ++i) {
        const tPicture picture = made.Picture(kWidth, kHeight);
        EXPECT_TRUE(picture == first || picture == second);
    }
    stop = true;
    changing.join();
}

} // namespace
