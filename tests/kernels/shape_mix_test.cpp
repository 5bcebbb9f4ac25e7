#include "kernels/shape_mix.h"

#include "kernels/shape_reference.h"

namespace {

int Lerp(int d, int s, int a) {
    return d + (s - d) * a / 256;
}

/// One channel of one pixel by the rules of both effects, in bytes.
struct tRules8 {
    bool cutter, keep, over;
    int m, b, border; ///< mask, border mask, whether there is a border

    int Weight() const { return border ? (255 - m) * b / 255 : 0; }
    int K() const { return keep ? m : 255 - m; }
    int Value(int p, int q) const {
        const int w = Weight();
        if (!cutter) return m == 0 ? p : m < 255 && (w == 0 || b < 255) ? Lerp(p, q, m) : q;
        if (K() == 0) return 0;
        if (K() > 254) return q;
        if (w == 0 || b < 255) return Lerp(0, q, K());
        return keep ? q : 0;
    }
    std::uint8_t Out(int out, int p, int pa, int q, int qa, int color) const {
        int v = Value(p, q);
        if (over) v = cutter && K() == 0 ? out : (v + (((255 - Value(pa, qa)) * out + 127) >> 8)) & 255;
        if (Weight() > 0) v = Lerp(v, color, Weight());
        return static_cast<std::uint8_t>(v);
    }
};

/// The same in floats.
struct tRulesF {
    bool cutter, keep, over;
    float m, b;
    bool border;

    float Weight() const { return border ? (1 - m) * b : 0; }
    bool HasWeight() const { return cutter ? Weight() >= 0.001f : Weight() > 0; }
    float K() const { return keep ? m : 1 - m; }
    float Value(float p, float q) const {
        if (!cutter) return m == 0 ? p : m < 1 && (Weight() == 0 || b < 1) ? p + (q - p) * m : q;
        if (K() == 0) return 0;
        if (K() >= 1) return q;
        if (!HasWeight() || b < 1) return 0 + (q - 0) * K();
        return keep ? q : 0;
    }
    float Out(float out, float p, float pa, float q, float qa, float color) const {
        float v = Value(p, q);
        if (over) v = cutter && K() == 0 ? out : (1 - Value(pa, qa)) * out + v;
        return HasWeight() ? v + (color - v) * Weight() : v;
    }
};

/// `first` null for the cutter.
void Reference(CTestPicture& out, CTestPicture* first, CTestPicture& second, const tIRISINFO& info, double progress,
               bool keep, bool over, double aspect) {
    const LONG size = out.BytesPerPixel();
    tReferenceMasks masks = ReferenceMasks(out.Width(), out.Height(), size, aspect, progress, !first, info);
    const float color[4] = {info.blue, info.green, info.red, info.alpha};
    const bool border = info.border > 0;
    for (LONG y = 0; y < out.Height(); ++y)
        for (LONG x = 0; x < out.Width(); ++x)
            if (size == 4) {
                const tRules8 rules{!first, keep, over, masks.cut.Pixel8(x, y).a, masks.border.Pixel8(x, y).a, border};
                std::uint8_t *o = out.At(x, y), *q = second.At(x, y);
                const std::uint8_t none[4] = {}, *p = first ? first->At(x, y) : none;
                const std::uint8_t was[4] = {o[0], o[1], o[2], o[3]};
                for (int c = 0; c < 4; ++c)
                    o[c] = rules.Out(was[c], p[c], p[3], q[c], q[3], static_cast<int>(color[c] * 255.0f));
            } else {
                const tRulesF rules{!first, keep, over, masks.cut.PixelF(x, y).a, masks.border.PixelF(x, y).a, border};
                float *o = &out.PixelF(x, y).b, *q = &second.PixelF(x, y).b;
                const float none[4] = {}, *p = first ? &first->PixelF(x, y).b : none;
                for (int c = 0; c < 4; ++c) o[c] = rules.Out(o[c], p[c], p[3], q[c], q[3], color[c]);
            }
}

TEST(ShapeMix, IrisFollowsTheRules) {
    for (const LONG size : {4, 16})
        for (const tIRISINFO& record : ShapeRecords())
            for (const bool over : {false, true})
                for (const double progress : {0.0, 0.3, 0.8, 1.0}) {
                    CTestPicture first(150, 33, size), second(150, 33, size), out(150, 33, size);
                    first.Fill(1);
                    second.Fill(2, true);
                    CTestPicture expected = out.Fill(3);
                    Reference(expected, &first, second, record, progress, true, over, 1.1);
                    tIRISINFO info = record;
                    ASSERT_EQ(S_OK,
                              KwDibIris(out.View(), first.View(), second.View(), size, &info, progress, over, 1.1));
                    SCOPED_TRACE(testing::Message()
                                 << "shape " << record.shape << " feather " << record.feather << " border "
                                 << record.border << " progress " << progress << " over " << over << " size " << size);
                    ExpectSame(out, expected);
                    if (HasFailure()) return;
                }
}

TEST(ShapeMix, CutterFollowsTheRules) {
    for (const LONG size : {4, 16})
        for (const tIRISINFO& record : ShapeRecords())
            for (const bool over : {false, true})
                for (const LONG method : {0, 1})
                    for (const float share : {-1.0f, 0.0f, 0.2f, 0.7f, 1.0f, 9.0f}) {
                        CTestPicture in(141, 29, size), out(141, 29, size);
                        in.Fill(4, true);
                        CTestPicture expected = out.Fill(5);
                        Reference(expected, nullptr, in, record, std::clamp(share, 0.0f, 1.0f), method, over, 1.0);
                        tCUTTERINFO info{record, share};
                        info.shape.direction = method;
                        ASSERT_EQ(S_OK, KwDibCutter(out.View(), in.View(), size, &info, over, 1.0));
                        SCOPED_TRACE(testing::Message() << "shape " << record.shape << " feather " << record.feather
                                                        << " border " << record.border << " method " << method
                                                        << " share " << share << " over " << over << " size " << size);
                        ExpectSame(out, expected);
                        if (HasFailure()) return;
                    }
}

TEST(ShapeMix, NeedsARecord) {
    CTestPicture a(9, 7, 4), out(9, 7, 4);
    EXPECT_EQ(E_POINTER, KwDibIris(out.View(), a.View(), a.View(), 4, nullptr, 0.5, false, 1.0));
    EXPECT_EQ(E_POINTER, KwDibCutter(out.View(), a.View(), 4, nullptr, false, 1.0));
}

} // namespace
