// What black and white of a picture are, for effects that go by it.
#pragma once

#include <span>
#include <string>
#include <vector>

#include "chain.h"
#include "project.h"

namespace larkmoor {

/// Whether black and white are 16 and 235 where effects see the pictures, not 0 and 255. Clips are brought to the full
/// range as they are read; of the generators, most of the Test Pattern's pictures are drawn at levels of the studio.
/// @param generator that the pictures come from; null for a clip.
bool hasStudioLevels(const EffectInfo* generator, std::span<const std::byte> record);

/// The field by which an effect is told what the levels are; null for an effect that has none.
const tFieldInfo* levelsField(const EffectInfo& info);

/// Tells each effect whose levels are not the user's own what they are. Both pipelines and the studio's page go by it.
void settleLevels(Recipe& recipe);
void settleLevels(Project& project);

/// A sentence for each effect of a settled recipe about the levels that it goes by.
std::vector<std::string> levelNotes(const Recipe& recipe);

} // namespace larkmoor
