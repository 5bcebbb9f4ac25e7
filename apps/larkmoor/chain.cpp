#include "chain.h"

#include <array>
#include <fstream>
#include <iterator>

#include <fmt/format.h>

#include "media/alpha.h"
#include "media/av.h"
#include "output_file.h"

namespace larkmoor {

namespace {

/// What the host library says of a wrong name or value is a mistake of the command line here.
template <class Action>
auto asUsage(Action action) {
    try {
        return action();
    } catch (const StatusError&) {
        throw;
    } catch (const UsageError&) {
        throw;
    } catch (const Error& error) {
        throw UsageError(error.what());
    }
}

std::pair<std::string, std::string> splitField(const std::string& option, const std::string& text) {
    const std::size_t at = text.find('=');
    if (at == std::string::npos || at == 0)
        throw UsageError(
            fmt::format("{} takes FIELD={}, not \"{}\"", option, option == "--ramp" ? "FROM:TO" : "VALUE", text));
    return {text.substr(0, at), text.substr(at + 1)};
}

void addRamp(Step& step, const std::string& text) {
    const auto [name, range] = splitField("--ramp", text);
    const std::size_t colon = range.find(':');
    if (colon == std::string::npos) throw UsageError(fmt::format("--ramp takes FIELD=FROM:TO, not \"{}\"", text));
    const tFieldInfo& field = step.info->field(name);
    if (field.ramp == KWRAMP_START)
        throw UsageError(
            fmt::format("{} of {} does not change gradually; --set gives it one value", field.name, step.info->name));
    if (!step.ramp) step.ramp.emplace(step.record, step.record);
    setFieldText(field, step.ramp->first, range.substr(0, colon));
    setFieldText(field, step.ramp->second, range.substr(colon + 1));
}

std::vector<std::byte> readFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::vector<char> bytes{std::istreambuf_iterator<char>(file), {}};
    if (!file) throw Error(fmt::format("cannot read {}", path));
    std::vector<std::byte> out(bytes.size());
    std::memcpy(out.data(), bytes.data(), bytes.size());
    return out;
}

} // namespace

Step planStep(const Module& module, const EffectRequest& request) {
    using Kind = EffectRequest::Kind;
    Step step;
    step.info = asUsage([&] { return &module.find(request.name); });
    step.over = request.over;
    Effect effect = module.create(*step.info);
    for (const auto& [kind, text] : request.options) {
        switch (kind) {
        case Kind::Preset:
            asUsage([&] { effect.applyPreset(text); });
            break;
        case Kind::Set:
            asUsage([&] {
                const auto [field, value] = splitField("--set", text);
                effect.set(field, value);
            });
            break;
        case Kind::LoadState:
            try {
                effect.loadState(readFile(text));
            } catch (const StatusError& error) {
                throw Error(fmt::format("{} is no state of {}: {}", text, step.info->name, error.what()));
            }
            break;
        case Kind::SaveState:
            step.saveTo.push_back(text);
            break;
        case Kind::Ramp:
            break;
        }
    }
    step.record = effect.record();
    asUsage([&] {
        for (const auto& [kind, text] : request.options)
            if (kind == Kind::Ramp) addRamp(step, text);
    });
    return step;
}

void saveStates(const Module& module, const Step& step, bool overwrite) {
    if (step.saveTo.empty()) return;
    Effect effect = module.create(*step.info);
    effect.setRecord(step.record);
    const std::vector<std::byte> state = effect.saveState();
    for (const std::string& path : step.saveTo) {
        OutputFile output(path, overwrite);
        std::ofstream file(output.workPath(), std::ios::binary);
        file.write(reinterpret_cast<const char*>(state.data()), static_cast<std::streamsize>(state.size()));
        file.close();
        if (!file) throw Error(fmt::format("cannot write {}", path));
        output.commit();
    }
}

Chain::Chain(const Module& module, std::span<const Step> steps) {
    for (const Step& step : steps) {
        Effect effect = module.create(*step.info);
        effect.setRecord(step.record);
        if (step.ramp) effect.setRamp(step.ramp->first, step.ramp->second);
        m_links.push_back({std::move(effect), step.ramp.has_value(), step.over});
    }
}

void Chain::place(Link& link, double position) {
    if (link.ramped) link.effect.setRampPosition(position);
}

void Chain::layOver(Link& link, const Surface& from, const Surface& to, double position) {
    const bool first = !link.drawn;
    if (first) {
        const ImageView shape = from.view();
        link.drawn = Surface::create(shape.format, shape.width, shape.height);
        link.drawn.setInfo(from.info());
    }
    if (first || link.ramped) {
        place(link, position);
        link.effect.generate(link.drawn);
    }
    larkmoor::layOver(link.drawn.view(), from.view(), to.view());
}

void Chain::filter(const Surface& input, Surface output, double position) {
    const ImageView shape = input.view();
    Surface from = input;
    for (std::size_t i = 0; i < m_links.size(); ++i) {
        Link& link = m_links[i];
        Surface to = output;
        if (i + 1 < m_links.size()) {
            Surface& between = m_between[i % 2];
            if (!between) between = Surface::create(shape.format, shape.width, shape.height);
            between.setInfo(input.info());
            to = between;
        }
        if (link.over) {
            layOver(link, from, to, position);
        } else {
            to.clear();
            place(link, position);
            link.effect.render(std::span(&from, 1), to);
        }
        to.touch();
        from = to;
    }
}

void Chain::join(const Surface& from, const Surface& to, Surface output, double progress) {
    output.clear();
    place(m_links[0], progress);
    m_links[0].effect.setProgress(static_cast<float>(progress));
    const std::array inputs{from, to};
    m_links[0].effect.render(inputs, output);
}

void Chain::generate(const Surface& output, double position) {
    place(m_links[0], position);
    m_links[0].effect.generate(output);
}

} // namespace larkmoor
