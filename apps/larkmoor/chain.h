// The effects of one command, in order, and their animation.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "host/module.h"

namespace larkmoor {

/// One effect with the options that followed it on the command line.
struct EffectRequest {
    enum class Kind { Preset, Set, Ramp, LoadState, SaveState };
    std::string name;
    bool over = false;                                 ///< a generator whose picture is laid over what came before it
    std::vector<std::pair<Kind, std::string>> options; ///< as given, in order
};

/// One effect with everything about it settled.
struct Step {
    const EffectInfo* info = nullptr;
    std::vector<std::byte> record;
    std::optional<std::pair<std::vector<std::byte>, std::vector<std::byte>>> ramp; ///< records at both ends
    std::vector<std::string> saveTo;                                               ///< files for the persisted form
    bool over = false;                                                             ///< as in the request
};

/// Presets, fields and states in the order given, ramps last. Throws UsageError for names and values that do not fit.
Step planStep(const Module& module, const EffectRequest& request);

/// Writes the files that `--save-state` asked for.
void saveStates(const Module& module, const Step& step, bool overwrite);

/// Effect objects for one frame in flight.
class Chain {
  public:
    Chain(const Module& module, std::span<const Step> steps);

    bool empty() const { return m_links.empty(); }

    /// Runs filters and generators to be laid over, one after the other; at least one. `output` has the form and size
    /// of `input`, and is not its memory.
    /// @param position of the ramps, 0 to 1.
    void filter(const Surface& input, Surface output, double position);

    /// Runs the one transition. `output` is cleared first.
    void join(const Surface& from, const Surface& to, Surface output, double progress);

    /// Runs the one generator into a straight 8-bit surface.
    void generate(const Surface& output, double position);

  private:
    /// An effect, and whether it changes from frame to frame.
    struct Link {
        Effect effect;
        bool ramped = false, over = false;
        Surface drawn = {}; ///< the picture of a generator that is laid over; kept as long as it does not change
    };
    static void place(Link& link, double position);
    static void layOver(Link& link, const Surface& from, const Surface& to, double position);

    std::vector<Link> m_links;
    Surface m_between[2];
};

} // namespace larkmoor
