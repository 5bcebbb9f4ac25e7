// Presets of the user's own, one store for all programs: a readable file each.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "record.h"

namespace larkmoor {

/// A folder for each class, in it "NAME.json". Older studios wrote "NAME.state", an effect's persisted form, which is
/// read as well.
class PresetStore {
  public:
    /// @param folder instead of the user's own.
    explicit PresetStore(std::filesystem::path folder = {});

    /// In order, without regard to case.
    std::vector<std::string> names(const EffectInfo& info) const;
    /// The name as it is in the store, compared as names of fields are; empty for none.
    std::string find(const EffectInfo& info, const std::string& name) const;
    /// Throws Error for what is no preset of the effect.
    std::vector<std::byte> load(const Module& module, const EffectInfo& info, const std::string& name,
                                Values values) const;
    /// Throws Error for names that cannot be files or are one of the effect's own, and where writing fails.
    void save(const EffectInfo& info, const std::string& name, const std::vector<std::byte>& record,
              bool overwrite) const;
    /// Throws what `save` would before it writes.
    void checkName(const EffectInfo& info, const std::string& name, bool overwrite) const;
    void remove(const EffectInfo& info, const std::string& name) const;
    /// The file that a preset is in, or would be.
    std::filesystem::path file(const EffectInfo& info, const std::string& name) const;

  private:
    std::vector<std::filesystem::path> m_folders; ///< the first one is written to
};

/// What a name given by the user means: one of the effect's presets, by name or number, or one of the user's. Throws
/// Error that names the nearest right ones.
std::vector<std::byte> presetRecord(const Module& module, const EffectInfo& info, const std::string& name,
                                    Values values);

} // namespace larkmoor
