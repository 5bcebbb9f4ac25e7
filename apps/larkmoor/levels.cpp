#include "levels.h"

#include <algorithm>

#include <fmt/format.h>

namespace larkmoor {

namespace {

constexpr const char* levelsName = "studioRGB";

/// Whether the pictures say what an effect's levels are: neither its record nor keys do.
bool goesByPictures(const Step& step) {
    const tFieldInfo* const field = levelsField(*step.info);
    return field && !step.ownLevels && !findCurve(step.curves, *field);
}

/// The record has the pictures' levels under keys, too, since files leave them out of it.
template <class Effect>
void settle(Effect& effect, bool studio) {
    const tFieldInfo* const field = levelsField(*effect.info);
    if (field && !effect.ownLevels) setFieldText(*field, effect.record, studio ? "on" : "off");
}

bool hasStudioLevels(const Recipe& recipe) {
    return recipe.generates() && hasStudioLevels(recipe.head->info, recipe.head->record);
}

} // namespace

bool hasStudioLevels(const EffectInfo* generator, std::span<const std::byte> record) {
    if (!generator || generator->className != "DXSTestp") return false;
    const std::string type = fieldText(generator->field("type"), record);
    return type != "Gradient" && type != "Ramp"; // which run through all values
}

const tFieldInfo* levelsField(const EffectInfo& info) {
    const auto field = std::ranges::find(info.fields, std::string_view(levelsName),
                                         [](const tFieldInfo& each) { return std::string_view(each.name); });
    return field == info.fields.end() ? nullptr : &*field;
}

void settleLevels(Recipe& recipe) {
    const bool studio = hasStudioLevels(recipe);
    for (Step& step : recipe.effects) settle(step, studio);
}

void settleLevels(Project& project) {
    const auto* const made = std::get_if<ProjectGenerator>(&project.source);
    const bool studio = made && hasStudioLevels(made->generator.info, made->generator.record);
    for (ProjectEffect& effect : project.effects) settle(effect, studio);
}

std::vector<std::string> levelNotes(const Recipe& recipe) {
    const bool studio = hasStudioLevels(recipe);
    std::vector<std::string> notes;
    for (const Step& step : recipe.effects) {
        if (goesByPictures(step))
            notes.push_back(
                fmt::format("{} takes black and white for {}, as the pictures have them; {}={} says otherwise",
                            step.info->name, studio ? "16 and 235" : "0 and 255", levelsName, studio ? "off" : "on"));
        else if (step.info->className == "DXTGamut" && !studio && limitsLevels(step))
            notes.push_back(fmt::format("{} always takes black and white for 16 and 235, but the pictures have 0 and "
                                        "255; Broadcast Colors goes by either",
                                        step.info->name));
    }
    return notes;
}

} // namespace larkmoor
