// What --quality means to each encoder.
#pragma once

#include <optional>

#include "media/av.h"

namespace larkmoor {

/// Sets an encoder that is not open yet to a quality from 0, the smallest files, to 100, the best pictures; without one
/// to where losses stop to show. Greater values never give worse pictures.
/// @return false, with nothing set, for an encoder that has no such setting.
bool setQuality(AVCodecContext& context, std::optional<double> quality);

/// The profile of ProRes and DNxHR, which is what quality is to them; for formats that the context is set to.
int editingProfile(const AVCodecContext& context, std::optional<double> quality);

} // namespace larkmoor
