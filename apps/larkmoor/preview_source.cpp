#include "preview_source.h"

#include <algorithm>
#include <cmath>
#include <thread>

#include <fmt/format.h>

namespace larkmoor {

namespace {

constexpr std::int64_t nearby = 24;  ///< so many frames ahead are decoded rather than sought
constexpr std::int64_t backward = 8; ///< frames decoded before the one wanted, for steps back

std::size_t bytesOf(const AVFrame& frame) {
    std::size_t bytes = 0;
    for (const AVBufferRef* buffer : frame.buf)
        if (buffer) bytes += buffer->size;
    return bytes;
}

} // namespace

PreviewSource::PreviewSource(const std::string& path, std::optional<AVRational> rate, std::size_t cacheBytes)
    : m_path(path), m_options{.rate = rate,
                              .threads = static_cast<int>(std::clamp(std::thread::hardware_concurrency(), 1u, 8u))},
      m_cacheBytes(cacheBytes), m_reader(std::make_unique<Reader>(path, m_options)), m_video(m_reader->video()),
      m_picture(m_reader->isPicture()), m_start(m_reader->rangeStart()), m_expected(m_reader->expectedFrames()) {
    const AVStream& stream = m_reader->videoStream();
    m_varies = stream.avg_frame_rate.num > 0 && stream.r_frame_rate.num > 0 &&
               av_cmp_q(stream.avg_frame_rate, stream.r_frame_rate) != 0;
    m_counted = m_picture || m_reader->sequenceNumber() || m_reader->videoStream().nb_frames > 0;
}

const FrameTable& PreviewSource::table(const GoesOn& goesOn) {
    if (!m_table) m_table = Reader::table(m_path, m_options, goesOn);
    return *m_table;
}

std::int64_t PreviewSource::count(const GoesOn& goesOn) {
    const std::lock_guard guard(m_lock);
    return !m_table && m_counted && m_expected ? *m_expected : table(goesOn).count();
}

std::int64_t PreviewSource::exactCount() {
    const std::lock_guard guard(m_lock);
    return table().count();
}

DecodedFrame PreviewSource::keep(std::int64_t number, ReadFrame read) {
    DecodedFrame decoded{std::shared_ptr<const AVFrame>(read.frame.release(), FreeByAddress<av_frame_free>()),
                         read.time100ns};
    const std::size_t bytes = bytesOf(*decoded.frame);
    if (const auto old = m_places.find(number); old != m_places.end()) {
        m_bytes -= old->second->bytes;
        m_kept.erase(old->second);
    }
    m_kept.push_front({number, decoded, bytes});
    m_places[number] = m_kept.begin();
    m_bytes += bytes;
    while (m_bytes > m_cacheBytes && m_kept.size() > 1) {
        m_bytes -= m_kept.back().bytes;
        m_places.erase(m_kept.back().number);
        m_kept.pop_back();
    }
    return decoded;
}

/// Puts the reader at a frame or a little before it.
void PreviewSource::seek(std::int64_t number) {
    if (m_reader && number >= m_next && number - m_next <= nearby) return;
    const FrameTable& frames = table();
    std::int64_t start = number;
    if (m_reader && number >= m_next) {
        // Between here and there is no key frame to begin at.
        const auto here = frames.place(m_next), there = frames.place(number);
        if (here && there && here->seek == there->seek) return;
    } else {
        start = std::max<std::int64_t>(0, number - backward);
    }
    m_reader.reset();
    m_reader = Reader::openAt(m_path, m_options, start, frames);
    m_next = start;
}

DecodedFrame PreviewSource::decode(std::int64_t number) {
    try {
        seek(number);
        while (true) {
            ReadFrame read = m_reader->next();
            if (!read.frame) throw Error(fmt::format("{} has no frame {}; it has {}", m_path, number, m_next));
            DecodedFrame decoded = keep(m_next, std::move(read));
            if (m_next++ == number) return decoded;
        }
    } catch (...) {
        // The reader may stand anywhere.
        m_reader.reset();
        throw;
    }
}

DecodedFrame PreviewSource::frame(std::int64_t number) {
    const std::lock_guard guard(m_lock);
    if (number < 0) throw Error(fmt::format("{} has no frame {}", m_path, number));
    if (const auto place = m_places.find(number); place != m_places.end()) {
        m_kept.splice(m_kept.begin(), m_kept, place->second);
        return m_kept.front().decoded;
    }
    return decode(number);
}

std::vector<double> PreviewSource::unsteadyTimes(const GoesOn& goesOn) {
    const std::lock_guard guard(m_lock);
    if (!m_table && !m_varies) return {};
    const FrameTable& frames = table(goesOn);
    if (!frames.exact) return {};
    const double unit = av_q2d(m_video.timeBase), rate = av_q2d(m_video.rate);
    std::vector<double> times;
    bool varies = false;
    for (const std::int64_t stamp : frames.stamps) {
        const double steady = static_cast<double>(times.size()) / rate;
        times.push_back(static_cast<double>(stamp - frames.stamps.front()) * unit);
        varies = varies || std::abs(times.back() - steady) * rate >= 0.5;
    }
    if (!varies) times.clear();
    return times;
}

std::vector<std::int64_t> PreviewSource::steady(AVRational rate, const GoesOn& goesOn) {
    std::vector<std::int64_t> stamps;
    {
        const std::lock_guard guard(m_lock);
        stamps = table(goesOn).stamps;
    }
    const AVRational unit = m_video.timeBase, period = av_inv_q(rate);
    const std::int64_t origin = av_rescale_q(m_start, {1, AV_TIME_BASE}, unit);
    const auto last = static_cast<std::int64_t>(stamps.size()) - 1;
    const std::int64_t duration = std::max<std::int64_t>(1, frame(last).frame->pkt_duration);
    // Without stamps of its own a clip keeps the rate that it tells.
    const bool known = m_table->exact || m_picture;
    const auto at = [&](std::int64_t i) {
        if (!known) return av_rescale_q(i, av_inv_q(m_video.rate), period);
        const std::int64_t stamp = i > last ? stamps.back() + duration : stamps[static_cast<std::size_t>(i)];
        return av_rescale_q(stamp - origin, unit, period);
    };
    std::vector<std::int64_t> shown;
    for (std::int64_t i = 0; i <= last; ++i)
        for (const std::int64_t next = at(i + 1); static_cast<std::int64_t>(shown.size()) < next;) shown.push_back(i);
    return shown;
}

} // namespace larkmoor
