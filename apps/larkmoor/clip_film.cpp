#include <algorithm>
#include <cmath>
#include <filesystem>

#include <fmt/format.h>

#include "film.h"
#include "media/conform.h"

namespace larkmoor {

namespace {

/// The clip below the pictures: its frame at the time of each of them.
class Below {
  public:
    /// @param video of the pictures above, whose size, aspect and rate the clip is brought to.
    Below(const std::string& path, const VideoFacts& video, const OutputRequest& output)
        : m_reader(path, {.threads = output.threads, .policy = output.reading}), m_frames(m_reader, video),
          m_unit(video.timeBase), m_period(av_inv_q(video.rate)) {
        if (!m_frames.changes().empty()) warn(fmt::format("{} is resampled: {}", path, m_frames.changes()));
    }

    const VideoFacts& video() const { return m_reader.video(); }
    const std::string& path() const { return m_reader.path(); }
    const Reader& clip() const { return m_reader; }

    /// The frame for a time stamp in the unit of the pictures above; stamps ascend. The last one stays.
    FramePtr at(std::int64_t stamp) {
        for (const std::int64_t number = av_rescale_q(stamp, m_unit, m_period); !m_frame || m_number < number;) {
            FramePtr frame = m_ended ? nullptr : m_frames.next();
            if (!frame && !m_frame) throw Error(fmt::format("{} holds no frame", m_reader.path()));
            if (!frame) {
                if (!m_ended && !m_reader.isPicture())
                    warn(fmt::format("{} ends first; its last frame stays", m_reader.path()));
                m_ended = true;
                break;
            }
            m_frame = std::move(frame);
            ++m_number;
        }
        return shareFrame(*m_frame);
    }

  private:
    Reader m_reader;
    Conformer m_frames;
    AVRational m_unit, m_period;
    FramePtr m_frame;
    std::int64_t m_number = -1;
    bool m_ended = false;
};

class ClipFilm final : public Film {
  public:
    ClipFilm(const ClipRequest& request, const OutputRequest& output) {
        ReadOptions options{
            .rate = request.rate, .start = request.start, .threads = output.threads, .policy = output.reading};
        if (request.range.out) options.frames = *request.range.out - request.range.in;
        const bool raw = isRawPath(request.path);
        if (raw && output.raw) {
            if (!output.raw->width) throw UsageError("raw frames as input need --raw WxH:FORMAT:RATE");
            options.raw = RawFormat{output.raw->width, output.raw->height, output.raw->format, output.raw->rate};
        }
        if (output.raw && !raw && !isRawPath(output.path))
            throw UsageError(
                fmt::format("--raw is for bare frames, and neither {} nor {} are such", request.path, output.path));
        if (request.end) options.frames = framesBefore(request.path, options, *request.end);
        if (request.range.in > 0) {
            const FrameTable table = Reader::table(request.path, options);
            m_reader = Reader::openAt(request.path, options, request.range.in, table);
            m_total = std::max<std::int64_t>(1, table.count() - request.range.in);
            if (options.frames >= 0) m_total = std::min(*m_total, options.frames);
        } else {
            m_reader = std::make_unique<Reader>(request.path, options);
            m_total = m_reader->expectedFrames();
        }
        m_video = m_reader->video();
        if (request.over.empty()) return;
        m_below.emplace(request.over, m_video, output);
        refuseMixedDynamics(request.path, m_video, request.over, m_below->video());
        m_video.alpha = m_below->video().alpha;
    }

    const VideoFacts& video() const override { return m_video; }
    std::vector<VideoFacts> others() const override {
        return m_below ? std::vector{m_below->video()} : std::vector<VideoFacts>{};
    }
    const Reader* like() const override { return m_reader.get(); }
    std::optional<std::int64_t> total() const override { return m_total; }
    std::string name() const override { return m_reader->path(); }
    std::vector<std::string> files() const override {
        std::vector<std::string> files{m_reader->path() == "-" ? "/dev/stdin" : m_reader->path()};
        if (m_below) files.push_back(m_below->path());
        return files;
    }

    void begin(ContainerSink& container) override {
        container.passStreams(*m_reader);
        container.begin(m_reader->sequenceNumber().value_or(1));
    }

    bool read(Job& job) override {
        ReadFrame read = m_reader->next();
        if (!read.frame) return false;
        job.plain = !m_below;
        if (m_below) job.second = m_below->at(read.frame->pts);
        job.first = std::move(read.frame);
        job.side = std::move(read.side);
        job.time100ns = read.time100ns;
        return true;
    }

    std::vector<std::string> damage() const override {
        std::vector<std::string> sentences = m_reader->damageTold();
        if (m_below) std::ranges::copy(m_below->clip().damageTold(), std::back_inserter(sentences));
        return sentences;
    }

    void end(FrameSink& sink) override {
        for (PacketPtr& packet : m_reader->rest()) sink.writeSide(std::move(packet));
    }

  private:
    std::unique_ptr<Reader> m_reader;
    VideoFacts m_video; ///< as of the reader, but for what the clip below covers
    std::optional<std::int64_t> m_total;
    std::optional<Below> m_below;
};

} // namespace

std::int64_t framesBefore(const std::string& path, const ReadOptions& options, double end) {
    std::error_code ignored;
    if (path == "-" || std::filesystem::is_fifo(path, ignored))
        throw UsageError(fmt::format("--end needs a clip that can be read twice, and {} is none; --frames does as well",
                                     path == "-" ? "standard input" : path));
    const std::int64_t first = Reader(path, options).firstStamp();
    ReadOptions whole = options;
    whole.start = 0;
    const Reader clip(path, whole);
    constexpr AVRational unit{1, 1000000};
    const std::int64_t until = clip.rangeStart() + std::llround(end * unit.den);
    const FrameTable table = Reader::table(path, whole);
    const auto count = std::ranges::count_if(table.stamps, [&](std::int64_t stamp) {
        return stamp >= first && av_compare_ts(stamp, clip.video().timeBase, until, unit) < 0;
    });
    if (count == 0) throw UsageError(fmt::format("{} has no frame between --start and --end", path));
    return count;
}

std::unique_ptr<Film> clipFilm(const ClipRequest& request, const OutputRequest& output) {
    if (auto film = stillFilm(request, output)) return film;
    return std::make_unique<ClipFilm>(request, output);
}

} // namespace larkmoor
