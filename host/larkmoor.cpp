#include "host/larkmoor.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "host/module.h"

struct larkmoor_module {
    larkmoor::Module module;
};

struct larkmoor_effect {
    explicit larkmoor_effect(larkmoor::Effect made) : effect(std::move(made)) {}
    struct Animation {
        std::string field, from, to;
    };
    larkmoor::Effect effect;
    std::vector<Animation> animations;
};

namespace {

using namespace larkmoor;

thread_local std::string t_error;

/// What `call` gives, or `failed` with the sentence kept.
template <class Result, class Call>
Result guarded(Result failed, Call&& call) noexcept {
    try {
        return call();
    } catch (const std::exception& error) {
        try {
            t_error = error.what();
        } catch (const std::bad_alloc&) {
            t_error.clear();
        }
        return failed;
    }
}

template <class T>
T& need(T* given, const char* what) {
    if (!given) throw Error(std::string(what) + " is null; hand one in");
    return *given;
}

template <class Range>
auto& at(Range&& range, std::size_t index, const char* what) {
    if (index >= std::size(range))
        throw Error("there is no " + std::string(what) + " of number " + std::to_string(index) + "; there are " +
                    std::to_string(std::size(range)));
    return range[index];
}

const EffectInfo& infoOf(const larkmoor_module* module, std::size_t effect) {
    return at(need(module, "the module").module.effects(), effect, "effect");
}

/// Writes as much of `told` as the caller knows of.
template <class Info>
int tell(Info* to, Info told) {
    told.size = need(to, "the info").size;
    if (told.size < sizeof told.size) throw Error("the info's size is not set; set it to the structure's size");
    std::memcpy(static_cast<void*>(to), &told, std::min(told.size, sizeof told));
    return 0;
}

constexpr int kindOf(EffectKind kind) {
    switch (kind) {
    case EffectKind::Filter:
        return LARKMOOR_FILTER;
    case EffectKind::Transition:
        return LARKMOOR_TRANSITION;
    case EffectKind::Generator:
        break;
    }
    return LARKMOOR_GENERATOR;
}

PixelFormat formatOf(int format) {
    switch (format) {
    case LARKMOOR_BGRA:
        return PixelFormat::Argb32;
    case LARKMOOR_BGRA_PREMULTIPLIED:
        return PixelFormat::PremultipliedArgb32;
    case LARKMOOR_BGRA_FLOAT:
        return PixelFormat::Float128;
    default:
        throw Error("there is no picture format " + std::to_string(format) + "; take one of larkmoor_format");
    }
}

/// As much of a picture as programs of the library's first version have; what they do not know of is 0.
constexpr std::size_t kFirstImageSize = offsetof(larkmoor_image, format) + sizeof(int);

Surface surfaceOf(const larkmoor_image* given) {
    const std::size_t size = need(given, "the picture").size;
    if (size < kFirstImageSize) throw Error("the picture's size is not set; set it to the structure's size");
    larkmoor_image image{};
    std::memcpy(&image, given, std::min(size, sizeof image));
    if (!image.data) throw Error("the picture has no pixels; set its data");
    return Surface::wrap(
        {static_cast<std::byte*>(image.data), image.width, image.height, image.stride, formatOf(image.format)});
}

} // namespace

const char* larkmoor_error() {
    return t_error.empty() ? "there is not enough memory" : t_error.c_str();
}

const char* larkmoor_version() {
    return LARKMOOR_VERSION;
}

larkmoor_module* larkmoor_open(const char* path) {
    return guarded<larkmoor_module*>(nullptr, [&] { return new larkmoor_module{Module::load(path ? path : "")}; });
}

void larkmoor_close(larkmoor_module* module) {
    delete module;
}

std::size_t larkmoor_effect_count(const larkmoor_module* module) {
    return guarded(std::size_t{0}, [&] { return need(module, "the module").module.effects().size(); });
}

int larkmoor_describe_effect(const larkmoor_module* module, std::size_t effect, larkmoor_effect_info* info) {
    return guarded(-1, [&] {
        const EffectInfo& from = infoOf(module, effect);
        return tell(info, {0, from.name.c_str(), from.className.c_str(), kindOf(from.kind), from.minInputs,
                           from.maxInputs, from.fields.size(), from.presets.size()});
    });
}

int larkmoor_describe_field(const larkmoor_module* module, std::size_t effect, std::size_t field,
                            larkmoor_field_info* info) {
    return guarded(-1, [&] {
        const tFieldInfo& from = at(infoOf(module, effect).fields, field, "field");
        return tell(info, {0, from.name, from.label, from.help, from.unit, from.kind, from.minimum, from.maximum,
                           from.step, static_cast<std::size_t>(from.choiceCount)});
    });
}

const char* larkmoor_choice_text(const larkmoor_module* module, std::size_t effect, std::size_t field,
                                 std::size_t choice) {
    return guarded<const char*>(nullptr, [&] {
        const tFieldInfo& from = at(infoOf(module, effect).fields, field, "field");
        return at(std::span(from.choices, static_cast<std::size_t>(from.choiceCount)), choice, "choice").text;
    });
}

const char* larkmoor_preset_name(const larkmoor_module* module, std::size_t effect, std::size_t preset) {
    return guarded<const char*>(nullptr,
                                [&] { return at(infoOf(module, effect).presets, preset, "preset").name.c_str(); });
}

larkmoor_effect* larkmoor_create(const larkmoor_module* module, const char* name) {
    return guarded<larkmoor_effect*>(nullptr, [&] {
        const Module& from = need(module, "the module").module;
        auto made = std::make_unique<larkmoor_effect>(from.create(from.find(&need(name, "the name"))));
        made->effect.setBlending(false);
        return made.release();
    });
}

void larkmoor_destroy(larkmoor_effect* effect) {
    delete effect;
}

int larkmoor_set(larkmoor_effect* effect, const char* field, const char* value) {
    return guarded(-1, [&] {
        need(effect, "the effect").effect.set(&need(field, "the field"), &need(value, "the value"));
        return 0;
    });
}

std::ptrdiff_t larkmoor_get(const larkmoor_effect* effect, const char* field, char* text, std::size_t size) {
    return guarded(std::ptrdiff_t{-1}, [&] {
        const std::string value = need(effect, "the effect").effect.get(&need(field, "the field"));
        if (size > 0) (&need(text, "the text"))[value.copy(text, size - 1)] = '\0';
        return static_cast<std::ptrdiff_t>(value.size());
    });
}

int larkmoor_preset(larkmoor_effect* effect, const char* preset) {
    return guarded(-1, [&] {
        need(effect, "the effect").effect.applyPreset(&need(preset, "the preset"));
        return 0;
    });
}

int larkmoor_apply(larkmoor_effect* effect, const char* setting) {
    return guarded(-1, [&] {
        need(effect, "the effect").effect.apply(&need(setting, "the setting"));
        return 0;
    });
}

int larkmoor_animate(larkmoor_effect* effect, const char* field, const char* from, const char* to) {
    return guarded(-1, [&] {
        const EffectInfo& info = need(effect, "the effect").effect.info();
        const std::string name = info.field(&need(field, "the field")).name;
        if (from) {
            std::vector<std::byte> tried = effect->effect.record();
            for (const char* const value : {from, &need(to, "the end's value")})
                setFieldText(info.field(name), tried, value);
        }
        std::erase_if(effect->animations, [&](const auto& one) { return one.field == name; });
        if (from) effect->animations.push_back({name, from, to});
        if (effect->animations.empty()) effect->effect.clearRamp();
        return 0;
    });
}

int larkmoor_seek(larkmoor_effect* effect, double position) {
    return guarded(-1, [&] {
        Effect& moved = need(effect, "the effect").effect;
        if (!(position >= 0 && position <= 1)) throw Error("a position goes from 0 to 1");
        if (moved.info().kind == EffectKind::Transition) moved.setProgress(static_cast<float>(position));
        if (effect->animations.empty()) return 0;
        std::vector<std::byte> from = moved.record(), to = from;
        for (const auto& one : effect->animations) {
            setFieldText(moved.info().field(one.field), from, one.from);
            setFieldText(moved.info().field(one.field), to, one.to);
        }
        moved.setRamp(from, to);
        moved.setRampPosition(position);
        return 0;
    });
}

int larkmoor_render(larkmoor_effect* effect, const larkmoor_image* inputs, std::size_t input_count,
                    const larkmoor_image* output, int first_row, int row_count) {
    return guarded(-1, [&] {
        Effect& drawn = need(effect, "the effect").effect;
        const Surface out = surfaceOf(output);
        if (drawn.info().kind == EffectKind::Generator) {
            drawn.generate(out);
            return 0;
        }
        if (input_count > 0) need(inputs, "the first input");
        std::vector<Surface> in;
        for (std::size_t i = 0; i < input_count; ++i)
            in.push_back(surfaceOf(reinterpret_cast<const larkmoor_image*>(reinterpret_cast<const std::byte*>(inputs) +
                                                                           i * inputs->size)));
        if (first_row < 0 || row_count < 0 || row_count > output->height || first_row > output->height - row_count)
            throw Error("the rows lie outside the picture; it has " + std::to_string(output->height));
        const bool all = row_count == 0;
        const RECT rows{0, all ? 0 : first_row, output->width, all ? output->height : first_row + row_count};
        const POINT at{0, rows.top};
        // Some effects leave alone what they do not draw.
        ImageView part = out.view();
        part.data += rows.top * part.stride;
        part.height = static_cast<int>(rows.bottom - rows.top);
        Surface::wrap(part).clear();
        // The memory is the caller's again afterwards.
        struct LetGo {
            Effect& effect;
            ~LetGo() { effect.unbind(); }
        } letGo{drawn};
        if (all)
            drawn.render(in, out);
        else
            drawn.render(in, out, &rows, &at);
        return 0;
    });
}
