#include "kernels/test_pattern.h"

#include <algorithm>
#include <new>
#include <span>

#include "base/arith.h"
#include "kernels/copy.h"

namespace {

constexpr DWORD kBlack = 0xFF101010, kBelowBlack = 0xFF070707, kAboveBlack = 0xFF292929, kWhite = 0xFFEBEBEB,
                kGrey = 0xFFB4B4B4, kYellow = 0xFFB4B410, kCyan = 0xFF10B4B4, kGreen = 0xFF10B410,
                kMagenta = 0xFFB410B4, kRed = 0xFFB41010, kBlue = 0xFF1010B4, kMinusI = 0xFF102871, kPlusQ = 0xFF4600A5;

/// A rectangle in parts of the frame, ends included. The first row of a table that holds a point colours it.
struct tPatternBar {
    double x0, y0, x1, y1;
    DWORD color;
};

constexpr double kTop = 2.0 / 3.0, kMiddle = 3.0 / 4.0;
constexpr double kS1 = 1.0 / 7.0, kS2 = 2.0 / 7.0, kS3 = 3.0 / 7.0, kS4 = 4.0 / 7.0, kS5 = 5.0 / 7.0, kS6 = 6.0 / 7.0;

// SMPTE EG 1: seven bars, castellations, then I, white, Q and the pluge.
constexpr tPatternBar kSmpteNtsc[] = {
    {0, 0, kS1, kTop, kGrey},
    {kS1, 0, kS2, kTop, kYellow},
    {kS2, 0, kS3, kTop, kCyan},
    {kS3, 0, kS4, kTop, kGreen},
    {kS4, 0, kS5, kTop, kMagenta},
    {kS5, 0, kS6, kTop, kRed},
    {kS6, 0, 1, kTop, kBlue},
    {0, kTop, kS1, kMiddle, kBlue},
    {kS1, kTop, kS2, kMiddle, kBlack},
    {kS2, kTop, kS3, kMiddle, kMagenta},
    {kS3, kTop, kS4, kMiddle, kBlack},
    {kS4, kTop, kS5, kMiddle, kCyan},
    {kS5, kTop, kS6, kMiddle, kBlack},
    {kS6, kTop, 1, kMiddle, kGrey},
    {0, kMiddle, 1.0 / 6.0, 1, kMinusI},
    {1.0 / 6.0, kMiddle, 2.0 / 6.0, 1, kWhite},
    {2.0 / 6.0, kMiddle, 3.0 / 6.0, 1, kPlusQ},
    {kS5, kMiddle, 16.0 / 21.0, 1, kBelowBlack},
    {17.0 / 21.0, kMiddle, kS6, 1, kAboveBlack},
};

constexpr tPatternBar kSmptePal[] = {
    {0, 0, kS1, kTop, kWhite},
    {kS1, 0, kS2, kTop, kYellow},
    {kS2, 0, kS3, kTop, kCyan},
    {kS3, 0, kS4, kTop, kGreen},
    {kS4, 0, kS5, kTop, kMagenta},
    {kS5, 0, kS6, kTop, kRed},
    {kS6, 0, 1, kTop, kBlue},
    {0, kTop, kS1, kMiddle, 0xFF1010EB},
    {kS1, kTop, kS2, kMiddle, kBlack},
    {kS2, kTop, kS3, kMiddle, kMagenta},
    {kS3, kTop, kS4, kMiddle, kBlack},
    {kS4, kTop, kS5, kMiddle, kCyan},
    {kS5, kTop, kS6, kMiddle, kBlack},
    {kS6, kTop, 1, kMiddle, kGrey},
    {0, kMiddle, 1.0 / 2.0, 1, kBlack},
    {kS5, kMiddle, 16.0 / 21.0, 1, kBelowBlack},
    {17.0 / 21.0, kMiddle, kS6, 1, kAboveBlack},
};

constexpr tPatternBar kColorNtsc[] = {
    {0, 0, kS1, 1, kGrey},      {kS1, 0, kS2, 1, kYellow}, {kS2, 0, kS3, 1, kCyan}, {kS3, 0, kS4, 1, kGreen},
    {kS4, 0, kS5, 1, kMagenta}, {kS5, 0, kS6, 1, kRed},    {kS6, 0, 1, 1, kBlue},
};

constexpr tPatternBar kColorPal[] = {
    {0, 0, kS1, 1, kWhite},     {kS1, 0, kS2, 1, kYellow}, {kS2, 0, kS3, 1, kCyan}, {kS3, 0, kS4, 1, kGreen},
    {kS4, 0, kS5, 1, kMagenta}, {kS5, 0, kS6, 1, kRed},    {kS6, 0, 1, 1, kBlue},
};

constexpr tPatternBar kWhiteTable[] = {
    {0.1, 0.1, 0.3, 0.9, kWhite},
    {0.3, 0.1, 0.5, 0.9, kGrey},
    {0.5, 0.1, 0.7, 0.9, 0xFF7D7D7D},
    {0.7, 0.1, 0.9, 0.9, 0xFF464646},
};

constexpr tPatternBar kYellowTable[] = {
    {0.1, 0.1, 0.3, 0.9, 0xFFEBEB10},
    {0.3, 0.1, 0.5, 0.9, kYellow},
    {0.5, 0.1, 0.7, 0.9, 0xFF7D7D10},
    {0.7, 0.1, 0.9, 0.9, 0xFF464610},
};

constexpr tPatternBar kPlugeTable[] = {
    {0.1, 0.1, 0.2, 0.9, kBelowBlack}, {0.3, 0.1, 0.4, 0.9, kAboveBlack}, {0.5, 0.1, 0.9, 0.3, kWhite},
    {0.5, 0.3, 0.9, 0.5, kGrey},       {0.5, 0.5, 0.9, 0.7, 0xFF7D7D7D},  {0.5, 0.7, 0.9, 0.9, 0xFF464646},
};

/// By number; the ramp and the gradient have no table.
constexpr std::span<const tPatternBar> kTables[kTestPatterns] = {
    kSmpteNtsc, kWhiteTable, kYellowTable, kPlugeTable, {}, {}, kSmptePal, kColorNtsc, kColorPal,
};

constexpr double kBorder = 0.1, kFarBorder = 0.9;

void FillBars(std::span<const tPatternBar> table, double width, double height, const tFillRequest& request,
              std::size_t room) {
    const double y = request.y / height;
    for (std::size_t i = 0; i < request.count && i < room;) {
        const double x = (static_cast<double>(i) + request.x) / width;
        const auto bar = std::find_if(table.begin(), table.end(), [&](const tPatternBar& row) {
            return x >= row.x0 && x <= row.x1 && y >= row.y0 && y <= row.y1;
        });
        if (bar == table.end()) {
            request.samples[i++] = kBlack;
            continue;
        }
        const double remainder = static_cast<float>(bar->x1 - x);
        const auto run = static_cast<std::size_t>(KwTrunc(width * remainder - 0.5)) + 1;
        const std::size_t fits = std::min(run, room - i);
        KwSetMemoryDWords(request.samples + i, bar->color, static_cast<ULONG>(fits));
        i += fits;
    }
}

void FillRamp(double width, double height, const tFillRequest& request) {
    const double y = request.y / height;
    const bool inside = y >= kBorder && y <= kFarBorder;
    for (std::size_t i = 0; i < request.count; ++i) {
        const double x = (static_cast<double>(i) + request.x) / width;
        const auto grey = static_cast<DWORD>(KwTrunc(x * 255.0));
        request.samples[i] = inside && x >= kBorder && x <= kFarBorder ? 0xFF000000 | grey * 0x010101 : kBlack;
    }
}

DWORD GradientBlue(ULONG y, double height) {
    return KwByte(KwTrunc(y / height * 255.0));
}

void FillGradient(double height, const tFillRequest& request) {
    const DWORD blue = GradientBlue(request.y, height);
    for (std::size_t i = 0; i < request.count; ++i) {
        const double t = static_cast<double>(i) / request.count * 255.0;
        const auto red = static_cast<DWORD>(KwTrunc(255.0 - t)), green = static_cast<DWORD>(KwTrunc(t));
        request.samples[i] = 0xFF000000 | red << 16 | green << 8 | blue;
    }
}

} // namespace

void KwFillTestPattern(ULONG type, LONG width, LONG height, const tFillRequest& request, std::size_t room) {
    if (type >= kTestPatterns) type = kSmpteBarsNtsc;
    tFillRequest cut = request;
    cut.count = static_cast<ULONG>(std::min<std::size_t>(request.count, room));
    if (type == kRampPattern) return FillRamp(width, height, cut);
    if (type == kGradientPattern) return FillGradient(height, cut);
    FillBars(kTables[type], width, height, request, room);
}

void CTestPatternRows::Fill(const tFillRequest& request) {
    const ULONG type = m_type < kTestPatterns ? m_type : ULONG{kSmpteBarsNtsc};
    const double y = static_cast<double>(request.y) / m_height;
    tLook look{0, request.x, request.count};
    if (type == kRampPattern) look.rows = y >= kBorder && y <= kFarBorder;
    for (std::size_t i = 0; i < kTables[type].size(); ++i)
        if (y >= kTables[type][i].y0 && y <= kTables[type][i].y1) look.rows |= 1u << i;

    if (m_look != look) {
        m_look.reset();
        // Longer than the frame is no way to read it; such a request isn't worth keeping.
        const bool keep = request.count <= static_cast<ULONG>(m_width);
        if (keep) {
            try {
                m_row.resize(request.count);
            } catch (const std::bad_alloc&) {
                return KwFillTestPattern(type, m_width, m_height, request, request.count);
            }
        }
        tFillRequest line = request;
        if (keep) {
            line.samples = m_row.data();
            if (type == kGradientPattern) line.y = 0;
        }
        KwFillTestPattern(type, m_width, m_height, line, line.count);
        if (!keep) return;
        m_look = look;
    }
    const DWORD blue = type == kGradientPattern ? GradientBlue(request.y, m_height) : 0;
    std::transform(m_row.begin(), m_row.begin() + request.count, request.samples,
                   [blue](DWORD sample) { return sample | blue; });
}
