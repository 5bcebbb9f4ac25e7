#include <fmt/format.h>

#include "film.h"
#include "progress.h"

namespace larkmoor {

namespace {

constexpr double usualDuration = 5; ///< seconds

} // namespace

void generate(const Module& module, const GenerateRequest& request) {
    const Recipe recipe{.head = planStep(module, request.generator), .effects = {}};
    const EffectInfo& info = *recipe.head->info;
    if (!recipe.generates())
        throw UsageError(fmt::format("{} makes no pictures of its own; `larkmoor {}` renders it", info.name,
                                     info.kind == EffectKind::Filter ? "render" : "join"));
    const std::string& path = request.output.path;
    const bool picture =
        !isRawPath(path) && isPictureContainer(containerFor(path)) && !av_filename_number_test(path.c_str());
    const double seconds = request.duration.value_or(picture ? 0 : usualDuration);
    const auto film = generatorFilm(request.width, request.height, request.rate, seconds, {});
    render(module, *film, recipe, request.output, watchTerminal());
    saveStates(module, *recipe.head, request.output.overwrite);
}

} // namespace larkmoor
