// Video encoders: which one, and how it is set.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "media/audio_encoder.h"
#include "media/container.h"
#include "media/reader.h"

namespace larkmoor {

struct EncodeOptions {
    std::string codec;                           ///< an encoder's or a codec's name; empty for the usual one
    std::optional<double> quality;               ///< 0, the smallest files, to 100, the best pictures
    std::int64_t bitRate = 0;                    ///< bits a second, instead of a quality; 0 for none
    AVPixelFormat pixelFormat = AV_PIX_FMT_NONE; ///< AV_PIX_FMT_NONE for the nearest to the source
    std::vector<std::pair<std::string, std::string>> settings; ///< of the encoder's own, by FFmpeg's names
    SoundOptions sound;
};

/// The encoder that the user named; or the source's own codec where it is made for editing (without loss, or without
/// prediction between frames) and the container is the source's; or one that keeps what the pictures have and the
/// container's usual one loses: alpha, more than 8 bits, the transfers of HDR; or the container's usual one.
/// Throws UsageError for a name that no encoder has, or that the container does not take.
const AVCodec& encoderFor(const EncodeOptions& options, const AVOutputFormat& container, const std::string& path,
                          const VideoFacts& video, const Reader* source);

/// What an encoder can do, for people to choose from.
struct EncoderFacts {
    std::string name, title;
    int bits = 8; ///< of a channel, at most
    bool alpha = false, lossless = false;
    bool intra = false; ///< each picture by itself
};

/// The encoders of programs (not of graphics cards) that a file named like this takes. Throws UsageError for an ending
/// that tells nothing.
std::vector<EncoderFacts> encodersFor(const std::string& path);

/// An opened encoder. Its threads do not depend on the machine or on options, since some codecs write other bytes
/// with other numbers of threads. Its size is greater than the video's where chroma has to be whole samples.
/// @param source where the pictures come from, whose profile is kept where the codec is one for editing; null for none.
/// @param again one like it was opened before, and all notes are given.
CodecPtr openEncoder(const AVCodec& codec, const EncodeOptions& options, const AVOutputFormat& container,
                     const VideoFacts& video, const Target& target, const Reader* source, bool again = false);

} // namespace larkmoor
