#include "render_project.h"

namespace larkmoor {

namespace {

Step stepOf(const ProjectEffect& effect) {
    return {.info = effect.info,
            .record = effect.record,
            .curves = effect.curves,
            .span = effect.span,
            .over = effect.over,
            .ownLevels = effect.ownLevels};
}

} // namespace

ProjectEffect effectOf(const Step& step) {
    return {.info = step.info,
            .over = step.over,
            .ownLevels = step.ownLevels,
            .record = step.record,
            .curves = step.curves,
            .span = step.span};
}

std::unique_ptr<Film> filmOf(const Project& project, const OutputRequest& output) {
    const Range range{project.in, project.out};
    if (const auto* made = std::get_if<ProjectGenerator>(&project.source))
        return generatorFilm(made->width, made->height, made->rate, made->duration, range);
    const auto& clip = std::get<ProjectClip>(project.source);
    if (project.second)
        return joinFilm({clip.path, project.second->path}, clip.rate, project.second->duration, range, output);
    return clipFilm({.path = clip.path, .over = {}, .rate = clip.rate, .range = range}, output);
}

Recipe recipeOf(const Project& project) {
    Recipe recipe;
    if (const auto* made = std::get_if<ProjectGenerator>(&project.source))
        recipe.head = stepOf(made->generator);
    else if (project.second)
        recipe.head = stepOf(project.second->transition);
    for (const ProjectEffect& effect : project.effects)
        if (effect.on) recipe.effects.push_back(stepOf(effect));
    return recipe;
}

Ended renderProject(const Module& module, const Project& project, const OutputRequest& output, const Watch& watch) {
    const auto film = filmOf(project, output);
    return render(module, *film, recipeOf(project), output, watch);
}

} // namespace larkmoor
