#include <algorithm>
#include <cmath>
#include <deque>
#include <iterator>
#include <utility>

#include <fmt/format.h>

#include "cross_fade.h"
#include "film.h"
#include "media/conform.h"

namespace larkmoor {

namespace {

/// The longest overlap: its frames of the first clip are held in memory, as the clip's end comes unannounced.
constexpr std::int64_t mostFrames = 6000;

using Clips = std::vector<std::unique_ptr<Reader>>;

/// Throws UsageError for a clip between two others that is too short for both its transitions.
[[noreturn]] void refuseShort(const std::string& path, std::int64_t frames, std::int64_t overlap, AVRational rate) {
    if (frames < 2) throw UsageError(fmt::format("{} is too short to stand between two others", path));
    const double most = static_cast<double>(frames / 2) / av_q2d(rate);
    throw UsageError(fmt::format("{} has {} frames, too few for a transition of {} at either end; --duration {} is the "
                                 "longest that fits",
                                 path, frames, overlap, std::round(most * 1000) / 1000));
}

/// A clip's frames at the steady rate. A picture lasts as long as its transitions.
class JoinClip {
  public:
    JoinClip(Reader& reader, const VideoFacts& video, std::int64_t least)
        : m_frames(reader, video), m_least(reader.isPicture() ? least : 0) {}

    const std::string& changes() const { return m_frames.changes(); }
    std::vector<PacketPtr> takeSide() { return m_frames.takeSide(); }
    /// Frames that `next` has given.
    std::int64_t given() const { return m_given; }

    /// The next frame, empty at the end.
    FramePtr next() {
        FramePtr frame = m_frames.next();
        if (!frame && m_picture && m_given < m_least) frame = shareFrame(*m_picture);
        if (!frame) return frame;
        if (m_least > 0) m_picture = shareFrame(*frame);
        ++m_given;
        return frame;
    }

  private:
    Conformer m_frames;
    std::int64_t m_least, m_given = 0;
    FramePtr m_picture;
};

/// The clips' frames in the order of the output.
class JoinSource {
  public:
    /// Where a clip and the next one are both seen, in frames of the output.
    struct Overlap {
        std::int64_t start = 0, length = 0;
    };

    JoinSource(const Clips& readers, const VideoFacts& video, std::int64_t overlap)
        : m_readers(readers), m_rate(video.rate), m_overlap(overlap), m_overlaps(readers.size() - 1) {
        for (std::size_t i = 0; i < readers.size(); ++i)
            m_clips.emplace_back(*readers[i], video, isBetween(i) ? 2 * overlap : overlap);
    }

    JoinClip& clip(std::size_t number) { return m_clips[number]; }
    /// Whether a clip lies between two others.
    bool isBetween(std::size_t clip) const { return clip > 0 && clip + 1 < m_readers.size(); }
    /// Clips of which frames were given, or are held.
    std::size_t begun() const { return m_clip + (m_met ? 2 : 1); }
    /// Frames of an overlap as it was asked for.
    std::int64_t wanted() const { return m_overlap; }
    /// What follows a clip, as it is once frames of the next one are given.
    const Overlap& overlap(std::size_t clip) const { return m_overlaps[clip]; }

    bool next(Job& job) {
        job.plain = true;
        for (; m_clip < m_overlaps.size(); leave()) {
            if (!m_met) approach();
            const std::int64_t length = m_overlaps[m_clip].length, left = m_met ? length - m_step : 0;
            if (std::ssize(m_held) > left) break;
            if (left > 0) {
                job.plain = false;
                job.second = take(m_ahead);
                job.position = joinProgress(m_step++, length);
                break;
            }
        }
        job.clip = m_clip;
        job.first = m_held.empty() ? m_clips[m_clip].next() : take(m_held);
        m_given += job.first != nullptr;
        return job.first != nullptr;
    }

  private:
    /// Holds more of a clip than its overlap, as long as that comes; else all that is left of it.
    void approach() {
        while (std::ssize(m_held) <= m_overlap) {
            FramePtr frame = m_clips[m_clip].next();
            if (!frame) {
                meet();
                return;
            }
            m_held.push_back(std::move(frame));
        }
    }

    void meet() {
        while (std::ssize(m_ahead) < m_overlap) {
            FramePtr frame = m_clips[m_clip + 1].next();
            if (!frame) break;
            m_ahead.push_back(std::move(frame));
        }
        if (std::ssize(m_held) < m_overlap) refuseBetween(m_clip);
        if (std::ssize(m_ahead) < m_overlap) refuseBetween(m_clip + 1);
        const auto least = std::min(std::ssize(m_held), std::ssize(m_ahead));
        if (least < m_overlap)
            warn(fmt::format("a clip is shorter than the transition, which is cut to {} frames", least));
        m_overlaps[m_clip] = {m_given + std::ssize(m_held) - least, least};
        m_met = true;
    }

    void refuseBetween(std::size_t clip) const {
        if (isBetween(clip)) refuseShort(m_readers[clip]->path(), m_clips[clip].given(), m_overlap, m_rate);
    }

    void leave() {
        ++m_clip;
        m_held = std::exchange(m_ahead, {});
        m_met = false;
        m_step = 0;
    }

    static FramePtr take(std::deque<FramePtr>& frames) {
        FramePtr frame = std::move(frames.front());
        frames.pop_front();
        return frame;
    }

    const Clips& m_readers;
    std::deque<JoinClip> m_clips;
    AVRational m_rate;
    std::int64_t m_overlap, m_step = 0, m_given = 0;
    std::vector<Overlap> m_overlaps; ///< after each clip but the last
    std::size_t m_clip = 0;          ///< that frames are given of
    bool m_met = false;              ///< it has ended, and the next one is held
    std::deque<FramePtr> m_held, m_ahead;
};

int streamsOf(const Reader& clip, AVMediaType type) {
    int count = 0;
    for (unsigned i = 0; i < clip.container().nb_streams; ++i)
        count += clip.container().streams[i]->codecpar->codec_type == type;
    return count;
}

Clips openClips(const std::vector<std::string>& paths, std::optional<AVRational> rate, const OutputRequest& output) {
    Clips clips;
    for (const std::string& path : paths) {
        ReadOptions options{.threads = output.threads, .policy = output.reading};
        if (clips.empty()) options.rate = rate;
        clips.push_back(std::make_unique<Reader>(path, options));
        if (clips.size() > 1) refuseMixedDynamics(paths[0], clips[0]->video(), path, clips.back()->video());
    }
    return clips;
}

VideoFacts factsOf(const Clips& clips) {
    VideoFacts video = clips[0]->video();
    bool pictures = clips[0]->isPicture();
    for (const auto& clip : clips) {
        video = joinFacts(video, pictures, clip->video(), clip->isPicture());
        pictures = pictures && clip->isPicture();
    }
    return video;
}

class JoinFilm final : public Film {
  public:
    JoinFilm(const std::vector<std::string>& paths, std::optional<AVRational> rate, double overlap, const Range& range,
             const OutputRequest& output)
        : m_clips(openClips(paths, rate, output)), m_video(factsOf(m_clips)),
          m_source(m_clips, m_video, overlapFrames(overlap, m_video.rate)), m_range(range) {
        for (std::size_t i = 1; i < m_clips.size(); ++i)
            if (const std::string& changes = m_source.clip(i).changes(); !changes.empty())
                warn(fmt::format("{} is resampled: {}", paths[i], changes));
        refuseShortBetween(output);
        m_total = 0;
        for (std::size_t i = 0; i < m_clips.size(); ++i) {
            const auto frames = framesOf(i);
            m_total = frames && m_total ? std::optional(*m_total + *frames) : std::nullopt;
        }
        if (m_total) *m_total -= std::ssize(m_clips) * m_source.wanted() - m_source.wanted();
        if (m_range.out) m_total = std::min(m_total.value_or(*m_range.out), *m_range.out);
        if (m_total) m_total = std::max<std::int64_t>(1, *m_total - m_range.in);
    }

    const VideoFacts& video() const override { return m_video; }
    std::vector<VideoFacts> others() const override {
        std::vector<VideoFacts> others;
        for (const auto& clip : m_clips) others.push_back(clip->video());
        others.erase(others.begin());
        return others;
    }
    const Reader* like() const override { return m_clips[0].get(); }
    std::optional<std::int64_t> total() const override { return m_total; }
    std::string name() const override {
        const std::vector<std::string> all = files();
        return fmt::format("{} and {}", fmt::join(all.begin(), all.end() - 1, ", "), all.back());
    }
    std::vector<std::string> files() const override {
        std::vector<std::string> files;
        for (const auto& clip : m_clips) files.push_back(clip->path());
        return files;
    }

    std::vector<std::string> damage() const override {
        std::vector<std::string> sentences;
        for (const auto& clip : m_clips) std::ranges::copy(clip->damageTold(), std::back_inserter(sentences));
        return sentences;
    }

    void addStreams(ContainerSink& container) override {
        int most = 0;
        for (const auto& clip : m_clips) most = std::max(most, streamsOf(*clip, AVMEDIA_TYPE_AUDIO));
        container.checkSoundNumber(name(), most);
        for (int i = 0; i < most; ++i) {
            if (!container.wantsSound(i + 1)) continue;
            m_sounds.emplace_back(m_clips, i);
            m_sounds.back().open(container);
            for (const auto& clip : m_clips)
                if (const int there = streamsOf(*clip, AVMEDIA_TYPE_AUDIO); there > 0 && there <= i)
                    warn(fmt::format("{} has no sound stream {}, which is silent there", clip->path(), i + 1));
        }
        std::optional<std::int64_t> frames;
        if (m_range.out) frames = *m_range.out - m_range.in;
        container.passSubtitles(m_clips, frames);
    }

    bool read(Job& job) override {
        for (Job skipped; m_place < m_range.in && m_source.next(skipped); skipped = {}) ++m_place;
        if ((m_range.out && m_place >= *m_range.out) || !m_source.next(job)) {
            if (job.index == 0)
                throw Error(
                    fmt::format("{} make {} frames, and none of them is frame {}", name(), m_place, m_range.in));
            return false;
        }
        job.time100ns = av_rescale_q(m_place, m_video.timeBase, {1, 10000000});
        job.first->pts = job.index;
        job.first->pkt_duration = 1;
        for (std::size_t i = 0; i < m_source.begun(); ++i) place(m_source.clip(i).takeSide(), i, job.side);
        ++m_place;
        return true;
    }

    void written(const Job& job) override {
        const double period = av_q2d(m_video.timeBase);
        const std::int64_t place = job.index + m_range.in;
        for (const std::size_t newest = job.clip + (job.second ? 1 : 0); m_heard < newest; ++m_heard) {
            const JoinSource::Overlap& overlap = m_source.overlap(m_heard);
            for (CrossFade& sound : m_sounds)
                sound.overlapAt(static_cast<double>(overlap.start) * period,
                                static_cast<double>(overlap.length) * period);
        }
        if (job.index == 0 && m_range.in > 0)
            for (CrossFade& sound : m_sounds) sound.skipUntil(static_cast<double>(m_range.in) * period);
        for (CrossFade& sound : m_sounds) sound.writeUntil(static_cast<double>(place + 1) * period);
    }

    void end(FrameSink& sink) override {
        std::vector<PacketPtr> rest;
        for (std::size_t i = 0; i < m_source.begun(); ++i) place(m_clips[i]->rest(), i, rest);
        for (PacketPtr& packet : rest) sink.writeSide(std::move(packet));
    }

  private:
    /// Frames that a clip adds to the output, overlaps included, as far as can be told.
    std::optional<std::int64_t> framesOf(std::size_t number) const {
        const Reader& clip = *m_clips[number];
        if (clip.isPicture()) return (m_source.isBetween(number) ? 2 : 1) * m_source.wanted();
        return steadyFrames(clip.expectedFrames(), clip.video().rate, m_video.rate);
    }

    /// Tells at once, and not after the clips before it, that one is too short. What containers tell is counted again.
    void refuseShortBetween(const OutputRequest& output) const {
        const std::int64_t needed = 2 * m_source.wanted();
        std::int64_t least = needed;
        const Reader* shortest = nullptr;
        for (std::size_t i = 1; i + 1 < m_clips.size(); ++i) {
            if (framesOf(i).value_or(needed) >= needed) continue;
            Reader reader(m_clips[i]->path(), {.threads = output.threads, .policy = output.reading});
            Conformer frames(reader, m_video);
            std::int64_t count = 0;
            while (count < least && frames.next()) ++count;
            if (count == least) continue;
            least = count;
            shortest = m_clips[i].get();
        }
        if (shortest) refuseShort(shortest->path(), least, m_source.wanted(), m_video.rate);
    }

    /// Moves packets of a clip onto the output's clock, under stream numbers of its own.
    void place(std::vector<PacketPtr> packets, std::size_t number, std::vector<PacketPtr>& out) const {
        const std::int64_t frames = (number == 0 ? 0 : m_source.overlap(number - 1).start) - m_range.in;
        for (PacketPtr& packet : packets) {
            packet->pts += av_rescale_q(frames, m_video.timeBase,
                                        m_clips[number]->container().streams[packet->stream_index]->time_base);
            if (packet->pts < 0) {
                packet->duration += packet->pts;
                packet->pts = 0;
            }
            packet->dts = packet->pts;
            packet->stream_index += static_cast<int>(number) * ContainerSink::nextClip;
            if (packet->duration > 0) out.push_back(std::move(packet));
        }
    }

    Clips m_clips;
    VideoFacts m_video;
    JoinSource m_source;
    std::vector<CrossFade> m_sounds;
    Range m_range;
    std::optional<std::int64_t> m_total;
    std::int64_t m_place = 0; ///< of the next frame, before any cut
    std::size_t m_heard = 0;  ///< overlaps that the sound knows of
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

double fittingOverlap(double seconds, AVRational rate) {
    const double frames = std::round(seconds * av_q2d(rate));
    if (frames >= 1 && frames <= static_cast<double>(mostFrames)) return seconds;
    return std::clamp(frames, 1.0, static_cast<double>(mostFrames)) / av_q2d(rate);
}

double joinProgress(std::int64_t step, std::int64_t overlap) {
    return overlap > 1 ? static_cast<double>(step) / static_cast<double>(overlap - 1) : 0.5;
}

std::unique_ptr<Film> joinFilm(const std::vector<std::string>& paths, std::optional<AVRational> rate, double overlap,
                               const Range& range, const OutputRequest& output) {
    return std::make_unique<JoinFilm>(paths, rate, overlap, range, output);
}

} // namespace larkmoor
