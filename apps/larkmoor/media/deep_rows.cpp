#include "media/deep_rows.h"

#include <bit>
#include <cstdint>
#include <cstring>
#include <optional>
#include <vector>

extern "C" {
#include <libavutil/pixdesc.h>
}

#include "base/clones.h"
#include "media/chroma_scaler.h"
#include "media/colour.h"

namespace larkmoor {

namespace {

/// The samples of one component in a frame's memory.
struct Samples {
    std::uint8_t* data;
    std::ptrdiff_t stride;
    int step, shift, bits; ///< bytes from one to the next; bits below it and of it in its word
    bool wide, swapped;    ///< a word of 16 bits, and of the other order of bytes

    bool plain() const { return wide && !swapped && step == 2 && shift == 0; }
};

Samples samplesOf(const AVFrame& frame, const AVPixFmtDescriptor& d, int component) {
    const AVComponentDescriptor& c = d.comp[component];
    const bool wide = c.depth + c.shift > 8;
    const bool isBig = d.flags & AV_PIX_FMT_FLAG_BE, weAreBig = std::endian::native == std::endian::big;
    return {frame.data[c.plane] + c.offset, frame.linesize[c.plane], c.step, c.shift, c.depth, wide,
            wide && isBig != weAreBig};
}

/// What a sample's numbers mean: value = (sample - zero) * unit.
struct Scale {
    float zero, unit;
};

Scale scaleOf(int bits, bool full, bool chroma) {
    const auto eighth = static_cast<float>(1 << (bits - 8));
    const auto whole = static_cast<float>((1 << bits) - 1);
    if (chroma) return {128 * eighth, full ? 1 / whole : 1 / (224 * eighth)};
    return full ? Scale{0, 1 / whole} : Scale{16 * eighth, 1 / (219 * eighth)};
}

std::uint16_t swapBytes(std::uint16_t word) {
    return static_cast<std::uint16_t>(word << 8 | word >> 8);
}

KWCLONES void valuesOf(const std::uint16_t* __restrict samples, Scale scale, float* __restrict out, int width) {
    for (int x = 0; x < width; ++x) out[x] = (static_cast<float>(samples[x]) - scale.zero) * scale.unit;
}

/// What is no number counts as 0.
KWCLONES void samplesFrom(const float* __restrict values, Scale scale, float most, std::uint16_t* __restrict out,
                          int width) {
    const float perUnit = 1 / scale.unit;
    for (int x = 0; x < width; ++x) {
        const float sample = values[x] * perUnit + (scale.zero + 0.5f);
        const float low = sample > 0 ? sample : 0;
        out[x] = static_cast<std::uint16_t>(static_cast<std::int32_t>(low < most ? low : most));
    }
}

/// Rows of one component as floats.
class Component {
  public:
    Component(const AVFrame& frame, const AVPixFmtDescriptor& d, int number, int width, bool full, bool chroma)
        : m_samples(samplesOf(frame, d, number)), m_scale(scaleOf(m_samples.bits, full, chroma)), m_width(width),
          m_row(static_cast<std::size_t>(width)) {}

    void read(int y, float* out) {
        const std::uint8_t* from = m_samples.data + y * m_samples.stride;
        const Samples& s = m_samples;
        const auto mask = static_cast<std::uint16_t>((1u << s.bits) - 1);
        if (s.plain()) {
            std::memcpy(m_row.data(), from, m_row.size() * 2);
        } else {
            for (std::uint16_t& sample : m_row) {
                std::uint16_t word = *from;
                if (s.wide) std::memcpy(&word, from, 2);
                sample = static_cast<std::uint16_t>((s.swapped ? swapBytes(word) : word) >> s.shift & mask);
                from += s.step;
            }
        }
        valuesOf(m_row.data(), m_scale, out, m_width);
    }

    void write(int y, const float* values) {
        std::uint8_t* to = m_samples.data + y * m_samples.stride;
        const Samples& s = m_samples;
        samplesFrom(values, m_scale, static_cast<float>((1 << s.bits) - 1), m_row.data(), m_width);
        if (s.plain()) {
            std::memcpy(to, m_row.data(), m_row.size() * 2);
            return;
        }
        for (const std::uint16_t sample : m_row) {
            const auto shifted = static_cast<std::uint16_t>(sample << s.shift);
            const std::uint16_t word = s.swapped ? swapBytes(shifted) : shifted;
            if (s.wide)
                std::memcpy(to, &word, 2);
            else
                *to = static_cast<std::uint8_t>(word);
            to += s.step;
        }
    }

  private:
    Samples m_samples;
    Scale m_scale;
    int m_width;
    std::vector<std::uint16_t> m_row;
};

struct Matrix {
    float red, green, blue; ///< shares in luma
    float redV, blueU;      ///< of a unit of chroma in a colour
    float greenU, greenV;
};

Matrix matrixFor(AVColorSpace space) {
    const auto [red, blue] = lumaShares(space);
    const double green = 1 - red - blue, redV = 2 * (1 - red), blueU = 2 * (1 - blue);
    const auto narrow = [](double value) { return static_cast<float>(value); };
    return {narrow(red),
            narrow(green),
            narrow(blue),
            narrow(redV),
            narrow(blueU),
            narrow(blueU * blue / green),
            narrow(redV * red / green)};
}

/// Luma and chroma, in place, to green, blue and red.
KWCLONES void coloursOf(const Matrix* matrix, float* __restrict y, float* __restrict u, float* __restrict v,
                        int width) {
    const Matrix m = *matrix;
    for (int x = 0; x < width; ++x) {
        const float luma = y[x], cu = u[x], cv = v[x];
        y[x] = luma - cu * m.greenU - cv * m.greenV;
        u[x] = luma + cu * m.blueU;
        v[x] = luma + cv * m.redV;
    }
}

KWCLONES void lumaOf(const Matrix* matrix, const float* __restrict pixels, float* __restrict y, int width) {
    const Matrix m = *matrix;
    for (int x = 0; x < width; ++x)
        y[x] = m.blue * pixels[4 * x] + m.green * pixels[4 * x + 1] + m.red * pixels[4 * x + 2];
}

KWCLONES void chromaOf(const Matrix* matrix, const float* __restrict pixels, const float* __restrict y,
                       float* __restrict u, float* __restrict v, int width) {
    const float perU = 1 / matrix->blueU, perV = 1 / matrix->redV;
    for (int x = 0; x < width; ++x) {
        u[x] = (pixels[4 * x] - y[x]) * perU;
        v[x] = (pixels[4 * x + 2] - y[x]) * perV;
    }
}

KWCLONES void interleave(const float* __restrict blue, const float* __restrict green, const float* __restrict red,
                         const float* __restrict alpha, float* __restrict out, int width) {
    for (int x = 0; x < width; ++x) {
        out[4 * x] = blue[x];
        out[4 * x + 1] = green[x];
        out[4 * x + 2] = red[x];
        out[4 * x + 3] = alpha[x];
    }
}

KWCLONES void channelOf(const float* __restrict pixels, int channel, float* __restrict out, int width) {
    for (int x = 0; x < width; ++x) out[x] = pixels[4 * x + channel];
}

/// How a frame's samples are laid out and what they mean.
struct Layout {
    const AVPixFmtDescriptor* d;
    bool gray, rgb, alpha, full;
    ChromaStep across, down;
    Matrix matrix;
    int width;

    Component component(const AVFrame& frame, int number) const {
        const bool isAlpha = alpha && number == d->nb_components - 1;
        const bool chroma = !gray && !rgb && !isAlpha && number > 0;
        return {frame, *d, number, chroma ? chromaLength(width, across) : width, full || isAlpha, chroma};
    }
};

bool isKnown(AVPixelFormat format, const AVPixFmtDescriptor& d) {
    constexpr std::uint64_t others = AV_PIX_FMT_FLAG_PAL | AV_PIX_FMT_FLAG_BITSTREAM | AV_PIX_FMT_FLAG_HWACCEL |
                                     AV_PIX_FMT_FLAG_FLOAT | AV_PIX_FMT_FLAG_BAYER;
    if ((d.flags & others) || format == AV_PIX_FMT_XYZ12LE || format == AV_PIX_FMT_XYZ12BE) return false;
    if (d.log2_chroma_w > 1 || d.log2_chroma_h > 1) return false;
    // What stands beside three colours in a word of four would be left as it is.
    const bool packed = (d.flags & AV_PIX_FMT_FLAG_RGB) && !(d.flags & AV_PIX_FMT_FLAG_PLANAR);
    if (packed && d.nb_components == 3 && d.comp[0].step % 4 == 0) return false;
    for (int i = 0; i < d.nb_components; ++i) {
        const AVComponentDescriptor& c = d.comp[i];
        const bool wide = c.depth + c.shift > 8;
        if (c.depth < 8 || c.depth + c.shift > 16 || (wide && (c.step % 2 || c.offset % 2))) return false;
    }
    return true;
}

/// None for a kind of frame that is not done here.
std::optional<Layout> layoutOf(const AVFrame& frame, ChromaPlace place, const ImageView& picture) {
    const auto format = static_cast<AVPixelFormat>(frame.format);
    const AVPixFmtDescriptor& d = *av_pix_fmt_desc_get(format);
    if (!isKnown(format, d) || frame.width != picture.width || frame.height != picture.height) return {};
    return Layout{.d = &d,
                  .gray = d.nb_components < 3,
                  .rgb = isRgb(format),
                  .alpha = hasAlpha(format),
                  .full = isFullRange(format, frame.color_range),
                  .across = d.log2_chroma_w ? ChromaStep(place.x) : std::nullopt,
                  .down = d.log2_chroma_h ? ChromaStep(place.y) : std::nullopt,
                  .matrix = matrixFor(matrixOf(frame.colorspace, frame.width, frame.height)),
                  .width = frame.width};
}

float* rowOf(const ImageView& picture, int y) {
    return reinterpret_cast<float*>(picture.data + y * picture.stride);
}

/// Place of a colour of the frame, red first, in a pixel.
constexpr int order[] = {2, 1, 0};

using Values = std::vector<float>;

} // namespace

bool readDeep(const AVFrame& frame, ChromaPlace place, const ImageView& out) {
    const std::optional<Layout> layout = layoutOf(frame, place, out);
    if (!layout) return false;
    const int width = out.width;
    const auto columns = static_cast<std::size_t>(width);
    const int alphaNumber = layout->d->nb_components - 1;
    std::optional<Component> alpha;
    if (layout->alpha) alpha.emplace(layout->component(frame, alphaNumber));
    Values opacity(columns, 1.0f), row[3];
    for (Values& values : row) values.resize(columns);
    Component first = layout->component(frame, 0);

    if (layout->gray || layout->rgb) {
        std::optional<Component> second, third;
        if (layout->rgb) {
            second.emplace(layout->component(frame, 1));
            third.emplace(layout->component(frame, 2));
        }
        for (int y = 0; y < out.height; ++y) {
            first.read(y, row[0].data());
            if (second) second->read(y, row[1].data());
            if (third) third->read(y, row[2].data());
            if (alpha) alpha->read(y, opacity.data());
            const Values &green = row[layout->rgb ? 1 : 0], &blue = row[layout->rgb ? 2 : 0];
            interleave(blue.data(), green.data(), row[0].data(), opacity.data(), rowOf(out, y), width);
        }
        return true;
    }

    ChromaScaler scaler(width, out.height, layout->across, layout->down);
    const int smallWidth = chromaLength(width, layout->across), smallHeight = chromaLength(out.height, layout->down);
    Values small(scaler.smallSize()), chroma[2];
    for (int i = 0; i < 2; ++i) {
        Component component = layout->component(frame, i + 1);
        for (int y = 0; y < smallHeight; ++y) component.read(y, small.data() + std::ptrdiff_t{y} * smallWidth);
        chroma[i].resize(columns * static_cast<std::size_t>(out.height));
        scaler.widen(small, chroma[i]);
    }
    for (int y = 0; y < out.height; ++y) {
        float* u = chroma[0].data() + std::ptrdiff_t{y} * width;
        float* v = chroma[1].data() + std::ptrdiff_t{y} * width;
        first.read(y, row[0].data());
        if (alpha) alpha->read(y, opacity.data());
        coloursOf(&layout->matrix, row[0].data(), u, v, width);
        interleave(u, row[0].data(), v, opacity.data(), rowOf(out, y), width);
    }
    return true;
}

bool writeDeep(const ImageView& picture, AVFrame& out, ChromaPlace place) {
    const std::optional<Layout> layout = layoutOf(out, place, picture);
    if (!layout) return false;
    const int width = picture.width;
    const auto columns = static_cast<std::size_t>(width);
    Values row(columns);
    if (layout->alpha) {
        Component alpha = layout->component(out, layout->d->nb_components - 1);
        for (int y = 0; y < picture.height; ++y) {
            channelOf(rowOf(picture, y), 3, row.data(), width);
            alpha.write(y, row.data());
        }
    }
    if (layout->rgb) {
        for (int i = 0; i < 3; ++i) {
            Component component = layout->component(out, i);
            for (int y = 0; y < picture.height; ++y) {
                channelOf(rowOf(picture, y), order[i], row.data(), width);
                component.write(y, row.data());
            }
        }
        return true;
    }

    Component luma = layout->component(out, 0);
    Values chroma[2];
    if (!layout->gray)
        for (Values& plane : chroma) plane.resize(columns * static_cast<std::size_t>(picture.height));
    for (int y = 0; y < picture.height; ++y) {
        lumaOf(&layout->matrix, rowOf(picture, y), row.data(), width);
        luma.write(y, row.data());
        if (layout->gray) continue;
        const std::ptrdiff_t at = std::ptrdiff_t{y} * width;
        chromaOf(&layout->matrix, rowOf(picture, y), row.data(), chroma[0].data() + at, chroma[1].data() + at, width);
    }
    if (layout->gray) return true;
    ChromaScaler scaler(width, picture.height, layout->across, layout->down);
    const int smallWidth = chromaLength(width, layout->across),
              smallHeight = chromaLength(picture.height, layout->down);
    Values small(scaler.smallSize());
    for (int i = 0; i < 2; ++i) {
        scaler.shrink(chroma[i], small);
        Component component = layout->component(out, i + 1);
        for (int y = 0; y < smallHeight; ++y) component.write(y, small.data() + std::ptrdiff_t{y} * smallWidth);
    }
    return true;
}

} // namespace larkmoor
