// Projects through the command's own pipeline.
#pragma once

#include "film.h"
#include "project.h"

namespace larkmoor {

/// The effects of a project that are on, and what makes its pictures.
Recipe recipeOf(const Project& project);

/// A step as a project has it.
ProjectEffect effectOf(const Step& step);

/// The source of a project.
std::unique_ptr<Film> filmOf(const Project& project, const OutputRequest& output);

/// Renders as the command does, to the same bytes. Throws as the command's verbs do.
Ended renderProject(const Module& module, const Project& project, const OutputRequest& output, const Watch& watch = {});

} // namespace larkmoor
