// Keys as they stand on the command line.
#pragma once

#include <optional>
#include <string>
#include <utility>

#include "keys.h"
#include "record.h"

namespace larkmoor {

/// FROM:TO, from the output's first frame to its last. Throws Error.
Curve parseRamp(const EffectInfo& info, const tFieldInfo& field, const std::vector<std::byte>& record,
                const std::string& text, Values values);

/// FRAME:VALUE[:WAY],...: a frame is a number from 0, a time with an `s` behind it, `start` or `end`. Throws Error.
Curve parseKeys(const EffectInfo& info, const tFieldInfo& field, const std::vector<std::byte>& record,
                const std::string& text, Values values);

/// A frame's number, or a time: seconds with an `s` behind them or HH:MM:SS.mmm. Throws UsageError.
/// @return whether it is a time, in microseconds, too.
std::pair<std::int64_t, bool> parseFrame(const std::string& option, const std::string& text);

/// Throws UsageError where nothing lies between both ends.
void checkSpan(const Span& span);

} // namespace larkmoor
