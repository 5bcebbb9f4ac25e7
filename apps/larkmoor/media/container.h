// What the kinds of files take, where FFmpeg's own tables do not tell it or tell too much.
#pragma once

#include <string>

#include "media/av.h"

namespace larkmoor {

/// The container for a file name, by its ending. Throws UsageError when it tells nothing.
const AVOutputFormat& containerFor(const std::string& path);

/// Containers of one or more still pictures.
bool isPictureContainer(const AVOutputFormat& container);
/// MP4, MOV and their kin.
bool isMovie(const AVOutputFormat& container);
bool isMatroska(const AVOutputFormat& container);

/// Whether players find a codec's streams in it. True also for what nobody keeps a list of.
bool takes(const AVOutputFormat& container, AVCodecID codec);
/// The same of one stream, by the head of a file that is thrown away where the codec alone does not tell.
bool takesStream(const AVOutputFormat& container, const AVCodecParameters& stream, AVRational timeBase);

/// The codec of pictures that files of this name mostly have; AV_CODEC_ID_NONE for none.
AVCodecID usualVideo(const AVOutputFormat& container, const std::string& path);
/// The codec for sound of so many channels.
AVCodecID usualSound(const AVOutputFormat& container, int channels);
/// A codec for pictures with alpha, or AV_CODEC_ID_NONE.
AVCodecID usualAlpha(const AVOutputFormat& container);

/// Whether a player learns that luma is of the full range.
bool carriesRange(const AVOutputFormat& container, AVCodecID codec);

/// The place of chroma that a player learns of: the wanted one where it can, else the one that it takes for granted.
AVChromaLocation carriedPlace(const AVOutputFormat& container, AVCodecID codec, AVChromaLocation wanted);

/// The sizes and rates that a codec takes, as the end of a sentence; empty where there are hardly any limits.
std::string limitsOf(AVCodecID codec);

} // namespace larkmoor
