#include <algorithm>
#include <cmath>
#include <filesystem>

#include <fmt/format.h>

#include "film.h"
#include "media/conform.h"
#include "media/sequence.h"

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
        m_number = m_reader->sequenceNumber().value_or(1);
        m_firstStamp = m_reader->firstStampInRange();
        m_options = std::move(options);
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

    int firstNumber() const override { return m_number; }
    std::int64_t firstStamp() const override { return m_firstStamp; }
    void addStreams(ContainerSink& container) override { container.passStreams(*m_reader); }

    void skip(std::int64_t frames, const std::function<void(std::int64_t)>& passed) override {
        if (frames > 0 && !jump(frames, passed)) Film::skip(frames, passed);
    }

    bool read(Job& job) override {
        ReadFrame read = (m_ahead ? *m_ahead : *m_reader).next();
        if (!read.frame) return false;
        job.plain = !m_below;
        if (m_below) job.second = m_below->at(read.frame->pts);
        job.first = std::move(read.frame);
        job.side = std::move(read.side);
        job.time100ns = read.time100ns;
        return true;
    }

    std::vector<std::string> damage() const override {
        std::vector<std::string> sentences = (m_ahead ? *m_ahead : *m_reader).damageTold();
        if (m_below) std::ranges::copy(m_below->clip().damageTold(), std::back_inserter(sentences));
        return sentences;
    }

    void end(FrameSink& sink) override {
        for (PacketPtr& packet : m_reader->rest()) sink.writeSide(std::move(packet));
    }

  private:
    /// Begins at a later frame without decoding those before it, where its table leads to the very frame.
    bool jump(std::int64_t frames, const std::function<void(std::int64_t)>& passed) {
        const std::string& path = m_reader->path();
        std::error_code ignored;
        if (!std::filesystem::is_regular_file(path, ignored) && !isSequence(path)) return false;
        if (m_reader->container().start_time == AV_NOPTS_VALUE) return false;
        const FrameTable table = Reader::table(path, m_options);
        const auto first = std::ranges::lower_bound(table.stamps, m_reader->firstStamp());
        const auto number = first - table.stamps.begin() + frames;
        const std::optional<FramePlace> place = table.place(number);
        if (!place || *first != m_reader->firstStamp()) return false;
        ReadOptions options = m_options;
        options.start = 0;
        options.skip = number;
        options.from = place;
        options.origin = m_reader->rangeStart();
        if (options.frames >= 0) options.frames = std::max<std::int64_t>(0, options.frames - frames);
        try {
            auto ahead = std::make_unique<Reader>(path, options);
            if (ahead->firstStamp() != place->stamp) return false;
            m_ahead = std::move(ahead);
        } catch (const Error&) {
            // Some key frames cannot be begun at.
            return false;
        }
        for (auto stamp = first; stamp != first + frames; ++stamp) passed(m_firstStamp + *stamp - *first);
        return true;
    }

    std::unique_ptr<Reader> m_reader;
    std::unique_ptr<Reader> m_ahead; ///< the same clip from a later frame on, which frames are then read of
    ReadOptions m_options;
    int m_number = 1;
    std::int64_t m_firstStamp = 0;
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
