#include "media/yuv_rows.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <vector>

extern "C" {
#include <libavutil/pixdesc.h>
}

#include "base/arith.h"
#include "base/clones.h"
#include "media/chroma_scaler.h"

namespace larkmoor {

namespace {

/// Factors scaled by 2^16 for luma and 2^12 for chroma, whose samples are scaled by 16.
struct Factors {
    std::int32_t offset, luma, redV, greenU, greenV, blueU;
};

Factors factorsOf(AVColorSpace space, bool full) {
    const auto [red, blue] = lumaShares(space);
    const double green = 1 - red - blue;
    const double luma = full ? 1.0 : 255.0 / 219.0;
    const double chroma = full ? 1.0 : 255.0 / 224.0;
    const auto scaled = [](double value, double scale) {
        return static_cast<std::int32_t>(std::lround(value * scale));
    };
    return {.offset = full ? 0 : 16,
            .luma = scaled(luma, 65536),
            .redV = scaled(chroma * 2 * (1 - red), 4096),
            .greenU = scaled(-chroma * 2 * (1 - blue) * blue / green, 4096),
            .greenV = scaled(-chroma * 2 * (1 - red) * red / green, 4096),
            .blueU = scaled(chroma * 2 * (1 - blue), 4096)};
}

/// How a sample of luma lies among those of chroma.
struct Phase {
    int first; ///< of four neighbours, from the sample of its pair on
    int eighths;
};

/// @param place of chroma, 1/256 of a luma sample behind the first of a pair
/// @param second of the pair
constexpr Phase phaseOf(int place, bool second) {
    const int eighths = ((second ? 256 : 0) - place) / 64;
    return eighths < 0 ? Phase{-2, eighths + 8} : Phase{-1, eighths};
}

KWCLONES void copyRow(const std::uint8_t* __restrict in, std::int16_t* __restrict out, int width) {
    for (int x = 0; x < width; ++x) out[x] = static_cast<std::int16_t>(in[x] * 16);
}

KWCLONES void mixRows(const std::uint8_t* const* rows, const std::int16_t* taps, std::int16_t* __restrict out,
                      int width) {
    const std::uint8_t* __restrict r0 = rows[0];
    const std::uint8_t* __restrict r1 = rows[1];
    const std::uint8_t* __restrict r2 = rows[2];
    const std::uint8_t* __restrict r3 = rows[3];
    const std::int32_t t0 = taps[0], t1 = taps[1], t2 = taps[2], t3 = taps[3];
    for (int x = 0; x < width; ++x)
        out[x] = static_cast<std::int16_t>((r0[x] * t0 + r1[x] * t1 + r2[x] * t2 + r3[x] * t3 + 32) >> 6);
}

/// Two samples for each: `even` taps lie around the way to it, `odd` ones around the way from it.
KWCLONES void widenRow(const std::int16_t* __restrict in, const std::int16_t* even, const std::int16_t* odd,
                       std::int16_t* __restrict out, int width) {
    const std::int32_t e0 = even[0], e1 = even[1], e2 = even[2], e3 = even[3];
    const std::int32_t o0 = odd[0], o1 = odd[1], o2 = odd[2], o3 = odd[3];
    for (int x = 0; x < width; ++x) {
        out[2 * x] =
            static_cast<std::int16_t>((in[x - 2] * e0 + in[x - 1] * e1 + in[x] * e2 + in[x + 1] * e3 + 512) >> 10);
        out[2 * x + 1] =
            static_cast<std::int16_t>((in[x - 1] * o0 + in[x] * o1 + in[x + 1] * o2 + in[x + 2] * o3 + 512) >> 10);
    }
}

/// The same where every other sample is there already.
KWCLONES void widenSitedRow(const std::int16_t* __restrict in, std::int16_t* __restrict out, int width) {
    for (int x = 0; x < width; ++x) {
        out[2 * x] = in[x];
        out[2 * x + 1] = static_cast<std::int16_t>((9 * (in[x] + in[x + 1]) - in[x - 1] - in[x + 2] + 8) >> 4);
    }
}

KWCLONES void colourRow(const std::uint8_t* __restrict luma, const std::int16_t* __restrict u,
                        const std::int16_t* __restrict v, const Factors* factors, std::uint32_t* __restrict out,
                        int width) {
    const Factors f = *factors;
    for (int x = 0; x < width; ++x) {
        const std::int32_t y = (luma[x] - f.offset) * f.luma + 32768;
        const std::int32_t cu = u[x] - 2048, cv = v[x] - 2048;
        std::int32_t r = (y + cv * f.redV) >> 16;
        std::int32_t g = (y + cu * f.greenU + cv * f.greenV) >> 16;
        std::int32_t b = (y + cu * f.blueU) >> 16;
        r = r < 0 ? 0 : r > 255 ? 255 : r;
        g = g < 0 ? 0 : g > 255 ? 255 : g;
        b = b < 0 ? 0 : b > 255 ? 255 : b;
        out[x] = 0xFF000000u | static_cast<std::uint32_t>(r) << 16 | static_cast<std::uint32_t>(g) << 8 |
                 static_cast<std::uint32_t>(b);
    }
}

/// One plane of chroma, brought to the rows and columns of luma, scaled by 16.
class ChromaRows {
  public:
    ChromaRows(const AVFrame& frame, int plane, int shiftX, int shiftY, ChromaPlace place)
        : m_data(frame.data[plane]), m_stride(frame.linesize[plane]), m_width(-((-frame.width) >> shiftX)),
          m_height(-((-frame.height) >> shiftY)), m_shiftX(shiftX), m_shiftY(shiftY), m_place(place),
          m_mixed(static_cast<std::size_t>(m_width) + 2 * margin), m_wide(static_cast<std::size_t>(m_width) * 2) {}

    const std::int16_t* row(int y) {
        std::int16_t* mixed = m_mixed.data() + margin;
        mix(y, mixed);
        if (m_shiftX == 0) return mixed;
        for (int i = 1; i <= margin; ++i) {
            mixed[-i] = mixed[0];
            mixed[m_width - 1 + i] = mixed[m_width - 1];
        }
        if (m_place.x == 0)
            widenSitedRow(mixed, m_wide.data(), m_width);
        else
            widenRow(mixed, chromaCubics[phaseOf(m_place.x, false).eighths].data(),
                     chromaCubics[phaseOf(m_place.x, true).eighths].data(), m_wide.data(), m_width);
        return m_wide.data();
    }

  private:
    static constexpr int margin = 2;

    const std::uint8_t* source(int row) const { return m_data + std::clamp(row, 0, m_height - 1) * m_stride; }

    void mix(int y, std::int16_t* out) const {
        const int near = y >> m_shiftY;
        const Phase phase = phaseOf(m_place.y, y & 1);
        if (m_shiftY == 0 || phase.eighths == 0) {
            copyRow(source(near), out, m_width);
            return;
        }
        const int first = near + phase.first;
        const std::array rows{source(first), source(first + 1), source(first + 2), source(first + 3)};
        mixRows(rows.data(), chromaCubics[phase.eighths].data(), out, m_width);
    }

    const std::uint8_t* m_data;
    std::ptrdiff_t m_stride;
    int m_width, m_height, m_shiftX, m_shiftY;
    ChromaPlace m_place;
    std::vector<std::int16_t> m_mixed, m_wide;
};

} // namespace

bool convertYuv(const AVFrame& frame, ChromaPlace place, const ImageView& out) {
    const auto format = static_cast<AVPixelFormat>(frame.format);
    const AVPixelFormat plain = withoutRange(format);
    if (plain != AV_PIX_FMT_YUV420P && plain != AV_PIX_FMT_YUV422P && plain != AV_PIX_FMT_YUV444P) return false;
    if (frame.width != out.width || frame.height != out.height) return false;
    const AVPixFmtDescriptor& d = *av_pix_fmt_desc_get(plain);

    const Factors factors =
        factorsOf(matrixOf(frame.colorspace, frame.width, frame.height), isFullRange(format, frame.color_range));
    ChromaRows u(frame, 1, d.log2_chroma_w, d.log2_chroma_h, place);
    ChromaRows v(frame, 2, d.log2_chroma_w, d.log2_chroma_h, place);
    for (int y = 0; y < frame.height; ++y)
        colourRow(frame.data[0] + y * static_cast<std::ptrdiff_t>(frame.linesize[0]), u.row(y), v.row(y), &factors,
                  reinterpret_cast<std::uint32_t*>(out.data + y * out.stride), frame.width);
    return true;
}

} // namespace larkmoor
