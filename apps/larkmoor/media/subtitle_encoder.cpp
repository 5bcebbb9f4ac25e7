#include "media/subtitle_encoder.h"

#include <algorithm>
#include <new>

#include <fmt/format.h>

namespace larkmoor {

namespace {

constexpr AVRational milliseconds{1, 1000};
/// The most that one subtitle's text takes.
constexpr std::size_t mostBytes = 1 << 18;

bool isText(AVCodecID id) {
    const AVCodecDescriptor* d = avcodec_descriptor_get(id);
    return d && (d->props & AV_CODEC_PROP_TEXT_SUB);
}

/// Movie files take one codec of text but name none as their usual one.
AVCodecID usualCodec(const AVOutputFormat& container) {
    if (container.subtitle_codec != AV_CODEC_ID_NONE) return container.subtitle_codec;
    const bool movie = avformat_query_codec(&container, AV_CODEC_ID_MOV_TEXT, FF_COMPLIANCE_NORMAL) > 0;
    return movie ? AV_CODEC_ID_MOV_TEXT : AV_CODEC_ID_NONE;
}

} // namespace

SubtitleEncoder::SubtitleEncoder(const AVOutputFormat& container, const AVStream& stream)
    : m_unit(stream.time_base), m_bytes(mostBytes) {
    const AVCodecID from = stream.codecpar->codec_id, to = usualCodec(container);
    const AVCodec* decoder = avcodec_find_decoder(from);
    const AVCodec* encoder = avcodec_find_encoder(to);
    if (!isText(from) || !isText(to) || !decoder || !encoder)
        throw Error(fmt::format("no way from {} to {}", avcodec_get_name(from), avcodec_get_name(to)));
    m_decoder.reset(avcodec_alloc_context3(decoder));
    m_encoder.reset(avcodec_alloc_context3(encoder));
    if (!m_decoder || !m_encoder) throw std::bad_alloc();
    avCheck(avcodec_parameters_to_context(m_decoder.get(), stream.codecpar), "read subtitles");
    m_decoder->pkt_timebase = m_unit;
    avCheck(avcodec_open2(m_decoder.get(), decoder, nullptr), "decode subtitles");
    m_encoder->time_base = milliseconds;
    // Between the two goes a script whose head says how it is styled.
    const int size = m_decoder->subtitle_header_size;
    if (size > 0) {
        m_encoder->subtitle_header = static_cast<std::uint8_t*>(av_mallocz(static_cast<std::size_t>(size) + 1));
        if (!m_encoder->subtitle_header) throw std::bad_alloc();
        std::copy_n(m_decoder->subtitle_header, size, m_encoder->subtitle_header);
        m_encoder->subtitle_header_size = size;
    }
    avCheck(avcodec_open2(m_encoder.get(), encoder, nullptr), "encode subtitles");
}

void SubtitleEncoder::write(const AVPacket& packet, const PacketTaker& taker) {
    AVSubtitle subtitle{};
    int any = 0;
    PacketPtr input = newPacket();
    avCheck(av_packet_ref(input.get(), &packet), "hold subtitles");
    if (avMemory(avcodec_decode_subtitle2(m_decoder.get(), &subtitle, &any, input.get())) < 0 || !any) return;
    const int size = subtitle.num_rects == 0 ? 0
                                             : avcodec_encode_subtitle(m_encoder.get(), m_bytes.data(),
                                                                       static_cast<int>(m_bytes.size()), &subtitle);
    avsubtitle_free(&subtitle);
    if (avMemory(size) <= 0) return;
    PacketPtr out = newPacket();
    avCheck(av_new_packet(out.get(), size), "hold subtitles");
    std::copy_n(m_bytes.data(), size, out->data);
    out->pts = out->dts = packet.pts;
    out->duration = packet.duration;
    out->flags |= AV_PKT_FLAG_KEY;
    taker(std::move(out));
}

} // namespace larkmoor
