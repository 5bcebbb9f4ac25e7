#include "media/upright.h"

#include <cmath>
#include <utility>

#include <fmt/format.h>

#include "media/conform.h"

extern "C" {
#include <libavutil/display.h>
}

namespace larkmoor {

namespace {

/// FFmpeg's filters that undo a display matrix: quarter turns and mirrors, as phones write them.
std::string filtersFor(const std::int32_t* matrix) {
    const double angle = av_display_rotation_get(matrix);
    if (std::isnan(angle)) return {};
    switch (static_cast<int>(std::lround(-angle / 90) % 4 + 4) % 4) {
    case 1:
        return matrix[3] > 0 ? "transpose=cclock_flip" : "transpose=clock";
    case 2:
        return matrix[0] < 0 ? (matrix[4] < 0 ? "hflip,vflip" : "hflip") : "vflip";
    case 3:
        return matrix[3] < 0 ? "transpose=clock_flip" : "transpose=cclock";
    default:
        return matrix[4] < 0 ? "vflip" : "";
    }
}

/// Where chroma sits in a picture that such filters have turned.
ChromaPlace turnedPlace(ChromaPlace place, std::string_view filters, int width, int height) {
    const auto has = [&](std::string_view word) { return filters.find(word) != std::string_view::npos; };
    const bool swaps = has("transpose="), both = has("=clock_flip");
    if (swaps) {
        std::swap(place.x, place.y);
        std::swap(width, height);
    }
    // An odd length ends with a sample that has no second one beside it.
    if ((has("=clock") || has("hflip")) && width % 2 == 0) place.x = 256 - place.x;
    if (((has("=cclock") && !has("_flip")) || both || has("vflip")) && height % 2 == 0) place.y = 256 - place.y;
    return place;
}

} // namespace

Upright::Upright(const AVStream& stream, bool turn, const std::string& name)
    : m_stream(stream), m_name(name), m_turn(turn) {}
Upright::~Upright() = default;

std::string Upright::turning(const AVFrame& frame) const {
    if (!m_turn) return {};
    constexpr std::size_t matrixSize = 9 * sizeof(std::int32_t);
    const AVFrameSideData* own = av_frame_get_side_data(&frame, AV_FRAME_DATA_DISPLAYMATRIX);
    if (own && own->size >= matrixSize) return filtersFor(reinterpret_cast<const std::int32_t*>(own->data));
    std::size_t size = 0;
    const std::uint8_t* data = av_stream_get_side_data(&m_stream, AV_PKT_DATA_DISPLAYMATRIX, &size);
    return data && size >= matrixSize ? filtersFor(reinterpret_cast<const std::int32_t*>(data)) : std::string();
}

FramePtr Upright::run(FramePtr frame) {
    const Shape shape{frame->width, frame->height, frame->format, turning(*frame)};
    if (shape != m_now) {
        m_now = shape;
        const bool first = !m_first;
        if (first) {
            m_first = shape;
            m_turns = !shape.filters.empty();
            m_swaps = shape.filters.starts_with("transpose");
        }
        VideoFacts is;
        is.width = shape.width;
        is.height = shape.height;
        is.format = static_cast<AVPixelFormat>(shape.format);
        is.timeBase = m_stream.time_base;
        if (frame->sample_aspect_ratio.num > 0) is.aspect = frame->sample_aspect_ratio;
        std::string filters = shape.filters;
        if (!first) {
            VideoFacts turned = is;
            if (shape.filters.starts_with("transpose")) {
                std::swap(turned.width, turned.height);
                turned.aspect = av_inv_q(turned.aspect);
            }
            VideoFacts wanted = turned;
            wanted.width = m_swaps ? m_first->height : m_first->width;
            wanted.height = m_swaps ? m_first->width : m_first->height;
            std::string changes;
            const std::string fitting = fittingFilters(turned, wanted, changes);
            if (!fitting.empty()) filters += (filters.empty() ? "" : ",") + fitting;
            if (!changes.empty() && !m_told)
                warn(fmt::format("the pictures of {} change their size; they are resampled: {}", m_name, changes));
            m_told = m_told || !changes.empty();
        }
        const auto format = static_cast<AVPixelFormat>(m_first->format);
        const bool plain = filters.empty() && shape.format == m_first->format;
        m_graph = plain
                      ? nullptr
                      : std::make_unique<FilterGraph>(is, filters.empty() ? "null" : filters, "turn " + m_name, format);
    }
    if (!m_graph) return frame;
    const ChromaPlace place = chromaPlace(*frame);
    m_graph->put(*frame);
    FramePtr turned = m_graph->take();
    if (!turned) throw Error(fmt::format("cannot turn the pictures of {}", m_name));
    av_frame_remove_side_data(turned.get(), AV_FRAME_DATA_DISPLAYMATRIX);
    const AVPixFmtDescriptor& d = *av_pix_fmt_desc_get(static_cast<AVPixelFormat>(shape.format));
    // FFmpeg turns other kinds by a quarter by way of full chroma.
    if (d.log2_chroma_w == 1 && (d.log2_chroma_h == 1 || !shape.filters.starts_with("transpose")))
        if (const ChromaPlace now = turnedPlace(place, shape.filters, shape.width, shape.height); now != place)
            tellChromaPlace(*turned, now);
    return turned;
}

} // namespace larkmoor
