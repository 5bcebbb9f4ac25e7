#include "output.h"

#include <fmt/format.h>

namespace larkmoor {

Output::Output(const OutputRequest& request, const VideoFacts& video, const Reader* like)
    : m_file(request.path, request.overwrite) {
    if (!isRawPath(request.path)) {
        auto sink = std::make_unique<ContainerSink>(m_file.workPath(), request.path, video, request.encode, like);
        m_container = sink.get();
        m_sink = std::move(sink);
        return;
    }
    AVPixelFormat wanted = request.encode.pixelFormat;
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
