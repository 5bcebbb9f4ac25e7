// What the numbers of a picture mean: matrix, range, primaries, transfer.
#pragma once

#include <span>

extern "C" {
#include <libavcodec/codec.h>
#include <libavutil/frame.h>
}

namespace larkmoor {

struct Colour {
    AVColorSpace space = AVCOL_SPC_UNSPECIFIED;
    AVColorRange range = AVCOL_RANGE_UNSPECIFIED;
    AVColorPrimaries primaries = AVCOL_PRI_UNSPECIFIED;
    AVColorTransferCharacteristic transfer = AVCOL_TRC_UNSPECIFIED;
    AVChromaLocation chroma = AVCHROMA_LOC_UNSPECIFIED;

    friend bool operator==(const Colour&, const Colour&) = default;
};

/// Files may tag pictures by numbers that mean nothing, and decoders hand them on; encoders do not take them.
void dropUnnamedTags(AVFrame& frame);

/// As a frame says it, gaps left as they are.
Colour colourOf(const AVFrame& frame);
void tag(AVFrame& frame, const Colour& colour);

bool isRgb(AVPixelFormat format);
bool isGray(AVPixelFormat format);
/// Float samples.
bool hasFloats(AVPixelFormat format);
/// More than 8 bits a sample: pictures of these formats go through the 16-byte form.
bool needsFloat(AVPixelFormat format);
bool hasAlpha(AVPixelFormat format);

/// The matrix that players take for a picture that does not tell: BT.709 from 720 rows or 1280 columns up, else BT.601.
AVColorSpace usualMatrix(int width, int height);

/// The matrix of a picture: the one it tells, or the usual one.
AVColorSpace matrixOf(AVColorSpace space, int width, int height);

/// The shares of red and blue in luma (ITU-R BT.601, BT.709, BT.2020, SMPTE 240M).
struct LumaShares {
    double red, blue;
};
LumaShares lumaShares(AVColorSpace space);

/// Where the first sample of chroma sits, in 1/256 of luma's samples from their first one, across and down.
struct ChromaPlace {
    int x, y;
    friend bool operator==(const ChromaPlace&, const ChromaPlace&) = default;
};
/// As told, or by the habit for the format.
ChromaPlace chromaPlace(AVPixelFormat format, AVChromaLocation told);
ChromaPlace chromaPlace(const AVFrame& frame);
/// Tells a frame's place, those that FFmpeg has no word for included: the second of two columns.
void tellChromaPlace(AVFrame& frame, ChromaPlace place);
/// In the rows of one of two fields, 0 for the upper one.
ChromaPlace chromaPlaceInField(ChromaPlace place, int field);

/// Full range of the samples, by the frame's word, the kind of pixel format, or the habit for it.
bool isFullRange(AVPixelFormat format, AVColorRange range);

/// The "J" formats of old say their range by name; this is the format without it.
AVPixelFormat withoutRange(AVPixelFormat format);

/// How much light a transfer tells of: what is mixed has to be of one kind.
enum class Dynamics { Standard, Pq, Hlg };
Dynamics dynamicsOf(AVColorTransferCharacteristic transfer);

/// Whether no pixel of a picture lets anything through.
bool isOpaque(const AVFrame& frame);

/// The pixel formats that an encoder takes; none where it takes any.
std::span<const AVPixelFormat> formatsOf(const AVCodec& encoder);

/// How pictures are written by an encoder: what it takes, nearest to the source.
struct Target {
    AVPixelFormat format = AV_PIX_FMT_NONE;
    Colour colour;
};

/// The source's own format where the encoder takes it, else the encoder's nearest. RGB encoders stay RGB.
/// @param alpha the pictures have alpha that counts: one with alpha where the encoder has any.
/// @param wanted a pixel format of the user's choice, or AV_PIX_FMT_NONE.
/// Throws UsageError when the encoder does not take the wanted one.
Target pickTarget(const AVCodec& encoder, AVPixelFormat source, const Colour& colour, int width, int height, bool alpha,
                  AVPixelFormat wanted);

} // namespace larkmoor
