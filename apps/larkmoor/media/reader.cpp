#include "media/reader.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include <fmt/format.h>

namespace larkmoor {

namespace {

constexpr AVRational microseconds{1, AV_TIME_BASE};
/// Packets that wait for a start are decoded once there are so many bytes of them.
constexpr std::int64_t mostAhead = std::int64_t{256} << 20;

std::string timeText(double seconds) {
    const auto milliseconds = std::llround(std::max(0.0, seconds) * 1000);
    return fmt::format("{}:{:02}.{:03}", milliseconds / 60000, milliseconds / 1000 % 60, milliseconds % 1000);
}

std::string cutText(double seconds) {
    return "cut short at " + timeText(seconds);
}

/// A fact that the first picture tells, or else its stream.
template <class T>
std::optional<T> sideFact(const AVFrame& frame, AVFrameSideDataType inFrame, const AVStream& stream,
                          AVPacketSideDataType inStream) {
    const AVFrameSideData* data = av_frame_get_side_data(&frame, inFrame);
    std::size_t size = data ? data->size : 0;
    const std::uint8_t* bytes = data ? data->data : av_stream_get_side_data(&stream, inStream, &size);
    if (!bytes || size < sizeof(T)) return {};
    T fact;
    std::memcpy(&fact, bytes, sizeof(T));
    return fact;
}

} // namespace

std::string Damage::sentence(const std::string& name) const {
    const std::string cutAt = cut ? cutText(*cut) : "";
    if (frames == 0) return fmt::format("{} is {}", name, cutAt);
    const std::string where =
        frames == 1 ? fmt::format("1 frame, at {}, is", timeText(first))
                    : fmt::format("{} frames, from {} to {}, are", frames, timeText(first), timeText(last));
    return fmt::format("{} is damaged{}{}: {} broken or missing; what could not be decoded shows the picture before it",
                       name, cut ? " and " : "", cutAt, where);
}

Reader::Reader(const std::string& path, const ReadOptions& options)
    : m_path(path), m_options(options), m_demuxer(path, options.raw, options.rate), m_format(&m_demuxer.container()),
      m_stream(&m_demuxer.video()), m_decoder(*m_format, *m_stream, m_demuxer.name(), options.threads),
      m_upright(*m_stream, options.policy.turn, m_demuxer.name()), m_selected(m_format->nb_streams),
      m_pastEnd(m_format->nb_streams), m_number(m_demuxer.firstNumber()) {
    m_clipStart = m_format->start_time == AV_NOPTS_VALUE ? 0 : m_format->start_time;
    m_origin = m_clipStart;
    begin();
    if (!m_first.frame) {
        const std::string& name = m_demuxer.name();
        const std::int64_t decoded = m_decoder.decoded();
        if (decoded > 0 && options.skip > 0)
            throw Error(fmt::format("{} has no frame {}; it has {}", name, options.skip, decoded));
        if (decoded > 0) throw Error(fmt::format("{} has no frame at or after --start {}", name, options.start));
        const int error = m_decoder.firstError();
        throw Error(error < 0 ? fmt::format("cannot decode {}: {}", name, avReason(error))
                              : fmt::format("{} holds no frame that can be decoded", name));
    }
    if (options.origin)
        m_origin = *options.origin;
    else if (isCut())
        m_origin = av_rescale_q(m_first.frame->pts, m_stream->time_base, microseconds);
    readFacts();
    if (options.policy.timesOnly) m_decoder.stop();
}

/// Decodes up to the first frame of the range.
void Reader::begin() {
    std::int64_t from = std::numeric_limits<std::int64_t>::min();
    if (m_options.from) {
        from = m_options.from->stamp;
        seek(m_options.from->seek);
        m_first = decode();
    } else if (m_options.start > 0) {
        const bool known = m_format->start_time != AV_NOPTS_VALUE;
        if (!known) {
            m_first = decode();
            startAtFirst();
        }
        const std::int64_t target = m_clipStart + static_cast<std::int64_t>(m_options.start * AV_TIME_BASE + 0.5);
        from = av_rescale_q(target, microseconds, m_stream->time_base);
        if (known && m_demuxer.hasIndex()) {
            const bool sought = seek(from);
            m_first = decode();
            // Where that ends behind the place, or where nothing can be decoded, the way is longer.
            if (sought && (!m_first.frame || m_first.frame->pts > from) &&
                seek(m_stream->start_time == AV_NOPTS_VALUE ? 0 : m_stream->start_time))
                m_first = decode();
        } else if (known) {
            fastForward(from);
            m_first = decode();
        }
    } else {
        m_first = decode();
        startAtFirst();
    }
    while (m_first.frame && m_first.frame->pts < from) m_first = decode();
    for (std::int64_t i = 0; !m_options.from && m_first.frame && i < m_options.skip; ++i) m_first = decode();
}

/// A clip that does not tell when it starts does so with its first picture.
void Reader::startAtFirst() {
    if (m_format->start_time != AV_NOPTS_VALUE || !m_first.frame) return;
    m_origin = m_clipStart = av_rescale_q(m_first.frame->pts, m_stream->time_base, microseconds);
}

bool Reader::seek(std::int64_t stamp) {
    if (!m_demuxer.seek(stamp)) return false;
    m_decoder.restart();
    m_held.clear();
    m_endOfFile = false;
    m_waitsForKey = true;
    return true;
}

/// Reads up to a time stamp without decoding what comes before its last key frame. It finds the very place in any
/// container, by way of all that stands before it.
void Reader::fastForward(std::int64_t from) {
    if (!m_demuxer.hasStamps()) return;
    std::int64_t bytes = 0;
    while (PacketPtr packet = m_demuxer.read()) {
        if (packet->stream_index != m_stream->index) {
            take(std::move(packet));
            continue;
        }
        const bool stamped = packet->pts != AV_NOPTS_VALUE;
        const bool key = stamped && (packet->flags & AV_PKT_FLAG_KEY);
        if (key && packet->pts <= from) {
            m_ahead.clear();
            bytes = 0;
        }
        // Pictures are decoded no later than they are shown.
        const bool past = (key && packet->pts > from) || (packet->dts != AV_NOPTS_VALUE && packet->dts > from) ||
                          (!stamped && m_ahead.empty());
        bytes += packet->size;
        m_ahead.push_back(std::move(packet));
        if (past || bytes > mostAhead) return;
    }
}

void Reader::readFacts() {
    // The container may know better than the picture what shape its pixels have.
    AVRational aspect = av_guess_sample_aspect_ratio(m_format, m_stream, m_first.frame.get());
    m_first.frame = m_upright.run(std::move(m_first.frame));
    if (m_upright.swapsSides()) aspect = av_inv_q(aspect);
    const AVFrame& f = *m_first.frame;
    m_facts.width = f.width;
    m_facts.height = f.height;
    m_facts.format = static_cast<AVPixelFormat>(f.format);
    m_facts.colour = colourOf(f);
    m_facts.timeBase = m_stream->time_base;
    m_facts.premultiplied = m_stream->codecpar->codec_id == AV_CODEC_ID_EXR;
    // Fields are rows, and no columns.
    if (f.interlaced_frame && !m_upright.swapsSides())
        m_facts.fieldOrder = f.top_field_first ? AV_FIELD_TT : AV_FIELD_BB;
    // Pictures, bare frames and GIFs are made with alpha by habit, whatever is in them.
    const bool habit = m_demuxer.isPicture() || m_options.raw || m_stream->codecpar->codec_id == AV_CODEC_ID_GIF;
    m_facts.alpha = hasAlpha(m_facts.format) && !(habit && isOpaque(f));
    m_facts.mastering = sideFact<AVMasteringDisplayMetadata>(f, AV_FRAME_DATA_MASTERING_DISPLAY_METADATA, *m_stream,
                                                             AV_PKT_DATA_MASTERING_DISPLAY_METADATA);
    m_facts.light = sideFact<AVContentLightMetadata>(f, AV_FRAME_DATA_CONTENT_LIGHT_LEVEL, *m_stream,
                                                     AV_PKT_DATA_CONTENT_LIGHT_LEVEL);
    if (aspect.num > 0 && aspect.den > 0) m_facts.aspect = aspect;
    const AVRational rate = av_guess_frame_rate(m_format, m_stream, nullptr);
    if (rate.num > 0 && rate.den > 0) m_facts.rate = rate;
    if (m_number) *m_number += static_cast<int>(av_rescale_q(f.pts, m_stream->time_base, av_inv_q(m_facts.rate)));
}

std::int64_t Reader::firstStampInRange() const {
    return firstStamp() - av_rescale_q(m_origin, microseconds, m_stream->time_base);
}

std::optional<FramePlace> FrameTable::place(std::int64_t frame) const {
    if (!exact || frame < 0 || frame >= count()) return {};
    const std::int64_t stamp = stamps[static_cast<std::size_t>(frame)];
    const auto after = std::ranges::upper_bound(keys, stamp, {}, [](const FramePlace& key) { return key.stamp; });
    if (after == keys.begin()) return {};
    return FramePlace{stamp, std::prev(after)->seek};
}

FrameTable Reader::table(const std::string& path, ReadOptions options, const GoesOn& goesOn) {
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
    if (first.m_demuxer.files() > 0) {
        const std::int64_t step =
            std::max<std::int64_t>(1, av_rescale_q(1, av_inv_q(first.m_facts.rate), first.m_stream->time_base));
        for (int i = 0; i < first.m_demuxer.files(); ++i) {
            table.stamps.push_back(first.firstStamp() + i * step);
            table.keys.push_back({table.stamps.back(), table.stamps.back()});
        }
        table.exact = true;
        return table;
    }
    Demuxer packets(path, options.raw, options.rate);
    for (unsigned i = 0; i < packets.container().nb_streams; ++i)
        if (static_cast<int>(i) != packets.video().index) packets.container().streams[i]->discard = AVDISCARD_ALL;
    table.exact = true;
    AVIOContext* const bytes = packets.container().pb;
    const double size = bytes ? static_cast<double>(std::max<std::int64_t>(1, avio_size(bytes))) : 1;
    while (const PacketPtr packet = packets.read()) {
        if (goesOn && !goesOn(std::clamp(static_cast<double>(packet->pos) / size, 0.0, 1.0))) throw Stopped();
        if (packet->stream_index != packets.video().index || (packet->flags & AV_PKT_FLAG_DISCARD)) continue;
        const std::int64_t stamp = packet->pts;
        if (stamp == AV_NOPTS_VALUE) table.exact = false;
        // The first frames may not decode, where a recording begins between key frames.
        if (stamp != AV_NOPTS_VALUE && stamp < first.firstStamp()) continue;
        table.stamps.push_back(stamp);
        if ((packet->flags & AV_PKT_FLAG_KEY) && stamp != AV_NOPTS_VALUE)
            table.keys.push_back({stamp, packet->dts == AV_NOPTS_VALUE ? stamp : std::min(stamp, packet->dts)});
    }
    // A seek goes by the clock as it stands in the file.
    if (packets.jumps() > 0) table.exact = false;
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

std::optional<std::int64_t> Reader::expectedFrames() const {
    std::optional<std::int64_t> count;
    if (isPicture()) {
        count = 1;
    } else if (m_demuxer.files() > 0) {
        count = m_demuxer.files() - av_rescale_q(m_origin - m_clipStart, microseconds, av_inv_q(m_facts.rate));
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

PacketPtr Reader::read() {
    if (m_ahead.empty()) return m_demuxer.read();
    PacketPtr packet = std::move(m_ahead.front());
    m_ahead.pop_front();
    return packet;
}

/// Feeds the decoder or the other streams' queue with one packet; false at the end of the file.
bool Reader::feed() {
    PacketPtr packet = read();
    if (!packet) return false;
    if (packet->stream_index != m_stream->index) {
        take(std::move(packet));
        return true;
    }
    if (m_waitsForKey && !(packet->flags & AV_PKT_FLAG_KEY)) return true;
    m_waitsForKey = false;
    if (packet->flags & AV_PKT_FLAG_CORRUPT) m_decoder.tear();
    m_decoder.send(packet.get());
    return true;
}

Picture Reader::decode() {
    while (true) {
        Picture picture = m_decoder.take();
        if (picture.frame || m_decoder.ended()) return picture;
        if (m_endOfFile || feed()) continue;
        m_endOfFile = true;
        if (m_demuxer.isCut()) m_decoder.endEarly();
        m_decoder.send(nullptr);
    }
}

double Reader::secondsOf(std::int64_t stamp) const {
    return static_cast<double>(stamp) * av_q2d(m_stream->time_base) - static_cast<double>(m_clipStart) / AV_TIME_BASE;
}

/// Takes note of damage that begins or ends at a time.
void Reader::note(std::int64_t frames, double first, double last) {
    if (frames == 0) return;
    if (m_options.policy.strict)
        throw Error(fmt::format("cannot decode {}: it is damaged at {}", m_demuxer.name(), timeText(first)));
    if (m_damage.frames == 0) m_damage.first = first;
    m_damage.frames += frames;
    m_damage.last = last;
}

void Reader::noteEnd() {
    if (!m_demuxer.isCut()) return;
    m_damage.cut = secondsOf(m_endStamp + av_rescale_q(m_origin, microseconds, m_stream->time_base));
    if (m_options.policy.strict)
        throw Error(fmt::format("cannot read {}: it is {}", m_demuxer.name(), cutText(*m_damage.cut)));
}

std::vector<std::string> Reader::damageTold() const {
    if (!m_damage.any()) return {};
    if (isPicture()) return {fmt::format("{} is damaged; what could be decoded of it is shown", m_demuxer.name())};
    return {m_damage.sentence(m_demuxer.name())};
}

ReadFrame Reader::next() {
    ReadFrame result;
    if (m_finished) return result;
    if (!m_selecting) {
        m_selecting = true;
        std::erase_if(
            m_held, [&](const Held& held) { return !m_selected[static_cast<std::size_t>(held.packet->stream_index)]; });
        for (std::size_t i = 0; i < m_selected.size(); ++i)
            if (!m_selected[i] && static_cast<int>(i) != m_stream->index) m_format->streams[i]->discard = AVDISCARD_ALL;
        // Recordings may begin in the middle of a group of pictures.
        const bool whole = m_demuxer.hasStamps() && !(m_format->iformat->flags & AVFMT_TS_DISCONT);
        if (whole && !isCut()) note(m_decoder.lostBefore(), 0, secondsOf(m_first.frame->pts));
    }
    if (m_options.frames < 0 || m_done < m_options.frames) {
        Picture picture = m_first.frame ? std::move(m_first) : decode();
        if (picture.frame) {
            const double seconds = secondsOf(picture.frame->pts);
            if (picture.broken) note(1, seconds, seconds);
            m_lastPacket = std::max(m_lastPacket, picture.packet);
            result.frame = m_done == 0 ? std::move(picture.frame) : m_upright.run(std::move(picture.frame));
        } else {
            noteEnd();
        }
    }
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
    // How far ahead a decoder reads depends on its threads.
    const bool bounded = m_options.frames >= 0;
    result.side = release(bounded ? f.pts : std::numeric_limits<std::int64_t>::max(), m_lastPacket);
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
    m_held.push_back({std::move(packet), m_decoder.sent()});
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

/// Takes packets from the queue up to a time in the video's unit, of those that stand before a packet of pictures.
std::vector<PacketPtr> Reader::release(std::int64_t until, std::int64_t last) {
    std::vector<PacketPtr> out;
    std::deque<Held> later;
    const std::int64_t shift = av_rescale_q(m_origin, microseconds, m_stream->time_base);
    for (Held& held : m_held) {
        PacketPtr& packet = held.packet;
        const std::int64_t stamp = stampOf(*packet);
        const AVRational unit = m_format->streams[packet->stream_index]->time_base;
        const bool wait =
            held.after > last || (until != std::numeric_limits<std::int64_t>::max() && stamp != AV_NOPTS_VALUE &&
                                  av_compare_ts(stamp, unit, until + shift, m_stream->time_base) >= 0);
        if (wait)
            later.push_back(std::move(held));
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
        while (PacketPtr packet = read()) {
            const int index = packet->stream_index;
            const std::int64_t stamp = stampOf(*packet);
            const bool video = index == m_stream->index;
            const bool known = static_cast<std::size_t>(index) < m_pastEnd.size();
            if (bounded && known && stamp != AV_NOPTS_VALUE) {
                const AVRational unit = m_format->streams[index]->time_base;
                if (video && av_compare_ts(stamp, unit, far, m_stream->time_base) > 0) break;
                if (!video && av_compare_ts(stamp, unit, end, m_stream->time_base) >= 0)
                    m_pastEnd[static_cast<std::size_t>(index)] = true;
            }
            if (!video) take(std::move(packet));
            bool all = bounded;
            for (std::size_t i = 0; i < m_selected.size(); ++i)
                if (m_selected[i] && !m_pastEnd[i] && m_format->streams[i]->codecpar->codec_type == AVMEDIA_TYPE_AUDIO)
                    all = false;
            if (all) break;
        }
        // What the range lacks may be behind the end of the file.
        if (bounded) noteEnd();
    }
    constexpr auto all = std::numeric_limits<std::int64_t>::max();
    return release(bounded ? m_endStamp : all, all);
}

} // namespace larkmoor
