// An opened output of any kind.
#pragma once

#include <memory>
#include <optional>

#include "media/container_sink.h"
#include "output_file.h"
#include "requests.h"

namespace larkmoor {

/// The file and the sink that fills it.
class Output {
  public:
    /// @param like the clip whose metadata and codec count; null for none.
    /// @param firstNumber of a numbered sequence.
    /// @param taker gets the pictures instead of the file, which is not made; null for none.
    Output(const OutputRequest& request, const VideoFacts& video, const Reader* like, int firstNumber,
           PictureTaker* taker);

    FrameSink& sink() { return *m_sink; }
    /// Null for bare frames.
    ContainerSink* container() { return m_container; }

    /// Ends the file and gives it its name.
    void finish();

  private:
    std::optional<OutputFile> m_file;
    std::unique_ptr<FrameSink> m_sink;
    ContainerSink* m_container = nullptr;
};

} // namespace larkmoor
