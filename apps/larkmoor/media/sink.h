// Where rendered frames go.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "media/av.h"
#include "media/colour.h"

namespace larkmoor {

class FrameSink {
  public:
    virtual ~FrameSink() = default;
    /// What frames have to be made of.
    virtual const Target& target() const = 0;
    /// Colour is wanted multiplied by alpha.
    virtual bool premultiplied() const { return false; }
    /// Takes the next frame, in order, with its time stamp.
    virtual void write(FramePtr frame) = 0;
    /// Takes a packet of another stream of the input.
    virtual void writeSide(PacketPtr) {}
    /// Writes what is still held back. Throws Error when anything did not reach the file.
    virtual void finish() = 0;
};

/// Bare frames without padding, plane after plane, on a file, a device or standard output ("-").
/// `name` is what the user called it.
std::unique_ptr<FrameSink> createRawSink(const std::string& path, const std::string& name, const Target& target);

} // namespace larkmoor
