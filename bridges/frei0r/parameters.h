// An effect's fields as frei0r parameters: numbers from 0 to 1, switches, colours and texts, in an order that stays.
// Behind them stand the numbers once more in the fields' own units, for people who type them and for hosts that show a
// number as it is, or cut it to six digits: of 30 degrees in 360 that leaves 29.99999.
#pragma once

#include <span>
#include <string>
#include <variant>
#include <vector>

extern "C" {
#include <frei0r.h>
}

#include "host/module.h"

namespace larkmoor::frei0r {

/// What a parameter moves.
enum class Role {
    Progress,  ///< of a transition, 0 to 1
    Preset,    ///< 0: the fields are in force; else the preset of that number, counted from 1
    Field,     ///< a field of the record, or some elements of one
    StartTime, ///< of the first frame, in hours
    FrameRate, ///< frames a second
    TimeUnit,  ///< of the host's time
    OwnUnit,   ///< the same as another parameter, from `minimum` to `maximum`
};

/// A value in frei0r's terms: numbers and switches as 0 to 1, but those of `Role::OwnUnit` as they are.
using Value = std::variant<double, f0r_param_color_t, std::string>;

struct Parameter {
    Role role{};
    int type = F0R_PARAM_DOUBLE;
    std::string name;        ///< without blanks: "horizontalRange"
    std::string title;       ///< for people: "Horizontal range"
    std::string help;        ///< one sentence
    std::string explanation; ///< the help with range, unit, choices and default
    std::string unit;
    double minimum = 0, maximum = 1; ///< what 0 and 1 stand for
    bool whole = false;
    std::vector<std::string> choices; ///< texts; number k of n stands at k / (n - 1)
    Value initial;                    ///< the default
    const tFieldInfo* field = nullptr;
    std::size_t element = 0, count = 1; ///< of the field, in the order in which people give them
    std::size_t twin = 0;               ///< of one in its own unit: the index of the other

    double lowest() const { return role == Role::OwnUnit ? minimum : 0; }
    double highest() const { return role == Role::OwnUnit ? maximum : 1; }
    /// What a number from 0 to 1 stands for; outside of that, the nearer end.
    double real(double number) const;
    /// The number from 0 to 1 that stands for `value`, or for the nearest one there is.
    double normal(double value) const;
    /// The choice that a number stands for.
    std::size_t choice(double number) const;
};

/// Progress first, then the preset, the text, the fields that animate, the other fields, the parameters of time,
/// numbers in their own unit.
std::vector<Parameter> parametersOf(const EffectInfo& info);

/// The record that values stand for (see `recordOfParts`); a preset in force gives its own.
/// @param values one for each parameter; those of `Role::OwnUnit` do not count.
std::vector<std::byte> recordOf(const EffectInfo& info, std::span<const Parameter> parameters,
                                std::span<const Value> values);

/// What the values tell of time.
struct Timing {
    double start = 0; ///< seconds
    double rate = 25; ///< frames a second
    enum class Unit { Automatic, Seconds, Milliseconds } unit = Unit::Automatic;
};
Timing timingOf(std::span<const Parameter> parameters, std::span<const Value> values);

bool sameValue(const Value& a, const Value& b);

} // namespace larkmoor::frei0r
