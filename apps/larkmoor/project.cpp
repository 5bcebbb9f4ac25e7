#include "project.h"

#include <algorithm>
#include <initializer_list>

#include <fmt/format.h>

#include "host/names.h"
#include "json_node.h"
#include "keys_json.h"
#include "levels.h"
#include "output_file.h"
#include "requests.h"

namespace larkmoor {

namespace fs = std::filesystem;

namespace {

constexpr int projectVersion = 1;
constexpr const char* projectKey = "larkmoor project";
constexpr const char* effectsKey = "larkmoor effects";

Json effectJson(const ProjectEffect& effect) {
    Json out{{"effect", effect.info->className}, {"on", effect.on}, {"over", effect.over}};
    putRecord(out, *effect.info, effect.info->defaults, effect.record, true);
    if (const tFieldInfo* const levels = levelsField(*effect.info);
        levels && !effect.ownLevels && out.contains("fields"))
        out["fields"].erase(levels->name); // the pictures say it
    putKeys(out, *effect.info, effect.record, effect.curves, effect.span);
    return out;
}

/// @param kind of effect that is wanted: a filter, or a generator to be laid over, for Filter.
ProjectEffect takeEffect(const Module& module, const Node& node, EffectKind kind, Values values) {
    node.object({"effect", "on", "over", "fields", "record", "keys", "ramp", "from", "to"});
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
    effect.record = takeRecord(node, info, info.defaults, values);
    if (const tFieldInfo* const levels = levelsField(info)) {
        const auto fields = node.find("fields");
        effect.ownLevels = node.find("record") || (fields && fields->find(levels->name));
    }
    effect.curves = takeKeys(node, info, effect.record, values);
    effect.span = takeSpan(node);
    if (kind != EffectKind::Filter && effect.span != Span())
        node.fail("\"from\" and \"to\" go with the effects that follow; this one makes the pictures");
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
    return {.info = &info, .record = info.defaults, .curves = {}, .span = {}};
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
    Json out{{projectKey, projectVersion}, {"source", std::move(source)}};
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

Project parseProject(const Module& module, const std::string& text, const fs::path& folder, Values values) {
    const Json json = parseJson(text);
    const Node top(json, "");
    if (!json.is_object() || !json.contains(projectKey)) top.fail(fmt::format("the key \"{}\" is missing", projectKey));
    if (json[projectKey] != projectVersion)
        top.at(projectKey).fail(fmt::format("has to be {}; another version wrote this", projectVersion));
    top.object({projectKey, "source", "second", "in", "out", "effects"});

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
        ProjectGenerator made{.generator = takeEffect(module, source.at("generator"), EffectKind::Generator, values)};
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
                                       takeEffect(module, second->at("transition"), EffectKind::Transition, values),
                                       second->at("duration").seconds()};
    }
    if (const auto in = top.find("in")) project.in = in->frame();
    if (const auto out = top.find("out")) {
        project.out = out->frame();
        if (*project.out <= project.in) out->fail("has to be a frame after \"in\"");
    }
    if (const auto effects = top.find("effects"))
        effects->elements([&](const Node& effect) {
            project.effects.push_back(takeEffect(module, effect, EffectKind::Filter, values));
        });
    return project;
}

std::string effectsText(const std::vector<ProjectEffect>& effects) {
    Json out{{effectsKey, projectVersion}, {"effects", Json::array()}};
    for (const ProjectEffect& effect : effects) out["effects"].push_back(effectJson(effect));
    return out.dump(2) + "\n";
}

std::vector<ProjectEffect> parseEffects(const Module& module, const std::string& text) {
    Json json;
    try {
        json = parseJson(text);
    } catch (const Error&) {
        // Texts of all kinds are carried around.
    }
    if (!json.is_object() || !json.contains(effectsKey) || json[effectsKey] != projectVersion)
        throw Error("There are no effects on the clipboard; copy some first.");
    std::vector<ProjectEffect> effects;
    Node(json, "").at("effects").elements([&](const Node& node) {
        const EffectInfo& info = *node.at("effect").parsed([&](const std::string& name) { return &module.find(name); });
        const bool joins = info.kind == EffectKind::Transition;
        effects.push_back(
            takeEffect(module, node, joins ? EffectKind::Transition : EffectKind::Filter, Values::Checked));
    });
    return effects;
}

Project loadProject(const Module& module, const std::string& path, Values values) {
    const std::string text = readText(path);
    return withPlace(path, [&] { return parseProject(module, text, fs::path(path).parent_path(), values); });
}

void saveProject(const Project& project, const std::string& path, bool overwrite) {
    const std::string text = projectText(project, fs::path(path).parent_path());
    writeWhole(path, text, overwrite);
}

} // namespace larkmoor
