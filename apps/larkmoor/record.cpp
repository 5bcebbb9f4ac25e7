#include "record.h"

#include <fmt/format.h>

#include "media/av.h"

namespace larkmoor {

void checkField(const tFieldInfo& field, std::span<const std::byte> record) {
    if (const auto fault = fieldFault(field, record))
        throw UsageError(fmt::format("{} (--unchecked lets it through)", *fault));
}

void checkRecord(const EffectInfo& info, std::span<const std::byte> record) {
    for (const tFieldInfo& field : info.fields) checkField(field, record);
}

std::vector<std::byte> recordOfState(const Module& module, const EffectInfo& info, std::span<const std::byte> state) {
    const auto wrong = [&](const std::string& why) {
        return Error(fmt::format("it holds no settings of {}: {}", info.name, why));
    };
    Effect effect = module.create(info);
    try {
        effect.loadState(state);
    } catch (const Error& error) {
        throw wrong(error.what());
    }
    // Effects also take states that are cut short, or longer; here such a file is something else.
    const std::size_t size = effect.saveState().size();
    if (size != state.size()) throw wrong(fmt::format("they have {} bytes, not {}", size, state.size()));
    return effect.record();
}

} // namespace larkmoor
