#include "output.h"

#include <utility>

#include <fmt/format.h>

namespace larkmoor {

namespace {

/// Throws UsageError for settings of encoders, which bare frames do without.
void refuseEncoding(const EncodeOptions& options, const std::string& path) {
    const std::pair<bool, const char*> given[] = {
        {!options.codec.empty(), "--codec"},          {options.quality.has_value(), "--quality"},
        {options.bitRate > 0, "--bitrate"},           {!options.settings.empty(), "--encoder-option"},
        {options.sound.stream > 0, "--audio-stream"}, {!options.sound.codec.empty(), "--audio-codec"}};
    for (const auto& [is, name] : given)
        if (is)
            throw UsageError(fmt::format("{} is for files that are encoded, and {} takes bare frames", name,
                                         path == "-" ? "standard output" : path));
}

} // namespace

Output::Output(const OutputRequest& request, const VideoFacts& video, const Reader* like)
    : m_file(request.path, request.overwrite) {
    if (!isRawPath(request.path)) {
        auto sink = std::make_unique<ContainerSink>(m_file.workPath(), request.path, video, request.encode, like);
        m_container = sink.get();
        m_sink = std::move(sink);
        return;
    }
    refuseEncoding(request.encode, request.path);
    AVPixelFormat wanted = request.encode.pixelFormat;
    if (request.raw && wanted != AV_PIX_FMT_NONE && wanted != request.raw->format)
        throw UsageError(fmt::format("--raw says {} and --pixel-format {}", av_get_pix_fmt_name(request.raw->format),
                                     av_get_pix_fmt_name(wanted)));
    if (request.raw) {
        const RawRequest& raw = *request.raw;
        if (raw.width && (raw.width != video.width || raw.height != video.height))
            throw UsageError(fmt::format("--raw says {}x{}, but the pictures are {}x{}", raw.width, raw.height,
                                         video.width, video.height));
        wanted = raw.format;
    } else if (request.path == "-" && wanted == AV_PIX_FMT_NONE) {
        throw UsageError("frames on standard output need --raw WxH:FORMAT:RATE");
    }
    const AVCodec& codec = *avcodec_find_encoder(AV_CODEC_ID_RAWVIDEO);
    m_sink =
        createRawSink(m_file.workPath(), request.path,
                      pickTarget(codec, video.format, video.colour, video.width, video.height, video.alpha, wanted));
}

void Output::finish() {
    m_sink->finish();
    m_file.commit();
}

} // namespace larkmoor
