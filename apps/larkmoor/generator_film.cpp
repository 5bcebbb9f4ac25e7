#include <algorithm>
#include <cmath>

#include <fmt/format.h>

#include "film.h"

namespace larkmoor {

namespace {

class GeneratorFilm final : public Film {
  public:
    GeneratorFilm(const VideoFacts& video, std::int64_t frames, const Range& range)
        : m_video(video), m_in(range.in), m_total(std::min(frames, range.out.value_or(frames)) - range.in) {
        if (m_total < 1)
            throw Error(fmt::format("the generator makes {} frames, and none of them is frame {}", frames, range.in));
    }

    const VideoFacts& video() const override { return m_video; }
    std::optional<std::int64_t> total() const override { return m_total; }
    std::string name() const override { return "the generator"; }
    void addStreams(ContainerSink&) override {}

    bool read(Job& job) override {
        if (job.index >= m_total) return false;
        job.time100ns = av_rescale_q(job.index + m_in, m_video.timeBase, {1, 10000000});
        return true;
    }

  private:
    VideoFacts m_video;
    std::int64_t m_in, m_total;
};

} // namespace

VideoFacts generatorFacts(int width, int height, AVRational rate) {
    VideoFacts video;
    video.width = width;
    video.height = height;
    video.format = AV_PIX_FMT_BGRA;
    video.colour.space = AVCOL_SPC_RGB;
    video.colour.range = AVCOL_RANGE_JPEG;
    video.rate = rate;
    video.timeBase = av_inv_q(rate);
    return video;
}

std::int64_t framesIn(double seconds, AVRational rate) {
    return std::max<std::int64_t>(1, std::llround(seconds * av_q2d(rate)));
}

std::unique_ptr<Film> generatorFilm(int width, int height, AVRational rate, double seconds, const Range& range) {
    return std::make_unique<GeneratorFilm>(generatorFacts(width, height, rate), framesIn(seconds, rate), range);
}

} // namespace larkmoor
