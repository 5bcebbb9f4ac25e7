// The OpenFX plug-ins under a host that calls in any order, with any values, and is strict itself: what is not in the
// interface, comes at the wrong time or is left behind is a fault. Effects, contexts and parameters are learned from
// what the plug-ins tell.
#include <array>
#include <cstdint>
#include <iterator>
#include <map>
#include <memory>

#include "bridges/openfx_host.h"
#include "target.h"

namespace openfxhost {
namespace {

using larkmoor::fuzz::number;
using larkmoor::fuzz::require;
using larkmoor::fuzz::whole;

/// A plug-in's contexts, described once.
const std::vector<std::unique_ptr<Effect>>& described(LoadedPlugin& plugin) {
    static std::map<const LoadedPlugin*, std::vector<std::unique_ptr<Effect>>> known;
    auto& all = known[&plugin];
    for (std::size_t i = all.size();; ++i) {
        const std::string context = plugin.descriptor().text("OfxImageEffectPropSupportedContexts", i);
        if (context.empty()) return all;
        all.push_back(plugin.describe(context));
    }
}

class Session {
  public:
    explicit Session(FuzzedDataProvider& in) : m_in(in) {
        const auto& all = plugins();
        LoadedPlugin& plugin = *all[in.ConsumeIntegralInRange<std::size_t>(0, all.size() - 1)];
        const auto& contexts = described(plugin);
        m_instance = std::make_unique<Instance>(
            plugin, *contexts[in.ConsumeIntegralInRange<std::size_t>(0, contexts.size() - 1)]);
        for (const auto& [name, clip] : effect().clips) connect(*clip);
    }
    ~Session() {
        m_instance.reset();
        for (const auto& [clip, picture] : m_pictures) require(!picture || isWhole(*picture));
    }

    void act() {
        switch (m_in.ConsumeIntegralInRange(0, 11)) {
        case 0:
        case 1:
        case 2:
            return setParameter();
        case 3:
            return connect(*pick(effect().clips));
        case 4:
            return setProperty();
        case 5:
            effect().abortAfter = m_in.ConsumeIntegralInRange(-1, 6);
            return;
        case 6:
            return ask();
        default:
            render();
        }
    }

  private:
    Effect& effect() { return m_instance->effect(); }

    template <class Map>
    typename Map::mapped_type& pick(Map& map) {
        return std::next(map.begin(), m_in.ConsumeIntegralInRange<std::ptrdiff_t>(0, std::ssize(map) - 1))->second;
    }

    /// What nobody may write to stands around a picture.
    static bool isWhole(const Picture& picture) {
        const auto row = static_cast<std::size_t>(std::abs(picture.rowBytes));
        const auto stands = [](std::byte b) { return b == std::byte{0xA5}; };
        const auto end = picture.memory.end();
        return std::all_of(picture.memory.begin(), picture.memory.begin() + row, stands) &&
               std::all_of(end - row, end, stands);
    }

    void connect(Clip& clip) {
        auto& picture = m_pictures[&clip];
        require(!picture || isWhole(*picture));
        const auto form = m_in.ConsumeIntegral<std::uint8_t>();
        const int left = form & 1 ? m_in.ConsumeIntegralInRange(-40, 40) : 0;
        const int low = form & 1 ? m_in.ConsumeIntegralInRange(-40, 40) : 0;
        const Area bounds{left, low, left + m_in.ConsumeIntegralInRange(1, 40),
                          low + m_in.ConsumeIntegralInRange(1, 32)};
        const bool floats = form & 2;
        picture = std::make_unique<Picture>(bounds, floats, static_cast<Alpha>((form >> 2 & 3) % 3),
                                            4 * (form >> 4 & 1), form & 32);
        const auto first = m_in.ConsumeIntegral<std::uint32_t>(), step = m_in.ConsumeIntegral<std::uint32_t>();
        std::uint32_t value = first;
        for (int y = bounds.y1; y < bounds.y2; ++y)
            for (int x = 0; x < (bounds.x2 - bounds.x1) * picture->pixelBytes(); x += 4, value += step) {
                const float tame = static_cast<float>(value >> 8 & 255) / 255.0f;
                std::memcpy(picture->at(bounds.x1, y) + x,
                            floats && !(form & 64) ? static_cast<const void*>(&tame) : &value, 4);
            }
        clip.picture = form == 255 ? nullptr : picture.get();
        clip.region = {static_cast<double>(bounds.x1), static_cast<double>(bounds.y1), static_cast<double>(bounds.x2),
                       static_cast<double>(bounds.y2)};
        if (m_in.ConsumeIntegral<std::uint8_t>() < 8)
            clip.region = {number(m_in, -50, 50), number(m_in, -50, 50), number(m_in, -50, 200),
                           number(m_in, -50, 200)};
    }

    void setParameter() {
        if (effect().parameters.empty()) return;
        const auto& parameter = pick(effect().parameters);
        if (parameter->type == "String") {
            parameter->text = m_in.ConsumeRandomLengthString(60);
            return;
        }
        const bool steps = parameter->type == "Integer" || parameter->type == "Boolean" || parameter->type == "Choice";
        const double low = parameter->properties.number("OfxParamPropDisplayMin");
        const double high = parameter->properties.number("OfxParamPropDisplayMax");
        for (double& each : parameter->numbers) {
            each = low < high ? number(m_in, low, high) : number(m_in, -4, 40);
            if (steps) each = whole(each);
        }
        parameter->perFrame = steps ? 0 : number(m_in, -1, 1);
    }

    void setProperty() {
        if (m_in.ConsumeBool()) {
            Clip& clip = *pick(effect().clips);
            constexpr const char* names[] = {"OfxImageEffectPropFrameRate", "OfxImagePropPixelAspectRatio"};
            clip.properties.put<double>(m_in.PickValueInArray(names), {number(m_in, 0, 60)});
        } else if (m_in.ConsumeBool()) {
            effect().properties.put<double>("OfxImageEffectPropFrameRate", {number(m_in, 0, 60)});
        } else {
            effect().properties.put<double>("OfxImageEffectPropProjectSize",
                                            {number(m_in, 0, 100), number(m_in, 0, 100)});
            effect().properties.put<double>("OfxImageEffectPropProjectOffset",
                                            {number(m_in, -9, 9), number(m_in, -9, 9)});
        }
    }

    void ask() {
        constexpr const char* actions[] = {"OfxImageEffectActionIsIdentity",
                                           "OfxImageEffectActionGetClipPreferences",
                                           "OfxImageEffectActionGetRegionOfDefinition",
                                           "OfxImageEffectActionGetRegionsOfInterest",
                                           "OfxActionInstanceChanged",
                                           "OfxImageEffectActionRender",
                                           "OfxActionPurgeCaches",
                                           "OfxActionSyncPrivateData",
                                           "OfxActionUnload",
                                           "OfxActionLoad",
                                           "OfxActionCreateInstance"};
        const char* const action = m_in.PickValueInArray(actions);
        Properties given(Owner::In), answer(Owner::Out);
        const auto ways = m_in.ConsumeIntegral<std::uint8_t>();
        given.put<double>("OfxPropTime", {number(m_in, 0, 100)});
        given.put<std::string>("OfxPropName", {ways & 4 ? "preset" : "none"});
        given.put<std::string>("OfxPropChangeReason", {ways & 8 ? "OfxChangeUserEdited" : "OfxChangePluginEdited"});
        if (std::string_view(action) == "OfxActionCreateInstance") m_instance->call("OfxActionDestroyInstance");
        m_instance->call(action, ways & 1 ? &given : nullptr, ways & 2 ? &answer : nullptr);
    }

    void render() {
        const bool all = m_in.ConsumeBool(), wild = m_in.ConsumeIntegral<std::uint8_t>() == 0;
        const auto side = [&] { return wild ? m_in.ConsumeIntegral<int>() : m_in.ConsumeIntegralInRange(-50, 50); };
        const Area window = all ? Area{-100, -100, 100, 100} : Area{side(), side(), side(), side()};
        const auto scale = [&] { return m_in.ConsumeIntegral<std::uint8_t>() < 200 ? 1 : number(m_in, 0.1, 2); };
        m_instance->render(number(m_in, 0, 100), window, scale(), scale());
    }

    FuzzedDataProvider& m_in;
    std::map<Clip*, std::unique_ptr<Picture>> m_pictures;
    std::unique_ptr<Instance> m_instance;
};

void run(FuzzedDataProvider& in) {
    Session session(in);
    for (int calls = 0; calls < 24 && in.remaining_bytes() > 0; ++calls) session.act();
}

} // namespace
} // namespace openfxhost

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider in(data, size);
    openfxhost::run(in);
    const auto faults = openfxhost::takeFaults();
    for (const std::string& fault : faults) std::fprintf(stderr, "%s\n", fault.c_str());
    larkmoor::fuzz::require(faults.empty());
    return 0;
}
