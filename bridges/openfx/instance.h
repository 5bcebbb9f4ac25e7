// One effect in a host's project.
#pragma once

#include <mutex>
#include <optional>
#include <string>

#include "band_tasks.h"
#include "catalog.h"
#include "picture.h"

namespace larkmoor::openfx {

/// What a host asks to be rendered.
struct Request {
    double time = 0; ///< in frames
    Area window;
    double scaleX = 1, scaleY = 1;
};

/// Calls from several threads wait for each other.
class Instance {
  public:
    /// Takes the handles of clips and parameters. Throws Error.
    Instance(const Suites& suites, const Catalog& catalog, const Plugin& plugin, EffectHandle handle);

    /// Answers as soon as it can where the host gives the frame up, with nothing written. The user is told what keeps a
    /// frame from being made, until the next one is.
    Status render(const Request& request);

    /// The input whose pictures are the effect's at that moment, or null.
    const char* identity(double time);

    /// Puts the values of a chosen preset into the parameters, where the user has chosen one.
    void takePreset(double time);

  private:
    struct Input {
        ClipHandle clip = nullptr;
        PropertySet properties = nullptr;
    };
    struct Settings {
        std::vector<Value> values;
        double progress = 0;
    };
    Settings settingsAt(double time) const;
    std::vector<std::byte> recordAt(const Settings& settings) const;
    double startTime(const Settings& settings) const;
    double frameRate() const;
    Area frameOf(const HostPicture& out, const Request& request) const;
    void draw(const Request& request);
    void complain(const char* sentence);
    void withdraw();
    void apply(std::vector<std::byte> record);
    bool limitsLevels() const;
    bool isIdentity(std::span<const std::byte> record) const;
    tSurfaceInfo infoOf(const HostPicture& out, const Settings& settings, double time) const;
    void make(std::span<const Surface> inputs, const Surface& output);
    void makeInBytes(std::span<const Surface> inputs, const Surface& output);
    Surface& sized(Surface& memory, PixelFormat format, const Area& frame) const;

    const Suites m_suites;
    const Plugin& m_plugin;
    const EffectHandle m_handle;
    ParamSet m_paramSet = nullptr;
    std::vector<ParamHandle> m_params; ///< one for each parameter; null for what the context does not have
    std::vector<Input> m_inputs;
    Input m_output;
    std::mutex m_lock;
    Effect m_effect;
    CComPtr<BandTasks> m_tasks;
    std::vector<std::byte> m_record; ///< as the effect has it
    std::string m_complaint;         ///< what the user was told last; empty once it holds no more
    Surface m_pictures[2], m_made;
    Surface m_bytes[3]; ///< for effects that are not sound in floats
};

} // namespace larkmoor::openfx
