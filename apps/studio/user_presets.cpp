#include "user_presets.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QStandardPaths>

#include "host/error.h"

namespace larkmoor {

namespace {

const QString kSuffix = QStringLiteral(".state");

} // namespace

UserPresets::UserPresets(const QString& folder)
    : m_folder(folder.isEmpty()
                   ? QStandardPaths::writableLocation(QStandardPaths::AppDataLocation) + QStringLiteral("/presets")
                   : folder) {}

QString UserPresets::path(const EffectInfo& info, const QString& name) const {
    if (name.trimmed().isEmpty() || name.startsWith('.') || name.contains('/') || name.contains(QChar('\0')))
        throw Error("A preset's name is also that of its file: it has no \"/\", and no \".\" at its beginning.");
    return m_folder + '/' + QString::fromStdString(info.className) + '/' + name + kSuffix;
}

QStringList UserPresets::names(const EffectInfo& info) const {
    const QDir folder(m_folder + '/' + QString::fromStdString(info.className));
    QStringList names = folder.entryList({'*' + kSuffix}, QDir::Files, QDir::Name | QDir::IgnoreCase);
    for (QString& name : names) name.chop(kSuffix.size());
    return names;
}

std::vector<std::byte> UserPresets::load(const EffectInfo& info, const QString& name) const {
    return readFile(path(info, name));
}

void UserPresets::save(const EffectInfo& info, const QString& name, std::span<const std::byte> state) const {
    const QString file = path(info, name);
    if (!QFileInfo(file).dir().mkpath(QStringLiteral(".")))
        throw Error("The folder " + QFileInfo(file).path().toStdString() + " cannot be made.");
    writeFile(file, state);
}

void UserPresets::remove(const EffectInfo& info, const QString& name) const {
    QFile file(path(info, name));
    if (!file.remove()) throw Error("The preset cannot be removed: " + file.errorString().toStdString() + ".");
}

std::vector<std::byte> UserPresets::readFile(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        throw Error(path.toStdString() + " cannot be read: " + file.errorString().toStdString() + ".");
    const QByteArray bytes = file.readAll();
    const auto* const first = reinterpret_cast<const std::byte*>(bytes.constData());
    return {first, first + bytes.size()};
}

void UserPresets::writeFile(const QString& path, std::span<const std::byte> state) {
    QSaveFile file(path);
    const auto size = static_cast<qint64>(state.size());
    if (!file.open(QIODevice::WriteOnly) || file.write(reinterpret_cast<const char*>(state.data()), size) != size ||
        !file.commit())
        throw Error(path.toStdString() + " cannot be written: " + file.errorString().toStdString() + ".");
}

} // namespace larkmoor
