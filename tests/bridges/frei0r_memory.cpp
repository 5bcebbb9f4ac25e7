// A frame of each frei0r plug-in with every allocation of the bridge refused in turn: it is the whole frame or the
// first picture, and the next frame is as if nothing had been.
#include <cstdio>
#include <cstdlib>
#include <new>
#include <vector>

#include "bridge.h"
#include "catalog.h"

namespace {

long g_left = -1; ///< allocations that still succeed; below 0 all do
bool g_struck = false;

constexpr unsigned kWidth = 24, kHeight = 16;
using Pixels = std::vector<std::uint32_t>;

struct Held {
    explicit Held(const larkmoor::frei0r::Plugin& plugin)
        : instance(larkmoor_frei0r_construct(plugin.info->className.c_str(), kWidth, kHeight)) {
        for (std::size_t i = 0; i < plugin.parameters.size(); ++i) {
            double value = 0.25;
            if (plugin.parameters[i].type == F0R_PARAM_DOUBLE && plugin.parameters[i].name != "preset")
                larkmoor_frei0r_set(instance, &value, static_cast<int>(i));
        }
    }
    ~Held() { larkmoor_frei0r_destruct(instance); }
    Held(const Held&) = delete;
    Held& operator=(const Held&) = delete;
    Pixels draw(const Pixels& first, const Pixels& second, long allocations = -1) const {
        Pixels out(first.size(), 0x12345678u);
        g_struck = false;
        g_left = allocations;
        larkmoor_frei0r_update(instance, 0, first.data(), second.data(), out.data(), nullptr);
        g_left = -1;
        return out;
    }

    f0r_instance_t instance;
};

int faultsOf(const larkmoor::frei0r::Plugin& plugin) {
    Pixels first(kWidth * kHeight), second(first.size());
    for (std::size_t i = 0; i < first.size(); ++i) {
        first[i] = static_cast<std::uint32_t>(i * 2654435761u) | 0xFF000000u;
        second[i] = static_cast<std::uint32_t>(i * 40503u) | 0xFF000000u;
    }
    const Pixels whole = Held(plugin).draw(first, second);
    if (whole != Held(plugin).draw(first, second)) return 0; // a grain of its own in each frame
    int faults = 0;
    for (long n = 0;; ++n) {
        const Held held(plugin);
        const Pixels out = held.draw(first, second, n);
        const bool struck = g_struck;
        if (out != whole && out != first) std::printf("%s, %ld: half a frame\n", plugin.fileName.c_str(), n), ++faults;
        if (held.draw(first, second) != whole)
            std::printf("%s, %ld: the next frame is another\n", plugin.fileName.c_str(), n), ++faults;
        if (!struck) return faults;
    }
}

} // namespace

void* operator new(std::size_t size) {
    const bool refused = g_left >= 0 && --g_left < 0;
    g_struck = g_struck || refused;
    void* const memory = refused ? nullptr : std::malloc(size ? size : 1);
    if (!memory) throw std::bad_alloc();
    return memory;
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}

int main() {
    int faults = 0;
    for (const auto& plugin : larkmoor::frei0r::Catalog::shared()->plugins()) faults += faultsOf(plugin);
    return faults != 0;
}
