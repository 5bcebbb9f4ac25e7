#include "media/demuxer.h"

#include <algorithm>
#include <filesystem>
#include <limits>
#include <string_view>
#include <utility>

#include <fmt/format.h>

#include "media/file_end.h"
#include "media/sequence.h"

namespace larkmoor {

namespace {

/// Broken packets one behind the other, at which reading ends.
constexpr int mostErrors = 32;

} // namespace

Demuxer::Demuxer(const std::string& path, const std::optional<RawFormat>& raw, const std::optional<AVRational>& rate)
    : m_name(path == "-" ? "standard input" : path), m_raw(raw.has_value()) {
    Dictionary settings;
    const AVInputFormat* kind = nullptr;
    std::string url = path;
    if (raw) {
        kind = av_find_input_format("rawvideo");
        settings.set("video_size", fmt::format("{}x{}", raw->width, raw->height));
        settings.set("pixel_format", av_get_pix_fmt_name(raw->format));
        settings.set("framerate", fmt::format("{}/{}", raw->rate.num, raw->rate.den));
        if (path == "-") url = "pipe:0";
    } else if (path == "-") {
        throw UsageError("frames on standard input need --raw WxH:FORMAT:RATE");
    }
    std::error_code ignored;
    if (std::filesystem::exists(path, ignored)) {
        url = "file:" + path;
        if (isSequence(path)) settings.set("pattern_type", "none");
        if (std::filesystem::is_directory(path, ignored)) throw Error(fmt::format("{} is a folder", path));
    } else if (!raw && isSequence(path)) {
        const std::vector<int> numbers = sequenceNumbers(path);
        if (numbers.empty()) throw Error(fmt::format("no file fits {}", path));
        const auto gap = std::ranges::adjacent_find(numbers, [](int a, int b) { return b != a + 1; });
        if (gap != numbers.end())
            warn(fmt::format("{} has no number {}; what comes after it is left out", path, *gap + 1));
        m_number = numbers.front();
        m_files = (gap == numbers.end() ? numbers.back() : *gap) - numbers.front() + 1;
        kind = av_find_input_format("image2");
        settings.set("start_number", std::to_string(numbers.front()));
        if (rate) settings.set("framerate", fmt::format("{}/{}", rate->num, rate->den));
    }
    if (rate && !m_number) throw UsageError(fmt::format("--rate is for a numbered sequence, and {} is none", m_name));

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
    m_bytes = context->pb ? avio_size(context->pb) : -1;
    choose();
    // What FFmpeg has no memory for while it takes the settings it leaves out.
    const AVCodecParameters& is = *m_video->codecpar;
    const bool taken = !raw || (is.width == raw->width && is.height == raw->height && is.format == raw->format);
    const auto pace = raw ? std::optional(raw->rate) : rate;
    if (!taken || (pace && av_cmp_q(av_inv_q(m_video->time_base), *pace) != 0)) throw std::bad_alloc();
    if (context->iformat->flags & AVFMT_TS_DISCONT) m_clock.emplace(*context, m_video->index);
}

/// Finds the pictures' stream; others of that kind are not read.
void Demuxer::choose() {
    int count = 0;
    for (unsigned i = 0; i < m_format->nb_streams; ++i) {
        AVStream* stream = m_format->streams[i];
        if (stream->codecpar->codec_type != AVMEDIA_TYPE_VIDEO || (stream->disposition & AV_DISPOSITION_ATTACHED_PIC))
            continue;
        ++count;
        const bool preferred = m_video && (stream->disposition & AV_DISPOSITION_DEFAULT) &&
                               !(m_video->disposition & AV_DISPOSITION_DEFAULT);
        if (!m_video || preferred) m_video = stream;
    }
    if (!m_video) throw Error(fmt::format("{} holds no pictures", m_name));
    for (unsigned i = 0; i < m_format->nb_streams; ++i)
        if (m_format->streams[i]->codecpar->codec_type == AVMEDIA_TYPE_VIDEO && m_format->streams[i] != m_video &&
            !(m_format->streams[i]->disposition & AV_DISPOSITION_ATTACHED_PIC))
            m_format->streams[i]->discard = AVDISCARD_ALL;
    if (count > 1) warn(fmt::format("{} holds {} video streams; one of them is rendered", m_name, count));
}

bool Demuxer::hasStamps() const {
    return !(m_format->iformat->flags & AVFMT_NOTIMESTAMPS);
}

bool Demuxer::hasIndex() const {
    constexpr std::string_view indexed[] = {"mov,mp4,m4a,3gp,3g2,mj2", "matroska,webm", "image2", "rawvideo"};
    return std::ranges::find(indexed, std::string_view(m_format->iformat->name)) != std::end(indexed);
}

bool Demuxer::seek(std::int64_t stamp) {
    constexpr std::int64_t least = std::numeric_limits<std::int64_t>::min();
    if (avformat_seek_file(m_format.get(), m_video->index, least, stamp, stamp, 0) < 0) return false;
    m_ready.clear();
    if (m_clock) m_clock.emplace(*m_format, m_video->index);
    m_lastStamp = m_lastDts = AV_NOPTS_VALUE;
    m_ended = m_cut = false;
    m_lastBroken.clear();
    return true;
}

PacketPtr Demuxer::read() {
    while (m_ready.empty()) {
        if (m_ended) return {};
        PacketPtr packet = readPlain();
        if (!packet) {
            m_ended = true;
            if (m_clock) m_clock->end(m_ready);
        } else if (m_clock) {
            m_clock->place(std::move(packet), m_ready);
        } else {
            m_ready.push_back(std::move(packet));
        }
    }
    PacketPtr packet = std::move(m_ready.front());
    m_ready.pop_front();
    return packet;
}

PacketPtr Demuxer::readPlain() {
    // Past a gap in the numbers there is nothing, whatever the demuxer guessed of it.
    if (m_files > 0 && m_lastStamp != AV_NOPTS_VALUE && m_lastStamp + 1 >= m_files) return {};
    PacketPtr packet = newPacket();
    for (int errors = 0;;) {
        const int status = av_read_frame(m_format.get(), packet.get());
        if (status == AVERROR(EAGAIN)) continue;
        if (status >= 0) break;
        // A size that no packet can have is answered in the same way, so this need not end all.
        if (status == AVERROR(ENOMEM) && !std::exchange(m_memoryTold, true))
            warn(fmt::format("a part of {} asks for more memory than there is and is left out", m_name));
        const int io = m_format->pb ? m_format->pb->error : 0;
        if (io < 0 && io != AVERROR_EOF) throw Error(fmt::format("cannot read {}: {}", m_name, avReason(io)));
        const bool ended = status == AVERROR_EOF || ++errors == mostErrors;
        if (!ended) continue;
        const bool broken = std::ranges::find(m_lastBroken, true) != m_lastBroken.end();
        m_cut = errors > 0 || prematureEnd(*m_format) || broken || endsBeforeIndex() || isShorter() ||
                endsEarly(m_name, m_format->iformat->name);
        return {};
    }
    const auto stream = static_cast<std::size_t>(packet->stream_index);
    if (stream >= m_lastBroken.size()) m_lastBroken.resize(stream + 1);
    m_lastBroken[stream] = packet->flags & AV_PKT_FLAG_CORRUPT;
    if (packet->stream_index == m_video->index) {
        const bool exr = m_video->codecpar->codec_id == AV_CODEC_ID_EXR;
        if (exr && exrEndsEarly({packet->data, static_cast<std::size_t>(packet->size)}))
            packet->flags |= AV_PKT_FLAG_CORRUPT;
        m_lastStamp = stampOf(*packet);
        m_lastDts = packet->dts;
    }
    return packet;
}

/// Something took the file's end away while it was read.
bool Demuxer::isShorter() const {
    return m_bytes >= 0 && m_format->pb && avio_size(m_format->pb) < m_bytes;
}

/// Movie files list every packet in their head.
bool Demuxer::endsBeforeIndex() const {
    const int count = avformat_index_get_entries_count(m_video);
    if (count == 0 || m_lastDts == AV_NOPTS_VALUE || !std::string_view(m_format->iformat->name).starts_with("mov"))
        return false;
    return m_lastDts < avformat_index_get_entry(m_video, count - 1)->timestamp;
}

} // namespace larkmoor
