// Options that several verbs have.
#pragma once

#include <map>

#include <CLI/CLI.hpp>

#include "chain.h"
#include "film.h"
#include "requests.h"

namespace larkmoor {

/// The options of effects as they stand on the command line, where their order counts.
class EffectOptions {
  public:
    /// @param chain options that start an effect are wanted; otherwise the verb has one effect only.
    void add(CLI::App& app, bool chain);

    /// @param first the effect that options belong to before any opener; null when there is none.
    std::vector<EffectRequest> collect(const CLI::App& app, const EffectRequest* first = nullptr) const;

    Values values() const { return m_unchecked ? Values::Unchecked : Values::Checked; }

  private:
    CLI::Option* option(CLI::App& app, const std::string& name, const std::string& help, const std::string& type);

    CLI::Option* m_effect = nullptr;
    CLI::Option* m_over = nullptr;
    std::map<const CLI::Option*, EffectRequest::Kind> m_kinds;
    std::vector<std::string> m_texts;
    bool m_unchecked = false;
};

/// The steps of a chain. Throws UsageError for effects that have no place in one.
std::vector<Step> planSteps(const Module& module, const std::vector<EffectRequest>& effects);

/// What is read of a clip.
class ClipOptions {
  public:
    void add(CLI::App& app);
    /// @param path of the clip.
    ClipRequest request(const std::string& path) const;
    /// Throws UsageError where one of them was given for a project, which says it all.
    void refuseFor(const CLI::App& app, const std::string& project) const;

  private:
    std::string m_over, m_rate, m_start, m_end;
    std::int64_t m_frames = 0;
};

/// The options of an output as texts.
class OutputOptions {
  public:
    /// @param reads there are clips that go in.
    void add(CLI::App& app, bool reads);
    /// What tells how the film is encoded, and nothing else.
    void addEncoding(CLI::App& app);
    void addReading(CLI::App& app);
    OutputRequest request() const;

  private:
    std::string m_path, m_codec, m_raw, m_pixelFormat, m_bitRate, m_soundCodec;
    std::vector<std::string> m_settings;
    double m_quality = -1;
    std::string m_framesOf, m_chunk;
    std::int64_t m_chunkFrames = 0;
    int m_threads = 0, m_soundStream = 0;
    bool m_overwrite = false, m_strict = false, m_asStored = false, m_noSound = false;
};

} // namespace larkmoor
