#include "kernels/exports.h"

#include "kernels/channel_min.h"
#include "kernels/lut.h"
#include "kernels/picture.h"
#include "kernels/wipe.h"
#include "module.h"

namespace {

/// Calls an export as the arguments stand: their types are its signature, as a host of another maker has it.
template <class... Arguments>
HRESULT Call(const char* name, Arguments... arguments) {
    void* const address = larkmoor::module().symbol(name);
    EXPECT_TRUE(address) << name;
    return address ? reinterpret_cast<HRESULT (*)(Arguments...)>(address)(arguments...) : E_FAIL;
}

constexpr const RECT* kNoRect = nullptr;

/// Three pictures of one size, each with a clip of its own.
class Exports : public testing::TestWithParam<LONG> {
  protected:
    Exports() {
        m_out.Fill(1);
        m_first.Fill(2);
        m_second.Fill(3);
    }

    /// Runs the export and the kernel on pictures of the same content.
    template <class Export, class Kernel>
    void Compare(Export&& runExport, Kernel&& runKernel) {
        CTestPicture before = m_out, actual = m_out, expected = m_out;
        EXPECT_EQ(runKernel(expected.View(&m_outClip)), runExport(actual.View(&m_outClip)));
        ExpectSame(actual, expected);
        EXPECT_EQ(GetParam() == 16 && m_only4, actual == before);
    }

    const LONG m_size = GetParam();
    const RECT m_outClip{3, 2, 27, 19}, m_inClip{5, 1, 29, 18};
    CTestPicture m_out{32, 21, m_size}, m_first{32, 21, m_size, 4}, m_second{32, 21, m_size, 20};
    const tView m_a = m_first.View(&m_inClip), m_b = m_second.View(&m_inClip);
    bool m_only4 = false; ///< the kernel leaves 16-byte pixels alone
};

TEST_P(Exports, OfOnePicture) {
    Compare([&](tView o) { return Call("KwDibBrightness", o.bits, o.frame, o.stride, o.clip, m_size, 0.25f); },
            [&](tView o) { return KwDibBrightness(o, m_size, 0.25f); });
    m_only4 = true;
    const tKWRGBADOUBLE key{0.9, 0.4, 0.1, 1};
    const tMASKSETTINGS settings{0.2f, 0.6f};
    Compare(
        [&](tView o) {
            return Call("KwDibCreateDifferenceAlpha", o.bits, o.frame, o.stride, o.clip, &key, &settings, m_size);
        },
        [&](tView o) { return KwDibCreateDifferenceAlpha(o, &key, &settings, m_size); });
    Compare(
        [&](tView o) {
            return Call("KwDibApplyChromaCorrection", o.bits, o.frame, o.stride, o.clip, &key, &settings, m_size);
        },
        [&](tView o) { return KwDibApplyChromaCorrection(o, &key, &settings, m_size); });
}

TEST_P(Exports, OfTwoPictures) {
    const tView a = m_a;
    Compare(
        [&](tView o) {
            return Call("KwDibChannelMin", o.bits, o.frame, o.stride, o.clip, 2, a.bits, a.frame, a.stride, a.clip, 1,
                        3, m_size);
        },
        [&](tView o) { return KwDibChannelMin(o, 2, a, 1, 3, m_size); });
    const tCLOCKPROP clock{1, 0, 30.0};
    Compare(
        [&](tView o) {
            return Call("KwDibClock", o.bits, o.frame, o.stride, o.clip, a.bits, a.frame, a.stride, a.clip, m_size,
                        &clock, 0.4);
        },
        [&](tView o) { return KwDibClock(o, a, m_size, &clock, 0.4); });
    const tMASKPROP mask{2, 0, 0.1, 0.8, 0.2, 0.9, 1, 0};
    Compare(
        [&](tView o) {
            return Call("KwDibMask", o.bits, o.frame, o.stride, o.clip, a.bits, a.stride, a.frame, a.clip, m_size,
                        &mask);
        },
        [&](tView o) { return KwDibMask(o, a, m_size, &mask); });
}

TEST_P(Exports, OfThreePictures) {
    const tView a = m_a, b = m_b;
    const auto moving = [&](const char* name, auto prop, tView o) {
        return Call(name, o.bits, o.frame, o.stride, o.clip, a.bits, a.frame, a.stride, a.clip, b.bits, b.frame,
                    b.stride, b.clip, m_size, prop, 0.4);
    };
    const tPUSHPROP push{3, 1, 0.1f, 0.05f, 0.2f, 0.4f, 0.6f, 1};
    Compare([&](tView o) { return moving("KwDibPush", &push, o); },
            [&](tView o) { return KwDibPush(o, a, b, m_size, push, 0.4); });
    const tBARNPROP barn{1, 0.1f, 0.05f, 0.2f, 0.4f, 0.6f, 1, 0};
    Compare([&](tView o) { return moving("KwDibBarn", &barn, o); },
            [&](tView o) { return KwDibBarn(o, a, b, m_size, barn, 0.4); });
    const tSQUEEZEPROP squeeze{4, 1, 0.1f, 0.05f, 0.2f, 0.4f, 0.6f, 1};
    Compare([&](tView o) { return moving("KwDibSqueeze", squeeze, o); },
            [&](tView o) { return KwDibSqueeze(o, a, b, m_size, squeeze, 0.4); });
    const tZOOMPROP zoom{0.3f, 0.6f, 0.1f, 0.05f, 0.2f, 0.4f, 0.6f, 1, 0};
    Compare([&](tView o) { return moving("KwDibZoom", zoom, o); },
            [&](tView o) { return KwDibZoom(o, a, b, m_size, zoom, 0.4); });
    m_only4 = true;
    for (const LONG over : {0, 2})
        Compare(
            [&](tView o) {
                return Call("KwDibWipe", o.bits, o.frame, o.stride, o.clip, a.bits, b.bits, a.stride, b.stride, a.frame,
                            a.clip, m_size, 9.0, 30.0, 0.4, over);
            },
            [&](tView o) { return KwDibWipe(o, a, b, m_size, 9.0, 30.0, 0.4, over != 0); });
    Compare(
        [&](tView o) {
            return Call("KwTwin_mix", o.bits, o.frame, o.stride, o.clip, a.bits, b.bits, a.stride, b.stride, a.frame,
                        a.clip, m_size);
        },
        [&](tView o) { return KwTwin_mix(o, a, b, m_size); });
}

TEST_P(Exports, MasksOfShapes) {
    const RECT shapes{-4, 3, 60, 40}, part{10, 5, 42, 26};
    for (const LONG fixedSize : {0, 1}) {
        CTestPicture mask = m_out, border = m_out, expected = m_out, expectedBorder = m_out;
        tIRISINFO info{.feather = 0.2f, .border = 0.3f, .red = 1, .repeatX = 2, .repeatY = 0, .shape = KW_SHAPE_OVAL};
        tIRISINFO same = info;
        ASSERT_EQ(S_OK, KwCreateMaskBorder(&shapes, &part, expected.View(), expectedBorder.View(), m_size, 1.2, 0.3,
                                           fixedSize != 0, &same));
        const tView m = mask.View(), b = border.View();
        ASSERT_EQ(S_OK,
                  Call("CreateMaskBorder", static_cast<const RECT*>(&shapes), static_cast<const RECT*>(&part),
                       static_cast<unsigned char*>(m.bits), m.frame, m.stride, static_cast<unsigned char*>(b.bits),
                       b.frame, b.stride, m_size, 1.2, 0.3, fixedSize, &info));
        ExpectSame(mask, expected);
        ExpectSame(border, expectedBorder);
        EXPECT_EQ(1, info.repeatY);
    }
}

// Views are refused by the kernels, records before them.
TEST_P(Exports, RefuseWhatIsMissing) {
    const tView o = m_out.View(), a = m_a, b = m_b;
    CTestPicture before = m_out;
    const auto of = [&](const char* name, int inputs, auto... rest) {
        if (inputs == 0) return Call(name, o.bits, o.frame, o.stride, kNoRect, rest...);
        if (inputs == 1)
            return Call(name, o.bits, o.frame, o.stride, kNoRect, a.bits, a.frame, a.stride, kNoRect, rest...);
        return Call(name, o.bits, o.frame, o.stride, kNoRect, a.bits, a.frame, a.stride, kNoRect, b.bits, b.frame,
                    b.stride, kNoRect, rest...);
    };
    EXPECT_EQ(E_POINTER, of("KwDibPush", 2, m_size, static_cast<const tPUSHPROP*>(nullptr), 0.4));
    EXPECT_EQ(E_POINTER, of("KwDibBarn", 2, m_size, static_cast<const tBARNPROP*>(nullptr), 0.4));
    EXPECT_EQ(E_POINTER, of("KwDibClock", 1, m_size, static_cast<const tCLOCKPROP*>(nullptr), 0.5));
    EXPECT_EQ(E_INVALIDARG, Call("KwDibMask", o.bits, o.frame, o.stride, kNoRect, a.bits, a.stride, a.frame, kNoRect,
                                 m_size, static_cast<const tMASKPROP*>(nullptr)));
    for (const char* const name : {"KwDibCreateDifferenceAlpha", "KwDibApplyChromaCorrection"})
        EXPECT_EQ(E_POINTER, of(name, 0, static_cast<const tKWRGBADOUBLE*>(nullptr),
                                static_cast<const tMASKSETTINGS*>(nullptr), m_size));
    const auto masks = [&](void* mask, const RECT* rect, float border, tIRISINFO* info) {
        if (info) info->border = border;
        return Call("CreateMaskBorder", o.frame, o.frame, static_cast<unsigned char*>(mask), rect, o.stride,
                    static_cast<unsigned char*>(nullptr), o.frame, o.stride, m_size, 1.0, 0.0, 0, info);
    };
    tIRISINFO info;
    EXPECT_EQ(E_INVALIDARG, masks(nullptr, o.frame, 0, &info));
    EXPECT_EQ(E_POINTER, masks(o.bits, nullptr, 0, &info));
    EXPECT_EQ(E_POINTER, masks(o.bits, o.frame, 0, nullptr));
    EXPECT_EQ(E_INVALIDARG, masks(o.bits, o.frame, 0.1f, &info));
    ExpectSame(m_out, before);
    EXPECT_EQ(S_OK, masks(o.bits, o.frame, 0, &info));
}

INSTANTIATE_TEST_SUITE_P(PixelForms, Exports, testing::Values(4, 16));

} // namespace
