#include "media/conform.h"

#include <algorithm>
#include <cmath>
#include <iterator>

#include <fmt/format.h>

extern "C" {
#include <libavfilter/buffersink.h>
#include <libavfilter/buffersrc.h>
}

namespace larkmoor {

namespace {

std::string rational(AVRational r) {
    return fmt::format("{}/{}", r.num, r.den);
}

int roundTo(double value, int step, int greatest) {
    return std::clamp(static_cast<int>(std::lround(value / step)) * step, step, std::max(greatest, step));
}

} // namespace

std::string fittingFilters(const VideoFacts& is, const VideoFacts& wanted, std::string& changes) {
    const bool otherAspect = av_cmp_q(is.aspect, wanted.aspect) != 0;
    if (is.width == wanted.width && is.height == wanted.height && !otherAspect) return {};
    const AVPixFmtDescriptor& d = *av_pix_fmt_desc_get(is.format);
    const double wide = is.width * av_q2d(is.aspect) / av_q2d(wanted.aspect);
    const double scale = std::min(wanted.width / wide, static_cast<double>(wanted.height) / is.height);
    // Bars begin on whole chroma samples.
    const int stepX = 1 << d.log2_chroma_w, stepY = 1 << d.log2_chroma_h;
    int width = roundTo(wide * scale, stepX, wanted.width), height = roundTo(is.height * scale, stepY, wanted.height);
    if (wanted.width - width <= stepX) width = wanted.width;
    if (wanted.height - height <= stepY) height = wanted.height;
    const int left = (wanted.width - width) / 2 / stepX * stepX, top = (wanted.height - height) / 2 / stepY * stepY;
    std::string filters =
        fmt::format("scale={}:{}:flags=lanczos+accurate_rnd+full_chroma_int+full_chroma_inp+bitexact", width, height);
    if (width != wanted.width || height != wanted.height)
        filters += fmt::format(",pad={}:{}:{}:{}:color={}", wanted.width, wanted.height, left, top,
                               hasAlpha(is.format) ? "black@0" : "black");
    changes = fmt::format("{}x{}{} to {}x{}{}", is.width, is.height,
                          otherAspect ? " of pixel aspect " + rational(is.aspect) : "", wanted.width, wanted.height,
                          otherAspect ? " of " + rational(wanted.aspect) : "");
    return filters + fmt::format(",setsar={}", rational(wanted.aspect));
}

FilterGraph::FilterGraph(const VideoFacts& is, const std::string& filters, const std::string& what, AVPixelFormat out)
    : m_what(what) {
    m_graph.reset(avfilter_graph_alloc());
    if (!m_graph) throw std::bad_alloc();
    m_graph->nb_threads = 1;
    const std::string source =
        fmt::format("video_size={}x{}:pix_fmt={}:time_base={}:pixel_aspect={}:frame_rate={}", is.width, is.height,
                    static_cast<int>(is.format), rational(is.timeBase), rational(is.aspect), rational(is.rate));
    avCheck(avfilter_graph_create_filter(&m_in, avfilter_get_by_name("buffer"), "in", source.c_str(), nullptr,
                                         m_graph.get()),
            what);
    avCheck(avfilter_graph_create_filter(&m_out, avfilter_get_by_name("buffersink"), "out", nullptr, nullptr,
                                         m_graph.get()),
            what);
    AVFilterInOut* outputs = avfilter_inout_alloc();
    AVFilterInOut* inputs = avfilter_inout_alloc();
    if (!outputs || !inputs) throw std::bad_alloc();
    outputs->name = av_strdup("in");
    outputs->filter_ctx = m_in;
    inputs->name = av_strdup("out");
    inputs->filter_ctx = m_out;
    const std::string all =
        fmt::format("{},format={}", filters, av_get_pix_fmt_name(out != AV_PIX_FMT_NONE ? out : is.format));
    const int status = avfilter_graph_parse_ptr(m_graph.get(), all.c_str(), &inputs, &outputs, nullptr);
    avfilter_inout_free(&inputs);
    avfilter_inout_free(&outputs);
    avCheck(status, what);
    avCheck(avfilter_graph_config(m_graph.get(), nullptr), what);
}

void FilterGraph::put(AVFrame& frame) {
    avCheck(av_buffersrc_add_frame(m_in, &frame), m_what);
}

void FilterGraph::end(std::int64_t stamp) {
    avCheck(av_buffersrc_close(m_in, stamp, 0), m_what);
}

FramePtr FilterGraph::take() {
    FramePtr frame = newFrame();
    const int status = av_buffersink_get_frame(m_out, frame.get());
    if (status >= 0) return frame;
    m_ended = status == AVERROR_EOF;
    if (!m_ended && status != AVERROR(EAGAIN)) avCheck(status, m_what);
    return {};
}

Conformer::Conformer(Reader& reader, const VideoFacts& wanted)
    : m_reader(reader), m_graph(reader.video(), filters(wanted), "resample " + reader.path()) {}

std::string Conformer::filters(const VideoFacts& wanted) {
    const VideoFacts& is = m_reader.video();
    const std::string fitting = fittingFilters(is, wanted, m_changes);
    if (av_cmp_q(is.rate, wanted.rate) != 0)
        m_changes += fmt::format("{}{:.5g} to {:.5g} frames a second", m_changes.empty() ? "" : ", ", av_q2d(is.rate),
                                 av_q2d(wanted.rate));
    return fmt::format("fps=fps={}:start_time=0{}{}", rational(wanted.rate), fitting.empty() ? "" : ",", fitting);
}

FramePtr Conformer::next() {
    while (true) {
        FramePtr frame = m_graph.take();
        if (frame || m_graph.ended() || m_ended) return frame;
        ReadFrame read = m_reader.next();
        std::ranges::move(read.side, std::back_inserter(m_side));
        m_ended = !read.frame;
        if (read.frame) {
            // The last frame is shown for its time, too.
            m_end = read.frame->pts + read.frame->pkt_duration;
            m_graph.put(*read.frame);
        } else {
            m_graph.end(m_end);
        }
    }
}

} // namespace larkmoor
