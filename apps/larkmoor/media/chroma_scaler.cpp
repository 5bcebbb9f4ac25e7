#include "media/chroma_scaler.h"

#include <algorithm>
#include <array>

#include "base/clones.h"

namespace larkmoor {

namespace {

constexpr int margin = 2;

/// The two samples of luma's around one of chroma's.
/// @param around two before it, itself, two behind it
/// @param shares four for either
KWCLONES void splitRow(const float* const* around, const float* shares, float* __restrict first,
                       float* __restrict second, int width) {
    const float *a = around[0], *b = around[1], *c = around[2], *d = around[3], *e = around[4];
    const float f0 = shares[0], f1 = shares[1], f2 = shares[2], f3 = shares[3];
    const float s0 = shares[4], s1 = shares[5], s2 = shares[6], s3 = shares[7];
    for (int x = 0; x < width; ++x) {
        first[x] = f0 * a[x] + f1 * b[x] + f2 * c[x] + f3 * d[x];
        second[x] = s0 * b[x] + s1 * c[x] + s2 * d[x] + s3 * e[x];
    }
}

KWCLONES void meanRow(const float* first, const float* second, float* __restrict out, int width) {
    for (int x = 0; x < width; ++x) out[x] = (first[x] + second[x]) * 0.5f;
}

/// The samples between sited ones.
KWCLONES void betweenRow(const float* const* around, float* __restrict out, int width) {
    const float *a = around[0], *b = around[1], *c = around[2], *d = around[3];
    for (int x = 0; x < width; ++x) out[x] = (b[x] + c[x]) * 0.5625f - (a[x] + d[x]) * 0.0625f;
}

/// What samples between sited ones have over those that `betweenRow` makes.
KWCLONES void detailRow(const float* const* around, const float* is, float* out, int width) {
    const float *a = around[0], *b = around[1], *c = around[2], *d = around[3];
    for (int x = 0; x < width; ++x) out[x] = is[x] - ((b[x] + c[x]) * 0.5625f - (a[x] + d[x]) * 0.0625f);
}

KWCLONES void siteRow(const float* at, const float* before, const float* behind, float* __restrict out, int width) {
    for (int x = 0; x < width; ++x) out[x] = at[x] + (before[x] + behind[x]) * 0.25f;
}

/// One row of a solution from two others.
KWCLONES void solveRow(float* __restrict row, const float* __restrict near, float shareNear,
                       const float* __restrict far, float shareFar, float scale, int width) {
    for (int x = 0; x < width; ++x) row[x] = (row[x] - shareNear * near[x] - shareFar * far[x]) * scale;
}

/// Chroma sits at none of luma's samples, or at the second of two.
bool isBetween(ChromaStep step) {
    return step.value_or(0) != 0;
}

void spreadEdges(float* row, int width) {
    for (int i = 1; i <= margin; ++i) {
        row[-i] = row[0];
        row[width - 1 + i] = row[width - 1];
    }
}

} // namespace

ChromaScaler::ChromaScaler(int width, int height, ChromaStep across, ChromaStep down)
    : m_width(width), m_height(height), m_smallWidth(chromaLength(width, across)),
      m_smallHeight(chromaLength(height, down)), m_across(across), m_down(down),
      m_even(static_cast<std::size_t>(m_smallWidth + 2 * margin)), m_odd(m_even.size()) {
    if (down) {
        m_half.resize(static_cast<std::size_t>(width) * static_cast<std::size_t>(m_smallHeight));
        m_spare.resize(static_cast<std::size_t>(width));
    }
    if (isBetween(across)) {
        m_pairAcross = pairOf(*across);
        m_meansAcross = meansOf(width, m_smallWidth, m_pairAcross);
    }
    if (isBetween(down)) {
        m_pairDown = pairOf(*down);
        m_meansDown = meansOf(height, m_smallHeight, m_pairDown);
    }
}

ChromaScaler::Pair ChromaScaler::pairOf(int place) {
    const int eighths = place / 64;
    Pair shares;
    for (std::size_t k = 0; k < 4; ++k) {
        shares[k] = chromaCubics[8 - eighths][k] / 1024.0f;
        shares[4 + k] = chromaCubics[4 - eighths][k] / 1024.0f;
    }
    return shares;
}

ChromaScaler::Means ChromaScaler::meansOf(int length, int smallLength, const Pair& pair) {
    const auto n = static_cast<std::size_t>(smallLength);
    Means m{std::vector<float>(n), std::vector<float>(n), std::vector<float>(n), std::vector<float>(n),
            std::vector<float>(n)};
    std::vector<std::array<double, 5>> rows(n); // of the matrix, the diagonal in the middle
    for (int i = 0; i < smallLength; ++i) {
        // Means of the pair; the last of an odd length is half a pair.
        const bool whole = 2 * i + 1 < length;
        for (int k = 0; k < 4; ++k) {
            const auto add = [&](int at, double share) {
                rows[static_cast<std::size_t>(i)]
                    [static_cast<std::size_t>(std::clamp(at, 0, smallLength - 1) - i + 2)] += share;
            };
            const double first = pair[static_cast<std::size_t>(k)], second = pair[static_cast<std::size_t>(k) + 4];
            add(i - 2 + k, whole ? first / 2 : first);
            if (whole) add(i - 1 + k, second / 2);
        }
    }
    for (std::size_t i = 0; i < n; ++i) {
        auto& row = rows[i];
        const double far = i >= 2 ? row[0] / rows[i - 2][2] : 0;
        if (i >= 2) row[1] -= far * rows[i - 2][3], row[2] -= far * rows[i - 2][4];
        const double near = i >= 1 ? row[1] / rows[i - 1][2] : 0;
        if (i >= 1) row[2] -= near * rows[i - 1][3], row[3] -= near * rows[i - 1][4];
        m.below[i] = static_cast<float>(near);
        m.below2[i] = static_cast<float>(far);
        m.above[i] = static_cast<float>(row[3]);
        m.above2[i] = static_cast<float>(row[4]);
        m.inverse[i] = static_cast<float>(1 / row[2]);
    }
    return m;
}

std::size_t ChromaScaler::smallSize() const {
    return static_cast<std::size_t>(m_smallWidth) * static_cast<std::size_t>(m_smallHeight);
}

void ChromaScaler::widenRow(const float* in, float* out) {
    if (!m_across) {
        std::copy_n(in, m_width, out);
        return;
    }
    float* even = m_even.data() + margin;
    float* odd = m_odd.data() + margin;
    std::copy_n(in, m_smallWidth, even);
    spreadEdges(even, m_smallWidth);
    const int pairs = m_width / 2;
    if (isBetween(m_across)) {
        const float* const around[] = {even - 2, even - 1, even, even + 1, even + 2};
        // Half a pair, too; then in place, from the end on.
        splitRow(around, m_pairAcross.data(), out, odd, m_smallWidth);
        for (int x = m_smallWidth - 1; x >= 0; --x) {
            out[2 * x] = out[x];
            if (2 * x + 1 < m_width) out[2 * x + 1] = odd[x];
        }
        return;
    }
    const float* const around[] = {even - 1, even, even + 1, even + 2};
    betweenRow(around, odd, pairs);
    for (int x = 0; x < pairs; ++x) {
        out[2 * x] = even[x];
        out[2 * x + 1] = odd[x];
    }
    if (m_width % 2) out[m_width - 1] = even[m_smallWidth - 1];
}

void ChromaScaler::shrinkRow(const float* in, float* out) {
    if (!m_across) {
        std::copy_n(in, m_width, out);
        return;
    }
    float* even = m_even.data() + margin;
    float* odd = m_odd.data() + margin;
    const int pairs = m_width / 2;
    for (int x = 0; x < pairs; ++x) {
        even[x] = in[2 * x];
        odd[x] = in[2 * x + 1];
    }
    if (m_width % 2) even[m_smallWidth - 1] = in[m_width - 1];
    if (isBetween(m_across)) {
        meanRow(even, odd, out, pairs);
        if (m_width % 2) out[m_smallWidth - 1] = even[m_smallWidth - 1];
        const Means& m = m_meansAcross;
        for (int x = 1; x < m_smallWidth; ++x) {
            const auto i = static_cast<std::size_t>(x);
            out[x] -= m.below[i] * out[x - 1] + (x > 1 ? m.below2[i] * out[x - 2] : 0);
        }
        for (int x = m_smallWidth - 1; x >= 0; --x) {
            const auto i = static_cast<std::size_t>(x);
            const float above = x + 1 < m_smallWidth ? m.above[i] * out[x + 1] : 0;
            const float above2 = x + 2 < m_smallWidth ? m.above2[i] * out[x + 2] : 0;
            out[x] = (out[x] - above - above2) * m.inverse[i];
        }
        return;
    }
    if (pairs == 0) {
        out[0] = even[0];
        return;
    }
    spreadEdges(even, m_smallWidth);
    const float* const around[] = {even - 1, even, even + 1, even + 2};
    detailRow(around, odd, odd, pairs);
    spreadEdges(odd, pairs);
    siteRow(even, odd - 1, odd, out, m_smallWidth);
}

void ChromaScaler::widen(std::span<const float> small, std::span<float> large) {
    float* const half = m_down ? m_half.data() : large.data();
    for (int y = 0; y < m_smallHeight; ++y)
        widenRow(small.data() + std::ptrdiff_t{y} * m_smallWidth, half + std::ptrdiff_t{y} * m_width);
    if (!m_down) return;
    const auto row = [&](int y) { return half + std::ptrdiff_t{std::clamp(y, 0, m_smallHeight - 1)} * m_width; };
    for (int y = 0; y < m_smallHeight; ++y) {
        float* first = large.data() + std::ptrdiff_t{2 * y} * m_width;
        const bool pair = 2 * y + 1 < m_height;
        if (isBetween(m_down)) {
            const float* const around[] = {row(y - 2), row(y - 1), row(y), row(y + 1), row(y + 2)};
            splitRow(around, m_pairDown.data(), first, pair ? first + m_width : m_spare.data(), m_width);
            continue;
        }
        std::copy_n(row(y), m_width, first);
        const float* const around[] = {row(y - 1), row(y), row(y + 1), row(y + 2)};
        if (pair) betweenRow(around, first + m_width, m_width);
    }
}

void ChromaScaler::shrink(std::span<const float> large, std::span<float> small) {
    const auto fine = [&](int y) { return large.data() + std::ptrdiff_t{y} * m_width; };
    const auto out = [&](int y) { return small.data() + std::ptrdiff_t{y} * m_smallWidth; };
    if (!m_down) {
        for (int y = 0; y < m_height; ++y) shrinkRow(fine(y), out(y));
        return;
    }
    const int pairs = m_height / 2;
    const auto half = [&](int y) {
        return m_half.data() + std::ptrdiff_t{std::clamp(y, 0, m_smallHeight - 1)} * m_width;
    };
    if (isBetween(m_down)) {
        for (int y = 0; y < pairs; ++y) meanRow(fine(2 * y), fine(2 * y + 1), half(y), m_width);
        if (m_height % 2) std::copy_n(fine(m_height - 1), m_width, half(m_smallHeight - 1));
        const Means& m = m_meansDown;
        const float* const none = m_spare.data();
        std::ranges::fill(m_spare, 0.0f);
        for (int y = 1; y < m_smallHeight; ++y) {
            const auto i = static_cast<std::size_t>(y);
            solveRow(half(y), half(y - 1), m.below[i], y > 1 ? half(y - 2) : none, m.below2[i], 1, m_width);
        }
        for (int y = m_smallHeight - 1; y >= 0; --y) {
            const auto i = static_cast<std::size_t>(y);
            const float* next = y + 1 < m_smallHeight ? half(y + 1) : none;
            const float* next2 = y + 2 < m_smallHeight ? half(y + 2) : none;
            solveRow(half(y), next, m.above[i], next2, m.above2[i], m.inverse[i], m_width);
        }
        for (int y = 0; y < m_smallHeight; ++y) shrinkRow(half(y), out(y));
        return;
    }
    if (pairs == 0) return shrinkRow(fine(0), out(0));
    const auto sited = [&](int y) { return fine(2 * std::clamp(y, 0, m_smallHeight - 1)); };
    const auto detail = [&](int y) { return half(std::clamp(y, 0, pairs - 1)); };
    for (int y = 0; y < pairs; ++y) {
        const float* const around[] = {sited(y - 1), sited(y), sited(y + 1), sited(y + 2)};
        detailRow(around, fine(2 * y + 1), detail(y), m_width);
    }
    for (int y = 0; y < m_smallHeight; ++y) {
        siteRow(sited(y), detail(y - 1), detail(y), m_spare.data(), m_width);
        shrinkRow(m_spare.data(), out(y));
    }
}

} // namespace larkmoor
