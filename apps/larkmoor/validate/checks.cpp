#include "validate/checks.h"

#include <cmath>
#include <cstring>
#include <limits>

namespace larkmoor::validate {

namespace {

constexpr Check table[] = {
    {"map", 1, true, checkMap},
    {"exports", 1, true, checkExports},
    {"contract", 1, false, checkContract},
    {"frames", 1, false, checkFrames},
    {"nulls", 2, false, checkNulls},
    {"aggregation", 2, false, checkAggregation},
    {"records", 2, false, checkRecords},
    {"presets", 2, false, checkPresets},
    {"persistence", 2, false, checkPersistence},
    {"pages", 2, false, checkPages},
    {"layouts", 3, false, checkLayouts},
    {"guards", 3, false, checkGuards},
    {"determinism", 3, false, checkDeterminism},
    {"refusals", 3, false, checkRefusals},
    {"threads", 4, false, checkThreads},
    {"leaks", 4, false, checkLeaks},
    {"order", 4, false, checkOrder},
    {"timing", 5, false, checkTiming},
};

} // namespace

std::span<const Check> checks() {
    return table;
}

std::vector<std::byte> wildRecord(Context& context, std::vector<std::byte> record) {
    constexpr double infinite = std::numeric_limits<double>::infinity();
    constexpr double reals[] = {0,      -1,     2,        -0.0001,   1e300,
                                -1e300, 1e9,    infinite, -infinite, std::numeric_limits<double>::quiet_NaN(),
                                0.999,  1e-300, 16384};
    constexpr std::int32_t wholes[] = {0, -1, 1, 2, 7, 99, INT32_MIN, INT32_MAX, 0x10000, 255};
    const int share = 1 + context.below(4);
    for (std::size_t at = 0; at + 4 <= record.size(); at += 4) {
        if (context.below(share) != 0) continue;
        const double real = reals[context.below(std::size(reals))];
        const auto narrow = static_cast<float>(std::abs(real) > 3e38 ? std::copysign(INFINITY, real) : real);
        const std::int32_t whole = wholes[context.below(std::size(wholes))];
        const int form = context.below(4);
        if (form == 0 && at % 8 == 0 && at + 8 <= record.size())
            std::memcpy(record.data() + at, &real, 8);
        else if (form == 1)
            std::memcpy(record.data() + at, &whole, 4);
        else if (form == 2)
            std::memcpy(record.data() + at, &narrow, 4);
        else
            record[at + static_cast<std::size_t>(context.below(4))] = static_cast<std::byte>(context.random());
    }
    return record;
}

} // namespace larkmoor::validate
