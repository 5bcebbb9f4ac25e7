#include "preset_store.h"

#include <algorithm>
#include <cstdlib>
#include <span>

#include <fmt/format.h>

#include "folder.h"
#include "json_node.h"
#include "output_file.h"

namespace larkmoor {

namespace fs = std::filesystem;

namespace {

constexpr int presetVersion = 1;
constexpr const char* presetKey = "larkmoor preset";
constexpr const char* jsonEnding = ".json";
constexpr const char* stateEnding = ".state";
constexpr std::size_t longestName = 200; ///< bytes

fs::path userData() {
    const char* const data = std::getenv("XDG_DATA_HOME");
    if (data && *data == '/') return data;
    const char* const home = std::getenv("HOME");
    if (home && *home == '/') return fs::path(home) / ".local/share";
    throw Error("there is no place for presets of your own: set HOME or XDG_DATA_HOME");
}

void checkFileName(const std::string& name) {
    const bool control = std::ranges::any_of(name, [](unsigned char c) { return c < 32 || c == 127; });
    if (trimmed(name).empty() || name.starts_with('.') || name.find('/') != name.npos || control ||
        name.size() > longestName)
        throw Error(
            fmt::format("{} cannot be the name of a preset: it is also that of its file, which has no \"/\", no "
                        "\".\" at its beginning and at most {} bytes",
                        inQuotes(name), longestName));
}

} // namespace

PresetStore::PresetStore(fs::path folder) {
    if (!folder.empty()) {
        m_folders = {std::move(folder)};
        return;
    }
    const fs::path data = userData() / "larkmoor";
    m_folders = {data / "presets", data / "larkmoor-studio" / "presets"};
}

std::vector<std::string> PresetStore::names(const EffectInfo& info) const {
    std::vector<std::string> names;
    for (const fs::path& folder : m_folders) {
        std::error_code error, ignored;
        for (const fs::path& path : entriesOf(folder / info.className, error)) {
            const bool known = path.extension() == jsonEnding || path.extension() == stateEnding;
            if (known && !path.filename().string().starts_with('.') && fs::is_regular_file(path, ignored))
                names.push_back(path.stem());
        }
    }
    const auto order = [](const std::string& name) { return std::pair(foldName(name), name); };
    std::ranges::sort(names, {}, order);
    names.erase(std::unique(names.begin(), names.end()), names.end());
    return names;
}

std::string PresetStore::find(const EffectInfo& info, const std::string& name) const {
    const std::vector<std::string> all = names(info);
    if (std::ranges::find(all, name) != all.end()) return name;
    const auto found = std::ranges::find_if(all, [&](const std::string& each) { return sameName(each, name); });
    return found == all.end() ? "" : *found;
}

fs::path PresetStore::file(const EffectInfo& info, const std::string& name) const {
    checkFileName(name);
    for (const fs::path& folder : m_folders)
        for (const char* ending : {jsonEnding, stateEnding}) {
            std::error_code ignored;
            const fs::path path = folder / info.className / (name + ending);
            if (fs::exists(path, ignored)) return path;
        }
    return m_folders.front() / info.className / (name + jsonEnding);
}

std::vector<std::byte> PresetStore::load(const Module& module, const EffectInfo& info, const std::string& name,
                                         Values values) const {
    const fs::path path = file(info, name);
    const std::string text = readText(path);
    return withPlace(path, [&] {
        if (path.extension() == stateEnding) {
            std::vector<std::byte> record = recordOfState(module, info, std::as_bytes(std::span(text)));
            if (values == Values::Checked) checkRecord(info, record);
            return record;
        }
        const Json json = parseJson(text);
        const Node top(json, "");
        if (!json.is_object() || !json.contains(presetKey))
            top.fail(fmt::format("the key \"{}\" is missing", presetKey));
        if (json[presetKey] != presetVersion)
            top.at(presetKey).fail(fmt::format("has to be {}; another version wrote this", presetVersion));
        top.object({presetKey, "effect", "fields", "record"});
        const Node effect = top.at("effect");
        const EffectInfo& is = effect.parsed([&](const std::string& t) { return std::cref(module.find(t)); });
        if (is.clsid != info.clsid) effect.fail(fmt::format("this is a preset of {}, not of {}", is.name, info.name));
        return takeRecord(top, info, info.defaults, values);
    });
}

void PresetStore::checkName(const EffectInfo& info, const std::string& name, bool overwrite) const {
    checkFileName(name);
    if (name.find_first_not_of("0123456789") == name.npos)
        throw Error(fmt::format("a preset cannot be named {}: numbers mean the effect's own presets", name));
    for (const PresetInfo& own : info.presets)
        if (sameName(own.name, name))
            throw Error(
                fmt::format("{} has a preset {} of its own; choose another name", info.name, inQuotes(own.name)));
    if (!overwrite && !find(info, name).empty())
        throw Error(fmt::format("there is a preset {} of {} already; -y overwrites it", inQuotes(name), info.name));
}

void PresetStore::save(const EffectInfo& info, const std::string& name, const std::vector<std::byte>& record,
                       bool overwrite) const {
    checkName(info, name, overwrite);
    Json json{{presetKey, presetVersion}, {"effect", info.className}};
    putRecord(json, info, info.defaults, record, true);
    const fs::path path = m_folders.front() / info.className / (name + jsonEnding);
    std::error_code error;
    fs::create_directories(path.parent_path(), error);
    if (error) throw Error(fmt::format("cannot make the folder {}: {}", path.parent_path().string(), error.message()));
    writeWhole(path, json.dump(2) + "\n", true);
}

void PresetStore::remove(const EffectInfo& info, const std::string& name) const {
    checkFileName(name);
    bool any = false;
    for (const fs::path& folder : m_folders)
        for (const char* ending : {jsonEnding, stateEnding}) {
            std::error_code error;
            any = fs::remove(folder / info.className / (name + ending), error) || any;
            if (error) throw Error(fmt::format("cannot remove the preset {}: {}", inQuotes(name), error.message()));
        }
    if (!any) throw Error(fmt::format("{} has no preset {} of yours", info.name, inQuotes(name)));
}

std::vector<std::byte> presetRecord(const Module& module, const EffectInfo& info, const std::string& name,
                                    Values values) {
    const bool own = std::ranges::any_of(info.presets, [&](const PresetInfo& row) { return sameName(row.name, name); });
    if (own) return info.preset(name).record;
    std::optional<PresetStore> store;
    try {
        store.emplace();
    } catch (const Error&) {
        return info.preset(name).record;
    }
    if (const std::string found = store->find(info, name); !found.empty())
        return store->load(module, info, found, values);
    try {
        return info.preset(name).record;
    } catch (const Error& error) {
        for (const EffectInfo& other : module.effects())
            if (const std::string found = store->find(other, name); !found.empty())
                throw Error(fmt::format("{} has no preset {}: it is one of {}", info.name, inQuotes(name), other.name));
        std::vector<Candidate> candidates;
        for (const PresetInfo& row : info.presets) candidates.push_back({row.name});
        for (const std::string& mine : store->names(info)) candidates.push_back({mine});
        if (candidates.size() == info.presets.size()) throw;
        throw Error(fmt::format("{} has no preset {}; {}", info.name, inQuotes(name), didYouMean(name, candidates)));
    }
}

} // namespace larkmoor
