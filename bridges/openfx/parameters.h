// An effect's fields as OpenFX parameters, in their own units and ranges.
#pragma once

#include <array>
#include <span>
#include <string>
#include <vector>

#include "host/module.h"
#include "suites.h"

namespace larkmoor::openfx {

enum class Role {
    Progress,  ///< of a transition, where the host has no parameter of its own for that
    Preset,    ///< 0: the fields are in force; else the preset of that number, counted from 1
    Field,     ///< a field of the record, or one element of one
    StartTime, ///< of frame 0, in hours
};

enum class Kind { Double, Integer, Boolean, Choice, Rgb, Rgba, Point, Text, Line };

/// Numbers, or the text.
struct Value {
    std::array<double, 4> numbers{};
    std::string text;

    friend bool operator==(const Value&, const Value&) = default;
};

struct Parameter {
    Role role{};
    Kind kind{};
    std::string name; ///< letters, digits and underscores
    std::string label;
    std::string hint;
    double minimum = 0, maximum = 1, step = 0;
    std::vector<std::string> choices; ///< projects keep their numbers or their words: the order stays
    bool animates = true;
    Value initial;
    const tFieldInfo* field = nullptr;
    std::size_t element = 0; ///< of the field: the first of its numbers; of a font, 0 its face and 1 its size

    int dimension() const;
    /// What the host sends, within what the parameter takes; the default in place of what is no number.
    Value limited(Value value) const;
};

/// Name of the parameter that hosts with transitions of their own move.
inline constexpr const char* kTransition = "Transition";

/// Progress first, then the preset, the fields, the parameter of time.
std::vector<Parameter> parametersOf(const EffectInfo& info);

/// @param ownProgress false in the host's own context of transitions.
void define(const Suites& suites, ParamSet set, std::span<const Parameter> parameters, bool ownProgress);

/// The value at a frame; the default where the host has none.
Value valueAt(const Suites& suites, ParamHandle handle, const Parameter& parameter, double time);
void setValue(const Suites& suites, ParamHandle handle, const Parameter& parameter, const Value& value);

/// The record that values stand for (see `recordOfParts`); a preset in force gives its own.
/// @param values one for each parameter.
std::vector<std::byte> recordOf(const EffectInfo& info, std::span<const Parameter> parameters,
                                std::span<const Value> values);
/// The values that a record stands for, no preset in force.
std::vector<Value> valuesOf(std::span<const Parameter> parameters, std::span<const std::byte> record);

/// Multiplies what is measured in pixels, for pictures smaller than those that the record was made for.
void scalePixels(const EffectInfo& info, std::vector<std::byte>& record, double scale);

} // namespace larkmoor::openfx
