#include <algorithm>
#include <iterator>

#include <fmt/format.h>

#include "film.h"
#include "media/conform.h"
#include "media/sequence.h"

namespace larkmoor {

namespace {

bool isOnePicture(const std::string& path) {
    const AVOutputFormat* const container = av_guess_format(nullptr, path.c_str(), nullptr);
    return container && isPictureContainer(*container) && !isSequence(path);
}

class StillFilm final : public Film {
  public:
    StillFilm(std::unique_ptr<Reader> still, std::unique_ptr<Reader> clip)
        : m_still(std::move(still)), m_clip(std::move(clip)), m_video(m_clip->video()),
          m_firstStamp(m_clip->firstStampInRange()) {
        m_video.premultiplied = m_still->video().premultiplied;
        Conformer picture(*m_still, m_video);
        m_picture = picture.next();
        if (!m_picture) throw Error(fmt::format("{} holds no frame", m_still->path()));
        const VideoFacts& is = m_still->video();
        refuseMixedDynamics(m_still->path(), is, m_clip->path(), m_clip->video());
        if (is.width != m_video.width || is.height != m_video.height)
            warn(fmt::format("{} is resampled: {}x{} to {}x{}", m_still->path(), is.width, is.height, m_video.width,
                             m_video.height));
    }

    const VideoFacts& video() const override { return m_video; }
    std::vector<VideoFacts> others() const override { return {m_clip->video()}; }
    const Reader* like() const override { return m_clip.get(); }
    std::optional<std::int64_t> total() const override { return m_clip->expectedFrames(); }
    std::string name() const override { return m_clip->path(); }
    std::vector<std::string> files() const override { return {m_still->path(), m_clip->path()}; }

    int firstNumber() const override { return m_clip->sequenceNumber().value_or(1); }
    std::int64_t firstStamp() const override { return m_firstStamp; }
    void addStreams(ContainerSink& container) override { container.passStreams(*m_clip); }

    bool read(Job& job) override {
        ReadFrame read = m_clip->next();
        if (!read.frame) return false;
        job.first = shareFrame(*m_picture);
        job.first->pts = read.frame->pts;
        job.first->pkt_duration = read.frame->pkt_duration;
        job.second = std::move(read.frame);
        job.side = std::move(read.side);
        job.time100ns = read.time100ns;
        return true;
    }

    std::vector<std::string> damage() const override {
        std::vector<std::string> sentences = m_still->damageTold();
        std::ranges::copy(m_clip->damageTold(), std::back_inserter(sentences));
        return sentences;
    }

    void end(FrameSink& sink) override {
        for (PacketPtr& packet : m_clip->rest()) sink.writeSide(std::move(packet));
    }

  private:
    std::unique_ptr<Reader> m_still, m_clip;
    VideoFacts m_video; ///< of the still as it is laid over the clip
    FramePtr m_picture;
    std::int64_t m_firstStamp;
};

} // namespace

std::unique_ptr<Film> stillFilm(const ClipRequest& request, const OutputRequest& output) {
    if (request.over.empty() || !isOnePicture(request.path)) return {};
    auto still =
        std::make_unique<Reader>(request.path, ReadOptions{.threads = output.threads, .policy = output.reading});
    if (!still->isPicture()) return {};
    ReadOptions options{
        .rate = request.rate, .start = request.start, .threads = output.threads, .policy = output.reading};
    if (request.range.out) options.frames = *request.range.out - request.range.in;
    if (request.end) options.frames = framesBefore(request.over, options, *request.end);
    const bool picture = !isRawPath(output.path) && isOnePicture(output.path);
    if (picture) options.frames = 1;
    auto clip = std::make_unique<Reader>(request.over, options);
    if (clip->isPicture()) return {};
    return std::make_unique<StillFilm>(std::move(still), std::move(clip));
}

} // namespace larkmoor
