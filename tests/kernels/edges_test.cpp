#include "kernels/edges.h"

#include "kernels/picture.h"

namespace {

using tInt = std::int64_t;

/// The definition, pixel by pixel.
void Reference(CTestPicture& out, const std::vector<tEDGELINE>& list, tFixedPoint offset, tInt width, tInt softness,
               tInt extra, const tPixelF& colour) {
    if ((width || softness) && softness < 32768) {
        width = std::max<tInt>(width - (32768 - softness), 0);
        softness = 32768;
    }
    const tInt reach = width + softness;
    if (list.empty() || reach == 0) return;
    std::vector<tEDGELINE> edges = list;
    tInt left = INT64_MAX, top = INT64_MAX, right = INT64_MIN, bottom = INT64_MIN;
    for (tEDGELINE& e : edges) {
        const bool alongY = e.flags & 1;
        e.from += alongY ? offset.y : offset.x;
        e.to += alongY ? offset.y : offset.x;
        e.position += alongY ? offset.x : offset.y;
        left = std::min(left, alongY ? e.position : e.from);
        right = std::max(right, alongY ? e.position : e.to);
        top = std::min(top, alongY ? e.from : e.position);
        bottom = std::max(bottom, alongY ? e.to : e.position);
    }
    for (LONG row = 0; row < out.Height(); ++row)
        for (LONG col = 0; col < out.Width(); ++col) {
            const tInt x = (tInt{col} << 14) | 0x2000, y = (tInt{row} << 14) | 0x2000;
            if (x > left + softness && x < right - softness && y > top + softness && y < bottom - softness) continue;
            tInt dOut = reach, dIn = softness;
            bool hit = false;
            for (const tEDGELINE& e : edges) {
                const tInt along = e.flags & 1 ? y : x, across = e.flags & 1 ? x : y;
                if (along < e.from || along > e.to) continue;
                const tInt d = (e.position - across) * (e.flags & 2 ? -1 : 1);
                if (d < 0 && -d < dIn) dIn = -d, hit = true;
                if (d >= 0 && d < dOut) dOut = d, hit = true;
            }
            if (!hit)
                for (const tEDGELINE& e : edges) {
                    if (e.flags & 1) continue;
                    const tInt m = std::min(e.from - x < 0 ? dOut : e.from - x, x - e.to < 0 ? dOut : x - e.to);
                    const tInt d = (e.position - y) * (e.flags & 2 ? -1 : 1);
                    if (m < 0 || m >= dOut || d < 1 || d >= dOut) continue;
                    const auto r = static_cast<tInt>(std::sqrt(static_cast<double>(m * m + d * d)));
                    if (r < dOut) dOut = r, hit = true;
                }
            if (!hit) continue;
            if (extra) {
                dOut = std::min(reach, dOut + extra);
                dIn = std::min(softness, dIn + extra);
            }
            if (dOut >= width && softness == 0) continue;
            const bool solid = dOut < width;
            const tInt k = solid ? 0 : std::min(dOut - width, dIn);
            const float level[] = {colour.b, colour.g, colour.r, colour.a};
            for (int c = 0; c < 4; ++c) {
                if (out.BytesPerPixel() == 4) {
                    const double t = static_cast<double>(k * 1023 / softness) * 0.0009765625;
                    const int w = 255 - static_cast<int>((3 * t * t - 2 * t * t * t) * 255 + 0.5);
                    std::uint8_t& d = out.At(col, row)[c];
                    const int s = static_cast<int>(level[c] * 255.0 + 0.5);
                    d = static_cast<std::uint8_t>(solid || w == 255 ? s : d + (s - d) * w / 256);
                } else {
                    const double t = static_cast<double>(k) / static_cast<double>(softness);
                    const auto w = static_cast<float>(1.0 - (3 * t * t - 2 * t * t * t));
                    float& d = (&out.PixelF(col, row).b)[c];
                    d = solid ? level[c] : d + (level[c] - d) * w;
                }
            }
        }
}

constexpr tPixelF kColour{0.2f, 0.5f, 1.0f, 0.75f};

void Compare(const std::vector<tEDGELINE>& lines, LONG w, LONG h, tInt width, tInt softness, tInt extra,
             tFixedPoint offset = {0, 0}) {
    for (const LONG bytesPerPixel : {4, 16}) {
        CTestPicture actual(w, h, bytesPerPixel);
        actual.Fill(7, true);
        CTestPicture expected = actual;
        CEdgeList list;
        for (const tEDGELINE& line : lines) ASSERT_EQ(S_OK, list.Add(line));
        ASSERT_EQ(S_OK, KwDibDrawEdges(list, actual.At(0, 0), {w, h}, actual.Stride(), offset, width, softness, extra,
                                       kColour, bytesPerPixel));
        Reference(expected, lines, offset, width, softness, extra, kColour);
        ExpectSame(actual, expected);
    }
}

constexpr tInt kPixel = 16384;

TEST(Edges, SingleEdgesFollowTheDefinition) {
    for (LONG flags = 0; flags < 4; ++flags)
        for (const tInt position : {-3 * kPixel, tInt{0}, 7 * kPixel + 5000, 20 * kPixel})
            for (const auto& [width, softness] : {std::pair{2 * kPixel, 4 * kPixel},
                                                  {tInt{100}, tInt{0}},
                                                  {5 * kPixel, kPixel},
                                                  {tInt{0}, 7 * kPixel + 1}})
                for (const tInt extra : {tInt{0}, kPixel + 77})
                    Compare({{0, 23 * kPixel, position, flags}}, 23, 19, width, softness, extra);
}

TEST(Edges, RectanglesHaveRoundCornersAndAnUntouchedCore) {
    for (const tInt left : {-5 * kPixel, 6 * kPixel + 99, 31 * kPixel})
        for (const tInt width : {tInt{0}, 3 * kPixel, 40 * kPixel})
            for (const tInt softness : {2 * kPixel, 9 * kPixel + 1}) {
                const tFixedRect r{left, 5 * kPixel + 300, left + 25 * kPixel + 10, 20 * kPixel};
                CEdgeList list;
                ASSERT_EQ(S_OK, list.AddRectangle(r));
                Compare({list.Lines().begin(), list.Lines().end()}, 300, 33, width, softness, 0, {-kPixel, 2 * kPixel});
            }
}

TEST(Edges, AnyListFollowsTheDefinition) {
    std::minstd_rand random(11);
    const auto some = [&](tInt most) { return static_cast<tInt>(random() % static_cast<unsigned>(most)); };
    for (int round = 0; round < 150; ++round) {
        std::vector<tEDGELINE> lines;
        for (int i = 0; i < 1 + round % 6; ++i) {
            const tInt from = some(50 * kPixel) - 10 * kPixel;
            lines.push_back(
                {from, from + some(40 * kPixel), some(50 * kPixel) - 10 * kPixel, static_cast<LONG>(some(4))});
        }
        Compare(lines, 41, 37, some(9 * kPixel), some(12 * kPixel), round % 3 ? 0 : some(3 * kPixel),
                {-some(5 * kPixel), some(5 * kPixel)});
    }
}

} // namespace
