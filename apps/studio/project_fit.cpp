#include "project_fit.h"

#include <algorithm>

namespace larkmoor {

namespace {

void fitRamp(ProjectEffect& effect) {
    if (!effect.ramp || !effect.ramp->frames) return;
    auto& [from, to] = *effect.ramp->frames; // of the output, which begins at 0
    from = std::max<std::int64_t>(from, 0);
    to = std::max(from, to);
}

} // namespace

void fitToPictures(Project& project, const PictureFacts& facts) {
    if (project.second) {
        project.second->duration = facts.duration;
        fitRamp(project.second->transition);
    }
    if (auto* const made = std::get_if<ProjectGenerator>(&project.source)) fitRamp(made->generator);
    for (ProjectEffect& effect : project.effects) fitRamp(effect);
    if (facts.frames < 1) return;
    project.in = std::clamp<std::int64_t>(project.in, 0, facts.frames - 1);
    if (project.out) project.out = std::max(*project.out, project.in + 1);
    if (project.out && *project.out >= facts.frames) project.out.reset();
}

} // namespace larkmoor
