// Presets of the user's own: an effect's persisted state in a file, byte for byte.
#pragma once

#include <QString>
#include <QStringList>
#include <span>
#include <vector>

#include "host/module.h"

namespace larkmoor {

class UserPresets {
  public:
    /// @param folder that holds a folder for each class; empty for the user's own.
    explicit UserPresets(const QString& folder = {});

    QStringList names(const EffectInfo& info) const;
    /// Throws Error.
    std::vector<std::byte> load(const EffectInfo& info, const QString& name) const;
    /// An existing one is replaced. Throws Error for names that cannot be files, and where writing fails.
    void save(const EffectInfo& info, const QString& name, std::span<const std::byte> state) const;
    void remove(const EffectInfo& info, const QString& name) const;

    /// A state in a file of any place. Throw Error.
    static std::vector<std::byte> readFile(const QString& path);
    static void writeFile(const QString& path, std::span<const std::byte> state);

  private:
    QString path(const EffectInfo& info, const QString& name) const;
    QString m_folder;
};

} // namespace larkmoor
