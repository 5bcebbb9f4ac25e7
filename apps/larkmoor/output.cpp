#include "output.h"

#include <utility>

#include <fmt/format.h>

namespace larkmoor {

namespace {

/// Throws UsageError for settings of encoders, which bare frames do without.
void refuseEncoding(const OutputRequest& request) {
    const EncodeOptions& options = request.encode;
    const std::string& path = request.path;
    const std::pair<bool, const char*> given[] = {
        {!options.codec.empty(), "--codec"},          {options.quality.has_value(), "--quality"},
        {options.bitRate > 0, "--bitrate"},           {!options.settings.empty(), "--encoder-option"},
        {options.sound.stream > 0, "--audio-stream"}, {!options.sound.codec.empty(), "--audio-codec"},
        {request.chunkFrames > 0, "--chunk-frames"}};
    for (const auto& [is, name] : given)
        if (is)
            throw UsageError(fmt::format("{} is for files that are encoded, and {} takes bare frames", name,
                                         path == "-" ? "standard output" : path));
}

/// The numbers that a part of a sequence gets.
OutputFile::Numbers numbersOf(const OutputRequest& request, int firstNumber) {
    if (!request.part) return {};
    const auto end = request.part->end;
    return {.first = firstNumber + request.part->first, .end = end ? std::optional(firstNumber + *end) : std::nullopt};
}

} // namespace

Output::Output(const OutputRequest& request, const VideoFacts& video, const Reader* like, int firstNumber,
               PictureTaker* taker) {
    if (!taker) m_file.emplace(request.path, request.overwrite, numbersOf(request, firstNumber));
    const std::string& path = m_file ? m_file->workPath() : request.path;
    if (!isRawPath(request.path)) {
        auto sink = std::make_unique<ContainerSink>(path, request.path, video, request.encode, like);
        m_container = sink.get();
        if (request.chunkFrames > 0) sink->setChunks(request.chunkFrames);
        if (taker) sink->setTaker(*taker);
        m_sink = std::move(sink);
        return;
    }
    refuseEncoding(request);
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
        createRawSink(path, request.path,
                      pickTarget(codec, video.format, video.colour, video.width, video.height, video.alpha, wanted));
}

void Output::finish() {
    m_sink->finish();
    if (m_file) m_file->commit();
}

} // namespace larkmoor
