// Peers of the colour filters: FFmpeg's own, and frei0r's stock plug-ins through FFmpeg's host of them, on the same
// picture and in the same run, one thread. What a machine lacks is left out of the rows.
#include "row.h"

#include <memory>
#include <string>

#ifdef LARKMOOR_BENCH_FFMPEG
extern "C" {
#include <libavfilter/avfilter.h>
#include <libavfilter/buffersink.h>
#include <libavfilter/buffersrc.h>
#include <libavutil/frame.h>
#include <libavutil/log.h>
}

namespace {

/// A chain of filters between a source and a sink of BGRA frames. FFmpeg converts where a filter takes other formats,
/// and that is in its time.
class CFilterGraph {
  public:
    explicit CFilterGraph(const std::string& filter) : m_graph(avfilter_graph_alloc()) {
        m_graph->nb_threads = 1;
        const std::string description = "buffer@in=video_size=" + std::to_string(kBenchWidth) + "x" +
                                        std::to_string(kBenchHeight) + ":pix_fmt=bgra:time_base=1/25," + filter +
                                        ",format=bgra,buffersink@out";
        AVFilterInOut *inputs = nullptr, *outputs = nullptr;
        m_good = avfilter_graph_parse2(m_graph, description.c_str(), &inputs, &outputs) >= 0 &&
                 avfilter_graph_config(m_graph, nullptr) >= 0;
        avfilter_inout_free(&inputs);
        avfilter_inout_free(&outputs);
        if (!m_good) return;
        m_source = avfilter_graph_get_filter(m_graph, "buffer@in");
        m_sink = avfilter_graph_get_filter(m_graph, "buffersink@out");
        m_good = m_source && m_sink;
    }
    CFilterGraph(const CFilterGraph&) = delete;
    CFilterGraph& operator=(const CFilterGraph&) = delete;
    ~CFilterGraph() { avfilter_graph_free(&m_graph); }

    bool Good() const { return m_good; }

    /// The picture's own memory goes in, as memory that filters may not write to.
    bool Run(CBenchPicture& picture) {
        AVFrame* frame = av_frame_alloc();
        frame->format = AV_PIX_FMT_BGRA;
        frame->width = kBenchWidth;
        frame->height = kBenchHeight;
        frame->pts = m_time++;
        frame->data[0] = picture.Data();
        frame->linesize[0] = kBenchWidth * 4;
        frame->buf[0] = av_buffer_create(
            picture.Data(), picture.Bytes(), [](void*, std::uint8_t*) {}, nullptr, AV_BUFFER_FLAG_READONLY);
        bool good = av_buffersrc_add_frame(m_source, frame) >= 0;
        av_frame_unref(frame);
        good = good && av_buffersink_get_frame(m_sink, frame) >= 0;
        av_frame_free(&frame);
        return good;
    }

  private:
    AVFilterGraph* m_graph;
    AVFilterContext *m_source = nullptr, *m_sink = nullptr;
    std::int64_t m_time = 0;
    bool m_good = false;
};

const bool g_registered = [] {
    av_log_set_level(AV_LOG_QUIET);
    const struct {
        const char *name, *filter;
    } rows[] = {
        {"FFmpeg/Invert", "negate"},
        {"FFmpeg/Table", "lutrgb=r=gammaval(2)"},
        {"FFmpeg/Brightness and Contrast", "colorlevels=rimax=0.7:gimax=0.7:bimax=0.7"},
        {"FFmpeg/Black and White", "hue=s=0"},
        {"FFmpeg/Sepia", "colorchannelmixer=.393:.769:.189:0:.349:.686:.168:0:.272:.534:.131"},
        {"FFmpeg/HSL Adjust", "huesaturation=saturation=1"},
        {"FFmpeg/Add Noise", "noise=alls=40:allf=t"},
        {"FFmpeg/Sharpen", "convolution=-1 -2 -1 -2 21 -2 -1 -2 -1:-1 -2 -1 -2 21 -2 -1 -2 -1:-1 -2 -1 -2 21 -2 -1 -2 "
                           "-1:-1 -2 -1 -2 21 -2 -1 -2 -1:1/9:1/9:1/9:1/9"},
        {"FFmpeg/Gaussian Blur/radius:5", "gblur=sigma=1.95"},
        {"FFmpeg/Gaussian Blur/radius:52", "gblur=sigma=16"},
        {"FFmpeg/Gaussian Blur/radius:360", "gblur=sigma=108"},
        {"FFmpeg/Median", "median=radius=48"},
        {"FFmpeg/Pixelate", "pixelize=w=4:h=4"},
        {"FFmpeg/Chroma Keyer", "colorkey=green:0.3:0.2"},
        {"frei0r/Pixelate", "frei0r=pixeliz0r:0.002:0.004"},
        {"frei0r/Invert", "frei0r=invert0r"},
        {"frei0r/Black and White", "frei0r=bw0r"},
        {"frei0r/Sepia", "frei0r=sepia"},
        {"frei0r/Threshold", "frei0r=threshold0r"},
        {"frei0r/Brightness", "frei0r=brightness"},
        {"frei0r/Levels", "frei0r=levels"},
    };
    for (const auto& row : rows) {
        const auto graph = std::make_shared<CFilterGraph>(row.filter);
        if (!graph->Good()) continue;
        benchmark::RegisterBenchmark(row.name,
                                     [graph](benchmark::State& state) {
                                         RunBenchRow(state, 4, [&](CBenchPicture&, CBenchPicture& source) {
                                             if (!graph->Run(source)) state.SkipWithError("the filter gave no frame");
                                         });
                                     })
            ->UseManualTime()
            ->Unit(benchmark::kMillisecond);
    }
    return true;
}();

} // namespace
#endif
