// The effects of one command, in order, and their animation.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "host/module.h"
#include "keys.h"
#include "media/av.h"
#include "record.h"

namespace larkmoor {

/// One effect with the options that followed it on the command line.
struct EffectRequest {
    enum class Kind { Preset, Set, Ramp, Key, From, To, LoadState, SaveState, SavePreset };
    std::string name;
    bool over = false;                                 ///< a generator whose picture is laid over what came before it
    std::vector<std::pair<Kind, std::string>> options; ///< as given, in order
    Values values = Values::Checked;
};

/// One effect with everything about it settled.
struct Step {
    const EffectInfo* info = nullptr;
    std::vector<std::byte> record;
    Curves curves = {};
    Span span = {};
    std::vector<std::string> saveTo;  ///< files for the persisted form
    std::vector<std::string> presets; ///< names to save it under
    bool over = false;                ///< as in the request
    bool ownLevels = false;           ///< the user has told the effect what the levels are
};

/// What makes pictures: perhaps a generator or a transition, then filters and generators to be laid over.
struct Recipe {
    std::optional<Step> head;
    std::vector<Step> effects;

    bool generates() const { return head && head->info->kind == EffectKind::Generator; }
    bool joins() const { return head && head->info->kind == EffectKind::Transition; }
};

/// The effects that float pictures go through at 8 bits, by name, each once.
std::vector<std::string> effectsInBytes(const Recipe& recipe);

/// Whether an effect holds levels to those that can be broadcast: what lies beyond full scale may not pass it by.
bool limitsLevels(const Step& step);

/// Where a picture stands in the output.
struct Moment {
    std::int64_t index = 0; ///< of the frame, from 0
    double progress = 0;    ///< of a transition, 0 to 1
};

/// What the host library says of a wrong name or value is a mistake of the command line here.
template <class Action>
auto asUsage(Action action) {
    try {
        return action();
    } catch (const StatusError&) {
        throw;
    } catch (const UsageError&) {
        throw;
    } catch (const Error& error) {
        throw UsageError(error.what());
    }
}

/// Presets, fields and states in the order given, keys last. Throws UsageError for names and values that do not fit.
Step planStep(const Module& module, const EffectRequest& request);

/// Writes what `--save-state` and `--save-preset` asked for.
void saveStates(const Module& module, const Step& step, bool overwrite);
/// Throws where that could not be written, before there is any work.
void checkSaves(const Step& step, bool overwrite);

/// Brings keys at the output's ends and at times to their frames. Throws UsageError where one stands at an end and the
/// output's length is not known.
/// @param name of what is rendered, for the sentence.
void settleKeys(Recipe& recipe, std::optional<std::int64_t> total, AVRational rate, const std::string& name);
/// Whether that needs the output's length.
bool needsTotal(const Recipe& recipe);

/// Effect objects for one frame in flight.
class Chain {
  public:
    /// @param processors for one frame's work; one where frames run in parallel.
    Chain(const Module& module, const Recipe& recipe, unsigned processors = 1);

    /// Whether any of the recipe's filters and generators laid over works at a frame.
    bool worksAt(std::int64_t index) const;
    /// Whether one of those holds levels to those that can be broadcast.
    bool limitsAt(std::int64_t index) const;

    /// Takes over other settings; objects are made anew only where the effects themselves are others.
    void update(const Module& module, const Recipe& recipe);

    /// Runs the recipe. `output` has the form and size of the inputs, and is not their memory. In floats, effects that
    /// are not sound there get the picture at 8 bits; pixels that they leave as they are keep their floats.
    /// @param first the picture to start from; empty for a generator's own.
    /// @param second the other picture of a transition; empty where there is none at this moment.
    /// @param output a generator alone draws straight colour into an 8-bit output of that form; all else premultiplied.
    /// @return false, with nothing written, when there was nothing to do: the picture is `first`.
    bool run(const Surface& first, const Surface& second, Surface output, const Moment& moment);

  private:
    struct Link {
        Step step;
        Effect effect;
        Surface drawn = {};                 ///< the picture of a generator that is laid over; kept while it is the same
        std::vector<std::byte> placed = {}; ///< the record of the frame that was made last, where there are keys
    };
    Link makeLink(const Module& module, const Step& step) const;
    static void change(Link& link, const Step& step);
    bool place(Link& link, const Moment& moment) const;
    void layOver(Link& link, const Surface& from, const Surface& to, const Moment& moment) const;
    void generate(Link& link, const Surface& output, const Moment& moment) const;
    void join(Link& link, const Surface& from, const Surface& to, Surface output, const Moment& moment);
    void filter(const Surface& input, Surface output, const Moment& moment);
    void filterBytes(std::span<Link* const> links, const Surface& input, Surface output, const Moment& moment);

    Module m_module;
    unsigned m_processors;
    std::optional<Link> m_head;
    std::vector<Link> m_links;
    Surface m_base, m_between[2];
    Surface m_bytes[3]; ///< for effects that are not sound in floats
};

} // namespace larkmoor
