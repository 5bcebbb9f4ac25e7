#include "kernels/edges.h"

#include <array>
#include <cstring>
#include <new>
#include <type_traits>

#include "base/arith.h"
#include "base/bodies.h"
#include "kernels/mix_row.h"

namespace {

constexpr LONG kChunk = 512; // columns worked on together

constexpr std::size_t kSteps = 1024, kSolidStep = kSteps, kNoStep = kSteps + 1;

/// Weights of the 4-byte form by steps into the soft zone, then those of the border and of what lies outside.
using tStepWeights = std::array<tForm8::tWeight, kSteps + 2>;
const tStepWeights& StepWeights() {
    static const tStepWeights table = [] {
        tStepWeights t{};
        for (std::size_t i = 0; i < kSteps; ++i) {
            const double x = static_cast<double>(i) * 0.0009765625;
            const int w = 255 - KwByte(KwTrunc((3.0 * x * x - 2.0 * x * x * x) * 255.0 + 0.5));
            t[i] = w == 255 ? tForm8::kWhole : static_cast<tForm8::tWeight>(w);
        }
        t[kSolidStep] = tForm8::kWhole;
        t[kNoStep] = tForm8::kKeep;
        return t;
    }();
    return table;
}

struct tEdgeField {
    std::vector<tEDGELINE> lines; ///< in the output's place
    std::int64_t width, softness, extra, reach;
    tFixedRect core; ///< strictly inside it there is nothing to paint
};

/// An edge moved to the output's place.
tEDGELINE Moved(const tEDGELINE& e, tFixedPoint offset) {
    const bool alongY = e.flags & kEdgeAlongY;
    const std::int64_t along = alongY ? offset.y : offset.x, across = alongY ? offset.x : offset.y;
    return {e.from + along, e.to + along, e.position + across, e.flags};
}

/// Distance outwards from an edge.
std::int64_t Outwards(const tEDGELINE& e, std::int64_t across) {
    return e.flags & kEdgeReversed ? across - e.position : e.position - across;
}

/// Distance along an edge behind its nearer end, or `none` beside the edge.
std::int64_t BeyondEnd(const tEDGELINE& e, std::int64_t along, std::int64_t none) {
    const std::int64_t before = e.from - along, behind = along - e.to;
    return std::min(before < 0 ? none : before, behind < 0 ? none : behind);
}

std::array<std::uint8_t, 4> ColourOf(tForm8, const tPixelF& c) {
    const auto level = [](float v) { return KwByte(KwTrunc(v * 255.0 + 0.5)); };
    return {level(c.b), level(c.g), level(c.r), level(c.a)};
}
std::array<float, 4> ColourOf(tFormF, const tPixelF& c) {
    return {c.b, c.g, c.r, c.a};
}

std::int64_t Centre(LONG pixel) {
    return pixel * kOnePixel + kOnePixel / 2;
}

bool IsFar(const tEdgeField& f, std::int64_t d) {
    return d < 0 ? -d >= f.softness : d >= f.reach;
}

/// Whether two neighbouring columns get the same from every edge in every row.
bool ColumnsAgree(const tEdgeField& f, std::int64_t x0, std::int64_t x1) {
    if ((x0 > f.core.left && x0 < f.core.right) != (x1 > f.core.left && x1 < f.core.right)) return false;
    for (const tEDGELINE& e : f.lines) {
        if (e.flags & kEdgeAlongY) {
            const std::int64_t d0 = Outwards(e, x0), d1 = Outwards(e, x1);
            if (!IsFar(f, d0) || !IsFar(f, d1)) return false;
        } else {
            const bool beside0 = x0 >= e.from && x0 <= e.to, beside1 = x1 >= e.from && x1 <= e.to;
            if (beside0 != beside1) return false;
            if (!beside0 && (BeyondEnd(e, x0, f.reach) < f.reach || BeyondEnd(e, x1, f.reach) < f.reach)) return false;
        }
    }
    return true;
}

/// Whether row `y` gets from every edge just what the row before it gets, so that its weights can stay.
bool RowsAgree(const tEdgeField& f, std::int64_t y0, std::int64_t y1) {
    if ((y0 > f.core.top && y0 < f.core.bottom) != (y1 > f.core.top && y1 < f.core.bottom)) return false;
    for (const tEDGELINE& e : f.lines) {
        if (e.flags & kEdgeAlongY) {
            if ((y0 >= e.from && y0 <= e.to) != (y1 >= e.from && y1 <= e.to)) return false;
        } else if (!IsFar(f, Outwards(e, y0)) || !IsFar(f, Outwards(e, y1))) {
            return false;
        }
    }
    return true;
}

/// Distances of the columns of one chunk in one row, in 14-bit fixed point; whole numbers far inside what a double
/// holds exactly, and quicker in it than as 64-bit integers.
struct tDistances {
    double outside[kChunk], inside[kChunk];
};

// A distance that is not below the reach outside, or the softness inside, is none.

KWINLINE inline void MeetUpright(tDistances& near, const double* x, LONG count, double position, bool reversed) {
    for (LONG i = 0; i < count; ++i) {
        const double d = reversed ? x[i] - position : position - x[i];
        const double out = d < 0.0 ? near.outside[i] : d, in = d < 0.0 ? -d : near.inside[i];
        near.outside[i] = out < near.outside[i] ? out : near.outside[i];
        near.inside[i] = in < near.inside[i] ? in : near.inside[i];
    }
}
constexpr CKwBodies kMeetUpright(KwClones<MeetUpright>);

KWINLINE inline void MeetLevel(double* near, const double* x, LONG count, double from, double to, double distance) {
    for (LONG i = 0; i < count; ++i) {
        const double d = x[i] >= from && x[i] <= to ? distance : near[i];
        near[i] = d < near[i] ? d : near[i];
    }
}
constexpr CKwBodies kMeetLevel(KwClones<MeetLevel>);

/// The rounded end of a level edge, `distance` behind it.
KWINLINE inline void MeetEnds(double* corner, const double* x, LONG count, double from, double to, double distance) {
    for (LONG i = 0; i < count; ++i) {
        const double before = from - x[i], behind = x[i] - to;
        const double greater = before > behind ? before : behind, lesser = before > behind ? behind : before;
        const double m = lesser < 0.0 ? greater : lesser;
        const double e = __builtin_trunc(__builtin_sqrt(m * m + distance * distance));
        const double d = m >= 0.0 ? e : corner[i];
        corner[i] = d < corner[i] ? d : corner[i];
    }
}
constexpr CKwBodies kMeetEnds(KwClones<MeetEnds>);

/// Corners count where no edge does.
KWINLINE inline void TakeCorners(tDistances& near, const double* corner, LONG count, double reach, double softness) {
    for (LONG i = 0; i < count; ++i)
        near.outside[i] = near.outside[i] < reach || near.inside[i] < softness ? near.outside[i] : corner[i];
}
constexpr CKwBodies kTakeCorners(KwClones<TakeCorners>);

/// The lengths of a field as doubles.
struct tLengths {
    double width, softness, extra, reach;
};

/// The way into the soft zone, 0 to softness; `kSolid` and `kNone` for the border and for what is outside.
constexpr double kSolid = -1.0, kNone = -2.0;
KWINLINE inline double Depth(double outside, double inside, const tLengths& f) {
    const bool hit = outside < f.reach || inside < f.softness;
    const double out = f.extra == 0.0 ? outside : outside + f.extra < f.reach ? outside + f.extra : f.reach;
    const double in = f.extra == 0.0 ? inside : inside + f.extra < f.softness ? inside + f.extra : f.softness;
    const double way = out - f.width < in ? out - f.width : in;
    const double depth = way < 0.0 ? 0.0 : way > f.softness ? f.softness : way;
    return !hit ? kNone : out < f.width ? kSolid : depth;
}

/// Steps of the table: exact below 2^43.
KWINLINE inline void FindSteps(std::int32_t* steps, const tDistances& near, LONG count, const tLengths& f) {
    const double softness = f.softness;
    for (LONG i = 0; i < count; ++i) {
        const double depth = Depth(near.outside[i], near.inside[i], f), step = depth * 1023.0 / softness;
        const double solid = depth == kSolid ? static_cast<double>(kSolidStep) : step;
        steps[i] = static_cast<std::int32_t>(depth == kNone ? static_cast<double>(kNoStep) : solid);
    }
}
constexpr CKwBodies kFindSteps(KwClones<FindSteps>);

void Weigh8(tForm8::tWeight* weights, const tDistances& near, LONG count, const tLengths& f) {
    const tStepWeights& table = StepWeights();
    std::int32_t steps[kChunk];
    kFindSteps(steps, near, count, f);
    for (LONG i = 0; i < count; ++i) weights[i] = table[static_cast<std::size_t>(steps[i])];
}

KWINLINE inline void WeighF(tFormF::tWeight* weights, const tDistances& near, LONG count, const tLengths& f) {
    for (LONG i = 0; i < count; ++i) {
        const double depth = Depth(near.outside[i], near.inside[i], f), t = depth / f.softness;
        const auto w = static_cast<float>(1.0 - (3.0 * t * t - 2.0 * t * t * t));
        weights[i] = depth == kNone ? tFormF::kKeep : depth == kSolid ? tFormF::kWhole : w;
    }
}
constexpr CKwBodies kWeighF(KwClones<WeighF>);

/// Up to `kChunk` columns of the output.
template <class Form>
class CEdgeChunk {
  public:
    CEdgeChunk(const tEdgeField& field, LONG left, LONG right, const tPixelF& colour)
        : m_field(field), m_lengths{static_cast<double>(field.width), static_cast<double>(field.softness),
                                    static_cast<double>(field.extra), static_cast<double>(field.reach)},
          m_left(left) {
        const auto c = ColourOf(Form{}, colour);
        for (std::size_t i = 0; i < std::size(m_solid); ++i) m_solid[i] = c[i & 3];
        for (LONG x = left; x < right; ++x)
            if (x == left || !ColumnsAgree(field, Centre(x - 1), Centre(x))) {
                m_starts[m_runs] = x - left;
                m_x[m_runs++] = static_cast<double>(Centre(x));
            }
        m_starts[m_runs] = right - left;
    }

    void Paint(std::byte* bits, LONG stride, LONG top, LONG bottom) {
        for (LONG y = top; y < bottom; ++y) {
            if (y == top || !RowsAgree(m_field, Centre(y - 1), Centre(y))) {
                if (y == top || !UprightAgree(Centre(y - 1), Centre(y))) MeetUprights(Centre(y));
                MeetRow(Centre(y));
            }
            auto* row = reinterpret_cast<tChannel*>(bits + static_cast<std::ptrdiff_t>(y) * stride +
                                                    static_cast<std::ptrdiff_t>(m_left) * Form::kPixelSize);
            for (LONG s = 0; s < m_spanCount; ++s) PaintSpan(row, m_spans[s]);
        }
    }

  private:
    using tChannel = typename Form::tChannel;
    using tWeight = typename Form::tWeight;
    using tLevel = std::conditional_t<std::is_same_v<Form, tForm8>, std::uint8_t, float>;

    /// Columns with something to paint; `whole` all with the colour itself.
    struct tSpan {
        LONG from, to;
        bool whole;
    };

    static bool Passes(const tEDGELINE& e, std::int64_t along) { return along >= e.from && along <= e.to; }

    bool UprightAgree(std::int64_t y0, std::int64_t y1) const {
        return std::ranges::all_of(m_field.lines, [&](const tEDGELINE& e) {
            return !(e.flags & kEdgeAlongY) || Passes(e, y0) == Passes(e, y1);
        });
    }

    void MeetUprights(std::int64_t y) {
        std::fill_n(m_upright.outside, m_runs, m_lengths.reach);
        std::fill_n(m_upright.inside, m_runs, m_lengths.softness);
        for (const tEDGELINE& e : m_field.lines)
            if ((e.flags & kEdgeAlongY) && Passes(e, y))
                kMeetUpright(m_upright, m_x, m_runs, static_cast<double>(e.position), (e.flags & kEdgeReversed) != 0);
    }

    void MeetRow(std::int64_t y) {
        std::copy_n(m_upright.outside, m_runs, m_near.outside);
        std::copy_n(m_upright.inside, m_runs, m_near.inside);
        bool corners = false;
        for (const tEDGELINE& e : m_field.lines) {
            const std::int64_t d = Outwards(e, y);
            if ((e.flags & kEdgeAlongY) || IsFar(m_field, d)) continue;
            kMeetLevel(d < 0 ? m_near.inside : m_near.outside, m_x, m_runs, static_cast<double>(e.from),
                       static_cast<double>(e.to), static_cast<double>(d < 0 ? -d : d));
            corners = corners || d >= 1;
        }
        if (corners) MeetCorners(y);
        if (y > m_field.core.top && y < m_field.core.bottom) LeaveCore();
        tWeight runWeights[kChunk];
        if constexpr (std::is_same_v<Form, tForm8>)
            Weigh8(runWeights, m_near, m_runs, m_lengths);
        else
            kWeighF(runWeights, m_near, m_runs, m_lengths);
        SetSpans(runWeights);
    }

    void MeetCorners(std::int64_t y) {
        double corner[kChunk];
        std::fill_n(corner, m_runs, m_lengths.reach);
        for (const tEDGELINE& e : m_field.lines) {
            const std::int64_t d = Outwards(e, y);
            if (!(e.flags & kEdgeAlongY) && d >= 1 && d < m_field.reach)
                kMeetEnds(corner, m_x, m_runs, static_cast<double>(e.from), static_cast<double>(e.to),
                          static_cast<double>(d));
        }
        kTakeCorners(m_near, corner, m_runs, m_lengths.reach, m_lengths.softness);
    }

    void LeaveCore() {
        const auto left = static_cast<double>(m_field.core.left), right = static_cast<double>(m_field.core.right);
        for (LONG r = 0; r < m_runs; ++r)
            if (m_x[r] > left && m_x[r] < right) {
                m_near.outside[r] = m_lengths.reach;
                m_near.inside[r] = m_lengths.softness;
            }
    }

    void SetSpans(const tWeight* runWeights) {
        m_spanCount = 0;
        LONG end = -1; // of the last span, and its kind
        bool wholeSpan = false;
        for (LONG r = 0; r < m_runs; ++r) {
            const tWeight w = runWeights[r];
            if (w == Form::kKeep) continue;
            const LONG from = m_starts[r], to = m_starts[r + 1];
            m_weights[from] = w;
            if (to - from > 1) std::fill(m_weights + from + 1, m_weights + to, w);
            const bool whole = w == Form::kWhole;
            if (end != from || whole != wholeSpan) m_spans[m_spanCount++] = {from, to, whole};
            m_spans[m_spanCount - 1].to = end = to;
            wholeSpan = whole;
        }
    }

    void PaintSpan(tChannel* row, const tSpan& span) const {
        tChannel* const at = row + std::ptrdiff_t{span.from} * 4;
        const LONG count = span.to - span.from;
        if (span.whole)
            std::memcpy(at, m_solid, static_cast<std::size_t>(count) * Form::kPixelSize);
        else
            KwMixRow(at, at, m_solid, m_weights + span.from, count);
    }

    const tEdgeField& m_field;
    const tLengths m_lengths;
    const LONG m_left;
    LONG m_runs = 0, m_spanCount = 0;
    LONG m_starts[kChunk + 1]; ///< columns fall into runs with one weight each
    double m_x[kChunk];        ///< of a run's first column
    tDistances m_upright, m_near;
    tWeight m_weights[kChunk];
    tSpan m_spans[kChunk];
    tLevel m_solid[kChunk * 4];
};

} // namespace

HRESULT CEdgeList::Append(std::span<const tEDGELINE> lines) try {
    m_lines.reserve(std::max<std::size_t>(4, m_lines.size() + lines.size()));
    m_lines.insert(m_lines.end(), lines.begin(), lines.end());
    return S_OK;
} catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
}

HRESULT CEdgeList::Add(const tEDGELINE& edge) {
    return Append({&edge, 1});
}

HRESULT CEdgeList::AddRectangle(const tFixedRect& r) {
    const tEDGELINE sides[] = {{r.left, r.right, r.top, 0},
                               {r.left, r.right, r.bottom, kEdgeReversed},
                               {r.top, r.bottom, r.left, kEdgeAlongY},
                               {r.top, r.bottom, r.right, kEdgeAlongY | kEdgeReversed}};
    return Append(sides);
}

HRESULT KwDibDrawEdges(const CEdgeList& list, void* outBits, tExtent outSize, LONG outStride, tFixedPoint offset,
                       std::int64_t width, std::int64_t softness, std::int64_t extra, const tPixelF& colour,
                       LONG bytesPerPixel) {
    KwMinimumSoftness(width, softness);
    const std::int64_t reach = width + softness;
    if (list.Lines().empty() || reach == 0) return S_OK;

    tEdgeField field{{}, width, softness, extra, reach, {}};
    try {
        for (const tEDGELINE& line : list.Lines()) field.lines.push_back(Moved(line, offset));
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
    constexpr std::int64_t kMost = std::numeric_limits<std::int64_t>::max(), kLeast = -kMost;
    tFixedRect box{kMost, kMost, kLeast, kLeast};
    for (const tEDGELINE& e : field.lines) {
        const bool alongY = e.flags & kEdgeAlongY;
        box.left = std::min(box.left, alongY ? e.position : std::min(e.from, e.to));
        box.right = std::max(box.right, alongY ? e.position : std::max(e.from, e.to));
        box.top = std::min(box.top, alongY ? std::min(e.from, e.to) : e.position);
        box.bottom = std::max(box.bottom, alongY ? std::max(e.from, e.to) : e.position);
    }
    field.core = {box.left + softness, box.top + softness, box.right - softness, box.bottom - softness};
    const auto limited = [](std::int64_t pixel, LONG size) {
        return static_cast<LONG>(std::clamp<std::int64_t>(pixel, 0, std::max<LONG>(size, 0)));
    };
    const LONG left = limited(KwFixedFloor(box.left - reach), outSize.width);
    const LONG right = limited(KwFixedCeil(box.right + reach), outSize.width);
    const LONG top = limited(KwFixedFloor(box.top - reach), outSize.height);
    const LONG bottom = limited(KwFixedCeil(box.bottom + reach), outSize.height);
    if (top >= bottom) return S_OK;
    KwWithForm(bytesPerPixel, [&]<class Form>(Form) {
        for (LONG x = left; x < right; x += std::min(kChunk, right - x))
            CEdgeChunk<Form>(field, x, std::min(right, x + kChunk), colour)
                .Paint(static_cast<std::byte*>(outBits), outStride, top, bottom);
    });
    return S_OK;
}
