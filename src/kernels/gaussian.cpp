#include "kernels/gaussian.h"

#include <algorithm>
#include <cmath>
#include <exception>
#include <limits>
#include <vector>

#include "base/arith.h"
#include "base/functions.h"
#include "kernels/copy.h"
#include "kernels/gaussian_lanes.h"

void kw_gaussian::PlainLine(std::span<const double> x, const tGaussianCoefficients& c, std::span<double> ahead,
                            std::span<double> back) {
    const auto count = std::ssize(x);
    const auto walk = [&](std::span<double> y, const double* taps, const double* ends, std::ptrdiff_t from,
                          std::ptrdiff_t step) {
        const auto at = [=](std::ptrdiff_t i) { return static_cast<std::size_t>(from + i * step); };
        std::ranges::fill(y, 0.0); // the first tap, 0, meets a result that is not there yet
        for (std::ptrdiff_t i = 0; i < count; ++i) {
            double v = 0.0;
            for (std::ptrdiff_t k = 0; k < 5; ++k)
                v += k < i ? taps[k] * x[at(i - k)] - c.d[k] * y[at(i - k)] : (taps[k] - ends[k]) * x[at(0)];
            y[at(i)] = std::fabs(v) < kTiny ? 0.0 : v;
        }
    };
    walk(ahead, c.n, c.bn, 0, 1);
    walk(back, c.m, c.bm, count - 1, -1);
    for (std::size_t i = 0; i < x.size(); ++i) ahead[i] += back[i];
}

namespace {

/// The definition: line by line, the first pass kept as floats. `offset` and `channels`: which of a pixel's.
void BlurPlain(const tRows& destination, const tRows& source, const tGaussianCoefficients& across,
               const tGaussianCoefficients& down, LONG offset, LONG channels, CKwScratch&) {
    const LONG width = source.width, height = source.height;
    const auto filtered = [](const std::vector<double>& x, const tGaussianCoefficients& taps) {
        std::vector<double> ahead(x.size()), back(x.size());
        kw_gaussian::PlainLine(x, taps, ahead, back);
        return ahead;
    };
    for (LONG c = offset; c < offset + channels; ++c) {
        std::vector<std::vector<double>> columns(static_cast<std::size_t>(width));
        for (LONG y = 0; y < height; ++y) {
            std::vector<double> row;
            for (LONG x = 0; x < width; ++x) row.push_back(source.Row<std::uint8_t>(y)[std::ptrdiff_t{x} * 4 + c]);
            const std::vector<double> line = filtered(row, across);
            for (std::size_t x = 0; x < line.size(); ++x)
                columns[x].push_back(static_cast<double>(static_cast<float>(line[x])));
        }
        for (LONG x = 0; x < width; ++x) {
            const std::vector<double> line = filtered(columns[static_cast<std::size_t>(x)], down);
            for (LONG y = 0; y < height; ++y)
                destination.Row<std::uint8_t>(y)[std::ptrdiff_t{x} * 4 + c] =
                    kw_gaussian::ToLevel(line[static_cast<std::size_t>(y)]);
        }
    }
}

constexpr CKwBodies kBlur(BlurPlain, tKwBody{eKwLevel::Base, kw_gaussian::BlurLanes});

HRESULT Blur(const tView& destination, const tView& source, LONG bytesPerPixel, double horizontalRadius,
             double verticalRadius, LONG offset, LONG channels, CKwScratch* kept = nullptr) try {
    tRows d, s;
    const HRESULT status = KwDibResolvePair(destination, source, bytesPerPixel, d, s);
    CKwScratch own;
    if (SUCCEEDED(status) && d.width > 0 && bytesPerPixel == 4)
        kBlur(d, s, KwGaussianCoefficients(KwGaussianSigma(horizontalRadius)),
              KwGaussianCoefficients(KwGaussianSigma(verticalRadius)), offset, channels, kept ? *kept : own);
    return status;
} catch (const std::exception&) { // no memory for the plain form
    return S_OK;
}

} // namespace

void* CKwScratch::Room(std::size_t bytes) {
    constexpr std::size_t kLargePage = std::size_t{2} << 20;
    if (m_memory && bytes <= m_bytes) return m_memory.get();
    m_memory.reset();
    // At 3840x2160 touching small pages for the first time costs a quarter of a blur.
    const std::size_t page = bytes < 8 * kLargePage ? 64 : kLargePage;
    m_bytes = (bytes + page - 1) / page * page;
    m_memory.reset(KwAllocateAligned(page, m_bytes));
    return m_memory.get();
}

double KwGaussianSigma(double radius) {
    // One and the same not-a-number, since its bits would show in the rounding.
    if (std::isnan(radius)) return std::numeric_limits<double>::quiet_NaN();
    const double reach = std::fabs(radius) + 1.5;
    return std::sqrt(-(reach * reach) / (2.0 * KwLog(0.00392156862745098)));
}

tGaussianCoefficients KwGaussianCoefficients(double sigma) {
    const double a0 = 1.6803f, a1 = 3.735f, b0 = 1.783f, b1 = 1.723f;
    const double c0 = -0.6803f, c1 = -0.2598f, w0 = 0.6318f, w1 = 1.997f;
    const double k = 1.0 / (sigma * 2.50662827463);
    const double A0 = a0 * k, A1 = a1 * k, C0 = c0 * k, C1 = c1 * k;
    const double E0 = KwExp(-b0 / sigma), E1 = KwExp(-b1 / sigma);
    const double sinP = KwSin(w0 / sigma), cosP = KwCos(w0 / sigma);
    const double sinQ = KwSin(w1 / sigma), cosQ = KwCos(w1 / sigma);

    tGaussianCoefficients c{};
    c.n[0] = A0 + C0;
    c.n[1] = E0 * (A1 * sinP - (2.0 * C0 + A0) * cosP) + E1 * (C1 * sinQ - (2.0 * A0 + C0) * cosQ);
    c.n[2] = 2.0 * E0 * E1 * (c.n[0] * cosQ * cosP - A1 * sinP * cosQ - C1 * cosP * sinQ) + A0 * E1 * E1 + C0 * E0 * E0;
    c.n[3] = E0 * E1 * E1 * (A1 * sinP - A0 * cosP) + E0 * E0 * E1 * (C1 * sinQ - C0 * cosQ);
    c.d[1] = -2.0 * E1 * cosQ - 2.0 * E0 * cosP;
    c.d[2] = 4.0 * E0 * E1 * cosP * cosQ + E1 * E1 + E0 * E0;
    c.d[3] = -2.0 * E0 * E1 * E1 * cosP - 2.0 * E0 * E0 * E1 * cosQ;
    c.d[4] = E0 * E0 * E1 * E1;
    for (int i = 1; i < 5; ++i) c.m[i] = c.n[i] - c.d[i] * c.n[0];

    double sumN = 0.0, sumM = 0.0, sumD = 0.0;
    for (int i = 0; i < 5; ++i) {
        sumN += c.n[i];
        sumM += c.m[i];
        sumD += c.d[i];
    }
    sumD = 1.0 + sumD;
    const bool whole = std::fabs(sumD) <= kw_gaussian::kTiny;
    const double ratioN = whole ? 1.0 : sumN / sumD;
    const double ratioM = whole ? 1.0 : sumM / sumD;
    for (int i = 0; i < 5; ++i) {
        c.bn[i] = ratioN * c.d[i];
        c.bm[i] = ratioM * c.d[i];
    }
    return c;
}

HRESULT KwDibGaussianBlur(const tView& destination, const tView& source, LONG bytesPerPixel, double horizontalRadius,
                          double verticalRadius, CKwScratch* kept) {
    return Blur(destination, source, bytesPerPixel, horizontalRadius, verticalRadius, 0, 4, kept);
}

HRESULT KwDibGaussianBlurChannel(const tView& destination, const tView& source, LONG bytesPerPixel,
                                 double horizontalRadius, double verticalRadius, LONG channel) {
    return Blur(destination, source, bytesPerPixel, horizontalRadius, verticalRadius, KwDibChannelOffset(channel, 4),
                1);
}
