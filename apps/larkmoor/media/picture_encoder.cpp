#include "media/picture_encoder.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include <fmt/format.h>

extern "C" {
#include <libavutil/imgutils.h>
}

namespace larkmoor {

namespace {

/// A greater frame that goes on as the edge pixels do.
FramePtr fillUp(const AVFrame& frame, int width, int height) {
    const auto format = static_cast<AVPixelFormat>(frame.format);
    const AVPixFmtDescriptor& d = *av_pix_fmt_desc_get(format);
    FramePtr out = newFrame();
    out->format = format;
    out->width = width;
    out->height = height;
    avCheck(av_frame_get_buffer(out.get(), 0), "hold a picture");
    avCheck(av_frame_copy_props(out.get(), &frame), "hold a picture");
    for (int plane = 0; plane < av_pix_fmt_count_planes(format); ++plane) {
        const int shift = plane == 1 || plane == 2 ? d.log2_chroma_h : 0;
        const int rows = AV_CEIL_RSHIFT(frame.height, shift), allRows = AV_CEIL_RSHIFT(height, shift);
        const auto bytes = static_cast<std::size_t>(av_image_get_linesize(format, frame.width, plane));
        const auto allBytes = static_cast<std::size_t>(av_image_get_linesize(format, width, plane));
        std::size_t step = 1;
        for (int c = 0; c < d.nb_components; ++c)
            if (d.comp[c].plane == plane) step = static_cast<std::size_t>(d.comp[c].step);
        for (int y = 0; y < allRows; ++y) {
            const std::uint8_t* from =
                frame.data[plane] + std::min(y, rows - 1) * std::ptrdiff_t{frame.linesize[plane]};
            std::uint8_t* to = out->data[plane] + y * std::ptrdiff_t{out->linesize[plane]};
            std::copy_n(from, bytes, to);
            for (std::size_t x = bytes; x < allBytes; ++x) to[x] = to[x - step];
        }
    }
    return out;
}

} // namespace

void PictureEncoder::Chunk::send(const AVFrame* frame) {
    const int status = avcodec_send_frame(codec.get(), frame);
    if (status < 0) throw Error(fmt::format("cannot encode with {}: {}", codec->codec->name, avReason(status)));
}

PacketPtr PictureEncoder::Chunk::next() {
    PacketPtr packet = newPacket();
    const int status = avcodec_receive_packet(codec.get(), packet.get());
    if (status == AVERROR(EAGAIN) || status == AVERROR_EOF) return {};
    if (status < 0) throw Error(fmt::format("cannot encode with {}: {}", codec->codec->name, avReason(status)));
    if (const auto known = durations.find(packet->pts); known != durations.end()) {
        packet->duration = known->second;
        durations.erase(known);
    }
    return packet;
}

PictureEncoder::PictureEncoder(std::function<CodecPtr(bool again)> open, PictureTaker& taker)
    : m_open(std::move(open)), m_taker(&taker), m_chunk{.codec = m_open(false)} {}

void PictureEncoder::write(FramePtr frame, std::int64_t duration) {
    const AVCodecContext& codec = context();
    ++m_chunk.frames;
    m_chunk.durations[frame->pts] = duration;
    // The encoder decides by itself which frames stand alone.
    frame->pict_type = AV_PICTURE_TYPE_NONE;
    frame->key_frame = 0;
    frame->quality = codec.global_quality;
    if (frame->width != codec.width || frame->height != codec.height) frame = fillUp(*frame, codec.width, codec.height);
    m_chunk.send(frame.get());
    if (m_ending.valid() && m_ending.wait_for(std::chrono::seconds(0)) == std::future_status::ready) settle();
    while (PacketPtr packet = m_chunk.next()) {
        settle();
        m_taker->take(std::move(packet));
    }
}

PictureEncoder::Rest PictureEncoder::restOf(Chunk chunk) {
    Rest rest{{}, chunk.frames};
    chunk.send(nullptr);
    while (PacketPtr packet = chunk.next()) rest.packets.push_back(std::move(packet));
    return rest;
}

void PictureEncoder::startChunk() {
    settle();
    m_ending = std::async(std::launch::async, restOf, std::exchange(m_chunk, Chunk{.codec = m_open(true)}));
}

/// Hands out the rest of the chunk before.
void PictureEncoder::settle() {
    if (!m_ending.valid()) return;
    Rest rest = m_ending.get();
    for (PacketPtr& packet : rest.packets) m_taker->take(std::move(packet));
    m_taker->endChunk(rest.frames);
}

void PictureEncoder::finish() {
    settle();
    if (m_chunk.frames == 0) return;
    m_chunk.send(nullptr);
    while (PacketPtr packet = m_chunk.next()) m_taker->take(std::move(packet));
    m_taker->endChunk(std::exchange(m_chunk.frames, 0));
}

} // namespace larkmoor
