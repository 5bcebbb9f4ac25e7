#include "project_fit.h"

#include <algorithm>

namespace larkmoor {

void fitToPictures(Project& project, const PictureFacts& facts) {
    if (project.second) project.second->duration = facts.duration;
    if (facts.frames < 1) return;
    project.in = std::clamp<std::int64_t>(project.in, 0, facts.frames - 1);
    if (project.out) project.out = std::max(*project.out, project.in + 1);
    if (project.out && *project.out >= facts.frames) project.out.reset();
}

} // namespace larkmoor
