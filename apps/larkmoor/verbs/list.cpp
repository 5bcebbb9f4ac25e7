#include <algorithm>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "verbs/describe.h"
#include "verbs/verb.h"

namespace larkmoor {

std::string kindName(EffectKind kind) {
    switch (kind) {
    case EffectKind::Filter:
        return "filter";
    case EffectKind::Transition:
        return "transition";
    case EffectKind::Generator:
        return "generator";
    }
    return {};
}

std::string inputCount(const EffectInfo& info) {
    if (info.minInputs == info.maxInputs) return std::to_string(info.maxInputs);
    return fmt::format("{} to {}", info.minInputs, info.maxInputs);
}

std::string idText(const GUID& id) {
    return fmt::format("{{{:08X}-{:04X}-{:04X}-{:02X}{:02X}-{:02X}}}", id.Data1, id.Data2, id.Data3, id.Data4[0],
                       id.Data4[1], fmt::join(id.Data4 + 2, id.Data4 + 8, ""));
}

namespace {

void listJson(const Module& module) {
    auto rows = nlohmann::ordered_json::array();
    for (const EffectInfo& e : module.effects())
        rows.push_back({{"name", e.name},
                        {"class", e.className},
                        {"classId", idText(e.clsid)},
                        {"interfaceId", idText(e.iid)},
                        {"kind", kindName(e.kind)},
                        {"minInputs", e.minInputs},
                        {"maxInputs", e.maxInputs},
                        {"soundInFloat", e.soundInFloat}});
    print(rows.dump(2) + "\n");
}

void listText(const Module& module) {
    std::size_t names = 4, classes = 5;
    for (const EffectInfo& e : module.effects()) {
        names = std::max(names, e.name.size());
        classes = std::max(classes, e.className.size());
    }
    print(fmt::format("{:<{}}  {:<{}}  {:<10}  {}\n", "Name", names, "Class", classes, "Kind", "Inputs"));
    for (const EffectInfo& e : module.effects())
        print(fmt::format("{:<{}}  {:<{}}  {:<10}  {}\n", e.name, names, e.className, classes, kindName(e.kind),
                          inputCount(e)));
}

class ListVerb final : public Verb {
  public:
    explicit ListVerb(CLI::App& command)
        : Verb(command, "list", "List the effects", "  larkmoor list\n  larkmoor list --json") {
        app().add_flag("--json", m_json, "For programs");
    }

    int run(const Module& module, Report&) override {
        m_json ? listJson(module) : listText(module);
        return 0;
    }

  private:
    bool m_json = false;
};

} // namespace

std::unique_ptr<Verb> listVerb(CLI::App& command) {
    return std::make_unique<ListVerb>(command);
}

} // namespace larkmoor
