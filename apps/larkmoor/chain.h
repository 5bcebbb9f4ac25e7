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
    std::vector<std::pair<Kind, std::string>> options; ///< as given, in order
};

/// One effect with everything about it settled.
struct Step {
    const EffectInfo* info = nullptr;
    std::vector<std::byte> record;
    std::optional<std::pair<std::vector<std::byte>, std::vector<std::byte>>> ramp; ///< records at both ends
    std::vector<std::string> saveTo;                                               ///< files for the persisted form
};

/// Presets, fields and states in the order given, ramps last. Throws UsageError for names and values that do not fit.
Step planStep(const Module& module, const EffectRequest& request);

/// Writes the files that `--save-state` asked for.
void saveStates(const Module& module, const Step& step, bool overwrite);

/// Effect objects for one frame in flight.
class Chain {
  public:
    Chain(const Module& module, std::span<const Step> steps);

    bool empty() const { return m_effects.empty(); }

    /// Runs filters one after the other. `output` has the form and size of `input` and is cleared first.
    /// @param position of the ramps, 0 to 1.
    void filter(const Surface& input, Surface output, double position);

    /// Runs the one transition. `output` is cleared first.
    void join(const Surface& from, const Surface& to, Surface output, double progress);

    /// Runs the one generator into a straight 8-bit surface.
    void generate(const Surface& output, double position);

  private:
    void place(std::size_t effect, double position);

    std::vector<Effect> m_effects;
    std::vector<bool> m_ramped;
    Surface m_between[2];
};

} // namespace larkmoor
