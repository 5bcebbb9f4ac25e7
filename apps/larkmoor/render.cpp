#include <fmt/format.h>

#include "film.h"
#include "progress.h"

namespace larkmoor {

namespace {

std::vector<Step> planSteps(const Module& module, const RenderRequest& request) {
    std::vector<Step> steps;
    for (const EffectRequest& effect : request.effects) {
        steps.push_back(planStep(module, effect));
        const EffectInfo& info = *steps.back().info;
        if (effect.over) {
            if (info.kind != EffectKind::Generator)
                throw UsageError(fmt::format("{} makes no pictures of its own to lay over others", info.name));
            continue;
        }
        if (info.kind == EffectKind::Transition)
            throw UsageError(
                fmt::format("{} is a transition between two clips; `larkmoor join` renders it", info.name));
        if (info.kind == EffectKind::Generator)
            throw UsageError(
                fmt::format("{} makes pictures of its own; `larkmoor generate` renders it, and --over-effect lays "
                            "it over",
                            info.name));
    }
    return steps;
}

} // namespace

void render(const Module& module, const RenderRequest& request) {
    const Recipe recipe{.effects = planSteps(module, request)};
    Range range;
    if (request.frames >= 0) range.out = request.frames;
    const auto film = clipFilm({request.input, request.over, request.rate, request.start, range}, request.output);
    render(module, *film, recipe, request.output, watchTerminal());
    for (const Step& step : recipe.effects) saveStates(module, step, request.output.overwrite);
}

} // namespace larkmoor
