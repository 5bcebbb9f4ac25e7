#include "media/reader.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <filesystem>
#include <limits>
#include <utility>

#include <fmt/format.h>

#include "media/sequence.h"

namespace larkmoor {

namespace {

constexpr AVRational microseconds{1, AV_TIME_BASE};

/// Decoders of pictures are told to refuse what is cut short; clips tell of it by marks on their frames.
bool isPictureCodec(AVCodecID id) {
    return id == AV_CODEC_ID_PNG || id == AV_CODEC_ID_MJPEG || id == AV_CODEC_ID_TIFF || id == AV_CODEC_ID_EXR;
}

const AVCodec* decoderFor(const AVStream& stream) {
    // The usual decoders of VP8 and VP9 leave the alpha layer out.
    const AVDictionaryEntry* alpha = av_dict_get(stream.metadata, "alpha_mode", nullptr, 0);
    if (alpha && std::string_view(alpha->value) == "1") {
        const char* name = stream.codecpar->codec_id == AV_CODEC_ID_VP8   ? "libvpx"
                           : stream.codecpar->codec_id == AV_CODEC_ID_VP9 ? "libvpx-vp9"
                                                                          : nullptr;
        if (const AVCodec* codec = name ? avcodec_find_decoder_by_name(name) : nullptr) return codec;
    }
    return avcodec_find_decoder(stream.codecpar->codec_id);
}

std::int64_t stampOf(const AVPacket& packet) {
    return packet.pts != AV_NOPTS_VALUE ? packet.pts : packet.dts;
}

} // namespace

Reader::Reader(const std::string& path, const ReadOptions& options, Closed)
    : m_path(path), m_name(path == "-" ? "standard input" : path), m_options(options), m_packet(newPacket()) {}

Reader::Reader(const std::string& path, const ReadOptions& options) : Reader(path, options, Closed{}) {
    open();
    openDecoder();

    m_clipStart = m_format->start_time == AV_NOPTS_VALUE ? 0 : m_format->start_time;
    m_origin = m_clipStart;
    std::int64_t from = std::numeric_limits<std::int64_t>::min();
    // What cannot seek is read from its start.
    const auto seek = [&](std::int64_t to) {
        avformat_seek_file(m_format.get(), m_stream->index, std::numeric_limits<std::int64_t>::min(), to, to, 0);
    };
    if (options.from) {
        from = options.from->stamp;
        seek(options.from->seek);
    } else if (options.start > 0) {
        const std::int64_t target = m_clipStart + static_cast<std::int64_t>(options.start * AV_TIME_BASE + 0.5);
        from = av_rescale_q(target, microseconds, m_stream->time_base);
        seek(from);
    }
    do m_first = decodeStamped();
    while (m_first && m_first->pts < from);
    for (std::int64_t i = 0; !options.from && m_first && i < options.skip; ++i) m_first = decodeStamped();
    if (!m_first) {
        if (m_decoded > 0 && options.skip > 0)
            throw Error(fmt::format("{} has no frame {}; it has {}", m_name, options.skip, m_decoded));
        if (m_decoded > 0) throw Error(fmt::format("{} has no frame at or after --start {}", m_name, options.start));
        throw Error(m_firstError < 0 ? fmt::format("cannot decode {}: {}", m_name, avReason(m_firstError))
                                     : fmt::format("{} holds no frame that can be decoded", m_name));
    }
    if (isCut()) m_origin = av_rescale_q(m_first->pts, m_stream->time_base, microseconds);

    const AVFrame& f = *m_first;
    m_facts.width = f.width;
    m_facts.height = f.height;
    m_facts.format = static_cast<AVPixelFormat>(f.format);
    m_facts.colour = colourOf(f);
    m_facts.timeBase = m_stream->time_base;
    m_facts.premultiplied = m_stream->codecpar->codec_id == AV_CODEC_ID_EXR;
    m_facts.fieldOrder = !f.interlaced_frame ? AV_FIELD_PROGRESSIVE : f.top_field_first ? AV_FIELD_TT : AV_FIELD_BB;
    const AVRational aspect = av_guess_sample_aspect_ratio(m_format.get(), m_stream, m_first.get());
    if (aspect.num > 0 && aspect.den > 0) m_facts.aspect = aspect;
    const AVRational rate = av_guess_frame_rate(m_format.get(), m_stream, nullptr);
    if (rate.num > 0 && rate.den > 0) m_facts.rate = rate;
    if (m_number) *m_number += static_cast<int>(av_rescale_q(f.pts, m_stream->time_base, av_inv_q(m_facts.rate)));
}

std::optional<FramePlace> FrameTable::place(std::int64_t frame) const {
    if (!exact || frame < 0 || frame >= count()) return {};
    const std::int64_t stamp = stamps[static_cast<std::size_t>(frame)];
    const auto after = std::ranges::upper_bound(keys, stamp, {}, [](const FramePlace& key) { return key.stamp; });
    if (after == keys.begin()) return {};
    return FramePlace{stamp, std::prev(after)->seek};
}

FrameTable Reader::table(const std::string& path, ReadOptions options) {
    options.start = 0;
    options.skip = 0;
    options.from.reset();
    options.frames = -1;
    const Reader first(path, options);
    FrameTable table;
    if (first.isPicture()) {
        table.stamps = {first.firstStamp()};
        return table;
    }
    if (first.m_files > 0) {
        const std::int64_t step =
            std::max<std::int64_t>(1, av_rescale_q(1, av_inv_q(first.m_facts.rate), first.m_stream->time_base));
        for (int i = 0; i < first.m_files; ++i) {
            table.stamps.push_back(first.firstStamp() + i * step);
            table.keys.push_back({table.stamps.back(), table.stamps.back()});
        }
        table.exact = true;
        return table;
    }
    Reader packets(path, options, Closed{});
    packets.open();
    for (unsigned i = 0; i < packets.m_format->nb_streams; ++i)
        if (static_cast<int>(i) != packets.m_stream->index) packets.m_format->streams[i]->discard = AVDISCARD_ALL;
    table.exact = true;
    AVPacket& packet = *packets.m_packet;
    for (int status = 0; (status = av_read_frame(packets.m_format.get(), &packet)) != AVERROR_EOF;) {
        if (status == AVERROR(EAGAIN)) continue;
        // What is broken is told when it is decoded.
        if (status < 0) break;
        const bool shown = packet.stream_index == packets.m_stream->index && !(packet.flags & AV_PKT_FLAG_DISCARD);
        const std::int64_t stamp = packet.pts;
        const std::int64_t seek = packet.dts == AV_NOPTS_VALUE ? stamp : std::min(stamp, packet.dts);
        const bool key = packet.flags & AV_PKT_FLAG_KEY;
        av_packet_unref(&packet);
        if (!shown) continue;
        if (stamp == AV_NOPTS_VALUE) table.exact = false;
        // The first frames may not decode, where a recording begins between key frames.
        if (stamp != AV_NOPTS_VALUE && stamp < first.firstStamp()) continue;
        table.stamps.push_back(stamp);
        if (key && stamp != AV_NOPTS_VALUE) table.keys.push_back({stamp, seek});
    }
    std::ranges::sort(table.stamps);
    std::ranges::sort(table.keys, {}, [](const FramePlace& key) { return key.stamp; });
    if (std::ranges::adjacent_find(table.stamps) != table.stamps.end() || table.stamps.empty() ||
        table.stamps.front() != first.firstStamp())
        table.exact = false;
    return table;
}

std::unique_ptr<Reader> Reader::openAt(const std::string& path, ReadOptions options, std::int64_t frame,
                                       const FrameTable& table) {
    options.start = 0;
    options.skip = frame;
    options.from = frame > 0 ? table.place(frame) : std::nullopt;
    if (options.from) {
        try {
            auto reader = std::make_unique<Reader>(path, options);
            if (reader->firstStamp() == options.from->stamp) return reader;
        } catch (const Error&) {
            // Some key frames cannot be begun at.
        }
        options.from.reset();
    }
    return std::make_unique<Reader>(path, options);
}

void Reader::open() {
    Dictionary settings;
    const AVInputFormat* kind = nullptr;
    std::string url = m_path;
    if (m_options.raw) {
        const RawFormat& raw = *m_options.raw;
        kind = av_find_input_format("rawvideo");
        settings.set("video_size", fmt::format("{}x{}", raw.width, raw.height));
        settings.set("pixel_format", av_get_pix_fmt_name(raw.format));
        settings.set("framerate", fmt::format("{}/{}", raw.rate.num, raw.rate.den));
        if (m_path == "-") url = "pipe:0";
    } else if (m_path == "-") {
        throw UsageError("frames on standard input need --raw WxH:FORMAT:RATE");
    }
    std::error_code ignored;
    const bool exists = std::filesystem::exists(m_path, ignored);
    if (exists) {
        url = "file:" + m_path;
        if (isSequence(m_path)) settings.set("pattern_type", "none");
        if (std::filesystem::is_directory(m_path, ignored)) throw Error(fmt::format("{} is a folder", m_path));
    } else if (!m_options.raw && isSequence(m_path)) {
        const std::vector<int> numbers = sequenceNumbers(m_path);
        if (numbers.empty()) throw Error(fmt::format("no file fits {}", m_path));
        const auto gap = std::ranges::adjacent_find(numbers, [](int a, int b) { return b != a + 1; });
        if (gap != numbers.end())
            warn(fmt::format("{} has no number {}; what comes after it is left out", m_path, *gap + 1));
        m_number = numbers.front();
        m_files = (gap == numbers.end() ? numbers.back() : *gap) - numbers.front() + 1;
        kind = av_find_input_format("image2");
        settings.set("start_number", std::to_string(numbers.front()));
        if (m_options.rate) settings.set("framerate", fmt::format("{}/{}", m_options.rate->num, m_options.rate->den));
    }
    if (m_options.rate && !m_number)
        throw UsageError(fmt::format("--rate is for a numbered sequence, and {} is none", m_name));

    AVFormatContext* context = avformat_alloc_context();
    if (!context) throw std::bad_alloc();
    // Another one may have stood in the same memory.
    forgetEnd(*context);
    const int status = avformat_open_input(&context, url.c_str(), kind, settings.get());
    if (status < 0) throw Error(fmt::format("cannot open {}: {}", m_name, avReason(status)));
    m_format.reset(context);
    avCheck(avformat_find_stream_info(context, nullptr), "read " + m_name);

    const std::string_view name = context->iformat->name;
    m_picture = m_files == 0 && (name == "image2" || name.ends_with("_pipe"));

    int others = 0;
    for (unsigned i = 0; i < context->nb_streams; ++i) {
        AVStream* stream = context->streams[i];
        if (stream->codecpar->codec_type != AVMEDIA_TYPE_VIDEO || (stream->disposition & AV_DISPOSITION_ATTACHED_PIC))
            continue;
        ++others;
        const bool preferred = m_stream && (stream->disposition & AV_DISPOSITION_DEFAULT) &&
                               !(m_stream->disposition & AV_DISPOSITION_DEFAULT);
        if (!m_stream || preferred) m_stream = stream;
    }
    if (!m_stream) throw Error(fmt::format("{} holds no pictures", m_name));
    for (unsigned i = 0; i < context->nb_streams; ++i)
        if (context->streams[i]->codecpar->codec_type == AVMEDIA_TYPE_VIDEO && context->streams[i] != m_stream &&
            !(context->streams[i]->disposition & AV_DISPOSITION_ATTACHED_PIC))
            context->streams[i]->discard = AVDISCARD_ALL;
    if (others > 1) warn(fmt::format("{} holds {} video streams; one of them is rendered", m_name, others));
    m_selected.assign(context->nb_streams, false);
    m_pastEnd.assign(context->nb_streams, false);
}

void Reader::openDecoder() {
    const AVCodec* codec = decoderFor(*m_stream);
    if (!codec)
        throw Error(
            fmt::format("cannot decode {}: no decoder for {}", m_name, avcodec_get_name(m_stream->codecpar->codec_id)));
    m_decoder.reset(avcodec_alloc_context3(codec));
    if (!m_decoder) throw std::bad_alloc();
    avCheck(avcodec_parameters_to_context(m_decoder.get(), m_stream->codecpar), "read " + m_name);
    m_decoder->pkt_timebase = m_stream->time_base;
    m_decoder->thread_count = std::max(1, m_options.threads);
    if (isPictureCodec(codec->id)) m_decoder->err_recognition |= AV_EF_EXPLODE;
    const int status = avcodec_open2(m_decoder.get(), codec, nullptr);
    if (status < 0) throw Error(fmt::format("cannot decode {}: {}", m_name, avReason(status)));
}

std::optional<std::int64_t> Reader::expectedFrames() const {
    std::optional<std::int64_t> count;
    if (m_picture) {
        count = 1;
    } else if (m_files > 0) {
        count = m_files - av_rescale_q(m_origin - m_clipStart, microseconds, av_inv_q(m_facts.rate));
    } else if (m_stream->nb_frames > 0 && !isCut()) {
        count = m_stream->nb_frames;
    } else {
        std::int64_t length = AV_NOPTS_VALUE;
        if (m_stream->duration > 0)
            length = av_rescale_q(m_stream->duration, m_stream->time_base, microseconds);
        else if (m_format->duration > 0)
            length = m_format->duration;
        if (length > 0)
            count = std::max<std::int64_t>(
                1, av_rescale_q(length - (m_origin - m_clipStart), microseconds, av_inv_q(m_facts.rate)));
    }
    if (m_options.frames >= 0) count = count ? std::min(*count, m_options.frames) : m_options.frames;
    return count;
}

void Reader::select(int stream) {
    m_selected[static_cast<std::size_t>(stream)] = true;
}

void Reader::complain(int code) {
    if (m_decoded == 0) {
        // A recording may begin in the middle of a group of pictures.
        m_firstError = code;
        return;
    }
    throw Error(fmt::format("cannot decode {}: broken after frame {}: {}", m_name, m_decoded, avReason(code)));
}

/// Feeds the decoder or the other streams' queue with one packet; false at the end of the file.
bool Reader::readPacket() {
    // Past a gap in the numbers there is nothing, whatever the demuxer guessed of it.
    if (m_files > 0 && m_lastPacket + 1 >= m_files) return false;
    const int status = av_read_frame(m_format.get(), m_packet.get());
    if (status == AVERROR(EAGAIN)) return true;
    if (status == AVERROR_EOF) {
        const int io = m_format->pb ? m_format->pb->error : 0;
        if (io < 0 && io != AVERROR_EOF) throw Error(fmt::format("cannot read {}: {}", m_name, avReason(io)));
        if (prematureEnd(*m_format)) throw Error(fmt::format("cannot read {}: it is cut short", m_name));
        return false;
    }
    if (status < 0) throw Error(fmt::format("cannot read {}: broken or cut short: {}", m_name, avReason(status)));
    if (m_packet->stream_index != m_stream->index) {
        PacketPtr packet = newPacket();
        av_packet_move_ref(packet.get(), m_packet.get());
        take(std::move(packet));
        return true;
    }
    if ((m_packet->flags & AV_PKT_FLAG_CORRUPT) && (m_decoded > 0 || m_options.raw)) {
        av_packet_unref(m_packet.get());
        throw Error(fmt::format("cannot read {}: broken or cut short after frame {}", m_name, m_decoded));
    }
    m_lastPacket = stampOf(*m_packet);
    const int sent = avcodec_send_packet(m_decoder.get(), m_packet.get());
    av_packet_unref(m_packet.get());
    if (sent < 0) complain(sent);
    return true;
}

FramePtr Reader::decode() {
    FramePtr frame = newFrame();
    while (true) {
        const int status = avcodec_receive_frame(m_decoder.get(), frame.get());
        if (status == AVERROR_EOF) return {};
        if (status == 0) {
            const bool broken = (frame->flags & AV_FRAME_FLAG_CORRUPT) || frame->decode_error_flags != 0;
            if (broken && (m_decoded > 0 || m_picture))
                throw Error(fmt::format("cannot decode {}: broken after frame {}", m_name, m_decoded));
            if (broken) continue;
            ++m_decoded;
            return frame;
        }
        if (status != AVERROR(EAGAIN)) {
            complain(status);
            continue;
        }
        if (!m_endOfFile && !readPacket()) {
            m_endOfFile = true;
            avcodec_send_packet(m_decoder.get(), nullptr);
        }
    }
}

/// A frame with a time stamp on the clip's own clock, greater than the one before, and a duration.
FramePtr Reader::decodeStamped() {
    FramePtr frame = decode();
    if (!frame) return frame;
    const AVRational rate = av_guess_frame_rate(m_format.get(), m_stream, nullptr);
    if (frame->pkt_duration <= 0)
        frame->pkt_duration =
            std::max<std::int64_t>(1, rate.num > 0 ? av_rescale_q(1, av_inv_q(rate), m_stream->time_base) : 1);
    frame->pts = frame->best_effort_timestamp;
    if (frame->pts == AV_NOPTS_VALUE)
        frame->pts = m_lastStamp == AV_NOPTS_VALUE ? (m_stream->start_time == AV_NOPTS_VALUE ? 0 : m_stream->start_time)
                                                   : m_lastStamp + frame->pkt_duration;
    if (m_lastStamp != AV_NOPTS_VALUE && frame->pts <= m_lastStamp) frame->pts = m_lastStamp + 1;
    m_lastStamp = frame->pts;
    return frame;
}

ReadFrame Reader::next() {
    ReadFrame result;
    if (m_finished) return result;
    if (!m_selecting) {
        m_selecting = true;
        std::erase_if(m_held,
                      [&](const PacketPtr& p) { return !m_selected[static_cast<std::size_t>(p->stream_index)]; });
        for (std::size_t i = 0; i < m_selected.size(); ++i)
            if (!m_selected[i] && static_cast<int>(i) != m_stream->index) m_format->streams[i]->discard = AVDISCARD_ALL;
    }
    if (m_options.frames < 0 || m_done < m_options.frames)
        result.frame = m_first ? std::move(m_first) : decodeStamped();
    if (!result.frame) {
        m_finished = true;
        return result;
    }
    AVFrame& f = *result.frame;
    result.time100ns = av_rescale_q(f.pts, m_stream->time_base, {1, 10000000}) -
                       av_rescale_q(m_clipStart, microseconds, {1, 10000000});
    f.pts -= av_rescale_q(m_origin, microseconds, m_stream->time_base);
    m_endStamp = f.pts + f.pkt_duration;
    ++m_done;
    const bool bounded = m_options.frames >= 0;
    result.side = release(bounded ? f.pts : std::numeric_limits<std::int64_t>::max());
    return result;
}

std::optional<std::int64_t> Reader::rangeEnd() const {
    if (m_options.frames < 0) return {};
    return m_origin + av_rescale_q(m_endStamp, m_stream->time_base, microseconds);
}

void Reader::take(PacketPtr packet) {
    const auto stream = static_cast<std::size_t>(packet->stream_index);
    // A stream that turned up after the header has nowhere to go.
    if (stream >= m_selected.size() || (m_selecting && !m_selected[stream])) return;
    if (isCut() && !m_selecting && m_held.size() > 100000) m_held.pop_front();
    m_held.push_back(std::move(packet));
}

/// Moves a packet onto the range's clock; an empty one when it lies before the range.
PacketPtr Reader::place(PacketPtr packet) const {
    const AVStream& stream = *m_format->streams[packet->stream_index];
    const std::int64_t shift = av_rescale_q(m_origin, microseconds, stream.time_base);
    if (packet->pts != AV_NOPTS_VALUE) packet->pts -= shift;
    if (packet->dts != AV_NOPTS_VALUE) packet->dts -= shift;
    if (stream.disposition & AV_DISPOSITION_ATTACHED_PIC) {
        packet->pts = packet->dts = 0;
        return packet;
    }
    const std::int64_t start = stampOf(*packet);
    if (isCut() && start != AV_NOPTS_VALUE && start < 0) {
        // Sound cannot be cut within a packet; a subtitle can.
        if (stream.codecpar->codec_type != AVMEDIA_TYPE_SUBTITLE || start + packet->duration <= 0) return {};
        packet->duration += start;
        packet->pts = packet->dts = 0;
    }
    return packet;
}

/// Takes packets from the queue up to a time in the video's unit.
std::vector<PacketPtr> Reader::release(std::int64_t until) {
    std::vector<PacketPtr> out;
    std::deque<PacketPtr> later;
    const std::int64_t shift = av_rescale_q(m_origin, microseconds, m_stream->time_base);
    for (PacketPtr& packet : m_held) {
        const std::int64_t stamp = stampOf(*packet);
        const AVRational unit = m_format->streams[packet->stream_index]->time_base;
        const bool wait = until != std::numeric_limits<std::int64_t>::max() && stamp != AV_NOPTS_VALUE &&
                          av_compare_ts(stamp, unit, until + shift, m_stream->time_base) >= 0;
        if (wait)
            later.push_back(std::move(packet));
        else if (PacketPtr placed = place(std::move(packet)))
            out.push_back(std::move(placed));
    }
    m_held = std::move(later);
    return out;
}

std::vector<PacketPtr> Reader::rest() {
    const bool bounded = m_options.frames >= 0;
    const bool anything = std::ranges::find(m_selected, true) != m_selected.end();
    if (anything && !m_endOfFile) {
        // Sound of the last frames may stand behind them in the file.
        const std::int64_t shift = av_rescale_q(m_origin, microseconds, m_stream->time_base);
        const std::int64_t end = m_endStamp + shift;
        const std::int64_t far = end + av_rescale_q(5, {1, 1}, m_stream->time_base);
        while (true) {
            const int status = av_read_frame(m_format.get(), m_packet.get());
            if (status < 0) break;
            const int index = m_packet->stream_index;
            const std::int64_t stamp = stampOf(*m_packet);
            const bool video = index == m_stream->index;
            if (bounded && stamp != AV_NOPTS_VALUE) {
                const AVRational unit = m_format->streams[index]->time_base;
                if (video && av_compare_ts(stamp, unit, far, m_stream->time_base) > 0) break;
                if (!video && av_compare_ts(stamp, unit, end, m_stream->time_base) >= 0)
                    m_pastEnd[static_cast<std::size_t>(index)] = true;
            }
            PacketPtr packet = newPacket();
            av_packet_move_ref(packet.get(), m_packet.get());
            if (!video) take(std::move(packet));
            bool all = bounded;
            for (std::size_t i = 0; i < m_selected.size(); ++i)
                if (m_selected[i] && !m_pastEnd[i] && m_format->streams[i]->codecpar->codec_type == AVMEDIA_TYPE_AUDIO)
                    all = false;
            if (all) break;
        }
    }
    return release(bounded ? m_endStamp : std::numeric_limits<std::int64_t>::max());
}

} // namespace larkmoor
