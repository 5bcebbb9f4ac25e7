// Channels that hold one value in a whole picture: the alpha of most, for one.
#pragma once

#include "kernels/view.h"

/// Which of the `wanted` channels have one value in all pixels of a picture of 4-byte pixels, which has some: bit 0 is
/// the channel of the lowest address.
std::uint32_t KwEvenChannels(const tRows& picture, std::uint32_t wanted = 15);
