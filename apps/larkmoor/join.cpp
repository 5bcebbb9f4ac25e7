#include <cmath>
#include <deque>

#include <fmt/format.h>

#include "cross_fade.h"
#include "media/conform.h"
#include "output.h"

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
        job.first->pts = job.index;
        job.first->pkt_duration = 1;
        return true;
    }

    /// Frames of the overlap, once the first clip has ended.
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
            job.position = m_overlap > 1 ? static_cast<double>(m_step) / static_cast<double>(m_overlap - 1) : 0.5;
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

} // namespace

void join(const Module& module, const JoinRequest& request) {
    const std::vector<Step> steps{planStep(module, request.transition)};
    const EffectInfo& info = *steps.front().info;
    if (info.kind != EffectKind::Transition)
        throw UsageError(fmt::format("{} is no transition; `larkmoor list` names them", info.name));
    const OutputRequest& out = request.output;

    const ReadOptions options{.threads = out.threads};
    Reader a(request.first, options), b(request.second, options);
    VideoFacts video = a.video();
    if (a.isPicture() && !b.isPicture()) video.rate = b.video().rate;
    video.timeBase = av_inv_q(video.rate);
    const auto frames = std::llround(request.duration * av_q2d(video.rate));
    if (frames < 1 || frames > mostFrames)
        throw UsageError(
            fmt::format("--duration makes a transition of {} frames; 1 to {} can be made", frames, mostFrames));

    JoinSource source(a, b, video, frames);
    if (!source.changes().empty()) warn(fmt::format("{} is resampled: {}", request.second, source.changes()));

    VideoFacts second = b.video();
    Output output(out, video, &a);
    CrossFade sound(request.first, request.second);
    if (ContainerSink* container = output.container()) {
        sound.open(*container);
        container->begin();
    }
    const auto first = a.expectedFrames(), rest = b.expectedFrames();
    std::optional<std::int64_t> total;
    if (first && rest && !a.isPicture() && !b.isPicture())
        total = std::llround(static_cast<double>(*first) / av_q2d(a.video().rate) * av_q2d(video.rate) +
                             static_cast<double>(*rest) / av_q2d(b.video().rate) * av_q2d(video.rate)) -
                frames;
    const double period = av_q2d(video.timeBase);
    bool faded = false;
    run(
        module, steps, video, second, output, out.threads, total,
        [&](Job& job) {
            job.time100ns = av_rescale_q(job.index, video.timeBase, {1, 10000000});
            return source.next(job);
        },
        [&](const Job& job) {
            if (job.second && !faded) {
                faded = true;
                sound.overlapAt(static_cast<double>(job.index) * period,
                                static_cast<double>(source.overlap()) * period);
            }
            sound.writeUntil(static_cast<double>(job.index + 1) * period);
        });
    output.finish();
    saveStates(module, steps.front(), out.overwrite);
}

} // namespace larkmoor
