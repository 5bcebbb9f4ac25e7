#include <cmath>
#include <deque>

#include <fmt/format.h>

#include "cross_fade.h"
#include "film.h"
#include "media/conform.h"

namespace larkmoor {

namespace {

/// The longest overlap: its frames of the first clip are held in memory, as the clip's end comes unannounced.
constexpr std::int64_t mostFrames = 6000;

/// The two clips' frames in the order of the output.
class JoinSource {
  public:
    JoinSource(Reader& a, Reader& b, const VideoFacts& video, std::int64_t overlap)
        : m_a(a, video), m_b(b, video), m_stillA(a.isPicture()), m_stillB(b.isPicture()), m_overlap(overlap) {}

    const std::string& changes() const { return m_b.changes(); }

    bool next(Job& job) {
        if (!m_met) approach(job);
        if (!job.first && m_met) meet(job);
        if (!job.first) return false;
        return true;
    }

    /// Frames of the overlap, as it is once the first clip has ended.
    std::int64_t overlap() const { return m_overlap; }

  private:
    static std::deque<FramePtr> fill(Conformer& clip, bool still, std::int64_t count) {
        std::deque<FramePtr> frames;
        while (static_cast<std::int64_t>(frames.size()) < count) {
            FramePtr frame = clip.next();
            if (!frame) break;
            frames.push_back(std::move(frame));
        }
        // A picture lasts as long as the transition.
        while (still && !frames.empty() && static_cast<std::int64_t>(frames.size()) < count)
            frames.push_back(shareFrame(*frames.front()));
        return frames;
    }

    /// The first clip alone, as long as more of it than the overlap is known to come.
    void approach(Job& job) {
        const auto count = static_cast<std::size_t>(m_overlap);
        while (m_held.size() <= count) {
            FramePtr frame = m_a.next();
            if (!frame) {
                while (m_stillA && !m_held.empty() && m_held.size() < count)
                    m_held.push_back(shareFrame(*m_held.front()));
                m_ahead = fill(m_b, m_stillB, m_overlap);
                const std::size_t least = std::min(m_held.size(), m_ahead.size());
                if (least < count)
                    warn(fmt::format("a clip is shorter than the transition, which is cut to {} frames", least));
                m_overlap = static_cast<std::int64_t>(least);
                m_met = true;
                return;
            }
            m_held.push_back(std::move(frame));
        }
        job.first = take(m_held);
        job.plain = true;
    }

    void meet(Job& job) {
        if (static_cast<std::int64_t>(m_held.size()) > m_overlap) {
            job.first = take(m_held);
            job.plain = true;
        } else if (m_step < m_overlap) {
            job.first = take(m_held);
            job.second = take(m_ahead);
            job.position = joinProgress(m_step, m_overlap);
            ++m_step;
        } else {
            job.first = m_ahead.empty() ? m_b.next() : take(m_ahead);
            job.plain = job.fromSecond = true;
        }
    }

    static FramePtr take(std::deque<FramePtr>& frames) {
        FramePtr frame = std::move(frames.front());
        frames.pop_front();
        return frame;
    }

    Conformer m_a, m_b;
    bool m_stillA, m_stillB, m_met = false;
    std::int64_t m_overlap, m_step = 0;
    std::deque<FramePtr> m_held, m_ahead; ///< of the first clip's end, and the second's start
};

class JoinFilm final : public Film {
  public:
    JoinFilm(const std::string& first, std::optional<AVRational> rate, const std::string& second, double overlap,
             const Range& range, const OutputRequest& output)
        : m_a(first, {.rate = rate, .threads = output.threads, .policy = output.reading}),
          m_b(second, {.threads = output.threads, .policy = output.reading}),
          m_video(joinFacts(m_a.video(), m_a.isPicture(), m_b.video(), m_b.isPicture())),
          m_source(m_a, m_b, m_video, overlapFrames(overlap, m_video.rate)), m_sound(first, second), m_range(range) {
        if (!m_source.changes().empty()) warn(fmt::format("{} is resampled: {}", second, m_source.changes()));
        const auto frames = [&](const Reader& clip) -> std::optional<std::int64_t> {
            // A picture lasts as long as the transition.
            return clip.isPicture() ? m_source.overlap()
                                    : steadyFrames(clip.expectedFrames(), clip.video().rate, m_video.rate);
        };
        const auto a = frames(m_a), b = frames(m_b);
        if (a && b) m_total = *a + *b - m_source.overlap();
        if (m_range.out) m_total = std::min(m_total.value_or(*m_range.out), *m_range.out);
        if (m_total) m_total = std::max<std::int64_t>(1, *m_total - m_range.in);
    }

    const VideoFacts& video() const override { return m_video; }
    VideoFacts second() const override { return m_b.video(); }
    const Reader* like() const override { return &m_a; }
    std::optional<std::int64_t> total() const override { return m_total; }
    std::string name() const override { return m_a.path() + " and " + m_b.path(); }
    std::vector<std::string> files() const override { return {m_a.path(), m_b.path()}; }

    std::vector<std::string> damage() const override {
        std::vector<std::string> sentences = m_a.damageTold();
        std::ranges::copy(m_b.damageTold(), std::back_inserter(sentences));
        return sentences;
    }

    void begin(ContainerSink& container) override {
        m_sound.open(container);
        container.begin();
        m_sounds = true;
    }

    bool read(Job& job) override {
        for (Job skipped; m_place < m_range.in && m_source.next(skipped); skipped = {}, ++m_place)
            if (skipped.second && !m_overlapBefore) m_overlapBefore = m_place;
        if ((m_range.out && m_place >= *m_range.out) || !m_source.next(job)) {
            if (job.index == 0)
                throw Error(
                    fmt::format("{} make {} frames, and none of them is frame {}", name(), m_place, m_range.in));
            return false;
        }
        job.time100ns = av_rescale_q(m_place, m_video.timeBase, {1, 10000000});
        job.first->pts = job.index;
        job.first->pkt_duration = 1;
        ++m_place;
        return true;
    }

    void written(const Job& job) override {
        if (!m_sounds) return;
        const double period = av_q2d(m_video.timeBase);
        const std::int64_t place = job.index + m_range.in;
        const auto fade = [&](std::int64_t start) {
            m_faded = true;
            m_sound.overlapAt(static_cast<double>(start) * period, static_cast<double>(m_source.overlap()) * period);
        };
        if (job.index == 0 && m_range.in > 0) {
            if (m_overlapBefore) fade(*m_overlapBefore);
            m_sound.skipUntil(static_cast<double>(m_range.in) * period);
        }
        if (job.second && !m_faded) fade(place);
        m_sound.writeUntil(static_cast<double>(place + 1) * period);
    }

  private:
    Reader m_a, m_b;
    VideoFacts m_video;
    JoinSource m_source;
    CrossFade m_sound;
    Range m_range;
    std::optional<std::int64_t> m_total;
    std::int64_t m_place = 0;                    ///< of the next frame, before any cut
    std::optional<std::int64_t> m_overlapBefore; ///< its first frame, where that is cut away
    bool m_sounds = false, m_faded = false;
};

} // namespace

VideoFacts joinFacts(const VideoFacts& first, bool firstIsPicture, const VideoFacts& second, bool secondIsPicture) {
    VideoFacts video = first;
    if (firstIsPicture && !secondIsPicture) video.rate = second.rate;
    video.timeBase = av_inv_q(video.rate);
    return video;
}

std::optional<std::int64_t> steadyFrames(std::optional<std::int64_t> frames, AVRational is, AVRational wanted) {
    if (!frames) return {};
    return std::llround(static_cast<double>(*frames) / av_q2d(is) * av_q2d(wanted));
}

std::int64_t overlapFrames(double seconds, AVRational rate) {
    const auto frames = std::llround(seconds * av_q2d(rate));
    if (frames < 1 || frames > mostFrames)
        throw UsageError(
            fmt::format("--duration makes a transition of {} frames; 1 to {} can be made", frames, mostFrames));
    return frames;
}

double joinProgress(std::int64_t step, std::int64_t overlap) {
    return overlap > 1 ? static_cast<double>(step) / static_cast<double>(overlap - 1) : 0.5;
}

std::unique_ptr<Film> joinFilm(const std::string& first, std::optional<AVRational> rate, const std::string& second,
                               double overlap, const Range& range, const OutputRequest& output) {
    return std::make_unique<JoinFilm>(first, rate, second, overlap, range, output);
}

} // namespace larkmoor
