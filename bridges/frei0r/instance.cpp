#include "instance.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstring>

#include <dlfcn.h>
#include <fmt/format.h>

#include "base/arith.h"
#include "base/clones.h"
#include "guarded_text.h"
#include "host/alpha.h"
#include "host/rows.h"

namespace larkmoor::frei0r {
namespace {

constexpr unsigned kMostPixels = 16384;
/// Beyond this a host's time is no time but what was left in memory.
constexpr double kMostTime = 1e9;

KWCLONES std::uint32_t commonBits(const std::uint32_t* pixels, std::size_t count) {
    std::uint32_t bits = 0xFFFFFFFFu;
    for (std::size_t i = 0; i < count; ++i) bits &= pixels[i];
    return bits;
}

unsigned checked(unsigned width, unsigned height) {
    if (width < 1 || height < 1 || width > kMostPixels || height > kMostPixels)
        throw Error(fmt::format("pictures of {} by {} pixels are not taken: sizes go from 1 to {}", width, height,
                                kMostPixels));
    return width;
}

} // namespace

HostWays waysOf(const void* address) {
    Dl_info place{};
    if (!address || !dladdr(address, &place) || !place.dli_fname) return {};
    std::string_view file = place.dli_fname;
    file = file.substr(file.rfind('/') + 1);
    // That version pads rows to 16 pixels. Where nothing is known, rows without a gap are the safe guess.
    if (file.starts_with("libavfilter.so.8")) return {.milliseconds = true, .rowUnit = 16};
    return {.milliseconds =
                file.starts_with("libavfilter") || file.starts_with("ffmpeg") || file.starts_with("ffplay")};
}

Instance::Instance(const Catalog& catalog, const Plugin& plugin, unsigned width, unsigned height)
    : m_plugin(plugin), m_width(checked(width, height)), m_height(height),
      m_effect(catalog.module().create(*plugin.info)), m_pitch(width) {
    m_effect.setBlending(false);
    for (const Parameter& parameter : plugin.parameters) m_values.push_back(parameter.initial);
    m_inForce = m_values;
}

void Instance::set(int index, const void* value) {
    if (index < 0 || !value || static_cast<std::size_t>(index) >= m_values.size()) return;
    const Parameter& parameter = m_plugin.parameters[static_cast<std::size_t>(index)];
    Value taken;
    if (parameter.type == F0R_PARAM_STRING) {
        auto text = guardedText(value);
        if (!text) return;
        taken = std::move(*text);
    } else if (parameter.type == F0R_PARAM_COLOR) {
        f0r_param_color_t color;
        std::memcpy(&color, value, sizeof color);
        if (!std::isfinite(color.r) || !std::isfinite(color.g) || !std::isfinite(color.b)) return;
        taken = color;
    } else {
        double number;
        std::memcpy(&number, value, sizeof number);
        if (std::isnan(number)) return;
        taken = std::clamp(number, parameter.lowest(), parameter.highest());
    }
    const std::scoped_lock guard(m_lock);
    Value& held = m_values[static_cast<std::size_t>(index)];
    if (sameValue(held, taken)) return;
    if (parameter.role == Role::OwnUnit)
        m_inForce[parameter.twin] = m_plugin.parameters[parameter.twin].normal(std::get<double>(taken));
    else
        m_inForce[static_cast<std::size_t>(index)] = taken;
    held = std::move(taken);
    m_changed = true;
}

void Instance::get(int index, void* value) {
    if (index < 0 || !value || static_cast<std::size_t>(index) >= m_values.size()) return;
    const std::scoped_lock guard(m_lock);
    Value& held = m_values[static_cast<std::size_t>(index)];
    if (auto* text = std::get_if<std::string>(&held)) {
        char* const pointer = text->data();
        std::memcpy(value, &pointer, sizeof pointer);
    } else if (const auto* color = std::get_if<f0r_param_color_t>(&held)) {
        std::memcpy(value, color, sizeof *color);
    } else {
        std::memcpy(value, &std::get<double>(held), sizeof(double));
    }
}

void Instance::applyValues() {
    if (!m_changed) return;
    const std::span parameters(m_plugin.parameters);
    m_timing = timingOf(parameters, m_inForce);
    if (m_plugin.info->kind == EffectKind::Transition) m_progress = static_cast<float>(std::get<double>(m_inForce[0]));
    m_effect.setRecord(recordOf(*m_plugin.info, parameters, m_inForce));
    m_changed = false; // not before: where memory was short the next frame tries again
}

tSurfaceInfo Instance::infoOf(double time) {
    const std::int64_t frame = m_frames++;
    tSurfaceInfo info{.pixelAspect = 1, .frameRate = m_timing.rate, .time100ns = 0};
    if (!m_plugin.info->watchesTime) return info;
    double seconds = static_cast<double>(frame) / m_timing.rate;
    if (time >= 0 && time <= kMostTime) {
        const bool milliseconds = m_timing.unit == Timing::Unit::Milliseconds ||
                                  (m_timing.unit == Timing::Unit::Automatic && m_ways.milliseconds);
        seconds = milliseconds ? time / 1000 : time;
    }
    info.time100ns = std::llround((m_timing.start + seconds) * 1e7);
    return info;
}

ImageView Instance::viewOf(const std::uint32_t* pixels, PixelFormat format) const {
    return {reinterpret_cast<std::byte*>(const_cast<std::uint32_t*>(pixels)), static_cast<int>(m_width),
            static_cast<int>(m_height), static_cast<std::ptrdiff_t>(m_pitch) * 4, format};
}

/// The host's own picture where it is opaque, else a premultiplied copy.
Surface Instance::input(const std::uint32_t* pixels, const std::uint32_t* out, Surface& memory) const {
    bool usable = pixels >= out + span() || out >= pixels + span();
    for (unsigned y = 0; y < m_height && usable; ++y) usable = commonBits(pixels + y * m_pitch, m_width) >= 0xFF000000u;
    if (usable) return Surface::wrap(viewOf(pixels, PixelFormat::PremultipliedArgb32));
    if (!memory)
        memory =
            Surface::create(PixelFormat::PremultipliedArgb32, static_cast<int>(m_width), static_cast<int>(m_height));
    const ImageView view = memory.view();
    for (unsigned y = 0; y < m_height; ++y)
        std::memcpy(view.data + std::ptrdiff_t{y} * view.stride, pixels + y * m_pitch, std::size_t{m_width} * 4);
    premultiply(view);
    memory.touch();
    return memory;
}

/// Where the effect left a picture as it is, the host gets its own bytes back in place of those that multiplying by
/// alpha and dividing again leave of them.
bool Instance::passOn(const std::uint32_t* pixels, const Surface& input, std::uint32_t* out) const {
    const ImageView before = input.view();
    if (before.data == reinterpret_cast<const std::byte*>(pixels)) return false; // opaque, and so nothing to undo
    if (pixels < out + span() && out < pixels + span()) return false;            // drawn over
    const std::size_t bytes = std::size_t{m_width} * 4;
    const auto unchanged = [&](int y) {
        return std::memcmp(before.data + y * before.stride, out + std::size_t{m_pitch} * static_cast<unsigned>(y),
                           bytes) == 0;
    };
    if (!everyRow(before.height, unchanged)) return false;
    for (unsigned y = 0; y < m_height; ++y) std::memcpy(out + y * m_pitch, pixels + y * m_pitch, bytes);
    return true;
}

void Instance::update(double time, const std::uint32_t* first, const std::uint32_t* second, std::uint32_t* out,
                      const void* caller) {
    if (!out) return;
    const std::scoped_lock guard(m_lock);
    try {
        if (caller != m_caller) {
            m_caller = caller;
            m_ways = waysOf(caller);
            m_pitch = (m_width + m_ways.rowUnit - 1) / m_ways.rowUnit * m_ways.rowUnit;
        }
        applyValues();
        const tSurfaceInfo info = infoOf(time);
        if (m_plugin.info->kind == EffectKind::Generator) {
            Surface target = Surface::wrap(viewOf(out, PixelFormat::Argb32));
            target.setInfo(info);
            m_effect.generate(target);
            return;
        }
        std::array<const std::uint32_t*, 2> pictures;
        std::array<Surface, 2> inputs;
        std::size_t count = 0;
        const auto take = [&](const std::uint32_t* pixels, Surface& copy) {
            if (!pixels) return;
            pictures[count] = pixels;
            inputs[count++] = input(pixels, out, copy);
        };
        take(first, m_firstCopy);
        if (m_plugin.type == F0R_PLUGIN_TYPE_MIXER2) {
            take(second, m_secondCopy);
            m_effect.setProgress(m_progress);
        }
        Surface target = Surface::wrap(viewOf(out, PixelFormat::PremultipliedArgb32));
        for (std::size_t i = 0; i < count; ++i) inputs[i].setInfo(info);
        target.setInfo(info);
        m_effect.renderAnew(std::span(inputs).first(count), target);
        for (std::size_t i = 0; i < count; ++i)
            if (passOn(pictures[i], inputs[i], out)) return;
        unpremultiply(target.view());
    } catch (const std::exception& error) {
        if (!m_complained) std::fprintf(stderr, "larkmoor: %s\n", error.what());
        m_complained = true;
        for (unsigned y = 0; y < m_height; ++y)
            if (std::uint32_t* const row = out + y * m_pitch; !first)
                std::fill_n(row, m_width, 0);
            else if (first != out)
                std::memmove(row, first + y * m_pitch, std::size_t{m_width} * 4);
    }
}

} // namespace larkmoor::frei0r
