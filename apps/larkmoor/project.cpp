#include "project.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <fstream>
#include <initializer_list>
#include <iterator>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "host/names.h"
#include "host/text_fields.h"
#include "output_file.h"
#include "requests.h"

namespace larkmoor {

namespace fs = std::filesystem;

namespace {

using Json = nlohmann::ordered_json;

constexpr int version = 1;
constexpr const char* versionKey = "larkmoor project";
constexpr double longestDuration = 1e6; ///< seconds
constexpr std::int64_t lastFrame = std::int64_t{1} << 40;

/// A value of the file and where it stands.
class Node {
  public:
    Node(const Json& value, std::string place) : m_value(value), m_place(std::move(place)) {}

    [[noreturn]] void fail(const std::string& sentence) const {
        throw Error(m_place.empty() ? sentence : fmt::format("{}: {}", m_place, sentence));
    }

    /// An object with no other keys than these.
    const Node& object(std::initializer_list<std::string_view> keys) const {
        if (!m_value.is_object()) fail("has to be an object, with braces around it");
        for (const auto& [key, value] : m_value.items())
            if (std::ranges::find(keys, std::string_view(key)) == keys.end()) {
                std::vector<Candidate> known;
                for (const std::string_view name : keys) known.push_back({std::string(name)});
                fail(fmt::format("there is no key {}; {}", inQuotes(key), didYouMean(key, known)));
            }
        return *this;
    }

    std::optional<Node> find(const char* key) const {
        const auto at = m_value.find(key);
        if (at == m_value.end()) return {};
        return Node(*at, below(key));
    }

    Node at(const char* key) const {
        std::optional<Node> found = find(key);
        if (!found) fail(fmt::format("the key \"{}\" is missing", key));
        return *found;
    }

    /// Calls `use` with the key and the node of every member.
    template <class Use>
    void members(Use use) const {
        if (!m_value.is_object()) fail("has to be an object, with braces around it");
        for (const auto& [key, value] : m_value.items()) use(key, Node(value, below(key)));
    }

    template <class Use>
    void elements(Use use) const {
        if (!m_value.is_array()) fail("has to be a list, with brackets around it");
        for (std::size_t i = 0; i < m_value.size(); ++i) use(Node(m_value[i], fmt::format("{}[{}]", m_place, i)));
    }

    std::string text() const {
        if (!m_value.is_string()) fail("has to be a text in quotes");
        return m_value.get<std::string>();
    }

    bool flag() const {
        if (!m_value.is_boolean()) fail("has to be true or false");
        return m_value.get<bool>();
    }

    std::int64_t frame() const {
        if (!m_value.is_number_integer() || m_value < 0 || m_value > lastFrame)
            fail("has to be the number of a frame, counted from 0");
        return m_value.get<std::int64_t>();
    }

    double seconds() const {
        const double value = m_value.is_number() ? m_value.get<double>() : 0;
        if (!(value > 0 && value <= longestDuration)) fail("has to be a number of seconds above 0");
        return value;
    }

    /// What `parse` makes of the text; its complaint gets the place.
    template <class Parse>
    auto parsed(Parse parse) const {
        const std::string given = text();
        try {
            return parse(given);
        } catch (const Error& error) {
            fail(error.what());
        }
    }

  private:
    std::string below(const std::string& key) const { return m_place.empty() ? key : m_place + "." + key; }

    const Json& m_value;
    std::string m_place;
};

std::string hexText(std::span<const std::byte> bytes) {
    std::string text;
    for (const std::byte byte : bytes) text += fmt::format("{:02X}", static_cast<unsigned>(byte));
    return text;
}

std::vector<std::byte> parseHex(const std::string& text) {
    std::vector<std::byte> bytes(text.size() / 2);
    bool good = text.size() % 2 == 0;
    for (std::size_t i = 0; good && i < bytes.size(); ++i) {
        unsigned value = 0;
        const char* const from = text.data() + 2 * i;
        good = std::from_chars(from, from + 2, value, 16).ptr == from + 2;
        bytes[i] = static_cast<std::byte>(value);
    }
    if (!good) throw Error("has to be two hexadecimal digits for every byte");
    return bytes;
}

bool isUtf8(const std::string& text) {
    try {
        (void)Json(text).dump();
        return true;
    } catch (const Json::type_error&) {
        return false;
    }
}

/// Writes a record over `base`: as the texts of its fields, or as bytes where texts do not say all of it.
/// @param all tells fields that are as in `base`, too.
void putRecord(Json& out, const EffectInfo& info, const std::vector<std::byte>& base,
               const std::vector<std::byte>& record, bool all) {
    Json fields = Json::object();
    std::vector<std::byte> back = base;
    bool exact = true;
    try {
        for (const tFieldInfo& field : info.fields) {
            const std::string text = fieldText(field, record);
            if (!all && text == fieldText(field, base)) continue;
            setFieldText(field, back, text);
            exact = exact && isUtf8(text);
            fields[field.name] = text;
        }
    } catch (const Error&) {
        exact = false;
    }
    if (exact && back == record)
        out["fields"] = std::move(fields);
    else
        out["record"] = hexText(record);
}

std::vector<std::byte> takeRecord(const Node& node, const EffectInfo& info, const std::vector<std::byte>& base) {
    const std::optional<Node> fields = node.find("fields"), bytes = node.find("record");
    if (fields && bytes) node.fail("\"fields\" and \"record\" tell the same; one of them has to go");
    if (bytes)
        return bytes->parsed([&](const std::string& digits) {
            std::vector<std::byte> record = parseHex(digits);
            const tFieldInfo* const text = info.textField();
            const std::size_t size = text ? textEnd(*text, record) : info.defaults.size();
            if (record.size() != size)
                throw Error(fmt::format("the record of {} has {} bytes, not {}", info.name, size, record.size()));
            return record;
        });
    std::vector<std::byte> record = base;
    if (fields)
        fields->members([&](const std::string& name, const Node& field) {
            field.parsed([&](const std::string& text) {
                setFieldText(info.field(name), record, text);
                return 0;
            });
        });
    return record;
}

Json effectJson(const ProjectEffect& effect) {
    Json out{{"effect", effect.info->className}, {"on", effect.on}, {"over", effect.over}};
    putRecord(out, *effect.info, effect.info->defaults, effect.record, true);
    if (effect.ramp) {
        Json ramp = Json::object();
        if (effect.ramp->frames) {
            ramp["from"] = effect.ramp->frames->first;
            ramp["to"] = effect.ramp->frames->second;
        }
        putRecord(ramp, *effect.info, effect.record, effect.ramp->record, false);
        out["ramp"] = std::move(ramp);
    }
    return out;
}

/// @param kind of effect that is wanted: a filter, or a generator to be laid over, for Filter.
ProjectEffect takeEffect(const Module& module, const Node& node, EffectKind kind) {
    node.object({"effect", "on", "over", "fields", "record", "ramp"});
    const Node name = node.at("effect");
    ProjectEffect effect;
    effect.info = name.parsed([&](const std::string& text) { return &module.find(text); });
    const EffectInfo& info = *effect.info;
    if (const auto on = node.find("on")) effect.on = on->flag();
    if (const auto over = node.find("over")) effect.over = over->flag();
    if (kind == EffectKind::Filter) {
        if (effect.over && info.kind != EffectKind::Generator)
            name.fail(fmt::format("{} makes no pictures of its own to lay over others", info.name));
        if (!effect.over && info.kind == EffectKind::Generator)
            name.fail(fmt::format("{} makes pictures of its own; with \"over\": true it is laid over", info.name));
        if (info.kind == EffectKind::Transition)
            name.fail(fmt::format("{} is a transition; its place is under \"second\"", info.name));
    } else if (info.kind != kind) {
        name.fail(fmt::format("{} is no {}", info.name, kind == EffectKind::Generator ? "generator" : "transition"));
    } else if (!effect.on || effect.over) {
        name.fail(fmt::format("{} cannot be switched off or laid over here", info.name));
    }
    effect.record = takeRecord(node, info, info.defaults);
    if (const auto ramp = node.find("ramp")) {
        ramp->object({"from", "to", "fields", "record"});
        effect.ramp.emplace();
        effect.ramp->record = takeRecord(*ramp, info, effect.record);
        if (ramp->find("from") || ramp->find("to")) {
            effect.ramp->frames.emplace(ramp->at("from").frame(), ramp->at("to").frame());
            if (effect.ramp->frames->first > effect.ramp->frames->second)
                ramp->fail("\"from\" has to be no later than \"to\"");
        }
    }
    return effect;
}

fs::path wholeFolder(const fs::path& folder) {
    return fs::absolute(folder.empty() ? "." : folder).lexically_normal();
}

std::string storedPath(const std::string& path, const fs::path& folder, const char* place) {
    if (path.empty() || path == "-") throw Error(fmt::format("{}: a project needs a clip that is a file", place));
    const fs::path whole = fs::absolute(path).lexically_normal();
    const fs::path relative = whole.lexically_relative(wholeFolder(folder));
    const std::string text = relative.empty() || *relative.begin() == ".." ? whole : relative;
    if (!isUtf8(text)) throw Error(fmt::format("{}: the name of the clip is no UTF-8", place));
    return text;
}

std::string takePath(const Node& node, const fs::path& folder) {
    const std::string text = node.text();
    if (text.empty() || text == "-" || text.find('\0') != std::string::npos) node.fail("has to be the path of a clip");
    return (wholeFolder(folder) / text).lexically_normal();
}

std::string rateText(AVRational rate) {
    return rate.den == 1 ? std::to_string(rate.num) : fmt::format("{}/{}", rate.num, rate.den);
}

} // namespace

ProjectEffect projectEffect(const EffectInfo& info) {
    return {.info = &info, .over = false, .record = info.defaults, .ramp = {}};
}

bool isProject(const std::string& path) {
    return foldName(fs::path(path).extension().string()) == ".larkmoor";
}

std::string projectText(const Project& project, const fs::path& folder) {
    Json source;
    if (const auto* clip = std::get_if<ProjectClip>(&project.source)) {
        source = {{"kind", "clip"}, {"path", storedPath(clip->path, folder, "source.path")}};
        if (clip->rate) source["rate"] = rateText(*clip->rate);
    } else {
        const auto& made = std::get<ProjectGenerator>(project.source);
        source = {{"kind", "generator"},
                  {"generator", effectJson(made.generator)},
                  {"size", fmt::format("{}x{}", made.width, made.height)},
                  {"rate", rateText(made.rate)},
                  {"duration", made.duration}};
    }
    Json out{{versionKey, version}, {"source", std::move(source)}};
    if (project.second)
        out["second"] = {{"path", storedPath(project.second->path, folder, "second.path")},
                         {"transition", effectJson(project.second->transition)},
                         {"duration", project.second->duration}};
    out["in"] = project.in;
    if (project.out) out["out"] = *project.out;
    out["effects"] = Json::array();
    for (const ProjectEffect& effect : project.effects) out["effects"].push_back(effectJson(effect));
    return out.dump(2) + "\n";
}

Project parseProject(const Module& module, const std::string& text, const fs::path& folder) {
    Json json;
    try {
        json = Json::parse(text);
    } catch (const Json::parse_error& error) {
        const std::string_view before = std::string_view(text).substr(0, error.byte);
        throw Error(fmt::format("line {}: this is no JSON", 1 + std::ranges::count(before, '\n')));
    }
    const Node top(json, "");
    if (!json.is_object() || !json.contains(versionKey)) top.fail(fmt::format("the key \"{}\" is missing", versionKey));
    if (json[versionKey] != version)
        top.at(versionKey).fail(fmt::format("has to be {}; another version wrote this", version));
    top.object({versionKey, "source", "second", "in", "out", "effects"});

    Project project;
    const Node source = top.at("source");
    source.object({"kind", "path", "rate", "generator", "size", "duration"});
    const Node kind = source.at("kind");
    const auto refuse = [&](std::initializer_list<const char*> keys) {
        for (const char* key : keys)
            if (const auto extra = source.find(key)) extra->fail(fmt::format("does not go with a {}", kind.text()));
    };
    const auto rateOf = [](const Node& node) { return node.parsed([](const std::string& t) { return parseRate(t); }); };
    if (kind.text() == "clip") {
        refuse({"generator", "size", "duration"});
        ProjectClip clip{takePath(source.at("path"), folder), {}};
        if (const auto rate = source.find("rate")) clip.rate = rateOf(*rate);
        project.source = std::move(clip);
    } else if (kind.text() == "generator") {
        refuse({"path"});
        ProjectGenerator made{.generator = takeEffect(module, source.at("generator"), EffectKind::Generator)};
        std::tie(made.width, made.height) =
            source.at("size").parsed([](const std::string& size) { return parseSize(size); });
        made.rate = rateOf(source.at("rate"));
        made.duration = source.at("duration").seconds();
        project.source = std::move(made);
    } else {
        kind.fail("has to be \"clip\" or \"generator\"");
    }
    if (const auto second = top.find("second")) {
        second->object({"path", "transition", "duration"});
        if (kind.text() != "clip") second->fail("a transition begins with a clip, not with a generator");
        project.second = ProjectSecond{takePath(second->at("path"), folder),
                                       takeEffect(module, second->at("transition"), EffectKind::Transition),
                                       second->at("duration").seconds()};
    }
    if (const auto in = top.find("in")) project.in = in->frame();
    if (const auto out = top.find("out")) {
        project.out = out->frame();
        if (*project.out <= project.in) out->fail("has to be a frame after \"in\"");
    }
    if (const auto effects = top.find("effects"))
        effects->elements(
            [&](const Node& effect) { project.effects.push_back(takeEffect(module, effect, EffectKind::Filter)); });
    return project;
}

Project loadProject(const Module& module, const std::string& path) {
    std::error_code ignored;
    if (fs::is_directory(path, ignored)) throw Error(fmt::format("{} is a folder", path));
    std::ifstream file(path, std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    if (!file) throw Error(fmt::format("cannot read {}", path));
    try {
        return parseProject(module, text, fs::path(path).parent_path());
    } catch (const Error& error) {
        throw Error(fmt::format("{}: {}", path, error.what()));
    }
}

void saveProject(const Project& project, const std::string& path, bool overwrite) {
    const std::string text = projectText(project, fs::path(path).parent_path());
    OutputFile output(path, overwrite);
    std::ofstream file(output.workPath(), std::ios::binary);
    file << text;
    file.close();
    if (!file) throw Error(fmt::format("cannot write {}", path));
    output.commit();
}

} // namespace larkmoor
