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
        m_given += job.first != nullptr;
        return job.first != nullptr;
    }

    /// Packets beside the pictures of the first or the second clip since the last call.
    std::vector<PacketPtr> takeSide(bool second) { return (second ? m_b : m_a).takeSide(); }
    /// Frame of the output at which the second clip begins, once its packets come.
    std::int64_t secondStart() const { return m_start; }

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
                m_start = m_given + static_cast<std::int64_t>(m_held.size()) - m_overlap;
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
    std::int64_t m_given = 0, m_start = 0;
    std::deque<FramePtr> m_held, m_ahead; ///< of the first clip's end, and the second's start
};

int streamsOf(const Reader& clip, AVMediaType type) {
    int count = 0;
    for (unsigned i = 0; i < clip.container().nb_streams; ++i)
        count += clip.container().streams[i]->codecpar->codec_type == type;
    return count;
}

class JoinFilm final : public Film {
  public:
    JoinFilm(const std::string& first, std::optional<AVRational> rate, const std::string& second, double overlap,
             const Range& range, const OutputRequest& output)
        : m_a(first, {.rate = rate, .threads = output.threads, .policy = output.reading}),
          m_b(second, {.threads = output.threads, .policy = output.reading}),
          m_video(joinFacts(m_a.video(), m_a.isPicture(), m_b.video(), m_b.isPicture())),
          m_source(m_a, m_b, m_video, overlapFrames(overlap, m_video.rate)), m_range(range) {
        refuseMixedDynamics(first, m_a.video(), second, m_b.video());
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
        const int first = streamsOf(m_a, AVMEDIA_TYPE_AUDIO), second = streamsOf(m_b, AVMEDIA_TYPE_AUDIO);
        container.checkSoundNumber(name(), std::max(first, second));
        for (int i = 0; i < std::max(first, second); ++i) {
            if (!container.wantsSound(i + 1)) continue;
            m_sounds.emplace_back(m_a.path(), m_b.path(), i);
            m_sounds.back().open(container);
            if (m_sounds.back().first() != m_sounds.back().second() && std::min(first, second) > 0)
                warn(fmt::format("{} has no sound stream {}, which is silent there", (i < first ? m_b : m_a).path(),
                                 i + 1));
        }
        std::optional<std::int64_t> frames;
        if (m_range.out) frames = *m_range.out - m_range.in;
        container.passSubtitles(m_a, m_b, frames);
        container.begin();
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
        place(m_source.takeSide(false), m_a, 0, job.side);
        place(m_source.takeSide(true), m_b, ContainerSink::secondClip, job.side);
        ++m_place;
        return true;
    }

    void written(const Job& job) override {
        const double period = av_q2d(m_video.timeBase);
        const std::int64_t place = job.index + m_range.in;
        const auto fade = [&](std::int64_t start) {
            m_faded = true;
            for (CrossFade& sound : m_sounds)
                sound.overlapAt(static_cast<double>(start) * period, static_cast<double>(m_source.overlap()) * period);
        };
        if (job.index == 0 && m_range.in > 0) {
            if (m_overlapBefore) fade(*m_overlapBefore);
            for (CrossFade& sound : m_sounds) sound.skipUntil(static_cast<double>(m_range.in) * period);
        }
        if (job.second && !m_faded) fade(place);
        for (CrossFade& sound : m_sounds) sound.writeUntil(static_cast<double>(place + 1) * period);
    }

    void end(FrameSink& sink) override {
        std::vector<PacketPtr> rest;
        place(m_a.rest(), m_a, 0, rest);
        place(m_b.rest(), m_b, ContainerSink::secondClip, rest);
        for (PacketPtr& packet : rest) sink.writeSide(std::move(packet));
    }

  private:
    /// Moves packets of a clip onto the output's clock, under stream numbers from `first` on.
    void place(std::vector<PacketPtr> packets, const Reader& clip, int first, std::vector<PacketPtr>& out) const {
        const std::int64_t frames = (first == 0 ? 0 : m_source.secondStart()) - m_range.in;
        for (PacketPtr& packet : packets) {
            packet->pts +=
                av_rescale_q(frames, m_video.timeBase, clip.container().streams[packet->stream_index]->time_base);
            if (packet->pts < 0) {
                packet->duration += packet->pts;
                packet->pts = 0;
            }
            packet->dts = packet->pts;
            packet->stream_index += first;
            if (packet->duration > 0) out.push_back(std::move(packet));
        }
    }

    Reader m_a, m_b;
    VideoFacts m_video;
    JoinSource m_source;
    std::vector<CrossFade> m_sounds;
    Range m_range;
    std::optional<std::int64_t> m_total;
    std::int64_t m_place = 0;                    ///< of the next frame, before any cut
    std::optional<std::int64_t> m_overlapBefore; ///< its first frame, where that is cut away
    bool m_faded = false;
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

void refuseMixedDynamics(const std::string& first, const VideoFacts& is, const std::string& second,
                         const VideoFacts& other) {
    const Dynamics a = dynamicsOf(is.colour.transfer), b = dynamicsOf(other.colour.transfer);
    if (a == b) return;
    const auto nameOf = [](Dynamics d) {
        return d == Dynamics::Pq ? "HDR (PQ)" : d == Dynamics::Hlg ? "HDR (HLG)" : "SDR";
    };
    const std::string way =
        a == Dynamics::Standard
            ? "zscale=t=linear:npl=100,format=gbrpf32le,zscale=p=bt709,tonemap=hable,zscale=t=bt709:m=bt709:r=tv,"
              "format=yuv420p"
            : fmt::format("zscale={}t={}:p=bt2020:m=bt2020nc:r=tv:npl=203,format=yuv420p10le",
                          b == Dynamics::Standard ? "tin=bt709:pin=bt709:min=bt709:" : "",
                          a == Dynamics::Pq ? "smpte2084" : "arib-std-b67");
    throw Error(fmt::format("{} is {} and {} is {}, whose values do not mix; bring the second to the first by `ffmpeg "
                            "-i {} -vf {} -c:v libx265 -crf 16 -c:a copy converted.mkv`",
                            first, nameOf(a), second, nameOf(b), second, way));
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
