// Plug-ins of frei0r under hosts that call in any order, with any values: what each has is learned from its own
// description, as hosts do.
#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "bridge.h"
#include "catalog.h"
#include "target.h"

using namespace larkmoor::fuzz;
using larkmoor::frei0r::Catalog;

namespace {

/// Pixels in memory of exactly their number, which AddressSanitizer watches.
class Sheet {
  public:
    Sheet(FuzzedDataProvider& in, std::size_t pixels) : m_pixels(new std::uint32_t[pixels]) {
        const auto first = in.ConsumeIntegral<std::uint32_t>(), step = in.ConsumeIntegral<std::uint32_t>();
        const std::uint32_t opaque = in.ConsumeBool() ? 0xFF000000u : 0;
        for (std::size_t i = 0; i < pixels; ++i)
            m_pixels[i] = (first + step * static_cast<std::uint32_t>(i * i)) | opaque;
    }
    std::uint32_t* get() const { return m_pixels.get(); }

  private:
    std::unique_ptr<std::uint32_t[]> m_pixels;
};

class Held {
  public:
    explicit Held(FuzzedDataProvider& in) : m_in(in) {
        const auto plugins = Catalog::shared()->plugins();
        m_class = plugins[in.ConsumeIntegralInRange<std::size_t>(0, plugins.size() - 1)].info->className.c_str();
        require(larkmoor_frei0r_init(m_class) == 1);
        larkmoor_frei0r_plugin_info(m_class, &m_info);
        make();
    }
    ~Held() { larkmoor_frei0r_destruct(m_instance); }

    void act() {
        switch (m_in.ConsumeIntegralInRange(0, 9)) {
        case 0:
            return make();
        case 1:
        case 2:
        case 3:
            return set();
        case 4:
            return get();
        case 5:
            larkmoor_frei0r_param_info(m_class, nullptr, 0);
            larkmoor_frei0r_plugin_info(m_class, nullptr);
            larkmoor_frei0r_set(m_instance, nullptr, index());
            larkmoor_frei0r_get(m_instance, nullptr, index());
            return;
        default:
            update();
        }
    }

  private:
    void make() {
        larkmoor_frei0r_destruct(m_instance);
        const bool any = m_in.ConsumeIntegral<std::uint8_t>() == 0;
        m_width = any ? m_in.ConsumeIntegral<unsigned>() | 0x8000u : m_in.ConsumeIntegralInRange(1u, 48u);
        m_height = m_in.ConsumeIntegralInRange(any ? 0u : 1u, 32u);
        m_instance = larkmoor_frei0r_construct(m_class, m_width, m_height);
        require(any || m_instance);
    }

    int index() { return m_in.ConsumeIntegralInRange(-1, m_info.num_params); }

    f0r_param_info_t parameter(int index) const {
        f0r_param_info_t info{};
        larkmoor_frei0r_param_info(m_class, &info, index);
        require(info.name && info.explanation);
        return info;
    }

    void set() {
        const int at = index();
        double real = number(m_in, 0, 1);
        f0r_param_color_t color{static_cast<float>(real), static_cast<float>(number(m_in, 0, 1)),
                                static_cast<float>(number(m_in, -1, 2))};
        std::string text;
        char* inner = nullptr;
        void* value = &real;
        const int type = parameter(at).type;
        if (type == F0R_PARAM_COLOR) value = &color;
        if (type == F0R_PARAM_STRING) {
            text = m_in.ConsumeRandomLengthString(80);
            inner = text.data();
            // Some hosts hand in the letters in place of their address.
            value = m_in.ConsumeBool() ? static_cast<void*>(&inner) : text.data();
        }
        larkmoor_frei0r_set(m_instance, value, at);
    }

    void get() {
        const int at = index();
        union {
            double real;
            f0r_param_color_t color;
            char* text;
        } value{};
        larkmoor_frei0r_get(m_instance, &value, at);
        if (m_instance && at >= 0 && at < m_info.num_params && parameter(at).type == F0R_PARAM_STRING)
            require(value.text && std::strlen(value.text) < 1u << 16);
    }

    void update() {
        const bool possible = m_width <= 48;
        const std::size_t pixels = possible ? std::size_t{m_width} * m_height : 1;
        const Sheet out(m_in, pixels), first(m_in, pixels), second(m_in, pixels);
        const auto which = m_in.ConsumeIntegral<std::uint8_t>();
        const auto input = [&](const Sheet& own, unsigned ways) -> const std::uint32_t* {
            return ways == 0 ? nullptr : ways == 1 ? out.get() : own.get();
        };
        larkmoor_frei0r_update(m_instance, number(m_in, 0, 100), input(first, which & 7), input(second, which >> 3 & 7),
                               which >> 6 ? out.get() : nullptr, nullptr);
    }

    FuzzedDataProvider& m_in;
    const char* m_class = nullptr;
    f0r_plugin_info_t m_info{};
    f0r_instance_t m_instance = nullptr;
    unsigned m_width = 0, m_height = 0;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider in(data, size);
    std::array<std::unique_ptr<Held>, 2> held{std::make_unique<Held>(in), std::make_unique<Held>(in)};
    for (int calls = 0; calls < 24 && in.remaining_bytes() > 0; ++calls) {
        auto& one = held[in.ConsumeBool()];
        if (in.ConsumeIntegral<std::uint8_t>() == 0) one = std::make_unique<Held>(in);
        one->act();
    }
    return 0;
}
