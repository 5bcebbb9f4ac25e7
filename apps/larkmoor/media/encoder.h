// Video encoders: which one, and how it is set.
#pragma once

#include <optional>
#include <string>

#include "media/reader.h"

namespace larkmoor {

struct EncodeOptions {
    std::string codec;                           ///< an encoder's or a codec's name; empty for the usual one
    std::optional<double> quality;               ///< 0, the smallest files, to 100, the best pictures
    AVPixelFormat pixelFormat = AV_PIX_FMT_NONE; ///< AV_PIX_FMT_NONE for the nearest to the source
};

/// The container for a file name, by its ending. Throws UsageError when it tells nothing.
const AVOutputFormat& containerFor(const std::string& path);

/// Containers of one or more still pictures.
bool isPictureContainer(const AVOutputFormat& container);

/// The encoder that the user named; or the source's own codec where it is made for editing (without loss, or without
/// prediction between frames) and the container is the source's; or the container's usual one.
/// Throws UsageError for a name that no encoder has, or that the container does not take.
const AVCodec& encoderFor(const EncodeOptions& options, const AVOutputFormat& container, const std::string& path,
                          const Reader* source);

/// An opened encoder. Its threads do not depend on the machine or on options, since some codecs write other bytes
/// with other numbers of threads.
CodecPtr openEncoder(const AVCodec& codec, const EncodeOptions& options, const AVOutputFormat& container,
                     const VideoFacts& video, const Target& target);

} // namespace larkmoor
