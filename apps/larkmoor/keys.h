// Values of an effect's fields that change while the output runs: keys, and what stands between them.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "host/module.h"
#include "media/av.h"

namespace larkmoor {

/// How a value goes from a key to the next one.
enum class Way { Hold, Linear, Smooth };

/// Frames that are known once the output is: its first and last one; of a transition those of the overlap.
inline constexpr std::int64_t startFrame = INT64_MIN, endFrame = INT64_MAX;

struct Key {
    std::int64_t frame = 0; ///< of the output, from 0; below that before it begins
    std::vector<std::byte> value;
    Way way = Way::Linear; ///< to the next key
    bool timed = false;    ///< the frame is a time, in microseconds of the output, until it is settled
    friend bool operator==(const Key&, const Key&) = default;
};

/// The keys of one field, frames ascending. Before the first one its value stands, after the last one that.
struct Curve {
    const tFieldInfo* field = nullptr;
    std::vector<Key> keys;
    friend bool operator==(const Curve&, const Curve&) = default;
};

using Curves = std::vector<Curve>;

/// First and last frame of the output at which an effect works.
struct Span {
    std::optional<std::int64_t> from, to;
    bool fromTimed = false, toTimed = false; ///< as of keys

    bool contains(std::int64_t frame) const { return (!from || frame >= *from) && (!to || frame <= *to); }
    friend bool operator==(const Span&, const Span&) = default;
};

/// Whether a field has values between two others; the rest hold.
bool canMove(const tFieldInfo& field);

/// The word of a way in files and commands.
const char* wayName(Way way);
std::optional<Way> wayOf(std::string_view name);

/// A field's own bytes in a record.
std::vector<std::byte> fieldBytes(const tFieldInfo& field, std::span<const std::byte> record);
void putFieldBytes(const tFieldInfo& field, std::vector<std::byte>& record, std::span<const std::byte> value);

/// The numbers of a field that can move.
std::vector<double> fieldNumbers(const tFieldInfo& field, std::span<const std::byte> record);

Curve* findCurve(Curves& curves, const tFieldInfo& field);
const Curve* findCurve(const Curves& curves, const tFieldInfo& field);

/// The record at a share of the way between two others, as a ramp has it there.
std::vector<std::byte> interpolate(const Effect& effect, std::span<const std::byte> from, std::span<const std::byte> to,
                                   double share);

/// The record at a frame: `base` with the values that its curves have there. Linear values are those of a ramp; smooth
/// ones never leave the values of the keys around them (F. N. Fritsch, J. Butland, "A method for constructing local
/// monotone piecewise cubic interpolants", 1984) and set out from a standstill where no smooth way comes in.
/// @param effect any object of the class; it stays as it is.
/// @param progress of a transition, 0 to 1: where curves from `startFrame` to `endFrame` are.
std::vector<std::byte> recordAt(const Module& module, const Effect& effect, std::span<const std::byte> base,
                                const Curves& curves, std::int64_t frame, double progress = 0);

/// The curves of a ramp between two records, over frames or over all.
Curves rampCurves(const EffectInfo& info, std::span<const std::byte> from, std::span<const std::byte> to,
                  const std::optional<std::pair<std::int64_t, std::int64_t>>& frames);

/// Throws Error for keys of a transition at its ends that are not just one at either: others would need the length of
/// its overlaps.
void checkEnds(const EffectInfo& info, const Curve& curve);
/// Whether anything stands at `startFrame` or `endFrame`.
bool needsTotal(const Curves& curves);
/// Brings all to frames. Of keys that come to stand on one frame the first one stays.
void settle(Curves& curves, std::int64_t start, std::int64_t end, AVRational rate);
void settle(Span& span, AVRational rate);
/// Moves all frames, but not the ends.
void shift(Curves& curves, Span& span, std::int64_t frames);

/// Adds a key, or changes the value of the one that is there.
void setKey(Curves& curves, const tFieldInfo& field, std::int64_t frame, std::span<const std::byte> value);
/// Removes a key; a curve without keys goes, too.
void removeKey(Curves& curves, const tFieldInfo& field, std::int64_t frame);

} // namespace larkmoor
