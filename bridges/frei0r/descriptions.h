// Descriptions of the plug-ins for hosts that read more than the plug-ins themselves tell.
#pragma once

#include <span>
#include <string>
#include <vector>

#include "catalog.h"

namespace larkmoor::frei0r {

/// A file and where it belongs below the folder of shared data.
struct Description {
    std::string path; ///< "kdenlive/effects/larkmoor_gaussian_blur.xml"
    std::string text;
};

/// Kdenlive's description: sliders in the field's unit, lists with words. An effect, transition or generator.
Description kdenliveOf(const Plugin& plugin);

/// The filters by families, for the file in which Kdenlive keeps the groups of its list.
Description kdenliveGroupsOf(std::span<const Plugin> plugins);

/// What Shotcut needs to offer a filter: its metadata and its controls, which stand on `larkmoor/Parameters.qml` beside
/// them. Nothing for a transition or generator, of which Shotcut has closed lists.
std::vector<Description> shotcutOf(const Plugin& plugin);

/// MLT's metadata.
Description mltOf(const Plugin& plugin);

/// A section of the reference of parameters, in Markdown.
std::string referenceOf(const Plugin& plugin);

} // namespace larkmoor::frei0r
