#include "media/container_sink.h"

#include <algorithm>
#include <array>
#include <string_view>

#include <fmt/format.h>

namespace larkmoor {

namespace {

constexpr AVRational microseconds{1, AV_TIME_BASE};

/// What a muxer writes by itself, or what no longer holds for another encoding.
bool isStale(std::string_view key) {
    constexpr std::array<std::string_view, 10> keys{
        "encoder",          "major_brand",     "minor_version", "compatible_brands", "DURATION", "BPS",
        "NUMBER_OF_FRAMES", "NUMBER_OF_BYTES", "rotate",        "_STATISTICS_TAGS"};
    return std::ranges::find(keys, key) != keys.end() || key.starts_with("_STATISTICS");
}

void copyMetadata(const AVDictionary* from, AVDictionary** to) {
    const AVDictionaryEntry* entry = nullptr;
    while ((entry = av_dict_get(from, "", entry, AV_DICT_IGNORE_SUFFIX)))
        if (!isStale(entry->key)) av_dict_set(to, entry->key, entry->value, 0);
}

bool isMovie(const AVOutputFormat& container) {
    const std::string_view name = container.name;
    return name == "mp4" || name == "mov" || name == "ipod";
}

bool isMatroska(const AVOutputFormat& container) {
    return std::string_view(container.name) == "matroska";
}

/// Facts about the picture that no effect changes.
constexpr AVPacketSideDataType carried[] = {AV_PKT_DATA_DISPLAYMATRIX, AV_PKT_DATA_MASTERING_DISPLAY_METADATA,
                                            AV_PKT_DATA_CONTENT_LIGHT_LEVEL, AV_PKT_DATA_STEREO3D,
                                            AV_PKT_DATA_SPHERICAL};

/// @param turned the pictures stand upright by themselves.
void copySideData(const AVStream& from, AVStream& to, bool turned) {
    for (const AVPacketSideDataType type : carried) {
        if (turned && type == AV_PKT_DATA_DISPLAYMATRIX) continue;
        std::size_t size = 0;
        const std::uint8_t* data = av_stream_get_side_data(&from, type, &size);
        if (!data) continue;
        if (std::uint8_t* copy = av_stream_new_side_data(&to, type, size)) std::copy_n(data, size, copy);
    }
}

/// Asks a container that keeps no list of its codecs, by the head of a file that is thrown away.
bool takesByTrial(const AVOutputFormat& container, const AVStream& from) {
    AVFormatContext* trial = nullptr;
    if (avformat_alloc_output_context2(&trial, &container, nullptr, nullptr) < 0) return false;
    bool taken = false;
    AVStream* stream = avformat_new_stream(trial, nullptr);
    if (stream && avcodec_parameters_copy(stream->codecpar, from.codecpar) >= 0 &&
        ((container.flags & AVFMT_NOFILE) || avio_open_dyn_buf(&trial->pb) >= 0)) {
        stream->codecpar->codec_tag = 0;
        stream->time_base = from.time_base;
        taken = avformat_write_header(trial, nullptr) >= 0;
        std::uint8_t* bytes = nullptr;
        if (trial->pb) {
            avio_close_dyn_buf(trial->pb, &bytes);
            av_free(bytes);
        }
    }
    avformat_free_context(trial);
    return taken;
}

std::string kindOf(const AVStream& stream) {
    const char* type = av_get_media_type_string(stream.codecpar->codec_type);
    return fmt::format("{} stream {} ({})", type ? type : "unknown", stream.index,
                       avcodec_get_name(stream.codecpar->codec_id));
}

} // namespace

ContainerSink::ContainerSink(const std::string& path, const std::string& name, const VideoFacts& video,
                             const EncodeOptions& options, const Reader* like)
    : m_path(path), m_name(name), m_container(containerFor(name)), m_video(video) {
    const AVCodec& codec = encoderFor(options, m_container, name, like);
    m_target = pickTarget(codec, video.format, video.colour, video.width, video.height, options.pixelFormat);
    m_encoder = openEncoder(codec, options, m_container, video, m_target);

    avCheck(avformat_alloc_output_context2(&m_format, &m_container, nullptr, ("file:" + path).c_str()),
            "write " + name);
    // Random ids and the time of day would make each run's file another one.
    m_format->flags |= AVFMT_FLAG_BITEXACT;
    m_stream = addStream();
    avCheck(avcodec_parameters_from_context(m_stream->codecpar, m_encoder.get()), "write " + name);
    m_stream->codecpar->field_order = video.fieldOrder;
    m_stream->time_base = m_encoder->time_base;
    m_stream->avg_frame_rate = m_encoder->framerate;
    m_stream->sample_aspect_ratio = video.aspect;
    if (!like) return;
    copyMetadata(like->container().metadata, &m_format->metadata);
    copyMetadata(like->videoStream().metadata, &m_stream->metadata);
    m_stream->disposition = like->videoStream().disposition;
    copySideData(like->videoStream(), *m_stream, like->isTurned());
    if (!isMovie(m_container) && av_stream_get_side_data(m_stream, AV_PKT_DATA_DISPLAYMATRIX, nullptr))
        warn(
            fmt::format("{} cannot say that its pictures are to be turned; they are written as they are stored", name));
    copyChapters(*like);
}

ContainerSink::~ContainerSink() {
    if (!m_format) return;
    if (m_format->pb && !(m_container.flags & AVFMT_NOFILE)) avio_closep(&m_format->pb);
    avformat_free_context(m_format);
}

void ContainerSink::fail(int code) const {
    throw Error(fmt::format("cannot write {}: {}", m_name, avReason(code)));
}

AVStream* ContainerSink::addStream() {
    AVStream* stream = avformat_new_stream(m_format, nullptr);
    if (!stream) throw std::bad_alloc();
    return stream;
}

void ContainerSink::copyChapters(const Reader& from) {
    const AVFormatContext& source = from.container();
    if (source.nb_chapters == 0) return;
    const std::int64_t start = from.rangeStart();
    std::int64_t end = source.duration > 0 ? start + source.duration : INT64_MAX;
    if (const auto frames = from.expectedFrames())
        end = std::min(end, start + av_rescale_q(*frames, av_inv_q(m_video.rate), microseconds));
    m_format->chapters = static_cast<AVChapter**>(av_calloc(source.nb_chapters, sizeof(AVChapter*)));
    if (!m_format->chapters) throw std::bad_alloc();
    for (unsigned i = 0; i < source.nb_chapters; ++i) {
        const AVChapter& chapter = *source.chapters[i];
        const std::int64_t from100 = std::max(start, av_rescale_q(chapter.start, chapter.time_base, microseconds));
        const std::int64_t to = std::min(end, av_rescale_q(chapter.end, chapter.time_base, microseconds));
        if (from100 >= to) continue;
        auto* copy = static_cast<AVChapter*>(av_mallocz(sizeof(AVChapter)));
        if (!copy) throw std::bad_alloc();
        copy->id = chapter.id;
        copy->time_base = microseconds;
        copy->start = from100 - start;
        copy->end = to - start;
        av_dict_copy(&copy->metadata, chapter.metadata, 0);
        m_format->chapters[m_format->nb_chapters++] = copy;
    }
}

/// Matroska keeps covers as attached files.
void ContainerSink::attachCover(const AVStream& from) {
    const AVPacket& picture = from.attached_pic;
    const bool png = from.codecpar->codec_id == AV_CODEC_ID_PNG;
    if (picture.size <= 0 || (!png && from.codecpar->codec_id != AV_CODEC_ID_MJPEG)) return;
    AVStream* stream = addStream();
    AVCodecParameters& p = *stream->codecpar;
    p.codec_type = AVMEDIA_TYPE_ATTACHMENT;
    p.codec_id = from.codecpar->codec_id;
    p.extradata =
        static_cast<std::uint8_t*>(av_mallocz(static_cast<std::size_t>(picture.size) + AV_INPUT_BUFFER_PADDING_SIZE));
    if (!p.extradata) throw std::bad_alloc();
    p.extradata_size = picture.size;
    std::copy_n(picture.data, picture.size, p.extradata);
    av_dict_set(&stream->metadata, "filename", png ? "cover.png" : "cover.jpg", 0);
    av_dict_set(&stream->metadata, "mimetype", png ? "image/png" : "image/jpeg", 0);
}

bool ContainerSink::copyStream(const AVStream& from, Passage& passage) {
    const AVMediaType type = from.codecpar->codec_type;
    const bool cover = from.disposition & AV_DISPOSITION_ATTACHED_PIC;
    if (cover && isMatroska(m_container)) {
        attachCover(from);
        return true;
    }
    if (cover) {
        if (!isMovie(m_container) || std::string_view(m_container.name) == "mov") return false;
    } else if (type == AVMEDIA_TYPE_ATTACHMENT) {
        if (!isMatroska(m_container)) return false;
    } else if (from.codecpar->codec_id == AV_CODEC_ID_NONE ||
               (type != AVMEDIA_TYPE_AUDIO && type != AVMEDIA_TYPE_SUBTITLE && type != AVMEDIA_TYPE_DATA)) {
        return false;
    } else {
        const int answer = avformat_query_codec(&m_container, from.codecpar->codec_id, FF_COMPLIANCE_NORMAL);
        const AVCodecID usual = type == AVMEDIA_TYPE_AUDIO      ? m_container.audio_codec
                                : type == AVMEDIA_TYPE_SUBTITLE ? m_container.subtitle_codec
                                                                : AV_CODEC_ID_NONE;
        if (answer == 0 || (answer < 0 && (usual == AV_CODEC_ID_NONE || !takesByTrial(m_container, from))))
            return false;
    }
    passage.stream = addStream();
    avCheck(avcodec_parameters_copy(passage.stream->codecpar, from.codecpar), "write " + m_name);
    // Another container may know the codec by another tag.
    const AVCodecTag* const* tags = m_container.codec_tag;
    if (!tags || av_codec_get_id(tags, from.codecpar->codec_tag) != from.codecpar->codec_id)
        passage.stream->codecpar->codec_tag = 0;
    passage.stream->time_base = from.time_base;
    return true;
}

bool ContainerSink::reencodeSound(const AVStream& from, Passage& passage) {
    if (from.codecpar->codec_type != AVMEDIA_TYPE_AUDIO || m_container.audio_codec == AV_CODEC_ID_NONE) return false;
    try {
        passage.decoder = openAudioDecoder(from);
        passage.encoder =
            std::make_unique<AudioEncoder>(m_container, from.codecpar->sample_rate, from.codecpar->ch_layout);
    } catch (const Error&) {
        passage.decoder.reset();
        return false;
    }
    passage.stream = addStream();
    avCheck(avcodec_parameters_from_context(passage.stream->codecpar, &passage.encoder->context()), "write " + m_name);
    passage.stream->time_base = passage.encoder->context().time_base;
    return true;
}

bool ContainerSink::reencodeSubtitles(const AVStream& from, Passage& passage) {
    if (from.codecpar->codec_type != AVMEDIA_TYPE_SUBTITLE) return false;
    try {
        passage.subtitles = std::make_unique<SubtitleEncoder>(m_container, from);
    } catch (const Error&) {
        return false;
    }
    passage.stream = addStream();
    avCheck(avcodec_parameters_from_context(passage.stream->codecpar, &passage.subtitles->context()),
            "write " + m_name);
    passage.stream->time_base = from.time_base;
    return true;
}

void ContainerSink::passStreams(Reader& source) {
    if (isPictureContainer(m_container)) return;
    const AVFormatContext& from = source.container();
    for (unsigned i = 0; i < from.nb_streams; ++i) {
        const AVStream& stream = *from.streams[i];
        const bool cover = stream.disposition & AV_DISPOSITION_ATTACHED_PIC;
        if (&stream == &source.videoStream() || (stream.codecpar->codec_type == AVMEDIA_TYPE_VIDEO && !cover)) continue;
        Passage passage;
        if (!copyStream(stream, passage) && !reencodeSound(stream, passage) && !reencodeSubtitles(stream, passage)) {
            const AVMediaType type = stream.codecpar->codec_type;
            if (type == AVMEDIA_TYPE_AUDIO || type == AVMEDIA_TYPE_SUBTITLE)
                warn(fmt::format("{} does not take {}; it is left out", m_name, kindOf(stream)));
            continue;
        }
        if (!passage.stream) continue;
        if (passage.encoder || passage.subtitles)
            warn(fmt::format("{} does not take {}; it is encoded anew as {}", m_name, kindOf(stream),
                             avcodec_get_name(passage.stream->codecpar->codec_id)));
        copyMetadata(stream.metadata, &passage.stream->metadata);
        passage.stream->disposition = stream.disposition;
        passage.unit = stream.time_base;
        if (stream.codecpar->codec_type != AVMEDIA_TYPE_ATTACHMENT) source.select(static_cast<int>(i));
        m_passages.emplace(static_cast<int>(i), std::move(passage));
    }
}

bool ContainerSink::addSound(int sampleRate, const AVChannelLayout& layout) {
    if (m_container.audio_codec == AV_CODEC_ID_NONE || isPictureContainer(m_container)) return false;
    m_sound.encoder = std::make_unique<AudioEncoder>(m_container, sampleRate, layout);
    m_sound.stream = addStream();
    avCheck(avcodec_parameters_from_context(m_sound.stream->codecpar, &m_sound.encoder->context()), "write " + m_name);
    m_sound.stream->time_base = m_sound.encoder->context().time_base;
    return true;
}

void ContainerSink::begin(int firstNumber) {
    Dictionary settings;
    if (isPictureContainer(m_container)) {
        if (av_filename_number_test(m_name.c_str()))
            settings.set("start_number", std::to_string(firstNumber));
        else
            settings.set("update", "1");
    }
    if (!(m_container.flags & AVFMT_NOFILE)) {
        const int status = avio_open(&m_format->pb, ("file:" + m_path).c_str(), AVIO_FLAG_WRITE);
        if (status < 0) fail(status);
    }
    const int status = avformat_write_header(m_format, settings.get());
    if (status < 0) fail(status);
    m_begun = true;
}

void ContainerSink::put(PacketPtr packet, AVStream& stream, AVRational unit) {
    packet->stream_index = stream.index;
    av_packet_rescale_ts(packet.get(), unit, stream.time_base);
    packet->pos = -1;
    // Stamps that repeat or go back, as broken clips have them, are moved as little as a muxer needs.
    const AVMediaType type = stream.codecpar->codec_type;
    if (packet->dts != AV_NOPTS_VALUE && (type == AVMEDIA_TYPE_AUDIO || type == AVMEDIA_TYPE_VIDEO)) {
        const std::int64_t least = m_container.flags & AVFMT_TS_NONSTRICT ? 0 : 1;
        const auto [last, first] = m_lastStamps.try_emplace(stream.index, packet->dts);
        if (!first) last->second = packet->dts = std::max(packet->dts, last->second + least);
        if (packet->pts != AV_NOPTS_VALUE) packet->pts = std::max(packet->pts, packet->dts);
    }
    const int status = av_interleaved_write_frame(m_format, packet.get());
    if (status < 0) fail(status);
}

void ContainerSink::write(FramePtr frame) {
    frame->pts = av_rescale_q(frame->pts, m_video.timeBase, m_encoder->time_base);
    if (m_lastStamp != AV_NOPTS_VALUE && frame->pts <= m_lastStamp) frame->pts = m_lastStamp + 1;
    if (m_lastStamp != AV_NOPTS_VALUE && isPictureContainer(m_container) && !av_filename_number_test(m_name.c_str()))
        throw Error(fmt::format("{} takes one picture; name a numbered sequence such as frame%04d.png, or ask for "
                                "--frames 1",
                                m_name));
    m_lastStamp = frame->pts;
    m_durations[frame->pts] =
        std::max<std::int64_t>(1, av_rescale_q(frame->pkt_duration, m_video.timeBase, m_encoder->time_base));
    // The encoder decides by itself which frames stand alone.
    frame->pict_type = AV_PICTURE_TYPE_NONE;
    frame->key_frame = 0;
    frame->quality = 0;
    tag(*frame, m_target.colour);
    frame->sample_aspect_ratio = m_video.aspect;
    const int status = avcodec_send_frame(m_encoder.get(), frame.get());
    if (status < 0) throw Error(fmt::format("cannot encode with {}: {}", m_encoder->codec->name, avReason(status)));
    drain();
}

void ContainerSink::drain() {
    while (true) {
        PacketPtr packet = newPacket();
        const int status = avcodec_receive_packet(m_encoder.get(), packet.get());
        if (status == AVERROR(EAGAIN) || status == AVERROR_EOF) return;
        if (status < 0) throw Error(fmt::format("cannot encode with {}: {}", m_encoder->codec->name, avReason(status)));
        if (const auto known = m_durations.find(packet->pts); known != m_durations.end()) {
            packet->duration = known->second;
            m_durations.erase(known);
        }
        put(std::move(packet), *m_stream, m_encoder->time_base);
    }
}

void ContainerSink::passSound(Passage& passage, const AVPacket* packet) {
    const PacketTaker taker = [&](PacketPtr encoded) {
        put(std::move(encoded), *passage.stream, passage.encoder->context().time_base);
    };
    // A broken packet of sound is a gap, as in players.
    avcodec_send_packet(passage.decoder.get(), packet);
    FramePtr frame = newFrame();
    while (avcodec_receive_frame(passage.decoder.get(), frame.get()) >= 0) {
        const std::int64_t stamp = frame->best_effort_timestamp;
        const double start = stamp == AV_NOPTS_VALUE ? 0.0 : static_cast<double>(stamp) * av_q2d(passage.unit);
        passage.encoder->write(*frame, start, taker);
        av_frame_unref(frame.get());
    }
    if (!packet) passage.encoder->finish(taker);
}

void ContainerSink::writeSide(PacketPtr packet) {
    const auto found = m_passages.find(packet->stream_index);
    if (found == m_passages.end()) return;
    Passage& passage = found->second;
    if (passage.encoder) {
        passSound(passage, packet.get());
        return;
    }
    if (passage.subtitles) {
        passage.subtitles->write(*packet, [&](PacketPtr text) { put(std::move(text), *passage.stream, passage.unit); });
        return;
    }
    put(std::move(packet), *passage.stream, passage.unit);
}

void ContainerSink::writeSound(const AVFrame& sound) {
    m_sound.encoder->write(sound, 0, [&](PacketPtr packet) {
        put(std::move(packet), *m_sound.stream, m_sound.encoder->context().time_base);
    });
}

void ContainerSink::finish() {
    avcodec_send_frame(m_encoder.get(), nullptr);
    drain();
    for (auto& [index, passage] : m_passages)
        if (passage.encoder) passSound(passage, nullptr);
    if (m_sound.encoder)
        m_sound.encoder->finish(
            [&](PacketPtr packet) { put(std::move(packet), *m_sound.stream, m_sound.encoder->context().time_base); });
    const int status = av_write_trailer(m_format);
    if (status < 0) fail(status);
    if (m_format->pb && !(m_container.flags & AVFMT_NOFILE)) {
        avio_flush(m_format->pb);
        const int error = m_format->pb->error;
        const int closed = avio_closep(&m_format->pb);
        if (error < 0) fail(error);
        if (closed < 0) fail(closed);
    }
}

} // namespace larkmoor
