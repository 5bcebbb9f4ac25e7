#include "frame/fields.h"

#include <cstring>

namespace {

template <class T>
T Linear(T from, T to, T position) {
    return from + (to - from) * position;
}

/// The shorter way around a circle of circumference 1. Half a turn apart, the way from the lower value goes down
/// through 0 and the way from the higher value up through 1.
template <class T>
T AroundCircle(T from, T to, T position) {
    T result;
    if (from <= to) {
        const T forward = to - from, backward = T{1} - to + from;
        result = forward < backward ? forward * position + from : from - (from + T{1} - to) * position;
    } else {
        const T backward = from - to, forward = T{1} - from + to;
        result = backward < forward ? from - backward * position : (to + T{1} - from) * position + from;
    }
    if (result > T{1}) return result - T{1};
    if (result < T{0}) return result + T{1};
    return result;
}

template <class T>
void RampElement(tFieldRamp ramp, const std::byte* from, const std::byte* to, double position, std::byte* out) {
    T a, b;
    std::memcpy(&a, from, sizeof a);
    std::memcpy(&b, to, sizeof b);
    const T p = static_cast<T>(position);
    const T result = ramp == KWRAMP_HUE ? AroundCircle(a, b, p) : Linear(a, b, p);
    std::memcpy(out, &result, sizeof result);
}

} // namespace

void KwInterpolateRecord(std::span<const tFieldInfo> fields, const std::byte* from, const std::byte* to,
                         double position, std::byte* out, std::size_t size) {
    std::memcpy(out, from, size);
    for (const tFieldInfo& field : fields) {
        if (field.ramp == KWRAMP_START) continue;
        const std::size_t elementSize = field.type == KWTYPE_DOUBLE ? sizeof(double) : sizeof(float);
        for (LONG i = 0; i < field.count; ++i) {
            const std::size_t at = static_cast<std::size_t>(field.offset) + static_cast<std::size_t>(i) * elementSize;
            if (field.type == KWTYPE_DOUBLE)
                RampElement<double>(field.ramp, from + at, to + at, position, out + at);
            else if (field.type == KWTYPE_FLOAT)
                RampElement<float>(field.ramp, from + at, to + at, position, out + at);
        }
    }
}
