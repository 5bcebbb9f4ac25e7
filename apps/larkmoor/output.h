// An opened output of any kind, and the run that fills it.
#pragma once

#include <functional>
#include <optional>

#include "media/container_sink.h"
#include "output_file.h"
#include "requests.h"
#include "worker.h"

namespace larkmoor {

/// The file and the sink that fills it.
class Output {
  public:
    /// @param like the clip whose metadata and codec count; null for none.
    Output(const OutputRequest& request, const VideoFacts& video, const Reader* like);

    FrameSink& sink() { return *m_sink; }
    /// Null for bare frames.
    ContainerSink* container() { return m_container; }

    /// Ends the file and gives it its name.
    void finish();

  private:
    OutputFile m_file;
    std::unique_ptr<FrameSink> m_sink;
    ContainerSink* m_container = nullptr;
};

/// Frames from `read` through workers into the output, with progress. Returns the number of frames.
std::int64_t run(const Module& module, std::span<const Step> steps, const VideoFacts& video, const VideoFacts& second,
                 Output& output, int threads, std::optional<std::int64_t> total, const std::function<bool(Job&)>& read,
                 const std::function<void(const Job&)>& written = {});

} // namespace larkmoor
