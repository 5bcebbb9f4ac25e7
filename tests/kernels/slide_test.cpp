// Push, squeeze, barn door and zoom: each against its definition, put together from whole drawings.

#include "kernels/barn.h"
#include "kernels/edges.h"
#include "kernels/picture.h"
#include "kernels/push.h"
#include "kernels/squeeze.h"
#include "kernels/stretch.h"
#include "kernels/zoom.h"

namespace {

using tInt = std::int64_t;

tInt Truncate(double v) {
    return static_cast<tInt>(v);
}
tInt Limit(tInt v, tInt high) {
    return v < 0 ? 0 : v > high ? high : v;
}
tFixedRect Grown(const tFixedRect& r) {
    const auto down = [](tInt v) { return v >> 14 << 14; };
    const auto up = [](tInt v) { return (v + 16383) >> 14 << 14; };
    return {down(r.left), down(r.top), up(r.right), up(r.bottom)};
}

/// Draws onto a picture that covers `clip` of frames starting at 0.
struct tStage {
    CTestPicture& out;
    RECT clip;

    tFixedPoint Offset() const { return {-tInt{clip.left} * 16384, -tInt{clip.top} * 16384}; }
    void Blit(CTestPicture& source, const tFixedRect& to, const tFixedRect* from, bool smooth) const {
        KwDibStretchBlit(out.At(0, 0), {out.Width(), out.Height()}, out.Stride(), &to, Offset(), source.At(0, 0),
                         {source.Width(), source.Height()}, source.Stride(), from, out.BytesPerPixel(), smooth);
    }
    void Edges(const std::vector<tEDGELINE>& lines, tInt width, tInt softness, tInt extra) const {
        CEdgeList list;
        for (const tEDGELINE& line : lines) list.Add(line);
        KwDibDrawEdges(list, out.At(0, 0), {out.Width(), out.Height()}, out.Stride(), Offset(), width, softness, extra,
                       {0.25f, 0.5f, 0.75f, 1.0f}, out.BytesPerPixel());
    }
};

tFixedRect FrameOf(CTestPicture& p) {
    return {0, 0, tInt{p.Width()} * 16384, tInt{p.Height()} * 16384};
}

void BorderOf(tInt D, float border, float feather, bool pushRule, tInt& b, tInt& f) {
    b = Truncate(static_cast<double>(D) * border + 0.5);
    f = Truncate(static_cast<double>(D) * feather + 0.5);
    if ((b || f) && f < 32768) {
        b = std::max<tInt>(b - (32768 - f), 0);
        f = 32768;
    }
    if (pushRule && f < 16384) f = 0;
}

struct tCase {
    LONG way, old;
    float border, feather;
    double progress;
};

void Push(const tStage& stage, CTestPicture& first, CTestPicture& second, const tCase& k) {
    const tFixedRect A = FrameOf(first), B = FrameOf(second);
    const tInt D = k.way % 2 == 0 ? A.bottom : A.right;
    tInt b, f;
    BorderOf(D, k.border, k.feather, true, b, f);
    const tInt q = Truncate(static_cast<double>(b + 2 * f + D) * k.progress + 0.5) - f, q2 = q - b;
    const tInt sa = Limit(q, D), sb = Limit(q2, D);
    const tInt dx = k.way == 1 ? 1 : k.way == 3 ? -1 : 0, dy = k.way == 2 ? 1 : k.way == 0 ? -1 : 0;
    const auto moved = [](tFixedRect r, tInt x, tInt y) {
        return tFixedRect{r.left + x, r.top + y, r.right + x, r.bottom + y};
    };
    const tFixedRect Ra = moved(A, dx * sa, dy * sa), Rb = moved(B, -dx * (D - sb), -dy * (D - sb));
    if (k.border == 0 && k.old) stage.Blit(first, Grown(Ra), nullptr, false);
    stage.Blit(first, k.old ? Ra : A, nullptr, false);
    stage.Blit(second, Rb, nullptr, false);
    const tEDGELINE edges[] = {
        {0, A.right, D - q2, 0}, {0, A.bottom, q2, 3}, {0, A.right, q2, 2}, {0, A.bottom, D - q2, 1}};
    stage.Edges({edges[k.way]}, b, f, 0);
}

void Squeeze(const tStage& stage, CTestPicture& first, CTestPicture& second, const tCase& k) {
    const tFixedRect full = FrameOf(first);
    const bool tall = k.way <= 2, middle = k.way == 1 || k.way == 4;
    const tInt D = (tall ? full.bottom : full.right) >> (middle ? 1 : 0);
    tInt b, f;
    BorderOf(D, k.border, k.feather, true, b, f);
    const tInt Q = Truncate(static_cast<double>(b + 2 * f + D) * k.progress + 0.5), qa = Q - f, qb = qa - b;
    const tInt sa = Limit(qa, D), sb = Limit(qb, D), pb = std::max<tInt>(qb, 0);
    tFixedRect Ra = full, Ra2 = full, Rb = full, source = full, source2 = full;
    std::vector<tEDGELINE> edges;
    switch (k.way) {
    case 0:
        Rb.bottom = sb, Ra.top = sa, edges = {{0, full.right, qb, 2}};
        break;
    case 2:
        Rb.top = D - sb, Ra.bottom = D - sa, edges = {{0, full.right, D - qb, 0}};
        break;
    case 3:
        Rb.right = sb, Ra.left = sa, edges = {{0, full.bottom, qb, 3}};
        break;
    case 5:
        Rb.left = D - sb, Ra.right = D - sa, edges = {{0, full.bottom, D - qb, 1}};
        break;
    case 1:
        Rb.top = D - sb, Rb.bottom = D + sb, Ra.bottom = D - sa, source.bottom = D, Ra2.top = D + sa, source2.top = D;
        edges = {{0, full.right, D - pb, 0}, {0, full.right, D + pb, 2}};
        break;
    default:
        Rb.left = D - sb, Rb.right = D + sb, Ra.right = D - sa, source.right = D, Ra2.left = D + sa, source2.left = D;
        edges = {{0, full.bottom, D - pb, 1}, {0, full.bottom, D + pb, 3}};
        break;
    }
    if (k.old) {
        stage.Blit(first, Grown(Ra), &source, true);
        if (middle) stage.Blit(first, Grown(Ra2), &source2, true);
        stage.Blit(first, Ra, &source, true);
        if (middle) stage.Blit(first, Ra2, &source2, true);
    } else {
        stage.Blit(first, full, nullptr, false);
    }
    stage.Blit(second, Rb, nullptr, true);
    if (middle && f - Q + b > 0) b -= f - Q + b;
    const tInt e = std::max<tInt>(f - Q, 0);
    if (f - Q >= 0) b = 0;
    stage.Edges(edges, b, f, e);
}

void Barn(const tStage& stage, CTestPicture& first, CTestPicture& second, const tCase& k) {
    const tFixedRect full = FrameOf(second);
    const bool sideways = k.way == 0;
    const tInt length = sideways ? full.right : full.bottom, other = sideways ? full.bottom : full.right,
               H = length >> 1;
    tInt b, f;
    BorderOf(H, k.border, k.feather, false, b, f);
    const tInt Q = Truncate(static_cast<double>(b + 2 * f + H) * k.progress + 0.5) - f;
    tInt s = std::max<tInt>(Q - b, 0), x = 0;
    if (s > H) x = s - H, s = H;
    tInt e = Q - 16384;
    if (e > H) b += H - e, e = H;
    const auto rect = [&](tInt from, tInt to) {
        return sideways ? tFixedRect{from, 0, to, other} : tFixedRect{0, from, other, to};
    };
    stage.Blit(first, FrameOf(first), nullptr, false);
    const tFixedRect near = rect(H - s, H), far = rect(H, H + s);
    stage.Blit(second, rect(0, s), &near, false);
    stage.Blit(second, rect(length - s, length), &far, false);
    stage.Edges({{0, other, e, sideways ? 1 : 0}, {0, other, length - e, sideways ? 3 : 2}}, x ? 0 : b, f, x);
}

constexpr float kAnchorX = 0.3f, kAnchorY = 0.9f;

void Zoom(const tStage& stage, CTestPicture& first, CTestPicture& second, const tCase& k) {
    const tFixedRect full = FrameOf(second);
    const double W = static_cast<double>(full.right), H = static_cast<double>(full.bottom);
    const tInt D = std::max(full.right, full.bottom);
    const double d = static_cast<double>(D);
    tInt f = Truncate(d * k.feather + 0.5);
    if ((Truncate(d * k.border + 0.5) || f) && f < 32768) f = 32768;
    const tInt z = Truncate(static_cast<double>(D + 2 * f) * k.progress + 0.5);
    const double s = z < D ? static_cast<double>(z) / d : 1.0;
    const tInt ax = Truncate(W * kAnchorX + 0.5), ay = Truncate(H * kAnchorY + 0.5);
    const auto scaled = [s](tInt anchor, tInt v) {
        return anchor + Truncate(static_cast<double>(v - anchor) * s + 0.5);
    };
    const tFixedRect to{scaled(ax, 0), scaled(ay, 0), scaled(ax, full.right), scaled(ay, full.bottom)};
    stage.Blit(first, FrameOf(first), nullptr, false);
    stage.Blit(second, to, nullptr, true);
    const tInt g = z >= D ? (z - D) >> 1 : 0;
    const tFixedRect e{to.left - g, to.top - g, to.right + g, to.bottom + g};
    stage.Edges({{e.left, e.right, e.top, 0},
                 {e.left, e.right, e.bottom, 2},
                 {e.top, e.bottom, e.left, 1},
                 {e.top, e.bottom, e.right, 3}},
                Truncate(d * k.border * s + 0.5), Truncate(d * k.feather * s + 0.5), 0);
}

struct tTransition {
    const char* name;
    LONG ways;
    void (*reference)(const tStage&, CTestPicture&, CTestPicture&, const tCase&);
    HRESULT (*kernel)(const tView&, const tView&, const tView&, LONG, const tCase&);
};

const tTransition kTransitions[] = {
    {"push", 4, Push,
     [](const tView& out, const tView& a, const tView& b, LONG size, const tCase& k) {
         return KwDibPush(out, a, b, size, {k.way, k.old, k.border, k.feather, 0.25f, 0.5f, 0.75f, 1.0f}, k.progress);
     }},
    {"squeeze", 6, Squeeze,
     [](const tView& out, const tView& a, const tView& b, LONG size, const tCase& k) {
         return KwDibSqueeze(out, a, b, size, {k.way, k.old, k.border, k.feather, 0.25f, 0.5f, 0.75f, 1.0f},
                             k.progress);
     }},
    {"barn", 2, Barn,
     [](const tView& out, const tView& a, const tView& b, LONG size, const tCase& k) {
         return KwDibBarn(out, a, b, size, {k.way, k.border, k.feather, 0.25f, 0.5f, 0.75f, 1.0f, 0}, k.progress);
     }},
    {"zoom", 1, Zoom,
     [](const tView& out, const tView& a, const tView& b, LONG size, const tCase& k) {
         return KwDibZoom(out, a, b, size, {kAnchorX, kAnchorY, k.border, k.feather, 0.25f, 0.5f, 0.75f, 1.0f, 0},
                          k.progress);
     }},
};

class Slide : public testing::TestWithParam<tTransition> {};

TEST_P(Slide, FollowsTheDefinition) {
    const tTransition& transition = GetParam();
    for (const LONG bytesPerPixel : {4, 16})
        for (const auto& [w, h] : {std::pair{41, 27}, {1, 1}, {1, 30}, {34, 1}, {2, 3}}) {
            const RECT whole{0, 0, w, h}, part{w / 3, h / 2, w, h};
            CTestPicture a(w, h, bytesPerPixel), b(w, h, bytesPerPixel);
            a.Fill(1, true);
            b.Fill(2, true);
            for (const RECT& clip : {whole, part})
                for (LONG way = 0; way < transition.ways; ++way)
                    for (const LONG old : {0, 1})
                        for (const auto& [border, feather] :
                             {std::pair{0.0f, 0.0f}, {0.1f, 0.0f}, {0.3f, 0.2f}, {0.0f, 0.15f}})
                            for (const double progress : {0.0, 0.01, 0.25, 0.337, 0.5, 0.81, 0.99, 1.0}) {
                                CTestPicture out(clip.right - clip.left, clip.bottom - clip.top, bytesPerPixel);
                                out.Fill(3, true);
                                CTestPicture expected = out;
                                const tCase k{way, old, border, feather, progress};
                                ASSERT_EQ(S_OK,
                                          transition.kernel(out.View(), a.View(&clip), b.View(), bytesPerPixel, k));
                                transition.reference({expected, clip}, a, b, k);
                                ASSERT_TRUE(out == expected)
                                    << w << "x" << h << " way " << way << " old " << old << " border " << border
                                    << " feather " << feather << " progress " << progress << " clip " << clip.left
                                    << ": " << out.FirstDifference(expected);
                                out.CheckGuards();
                            }
        }
}

INSTANTIATE_TEST_SUITE_P(Kernels, Slide, testing::ValuesIn(kTransitions),
                         [](const auto& info) { return std::string(info.param.name); });

} // namespace
