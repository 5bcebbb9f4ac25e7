#include "chain.h"

#include <algorithm>
#include <array>

#include <fmt/format.h>

#include "host/alpha.h"
#include "host/depth.h"
#include "json_node.h"
#include "key_options.h"
#include "levels.h"
#include "output_file.h"
#include "preset_store.h"

namespace larkmoor {

namespace {

std::pair<std::string, std::string> splitField(const std::string& option, const std::string& text) {
    const std::size_t at = text.find('=');
    if (at == std::string::npos || at == 0)
        throw UsageError(fmt::format("{} takes FIELD={}, not \"{}\"", option,
                                     option == "--ramp"  ? "FROM:TO"
                                     : option == "--key" ? "FRAME:VALUE,..."
                                                         : "VALUE",
                                     text));
    return {text.substr(0, at), text.substr(at + 1)};
}

/// A surface for pictures between effects: of the size of another one, kept from frame to frame.
Surface& between(Surface& memory, const Surface& like, PixelFormat format) {
    const ImageView wanted = like.view();
    const ImageView is = memory ? memory.view() : ImageView{};
    if (is.width != wanted.width || is.height != wanted.height || is.format != format)
        memory = Surface::create(format, wanted.width, wanted.height);
    memory.setInfo(like.info());
    return memory;
}

/// And of its form, premultiplied.
Surface& between(Surface& memory, const Surface& like) {
    const PixelFormat format = like.view().format;
    return between(memory, like, format == PixelFormat::Argb32 ? PixelFormat::PremultipliedArgb32 : format);
}

/// A picture of floats at 8 bits.
Surface& narrowed(Surface& memory, const Surface& floats) {
    between(memory, floats, PixelFormat::PremultipliedArgb32);
    narrowPicture(floats.view(), memory.view());
    memory.touch();
    return memory;
}

/// Whether a picture has to go down to 8 bits for an effect.
bool needsBytes(const Step& step, const Surface& picture) {
    return picture.view().format == PixelFormat::Float128 && !step.over && !step.info->soundInFloat;
}

} // namespace

Step planStep(const Module& module, const EffectRequest& request) {
    using Kind = EffectRequest::Kind;
    Step step;
    step.info = asUsage([&] { return &module.find(request.name); });
    step.over = request.over;
    Effect effect = module.create(*step.info);
    for (const auto& option : request.options) {
        const std::string& text = option.second; // no structured binding: Clang 14 lets lambdas capture none
        switch (option.first) {
        case Kind::Preset:
            asUsage([&] { effect.setRecord(presetRecord(module, *step.info, text, request.values)); });
            break;
        case Kind::Set:
            asUsage([&] {
                const auto [field, value] = splitField("--set", text);
                effect.set(field, value);
                if (request.values == Values::Checked) checkField(step.info->field(field), effect.record());
                step.ownLevels = step.ownLevels || &step.info->field(field) == levelsField(*step.info);
            });
            break;
        case Kind::LoadState:
            withPlace(text, [&] {
                const std::string state = readText(text);
                std::vector<std::byte> record = recordOfState(module, *step.info, std::as_bytes(std::span(state)));
                if (request.values == Values::Checked) checkRecord(*step.info, record);
                effect.setRecord(record);
                step.ownLevels = true;
            });
            break;
        case Kind::SaveState:
            step.saveTo.push_back(text);
            break;
        case Kind::SavePreset:
            step.presets.push_back(text);
            break;
        case Kind::Ramp:
        case Kind::Key:
        case Kind::From:
        case Kind::To:
            break;
        }
    }
    step.record = effect.record();
    asUsage([&] {
        for (const auto& [kind, text] : request.options) {
            if (kind == Kind::Ramp || kind == Kind::Key) {
                const bool ramp = kind == Kind::Ramp;
                const auto [name, keys] = splitField(ramp ? "--ramp" : "--key", text);
                const tFieldInfo& field = step.info->field(name);
                Curve curve = ramp ? parseRamp(*step.info, field, step.record, keys, request.values)
                                   : parseKeys(*step.info, field, step.record, keys, request.values);
                checkEnds(*step.info, curve);
                std::erase_if(step.curves, [&](const Curve& each) { return each.field == &field; });
                step.curves.push_back(std::move(curve));
            }
            if (kind == Kind::From) std::tie(step.span.from, step.span.fromTimed) = parseFrame("--from", text);
            if (kind == Kind::To) std::tie(step.span.to, step.span.toTimed) = parseFrame("--to", text);
        }
        checkSpan(step.span);
    });
    return step;
}

void checkSaves(const Step& step, bool overwrite) {
    for (const std::string& name : step.presets) PresetStore().checkName(*step.info, name, overwrite);
    for (const std::string& path : step.saveTo) OutputFile(path, overwrite);
}

void saveStates(const Module& module, const Step& step, bool overwrite) {
    for (const std::string& name : step.presets) PresetStore().save(*step.info, name, step.record, overwrite);
    if (step.saveTo.empty()) return;
    Effect effect = module.create(*step.info);
    effect.setRecord(step.record);
    const std::vector<std::byte> state = effect.saveState();
    for (const std::string& path : step.saveTo)
        writeWhole(path, {reinterpret_cast<const char*>(state.data()), state.size()}, overwrite);
}

bool needsTotal(const Recipe& recipe) {
    const auto needs = [](const Step& step) { return needsTotal(step.curves); };
    return (recipe.generates() && needs(*recipe.head)) || std::ranges::any_of(recipe.effects, needs);
}

void settleKeys(Recipe& recipe, std::optional<std::int64_t> total, AVRational rate, const std::string& name) {
    if (!total && needsTotal(recipe))
        throw UsageError(fmt::format("the number of frames of {} cannot be told; a ramp, or a key at the end, needs "
                                     "--frames, or frames of its own in a project",
                                     name));
    const auto settleStep = [&](Step& step) {
        settle(step.curves, 0, std::max<std::int64_t>(0, total.value_or(1) - 1), rate);
        settle(step.span, rate);
    };
    // A transition's ends are those of its overlaps.
    if (recipe.generates() || (recipe.head && !needsTotal(recipe.head->curves))) settleStep(*recipe.head);
    for (Step& step : recipe.effects) settleStep(step);
}

std::vector<std::string> effectsInBytes(const Recipe& recipe) {
    std::vector<std::string> names;
    const auto add = [&](const Step& step) {
        const EffectInfo& info = *step.info;
        if (info.kind != EffectKind::Generator && !info.soundInFloat &&
            std::ranges::find(names, info.name) == names.end())
            names.push_back(info.name);
    };
    if (recipe.head) add(*recipe.head);
    for (const Step& step : recipe.effects) add(step);
    return names;
}

bool limitsLevels(const Step& step) {
    if (!isLegalizer(*step.info) || !step.curves.empty()) return isLegalizer(*step.info);
    std::vector<std::byte> record = step.record; // of which what it takes for white limits nothing
    if (const tFieldInfo* const levels = levelsField(*step.info))
        setFieldText(*levels, record, fieldText(*levels, step.info->defaults));
    return !isNone(*step.info, record);
}

Chain::Chain(const Module& module, const Recipe& recipe, unsigned processors)
    : m_module(module), m_processors(processors) {
    if (recipe.head) m_head = makeLink(module, *recipe.head);
    for (const Step& step : recipe.effects) m_links.push_back(makeLink(module, step));
}

Chain::Link Chain::makeLink(const Module& module, const Step& step) const {
    Link link{{.info = step.info}, module.create(*step.info, m_processors)};
    link.effect.setBlending(false);
    change(link, step);
    return link;
}

void Chain::change(Link& link, const Step& step) {
    if (link.step.record != step.record || link.step.curves != step.curves) {
        link.effect.setRecord(step.record);
        link.placed.clear();
        link.drawn = {};
    }
    link.step = step;
}

void Chain::update(const Module& module, const Recipe& recipe) {
    const auto set = [&](Link& link, const Step& step) {
        if (link.step.info == step.info && link.step.over == step.over)
            change(link, step);
        else
            link = makeLink(module, step);
    };
    if (!recipe.head)
        m_head.reset();
    else if (m_head)
        set(*m_head, *recipe.head);
    else
        m_head = makeLink(module, *recipe.head);
    while (m_links.size() > recipe.effects.size()) m_links.pop_back();
    for (std::size_t i = 0; i < recipe.effects.size(); ++i) {
        if (i < m_links.size())
            set(m_links[i], recipe.effects[i]);
        else
            m_links.push_back(makeLink(module, recipe.effects[i]));
    }
}

bool Chain::worksAt(std::int64_t index) const {
    return std::ranges::any_of(m_links, [&](const Link& link) { return link.step.span.contains(index); });
}

bool Chain::limitsAt(std::int64_t index) const {
    return std::ranges::any_of(
        m_links, [&](const Link& link) { return link.step.span.contains(index) && limitsLevels(link.step); });
}

/// Sets the record of a moment. @return whether it is another one than before.
bool Chain::place(Link& link, const Moment& moment) const {
    if (link.step.curves.empty()) return false;
    std::vector<std::byte> record =
        recordAt(m_module, link.effect, link.step.record, link.step.curves, moment.index, moment.progress);
    if (record == link.placed) return false;
    link.effect.setRecord(record);
    link.placed = std::move(record);
    return true;
}

void Chain::layOver(Link& link, const Surface& from, const Surface& to, const Moment& moment) const {
    const Surface before = link.drawn;
    between(link.drawn, from);
    const bool moved = place(link, moment);
    if (moved || link.drawn.get() != before.get()) link.effect.generate(link.drawn);
    larkmoor::layOver(link.drawn.view(), from.view(), to.view());
}

void Chain::filter(const Surface& input, Surface output, const Moment& moment) {
    std::vector<Link*> links;
    for (Link& link : m_links)
        if (link.step.span.contains(moment.index)) links.push_back(&link);
    Surface from = input;
    for (std::size_t i = 0, turn = 0; i < links.size(); ++turn) {
        Link& link = *links[i];
        std::size_t end = i + 1;
        while (needsBytes(link.step, from) && end < links.size() && needsBytes(links[end]->step, from)) ++end;
        Surface to = end < links.size() ? between(m_between[turn % 2], input) : output;
        if (needsBytes(link.step, from)) {
            filterBytes(std::span(links).subspan(i, end - i), from, to, moment);
        } else if (link.step.over) {
            layOver(link, from, to, moment);
        } else {
            place(link, moment);
            link.effect.renderAnew(std::span(&from, 1), to);
        }
        to.touch();
        from = to;
        i = end;
    }
}

void Chain::filterBytes(std::span<Link* const> links, const Surface& input, Surface output, const Moment& moment) {
    Surface from = narrowed(m_bytes[0], input);
    const TwoDepths before{input.view(), from.view()};
    for (std::size_t i = 0; i < links.size(); ++i) {
        Surface to = between(m_bytes[1 + i % 2], from);
        place(*links[i], moment);
        links[i]->effect.renderAnew(std::span(&from, 1), to);
        to.touch();
        from = to;
    }
    restoreDepth(std::span(&before, 1), from.view(), output.view());
    if (std::ranges::any_of(links, [](const Link* link) { return limitsLevels(link->step); }))
        limitPicture(output.view());
}

void Chain::join(Link& link, const Surface& from, const Surface& to, Surface output, const Moment& moment) {
    place(link, moment);
    link.effect.setProgress(static_cast<float>(moment.progress));
    if (needsBytes(link.step, output)) {
        const std::array inputs{narrowed(m_bytes[0], from), narrowed(m_bytes[1], to)};
        Surface made = between(m_bytes[2], inputs[0]);
        link.effect.renderAnew(inputs, made);
        const std::array before{TwoDepths{from.view(), inputs[0].view()}, TwoDepths{to.view(), inputs[1].view()}};
        restoreDepth(before, made.view(), output.view());
    } else {
        const std::array inputs{from, to};
        link.effect.renderAnew(inputs, output);
    }
    output.touch();
}

void Chain::generate(Link& link, const Surface& output, const Moment& moment) const {
    place(link, moment);
    const ImageView view = output.view();
    if (view.format != PixelFormat::PremultipliedArgb32) return link.effect.generate(output);
    // A generator's own form is straight colour; it becomes premultiplied as a clip's does.
    ImageView straight = view;
    straight.format = PixelFormat::Argb32;
    Surface drawn = Surface::wrap(straight);
    drawn.setInfo(output.info());
    link.effect.generate(drawn);
    premultiply(view);
    Surface(output).touch();
}

bool Chain::run(const Surface& first, const Surface& second, Surface output, const Moment& moment) {
    const bool generates = !first, joins = first && second && m_head, filters = worksAt(moment.index);
    if (!generates && !joins && !filters) return false;
    Surface picture = first;
    if (generates || joins) {
        picture = filters ? between(m_base, output) : output;
        if (generates)
            generate(*m_head, picture, moment);
        else
            join(*m_head, first, second, picture, moment);
    }
    if (filters) filter(picture, output, moment);
    return true;
}

} // namespace larkmoor
