// The work on one frame: into the effects' pixel form, through the effects, into the encoder's format.
#pragma once

#include <span>
#include <vector>

#include "chain.h"
#include "media/convert.h"
#include "media/reader.h"
#include "media/sink.h"
#include "pipeline.h"

namespace larkmoor {

/// What all workers of one run share.
struct WorkPlan {
    const Module& module;
    const Recipe& recipe;
    VideoFacts video;               ///< of the pictures that come in, or are to be generated
    std::vector<VideoFacts> others; ///< of the clips that follow in a join, or of the one below the pictures
    const FrameSink& sink;
    const FramePool& frames; ///< in the sink's format
};

/// The pixel form that a run works in: floats where pictures have more than 8 bits a sample.
PixelFormat formFor(const Recipe& recipe, const VideoFacts& video, std::span<const VideoFacts> others);

/// Everything that one frame in flight needs for itself.
class Worker {
  public:
    explicit Worker(const WorkPlan& plan);
    /// Fills `job.output`.
    void run(Job& job);

  private:
    Surface surfaceOf(AVFrame& frame, const VideoFacts& facts, Importer& importer, Surface& memory);
    Surface scratch(Surface& memory) const;
    void draw(Job& job, Surface output);
    const VideoFacts& factsOf(std::size_t clip) const;
    bool passOn(Job& job, const FramePtr& frame, const VideoFacts& facts) const;
    bool convert(Job& job, AVFrame& frame, const VideoFacts& facts, FramePtr& made);
    tSurfaceInfo infoFor(const Job& job) const;

    const WorkPlan& m_plan;
    PixelFormat m_form;
    Chain m_chain;
    Importer m_firstImporter, m_secondImporter;
    Exporter m_exporter;
    Surface m_first, m_second, m_above, m_output; ///< memory
    Surface m_firstPicture, m_secondPicture;      ///< of the frame in work
    Surface m_deep;                               ///< memory of floats, where they are needed
};

} // namespace larkmoor
