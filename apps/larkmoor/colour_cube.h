// What effects do to each colour, as a table of three dimensions.
#pragma once

#include <array>
#include <string>
#include <vector>

#include "chain.h"

namespace larkmoor {

struct ColourCube {
    int size = 0;
    std::vector<std::array<float, 3>> colours; ///< red, green, blue, 1 for full scale; the place of red runs fastest
};

/// Throws UsageError that names an effect of the chain whose work is no table: it follows a pixel's place, its
/// neighbours, the whole picture or time, or makes pictures transparent.
void checkTonal(const Module& module, const std::vector<Step>& effects);

/// In floats, as far as all effects are sound there. Else, between whole levels of 8 bits, the effects' answers to the
/// nearest ones are mixed.
ColourCube colourCube(const Module& module, const std::vector<Step>& effects, int size);

/// The file that editors load.
std::string cubeText(const ColourCube& cube, const std::string& title);

} // namespace larkmoor
