// What all targets of the module stand on: its effects, found through the object map, and records made from their field
// tables or from any bytes.
#pragma once

#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

#include <fuzzer/FuzzedDataProvider.h>

#include "validate/subject.h"

namespace larkmoor::fuzz {

using validate::ForeignModule;
using validate::Picture;
using validate::Row;
using validate::Subject;
using Bytes = std::vector<std::byte>;

/// The one linked into the program.
inline const ForeignModule& module() {
    static const ForeignModule own("");
    return own;
}

/// Every effect and generator.
inline const std::vector<Row>& effects() {
    static const std::vector<Row> all = [] {
        std::vector<Row> rows = module().rows();
        std::erase_if(rows, [](const Row& row) { return !row.isEffect(); });
        return rows;
    }();
    return all;
}

inline const Row& pickEffect(FuzzedDataProvider& in) {
    return effects()[in.ConsumeIntegralInRange<std::size_t>(0, effects().size() - 1)];
}

/// Ends the program where what must hold does not.
inline void require(bool holds) {
    if (!holds) __builtin_trap();
}

/// A number of `low` to `high`, or, now and then, any at all.
inline double number(FuzzedDataProvider& in, double low, double high) {
    switch (in.ConsumeIntegral<std::uint8_t>()) {
    case 0:
        return std::numeric_limits<double>::quiet_NaN();
    case 1:
        return std::numeric_limits<double>::infinity();
    case 2:
        return -std::numeric_limits<double>::infinity();
    case 3: {
        const auto bits = in.ConsumeIntegral<std::uint64_t>();
        double any;
        std::memcpy(&any, &bits, sizeof any);
        return any;
    }
    case 4:
        return low;
    case 5:
        return high;
    default:
        return low + (high - low) * in.ConsumeIntegral<std::uint16_t>() / 65535.0;
    }
}

inline LONG whole(double value) {
    return value >= -2147483648.0 && value <= 2147483647.0 ? static_cast<LONG>(value) : INT32_MIN;
}

/// The object's record with some fields set, each by its table.
inline Bytes recordByFields(const Subject& subject, FuzzedDataProvider& in) {
    Bytes record = subject.record();
    const auto told = subject.face<IKwParamInfo>();
    tFieldInfo field{};
    for (LONG i = 0; told->GetField(i, &field, sizeof field) == S_OK; ++i) {
        if (field.type == KWTYPE_BYTES || in.ConsumeIntegral<std::uint8_t>() & 1) continue;
        for (LONG k = 0; k < field.count; ++k) {
            const double value = number(in, field.minimum, field.maximum);
            const auto put = [&](auto stored) {
                const auto at = static_cast<std::size_t>(field.offset) + static_cast<std::size_t>(k) * sizeof stored;
                if (at + sizeof stored <= record.size()) std::memcpy(record.data() + at, &stored, sizeof stored);
            };
            if (field.type == KWTYPE_DOUBLE)
                put(value);
            else if (field.type == KWTYPE_FLOAT)
                put(std::abs(value) > 3e38 ? std::copysign(INFINITY, static_cast<float>(value > 0 ? 1 : -1))
                                           : static_cast<float>(value));
            else
                put(whole(value));
        }
    }
    return record;
}

inline Bytes bytes(FuzzedDataProvider& in, std::size_t most) {
    const auto taken = in.ConsumeBytes<std::uint8_t>(in.ConsumeIntegralInRange<std::size_t>(0, most));
    Bytes all(taken.size());
    if (!all.empty()) std::memcpy(all.data(), taken.data(), all.size());
    return all;
}

} // namespace larkmoor::fuzz
