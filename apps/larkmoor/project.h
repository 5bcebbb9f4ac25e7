// A piece of work as a value and as a readable file: a source, effects on it, a range.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "host/module.h"
#include "keys.h"
#include "media/av.h"
#include "record.h"

namespace larkmoor {

struct ProjectEffect {
    const EffectInfo* info = nullptr;
    bool on = true;
    bool over = false;      ///< a generator whose picture is laid over what came before it
    bool ownLevels = false; ///< the record says what the pictures' levels are; else the pictures do
    std::vector<std::byte> record;
    Curves curves; ///< of frames of the output
    Span span;     ///< of a filter or a generator that is laid over
};

/// A clip, a picture or a numbered sequence.
struct ProjectClip {
    std::string path;               ///< absolute once loaded
    std::optional<AVRational> rate; ///< frames a second of a numbered sequence; 25 without it
};

struct ProjectGenerator {
    ProjectEffect generator;
    int width = 1920, height = 1080;
    AVRational rate{25, 1};
    double duration = 5; ///< seconds
};

/// What comes after the clip.
struct ProjectSecond {
    std::string path;
    ProjectEffect transition;
    double duration = 1; ///< of the overlap, in seconds
};

/// The pictures are the clip's, those that a transition makes of two clips, or a generator's; `in` and `out` cut them,
/// and the effects that are on follow in order.
struct Project {
    std::variant<ProjectClip, ProjectGenerator> source;
    std::optional<ProjectSecond> second; ///< with a clip only
    std::int64_t in = 0;                 ///< first frame, counted in the pictures before any cut
    std::optional<std::int64_t> out;     ///< the frame after the last; without it all are used
    std::vector<ProjectEffect> effects;
};

/// An effect with its default record.
ProjectEffect projectEffect(const EffectInfo& info);

/// Whether `path` is named as projects are.
bool isProject(const std::string& path);

/// The file's content. Records come back to the byte.
/// @param folder that the file is to stand in; paths below it are told from there, others whole.
/// Throws Error with a sentence that begins with the place, such as "effects[2].fields.amount: ...".
std::string projectText(const Project& project, const std::filesystem::path& folder);
/// Values beyond what a page takes are a UsageError.
Project parseProject(const Module& module, const std::string& text, const std::filesystem::path& folder,
                     Values values = Values::Checked);

/// Effects by themselves, to be carried from one project to another, and back. Throws Error where the text has none.
std::string effectsText(const std::vector<ProjectEffect>& effects);
std::vector<ProjectEffect> parseEffects(const Module& module, const std::string& text);

Project loadProject(const Module& module, const std::string& path, Values values = Values::Checked);
/// The file appears whole or not at all.
void saveProject(const Project& project, const std::string& path, bool overwrite);

} // namespace larkmoor
