#include <algorithm>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "describe.h"
#include "requests.h"

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

void list(const Module& module, bool json) {
    if (json) {
        auto rows = nlohmann::ordered_json::array();
        for (const EffectInfo& e : module.effects())
            rows.push_back({{"name", e.name},
                            {"class", e.className},
                            {"classId", idText(e.clsid)},
                            {"interfaceId", idText(e.iid)},
                            {"kind", kindName(e.kind)},
                            {"minInputs", e.minInputs},
                            {"maxInputs", e.maxInputs}});
        fmt::print("{}\n", rows.dump(2));
        return;
    }
    std::size_t names = 4, classes = 5;
    for (const EffectInfo& e : module.effects()) {
        names = std::max(names, e.name.size());
        classes = std::max(classes, e.className.size());
    }
    fmt::print("{:<{}}  {:<{}}  {:<10}  {}\n", "Name", names, "Class", classes, "Kind", "Inputs");
    for (const EffectInfo& e : module.effects())
        fmt::print("{:<{}}  {:<{}}  {:<10}  {}\n", e.name, names, e.className, classes, kindName(e.kind),
                   inputCount(e));
}

} // namespace larkmoor
