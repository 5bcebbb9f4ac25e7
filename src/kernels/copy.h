// Moving pixels and setting them to one value.
#pragma once

#include "kernels/view.h"

/// Copies the common part of two pictures. The pictures may share memory: with one stride the destination gets the
/// source as it was before the call, with different strides each row does.
HRESULT KwDibCopy(const tView& destination, const tView& source, LONG bytesPerPixel);

/// Sets every pixel of the clip. 4-byte form: each channel times 255, limited to 0 to 255, truncated; not-a-number
/// gives 0. 16-byte form: the channels as floats, without a limit.
HRESULT KwDibFill(const tView& view, LONG bytesPerPixel, double red, double green, double blue, double alpha);

/// Copies channel `sourceChannel` of each pixel to `destinationChannel`; numbers as in `KwDibChannelOffset`. The views
/// may be the same picture, but must not overlap otherwise.
HRESULT KwDibCopyChannel(const tView& destination, const tView& source, LONG bytesPerPixel, LONG destinationChannel,
                         LONG sourceChannel);

/// Byte offset in a pixel of channels 0 blue, 1 green, 2 red, 3 alpha; 0 for every other number.
constexpr LONG KwDibChannelOffset(LONG channel, LONG bytesPerPixel) {
    return channel >= 1 && channel <= 3 ? bytesPerPixel / 4 * channel : 0;
}

/// Stores `value` into `count` 32-bit words, at any address. A count of 0 or a null target does nothing.
extern "C" KWEXPORT void KwSetMemoryDWords(void* target, ULONG value, ULONG count);
