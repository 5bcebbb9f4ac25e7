#include <fmt/format.h>

#include "film.h"
#include "progress.h"

namespace larkmoor {

void join(const Module& module, const JoinRequest& request) {
    const Recipe recipe{.head = planStep(module, request.transition), .effects = {}};
    if (!recipe.joins())
        throw UsageError(fmt::format("{} is no transition; `larkmoor list` names them", recipe.head->info->name));
    const auto film = joinFilm(request.first, {}, request.second, request.duration, {}, request.output);
    render(module, *film, recipe, request.output, watchTerminal());
    saveStates(module, *recipe.head, request.output.overwrite);
}

} // namespace larkmoor
