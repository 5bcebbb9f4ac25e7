#include "media/audio_encoder.h"

#include <climits>
#include <cmath>
#include <cstdlib>
#include <new>

#include <fmt/format.h>

#include "media/container.h"

namespace larkmoor {

namespace {

int nearestRate(const AVCodec& codec, int wanted) {
    int best = 0;
    for (const int* rate = codec.supported_samplerates; rate && *rate; ++rate)
        if (!best || std::abs(*rate - wanted) < std::abs(best - wanted)) best = *rate;
    return best ? best : wanted;
}

/// The smallest that holds the wanted one's samples, integers for integers where there are such.
AVSampleFormat nearestFormat(const AVCodec& codec, AVSampleFormat wanted) {
    if (!codec.sample_fmts) return AV_SAMPLE_FMT_FLTP;
    const AVSampleFormat packed = av_get_packed_sample_fmt(wanted);
    const auto isFloat = [](AVSampleFormat f) { return f == AV_SAMPLE_FMT_FLT || f == AV_SAMPLE_FMT_DBL; };
    AVSampleFormat best = codec.sample_fmts[0];
    int least = INT_MAX;
    for (const AVSampleFormat* f = codec.sample_fmts; *f != AV_SAMPLE_FMT_NONE; ++f) {
        const AVSampleFormat each = av_get_packed_sample_fmt(*f);
        const int spare = av_get_bytes_per_sample(each) - av_get_bytes_per_sample(packed);
        const int cost = (spare < 0 ? 100 - spare : spare) + (isFloat(each) != isFloat(packed) ? 10 : 0);
        if (cost >= least) continue;
        least = cost;
        best = *f;
    }
    return best;
}

void chooseLayout(AVCodecContext& context, const AVChannelLayout& wanted) {
    const int channels = wanted.nb_channels;
    if (wanted.order == AV_CHANNEL_ORDER_NATIVE)
        avCheck(av_channel_layout_copy(&context.ch_layout, &wanted), "set up sound");
    else
        av_channel_layout_default(&context.ch_layout, channels);
    if (!context.codec->ch_layouts) return;
    for (const AVChannelLayout* l = context.codec->ch_layouts; l->nb_channels; ++l)
        if (av_channel_layout_compare(l, &context.ch_layout) == 0) return;
    av_channel_layout_uninit(&context.ch_layout);
    av_channel_layout_default(&context.ch_layout, channels == 1 ? 1 : 2);
}

} // namespace

CodecPtr openAudioDecoder(const AVStream& stream) {
    const AVCodec* codec = avcodec_find_decoder(stream.codecpar->codec_id);
    if (!codec) throw Error(fmt::format("no decoder for {}", avcodec_get_name(stream.codecpar->codec_id)));
    CodecPtr context(avcodec_alloc_context3(codec));
    if (!context) throw std::bad_alloc();
    avCheck(avcodec_parameters_to_context(context.get(), stream.codecpar), "read sound");
    context->pkt_timebase = stream.time_base;
    avCheck(avcodec_open2(context.get(), codec, nullptr), "decode sound");
    return context;
}

bool isKnownSound(const AVCodecParameters& stream) {
    return stream.sample_rate > 0 && stream.ch_layout.nb_channels > 0;
}

SoundFacts soundFacts(const AVCodecParameters& stream) {
    SoundFacts facts{.codec = stream.codec_id,
                     .rate = stream.sample_rate,
                     .format = static_cast<AVSampleFormat>(stream.format),
                     .bits = stream.bits_per_raw_sample};
    if (stream.ch_layout.order == AV_CHANNEL_ORDER_NATIVE)
        facts.layout = stream.ch_layout;
    else
        av_channel_layout_default(&facts.layout, stream.ch_layout.nb_channels);
    return facts;
}

bool isLossless(AVCodecID codec) {
    const AVCodecDescriptor* d = avcodec_descriptor_get(codec);
    return d && (d->props & AV_CODEC_PROP_LOSSLESS) && !(d->props & AV_CODEC_PROP_LOSSY);
}

const AVCodec* soundEncoderFor(const SoundOptions& options, const AVOutputFormat& container, const std::string& path,
                               const SoundFacts& sound) {
    if (!options.codec.empty()) {
        const AVCodec* codec = avcodec_find_encoder_by_name(options.codec.c_str());
        if (!codec)
            if (const AVCodecDescriptor* d = avcodec_descriptor_get_by_name(options.codec.c_str()))
                codec = avcodec_find_encoder(d->id);
        if (!codec || codec->type != AVMEDIA_TYPE_AUDIO)
            throw UsageError(
                fmt::format("no sound encoder is called {}; `ffmpeg -encoders` lists them", options.codec));
        if (!takes(container, codec->id))
            throw UsageError(fmt::format("{} does not go into a file like {}", options.codec, path));
        return codec;
    }
    if (container.audio_codec == AV_CODEC_ID_NONE) return nullptr;
    const auto encoder = [&](AVCodecID id) -> const AVCodec* {
        const AVCodec* codec = avcodec_find_encoder(id);
        if (!codec || (codec->capabilities & AV_CODEC_CAP_EXPERIMENTAL) || !takes(container, id)) return nullptr;
        AVCodecParameters trial{};
        trial.codec_type = AVMEDIA_TYPE_AUDIO;
        trial.codec_id = id;
        trial.format = sound.format;
        trial.ch_layout = sound.layout;
        trial.sample_rate = sound.rate;
        trial.frame_size = 1024;
        return takesStream(container, trial, {1, sound.rate}) ? codec : nullptr;
    };
    if (const AVCodec* own = encoder(sound.codec)) return own;
    if (isLossless(sound.codec) && std::string_view(container.name) == "mov")
        if (const AVCodec* lossless = encoder(AV_CODEC_ID_ALAC)) return lossless;
    return avcodec_find_encoder(usualSound(container, sound.layout.nb_channels));
}

AudioEncoder::AudioEncoder(const AVCodec& codec, const AVOutputFormat& container, const SoundFacts& sound) {
    m_context.reset(avcodec_alloc_context3(&codec));
    if (!m_context) throw std::bad_alloc();
    AVCodecContext& c = *m_context;
    c.sample_rate = nearestRate(codec, sound.rate);
    c.sample_fmt = nearestFormat(codec, sound.format);
    if (av_get_bytes_per_sample(c.sample_fmt) == 4 && sound.bits > 16) c.bits_per_raw_sample = sound.bits;
    chooseLayout(c, sound.layout);
    // Tapes know one kind of sound.
    if (std::string_view(container.name) == "dv") {
        c.sample_rate = 48000;
        av_channel_layout_uninit(&c.ch_layout);
        av_channel_layout_default(&c.ch_layout, 2);
    }
    c.time_base = {1, c.sample_rate};
    c.flags |= AV_CODEC_FLAG_BITEXACT;
    if (container.flags & AVFMT_GLOBALHEADER) c.flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    c.thread_count = 1;
    c.bit_rate = 96000LL * c.ch_layout.nb_channels;
    c.strict_std_compliance = FF_COMPLIANCE_EXPERIMENTAL;
    avCheck(avcodec_open2(&c, &codec, nullptr), fmt::format("encode sound with {}", codec.name));
    m_fifo.reset(av_audio_fifo_alloc(c.sample_fmt, c.ch_layout.nb_channels, 4096));
    if (!m_fifo) throw std::bad_alloc();
}

void AudioEncoder::convert(const AVFrame* sound) {
    AVCodecContext& c = *m_context;
    if (sound && !m_resampler) {
        SwrContext* resampler = nullptr;
        AVChannelLayout in = {};
        if (sound->ch_layout.order == AV_CHANNEL_ORDER_NATIVE)
            avCheck(av_channel_layout_copy(&in, &sound->ch_layout), "set up sound");
        else
            av_channel_layout_default(&in, sound->ch_layout.nb_channels);
        avCheck(swr_alloc_set_opts2(&resampler, &c.ch_layout, c.sample_fmt, c.sample_rate, &in,
                                    static_cast<AVSampleFormat>(sound->format), sound->sample_rate, 0, nullptr),
                "set up sound");
        m_resampler.reset(resampler);
        avCheck(swr_init(resampler), "set up sound");
    }
    if (!m_resampler) return;
    const int room = swr_get_out_samples(m_resampler.get(), sound ? sound->nb_samples : 0);
    if (room <= 0) return;
    FramePtr out = newFrame();
    out->format = c.sample_fmt;
    out->nb_samples = room;
    avCheck(av_channel_layout_copy(&out->ch_layout, &c.ch_layout), "set up sound");
    avCheck(av_frame_get_buffer(out.get(), 0), "hold sound");
    const int got = avCheck(swr_convert(m_resampler.get(), out->extended_data, room,
                                        sound ? const_cast<const std::uint8_t**>(sound->extended_data) : nullptr,
                                        sound ? sound->nb_samples : 0),
                            "convert sound");
    if (got > 0)
        avCheck(av_audio_fifo_write(m_fifo.get(), reinterpret_cast<void**>(out->extended_data), got), "hold sound");
}

void AudioEncoder::write(const AVFrame& sound, double start, const PacketTaker& taker) {
    if (m_next == AV_NOPTS_VALUE) m_next = std::llround(start * m_context->sample_rate);
    convert(&sound);
    const int block = m_context->frame_size > 0 ? m_context->frame_size : 1024;
    while (av_audio_fifo_size(m_fifo.get()) >= block) encode(block, taker);
}

void AudioEncoder::finish(const PacketTaker& taker) {
    convert(nullptr);
    const int block = m_context->frame_size > 0 ? m_context->frame_size : 1024;
    while (const int left = av_audio_fifo_size(m_fifo.get())) encode(std::min(left, block), taker);
    avMemory(avcodec_send_frame(m_context.get(), nullptr));
    drain(taker);
}

void AudioEncoder::encode(int samples, const PacketTaker& taker) {
    FramePtr block = newFrame();
    block->format = m_context->sample_fmt;
    block->nb_samples = samples;
    block->sample_rate = m_context->sample_rate;
    avCheck(av_channel_layout_copy(&block->ch_layout, &m_context->ch_layout), "set up sound");
    avCheck(av_frame_get_buffer(block.get(), 0), "hold sound");
    av_audio_fifo_read(m_fifo.get(), reinterpret_cast<void**>(block->extended_data), samples);
    block->pts = m_next;
    m_next += samples;
    avCheck(avcodec_send_frame(m_context.get(), block.get()), "encode sound");
    drain(taker);
}

void AudioEncoder::drain(const PacketTaker& taker) {
    while (true) {
        PacketPtr packet = newPacket();
        const int status = avcodec_receive_packet(m_context.get(), packet.get());
        if (status == AVERROR(EAGAIN) || status == AVERROR_EOF) return;
        avCheck(status, "encode sound");
        taker(std::move(packet));
    }
}

} // namespace larkmoor
