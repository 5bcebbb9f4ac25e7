#include "media/container_sink.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include <fmt/format.h>

namespace larkmoor {

namespace {

constexpr AVRational microseconds{1, AV_TIME_BASE};
constexpr AVRational nanoseconds{1, 1'000'000'000};
/// The coarsest unit that clips count in, in nanoseconds.
constexpr std::int64_t stampError = 1'000'000;

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
        if (!isStale(entry->key)) avMemory(av_dict_set(to, entry->key, entry->value, 0));
}

/// Facts about the picture that no effect changes.
constexpr AVPacketSideDataType carried[] = {AV_PKT_DATA_DISPLAYMATRIX, AV_PKT_DATA_MASTERING_DISPLAY_METADATA,
                                            AV_PKT_DATA_CONTENT_LIGHT_LEVEL, AV_PKT_DATA_STEREO3D,
                                            AV_PKT_DATA_SPHERICAL};

std::uint8_t* newSideData(AVStream& stream, AVPacketSideDataType type, std::size_t size) {
    std::uint8_t* const data = av_stream_new_side_data(&stream, type, size);
    if (!data) throw std::bad_alloc();
    return data;
}

/// @param turned the pictures stand upright by themselves.
void copySideData(const AVStream& from, AVStream& to, bool turned) {
    for (const AVPacketSideDataType type : carried) {
        if (turned && type == AV_PKT_DATA_DISPLAYMATRIX) continue;
        std::size_t size = 0;
        const std::uint8_t* data = av_stream_get_side_data(&from, type, &size);
        if (!data || av_stream_get_side_data(&to, type, nullptr)) continue;
        std::copy_n(data, size, newSideData(to, type, size));
    }
}

/// What is known of the light of the display that the pictures were made for.
void tellLight(const VideoFacts& video, AVStream& to) {
    const auto add = [&](AVPacketSideDataType type, const auto& fact) {
        if (!fact || av_stream_get_side_data(&to, type, nullptr)) return;
        std::memcpy(newSideData(to, type, sizeof(*fact)), &*fact, sizeof(*fact));
    };
    add(AV_PKT_DATA_MASTERING_DISPLAY_METADATA, video.mastering);
    add(AV_PKT_DATA_CONTENT_LIGHT_LEVEL, video.light);
}

/// What the encoder makes of the pictures' colour, as far as players learn of it.
Target targetFor(const AVCodec& codec, const AVOutputFormat& container, const VideoFacts& video, AVPixelFormat wanted) {
    // A tape of 60 fields thins chroma along lines, one of 50 both ways.
    if (codec.id == AV_CODEC_ID_DVVIDEO && wanted == AV_PIX_FMT_NONE && video.format != AV_PIX_FMT_YUV422P)
        wanted = video.height == 480 ? AV_PIX_FMT_YUV411P : AV_PIX_FMT_YUV420P;
    Target target = pickTarget(codec, video.format, video.colour, video.width, video.height, video.alpha, wanted);
    const bool yuv = !isRgb(target.format) && !isGray(target.format);
    if (yuv && target.colour.range == AVCOL_RANGE_JPEG && withoutRange(target.format) == target.format &&
        !carriesRange(container, codec.id))
        target.colour.range = AVCOL_RANGE_MPEG;
    if (yuv && codec.id != AV_CODEC_ID_MJPEG)
        target.colour.chroma = carriedPlace(container, codec.id, target.colour.chroma);
    if (yuv && codec.id == AV_CODEC_ID_WEBP) target.colour.space = AVCOL_SPC_SMPTE170M;
    return target;
}

std::string kindOf(const AVStream& stream) {
    const char* type = av_get_media_type_string(stream.codecpar->codec_type);
    return fmt::format("{} stream {} ({})", type ? type : "unknown", stream.index,
                       avcodec_get_name(stream.codecpar->codec_id));
}

} // namespace

ContainerSink::ContainerSink(const std::string& path, const std::string& name, const VideoFacts& video,
                             const EncodeOptions& options, const Reader* like)
    : m_path(path), m_name(name), m_container(containerFor(name)), m_soundOptions(options.sound), m_video(video) {
    if ((!like || isPictureContainer(m_container)) && (m_soundOptions.stream > 0 || !m_soundOptions.codec.empty()))
        warn(fmt::format("{} gets no sound; {} does nothing", name,
                         m_soundOptions.stream > 0 ? "--audio-stream" : "--audio-codec"));
    const AVCodec& codec = encoderFor(options, m_container, name, video, like);
    m_target = targetFor(codec, m_container, video, options.pixelFormat);
    m_premultiplied = codec.id == AV_CODEC_ID_EXR;
    m_encoder.emplace(
        [this, &codec, options, like](bool again) {
            return openEncoder(codec, options, m_container, m_video, m_target, like, again);
        },
        static_cast<PictureTaker&>(*this));
    if (video.alpha && !hasAlpha(m_target.format))
        warn(fmt::format("{} has no alpha as {} {}: the pictures are laid over black", name, codec.name,
                         av_get_pix_fmt_name(m_target.format)));

    avCheck(avformat_alloc_output_context2(&m_format, &m_container, nullptr, ("file:" + path).c_str()),
            "write " + name);
    // Random ids and the time of day would make each run's file another one.
    m_format->flags |= AVFMT_FLAG_BITEXACT;
    // More than 8 bits in YUV4MPEG, which its readers know.
    m_format->strict_std_compliance = FF_COMPLIANCE_UNOFFICIAL;
    m_stream = addStream();
    avCheck(avcodec_parameters_from_context(m_stream->codecpar, &context()), "write " + name);
    m_stream->codecpar->field_order = video.fieldOrder;
    m_stream->time_base = context().time_base;
    m_stream->avg_frame_rate = context().framerate;
    m_stream->sample_aspect_ratio = video.aspect;
    tellLight(video, *m_stream);
    if (!like) return;
    copyMetadata(like->container().metadata, &m_format->metadata);
    copyMetadata(like->videoStream().metadata, &m_stream->metadata);
    m_stream->disposition = like->videoStream().disposition;
    copySideData(like->videoStream(), *m_stream, like->isTurned());
    if (!isMovie(m_container) && av_stream_get_side_data(m_stream, AV_PKT_DATA_DISPLAYMATRIX, nullptr))
        warn(
            fmt::format("{} cannot say that its pictures are to be turned; they are written as they are stored", name));
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
        m_format->chapters[m_format->nb_chapters++] = copy;
        avMemory(av_dict_copy(&copy->metadata, chapter.metadata, 0));
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
    avMemory(av_dict_set(&stream->metadata, "filename", png ? "cover.png" : "cover.jpg", 0));
    avMemory(av_dict_set(&stream->metadata, "mimetype", png ? "image/png" : "image/jpeg", 0));
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
    } else if (!takesStream(m_container, *from.codecpar, from.time_base)) {
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
    if (from.codecpar->codec_type != AVMEDIA_TYPE_AUDIO) return false;
    const SoundFacts sound = soundFacts(*from.codecpar);
    const AVCodec* codec = soundEncoderFor(m_soundOptions, m_container, m_name, sound);
    if (!codec) return false;
    try {
        passage.decoder = openAudioDecoder(from);
        passage.encoder = std::make_unique<AudioEncoder>(*codec, m_container, sound);
    } catch (const Error&) {
        if (!m_soundOptions.codec.empty()) throw;
        passage.decoder.reset();
        return false;
    }
    passage.stream = addSoundStream(*passage.encoder);
    return true;
}

AVStream* ContainerSink::addSoundStream(const AudioEncoder& encoder) {
    const AVCodecContext& c = encoder.context();
    AVStream* stream = addStream();
    avCheck(avcodec_parameters_from_context(stream->codecpar, &c), "write " + m_name);
    if (!takesStream(m_container, *stream->codecpar, c.time_base))
        throw UsageError(fmt::format("{} does not go into a file like {}", c.codec->name, m_name));
    stream->time_base = c.time_base;
    return stream;
}

/// Whether a stream of sound is already in the codec that the user wants.
bool ContainerSink::mayCopySound(const AVStream& from) const {
    if (m_soundOptions.codec.empty()) return true;
    const AVCodec* codec = soundEncoderFor(m_soundOptions, m_container, m_name, soundFacts(*from.codecpar));
    return codec->id == from.codecpar->codec_id;
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
    int sounds = 0;
    for (unsigned i = 0; i < from.nb_streams; ++i) {
        const AVStream& stream = *from.streams[i];
        const AVMediaType type = stream.codecpar->codec_type;
        const bool cover = stream.disposition & AV_DISPOSITION_ATTACHED_PIC;
        if (&stream == &source.videoStream() || (type == AVMEDIA_TYPE_VIDEO && !cover)) continue;
        const bool sound = type == AVMEDIA_TYPE_AUDIO;
        if (sound && !wantsSound(++sounds)) continue;
        if (sound && !isKnownSound(*stream.codecpar)) {
            warn(fmt::format("{} announces sound stream {} and holds nothing of it; it is left out", source.path(),
                             sounds));
            continue;
        }
        Passage passage;
        const bool copied = (!sound || mayCopySound(stream)) && copyStream(stream, passage);
        if (!copied && !reencodeSound(stream, passage) && !reencodeSubtitles(stream, passage)) {
            if (sound || type == AVMEDIA_TYPE_SUBTITLE)
                warn(fmt::format("{} does not take {}; it is left out", m_name, kindOf(stream)));
            continue;
        }
        if (!passage.stream) continue;
        if (!copied && (!sound || m_soundOptions.codec.empty()))
            warn(fmt::format("{} does not take {}; it is encoded anew as {}", m_name, kindOf(stream),
                             avcodec_get_name(passage.stream->codecpar->codec_id)));
        copyMetadata(stream.metadata, &passage.stream->metadata);
        passage.stream->disposition = stream.disposition;
        passage.unit = stream.time_base;
        if (type != AVMEDIA_TYPE_ATTACHMENT) source.select(static_cast<int>(i));
        m_passages.emplace(static_cast<int>(i), std::move(passage));
    }
    checkSoundNumber(source.path(), sounds);
    if (const auto frames = source.expectedFrames(); frames && source.rangeEnd())
        m_cut = av_rescale_q(*frames, av_inv_q(m_video.rate), nanoseconds);
}

/// Streams of clips that follow one another, null where a clip has none, as one.
void ContainerSink::passSubtitleRow(std::span<const AVStream* const> streams) {
    const auto first = std::ranges::find_if(streams, [](const AVStream* stream) { return stream != nullptr; });
    const AVStream& like = **first;
    const bool same = std::ranges::all_of(streams, [&](const AVStream* stream) {
        return !stream || stream->codecpar->codec_id == like.codecpar->codec_id;
    });
    Passage passage;
    if (!(same && copyStream(like, passage)) && !reencodeSubtitles(like, passage)) {
        warn(fmt::format("{} does not take {}; it is left out", m_name, kindOf(like)));
        return;
    }
    copyMetadata(like.metadata, &passage.stream->metadata);
    passage.stream->disposition = like.disposition;
    AVStream* const stream = passage.stream;
    const bool copied = !passage.subtitles;
    passage.unit = like.time_base;
    const auto number = [&](auto place) {
        return (*place)->index + static_cast<int>(place - streams.begin()) * nextClip;
    };
    m_passages.emplace(number(first), std::move(passage));
    for (auto next = first + 1; next != streams.end(); ++next) {
        if (!*next) continue;
        Passage following;
        following.stream = stream;
        following.unit = (*next)->time_base;
        if (!copied) {
            try {
                following.subtitles = std::make_unique<SubtitleEncoder>(m_container, **next);
            } catch (const Error&) {
                warn(fmt::format("{} does not take {} of clip {}; it is left out", m_name, kindOf(**next),
                                 next - streams.begin() + 1));
                continue;
            }
        }
        m_passages.emplace(number(next), std::move(following));
    }
}

void ContainerSink::passSubtitles(std::span<const std::unique_ptr<Reader>> clips, std::optional<std::int64_t> frames) {
    if (isPictureContainer(m_container)) return;
    std::vector<std::vector<const AVStream*>> rows;
    for (std::size_t clip = 0; clip < clips.size(); ++clip) {
        const AVFormatContext& container = clips[clip]->container();
        std::size_t row = 0;
        for (unsigned i = 0; i < container.nb_streams; ++i) {
            const AVStream* stream = container.streams[i];
            if (stream->codecpar->codec_type != AVMEDIA_TYPE_SUBTITLE) continue;
            if (row == rows.size()) rows.emplace_back(clips.size());
            rows[row++][clip] = stream;
            clips[clip]->select(stream->index);
        }
    }
    for (const auto& row : rows) passSubtitleRow(row);
    if (frames) m_cut = av_rescale_q(*frames, av_inv_q(m_video.rate), nanoseconds);
}

bool ContainerSink::wantsSound(int number) const {
    return !m_soundOptions.none && (m_soundOptions.stream == 0 || m_soundOptions.stream == number);
}

void ContainerSink::checkSoundNumber(const std::string& name, int there) const {
    if (m_soundOptions.none || m_soundOptions.stream <= there) return;
    throw UsageError(there == 0 ? fmt::format("{} has no sound for --audio-stream", name)
                                : fmt::format("--audio-stream {} is not there: {} has {} of sound, counted from 1",
                                              m_soundOptions.stream, name,
                                              there == 1 ? std::string("1 stream") : fmt::format("{} streams", there)));
}

std::optional<std::size_t> ContainerSink::addSound(const SoundFacts& sound, const AVDictionary* metadata,
                                                   int disposition) {
    if (isPictureContainer(m_container)) return {};
    const AVCodec* codec = soundEncoderFor(m_soundOptions, m_container, m_name, sound);
    if (!codec) return {};
    Passage passage;
    passage.encoder = std::make_unique<AudioEncoder>(*codec, m_container, sound);
    passage.stream = addSoundStream(*passage.encoder);
    copyMetadata(metadata, &passage.stream->metadata);
    passage.stream->disposition = disposition;
    m_sounds.push_back(std::move(passage));
    return m_sounds.size() - 1;
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
    m_open = true;
}

void ContainerSink::setChunks(std::int64_t frames) {
    const AVCodecID codec = context().codec_id;
    if (codec == AV_CODEC_ID_APNG || (codec == AV_CODEC_ID_WEBP && !isPictureContainer(m_container)))
        throw UsageError(fmt::format("{} is one piece as {}; another container can be made in chunks", m_name,
                                     avcodec_get_name(codec)));
    m_chunkFrames = frames;
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

/// Where the encoder counts in frames, the first picture goes to the next whole one, and all else with it.
void ContainerSink::startAt(std::int64_t stamp) {
    const std::int64_t exact = av_rescale_q(stamp, m_video.timeBase, nanoseconds);
    const std::int64_t next = av_rescale_q_rnd(exact - stampError, nanoseconds, context().time_base, AV_ROUND_UP);
    const std::int64_t shift = av_rescale_q(next, context().time_base, nanoseconds) - exact;
    m_shift = std::abs(shift) > stampError ? shift : 0;
}

/// A time in the encoder's unit: that of a whole frame where it is one but for the rounding of its clip's unit.
std::int64_t ContainerSink::inEncoder(std::int64_t time) const {
    const AVRational period = av_inv_q(context().framerate);
    const std::int64_t frame = av_rescale_q(time, nanoseconds, period);
    if (isMovie(m_container) && std::abs(av_rescale_q(frame, period, nanoseconds) - time) <= stampError)
        return av_rescale_q(frame, period, context().time_base);
    return av_rescale_q(time, nanoseconds, context().time_base);
}

std::int64_t ContainerSink::pass(std::int64_t stamp, std::int64_t duration) {
    const auto shifted = [&](std::int64_t time) { return av_rescale_q(time, m_video.timeBase, nanoseconds) + m_shift; };
    m_end = shifted(stamp + duration);
    std::int64_t time = inEncoder(shifted(stamp));
    if (m_lastStamp != AV_NOPTS_VALUE && time <= m_lastStamp) time = m_lastStamp + 1;
    m_lastStamp = time;
    ++m_frames;
    return time;
}

void ContainerSink::write(FramePtr frame) {
    if (m_written++ > 0 && isPictureContainer(m_container) && !av_filename_number_test(m_name.c_str()))
        throw Error(fmt::format("{} takes one picture; name a numbered sequence such as frame%04d.png, or ask for "
                                "--frames 1",
                                m_name));
    if (m_written > 1 && m_chunkFrames > 0 && m_frames % m_chunkFrames == 0) m_encoder->startChunk();
    const std::int64_t duration = frame->pkt_duration;
    frame->pts = pass(frame->pts, duration);
    tag(*frame, m_target.colour);
    frame->sample_aspect_ratio = m_video.aspect;
    const std::int64_t lasts = av_rescale_q(duration, m_video.timeBase, context().time_base);
    m_encoder->write(std::move(frame), std::max<std::int64_t>(1, lasts));
}

void ContainerSink::writePicture(PacketPtr packet) {
    put(std::move(packet), *m_stream, context().time_base);
}

void ContainerSink::endPictures() {
    m_encoder->finish();
}

void ContainerSink::passSound(Passage& passage, const AVPacket* packet) {
    const PacketTaker taker = takerFor(passage);
    // A broken packet of sound is a gap, as in players.
    avMemory(avcodec_send_packet(passage.decoder.get(), packet));
    FramePtr frame = newFrame();
    while (avMemory(avcodec_receive_frame(passage.decoder.get(), frame.get())) >= 0) {
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
    const std::int64_t shift = av_rescale_q(m_shift, nanoseconds, passage.unit);
    if (packet->pts != AV_NOPTS_VALUE) packet->pts += shift;
    if (packet->dts != AV_NOPTS_VALUE) packet->dts += shift;
    // What may outlast a cut waits until it is known when that is.
    if (passage.stream->codecpar->codec_type == AVMEDIA_TYPE_SUBTITLE && m_cut &&
        av_compare_ts(packet->pts + packet->duration, passage.unit, *m_cut, nanoseconds) > 0)
        m_late.push_back(std::move(packet));
    else
        pass(passage, std::move(packet));
}

void ContainerSink::pass(Passage& passage, PacketPtr packet) {
    if (passage.encoder) {
        passSound(passage, packet.get());
        return;
    }
    if (passage.subtitles) {
        passage.subtitles->write(*packet, [&](PacketPtr text) { put(std::move(text), *passage.stream, passage.unit); });
        return;
    }
    // Where nothing tells how long the last packet of sound lasts, movie files would not show it at all.
    if (passage.stream->codecpar->codec_type == AVMEDIA_TYPE_AUDIO && packet->pts != AV_NOPTS_VALUE) {
        if (passage.last != AV_NOPTS_VALUE) passage.step = packet->pts - passage.last;
        passage.last = packet->pts;
        if (packet->duration <= 0 && passage.step > 0) packet->duration = passage.step;
    }
    put(std::move(packet), *passage.stream, passage.unit);
}

PacketTaker ContainerSink::takerFor(Passage& passage) {
    return [this, &passage](PacketPtr encoded) {
        put(std::move(encoded), *passage.stream, passage.encoder->context().time_base);
    };
}

void ContainerSink::writeSound(std::size_t number, const AVFrame& sound) {
    m_sounds[number].encoder->write(sound, 0, takerFor(m_sounds[number]));
}

void ContainerSink::finish() {
    endPictures();
    if (!m_open) return;
    for (PacketPtr& packet : m_late) {
        Passage& passage = m_passages.at(packet->stream_index);
        const std::int64_t left = av_rescale_q(m_end, nanoseconds, passage.unit) - packet->pts;
        packet->duration = std::min(packet->duration, left);
        if (left > 0) pass(passage, std::move(packet));
    }
    for (auto& [index, passage] : m_passages)
        if (passage.encoder) passSound(passage, nullptr);
    for (Passage& sound : m_sounds) sound.encoder->finish(takerFor(sound));
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
