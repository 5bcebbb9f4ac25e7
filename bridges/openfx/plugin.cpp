// The two functions that hosts look for, and the way of an action to its effect. Nothing is thrown into a host, and
// nothing printed.
#include <array>
#include <new>
#include <string_view>
#include <utility>

#include "describe.h"
#include "instance.h"

namespace larkmoor::openfx {
namespace {

/// Plug-ins are told apart by the functions that a host calls, so their number is settled when this is compiled.
constexpr std::size_t kMostPlugins = 64;

/// What a host has given to one plug-in. Hosts load plug-ins again and again, from any thread.
class Slot {
  public:
    void setHost(const Host* host) {
        const std::scoped_lock guard(m_lock);
        if (host == m_host) return;
        m_host = host;
        m_suites = {};
    }
    bool load() {
        const std::scoped_lock guard(m_lock);
        if (m_suites) return true;
        if (!m_host || !m_host->fetchSuite) return false;
        const auto fetch = [&](const char* name, int version = 1) {
            return m_host->fetchSuite(m_host->properties, name, version);
        };
        m_suites = {.property = static_cast<const PropertySuite*>(fetch("OfxPropertySuite")),
                    .effect = static_cast<const EffectSuite*>(fetch("OfxImageEffectSuite")),
                    .parameter = static_cast<const ParameterSuite*>(fetch("OfxParameterSuite")),
                    .message = static_cast<const MessageSuite*>(fetch("OfxMessageSuite", 2))};
        m_suites.messagesStay = m_suites.message;
        if (!m_suites.message) m_suites.message = static_cast<const MessageSuite*>(fetch("OfxMessageSuite"));
        return static_cast<bool>(m_suites);
    }
    Suites suites() {
        const std::scoped_lock guard(m_lock);
        return m_suites;
    }

  private:
    std::mutex m_lock;
    const Host* m_host = nullptr;
    Suites m_suites;
};

struct Call {
    const Suites& suites;
    const Plugin& plugin;
    EffectHandle effect;
    PropertySet inSet, outSet;

    Properties in() const { return {suites, inSet}; }
    Properties out() const { return {suites, outSet}; }
    /// The effect's own properties; empty where the host has none.
    Properties own() const {
        PropertySet set = nullptr;
        return {suites, suites.effect->getPropertySet(effect, &set) == kOk ? set : nullptr};
    }
    Instance* instance() const {
        const Properties properties = own();
        return properties ? static_cast<Instance*>(properties.pointer("OfxPropInstanceData")) : nullptr;
    }
    double time() const { return inSet ? in().number("OfxPropTime", 0.0) : 0; }
};

int describeEffect(const Call& call) {
    describe(call.suites, call.plugin, call.effect);
    return kOk;
}

int describeEffectInContext(const Call& call) {
    describeInContext(call.suites, call.plugin, call.effect,
                      call.inSet ? call.in().text("OfxImageEffectPropContext") : "");
    return kOk;
}

int createInstance(const Call& call) {
    const Properties own = call.own();
    if (!own) return kBadHandle;
    auto instance = std::make_unique<Instance>(call.suites, *Catalog::shared(), call.plugin, call.effect);
    if (!own.set("OfxPropInstanceData", static_cast<void*>(instance.get()))) return kFailed;
    instance.release();
    return kOk;
}

int destroyInstance(const Call& call) {
    delete call.instance();
    if (const Properties own = call.own()) own.set("OfxPropInstanceData", static_cast<void*>(nullptr));
    return kOk;
}

int render(const Call& call) {
    Instance* const instance = call.instance();
    if (!instance || !call.inSet) return kBadHandle;
    const Properties in = call.in();
    const auto side = [&](int index) { return in.number("OfxImageEffectPropRenderWindow", 0, index); };
    const auto scale = [&](int index) {
        const double value = in.number("OfxImageEffectPropRenderScale", 1.0, index);
        return value > 1e-4 && value < 1e4 ? value : 1;
    };
    return instance->render(
        {.time = call.time(), .window = {side(0), side(1), side(2), side(3)}, .scaleX = scale(0), .scaleY = scale(1)});
}

int isIdentity(const Call& call) {
    Instance* const instance = call.instance();
    const char* const clip = instance && call.outSet ? instance->identity(call.time()) : nullptr;
    if (!clip) return kReplyDefault;
    call.out().set("OfxPropName", clip);
    call.out().set("OfxPropTime", call.time());
    return kOk;
}

int clipPreferences(const Call& call) {
    if (!call.outSet) return kReplyDefault;
    tellPreferences(call.suites, call.plugin, call.effect, call.out());
    return kOk;
}

int regionOfDefinition(const Call& call) {
    return call.outSet && tellRegion(call.suites, call.plugin, call.effect, call.out()) ? kOk : kReplyDefault;
}

int regionsOfInterest(const Call& call) {
    if (!call.outSet) return kReplyDefault;
    tellInterest(call.suites, call.plugin, call.effect, call.time(), call.out());
    return kOk;
}

int instanceChanged(const Call& call) {
    Instance* const instance = call.instance();
    if (!instance || !call.inSet) return kReplyDefault;
    const Properties in = call.in();
    if (in.text("OfxPropName") != std::string_view("preset") ||
        in.text("OfxPropChangeReason") != std::string_view("OfxChangeUserEdited"))
        return kReplyDefault;
    instance->takePreset(call.time());
    return kOk;
}

struct Action {
    std::string_view name;
    int (*run)(const Call&);
};

constexpr Action kActions[] = {
    {"OfxActionDescribe", &describeEffect},
    {"OfxImageEffectActionDescribeInContext", &describeEffectInContext},
    {"OfxActionCreateInstance", &createInstance},
    {"OfxActionDestroyInstance", &destroyInstance},
    {"OfxImageEffectActionRender", &render},
    {"OfxImageEffectActionIsIdentity", &isIdentity},
    {"OfxImageEffectActionGetClipPreferences", &clipPreferences},
    {"OfxImageEffectActionGetRegionOfDefinition", &regionOfDefinition},
    {"OfxImageEffectActionGetRegionsOfInterest", &regionsOfInterest},
    {"OfxActionInstanceChanged", &instanceChanged},
};

std::array<Slot, kMostPlugins> slots;

int run(std::size_t nth, std::string_view name, const void* handle, PropertySet in, PropertySet out) {
    if (name == "OfxActionLoad") return slots[nth].load() ? kOk : kMissingFeature;
    // The suites are kept: a host may load once more, and it tells where it is another one.
    if (name == "OfxActionUnload") return kOk;
    for (const Action& action : kActions) {
        if (action.name != name) continue;
        const Suites suites = slots[nth].suites();
        if (!suites) return kFailed;
        if (!handle) return kBadHandle;
        const auto effect = static_cast<EffectHandle>(const_cast<void*>(handle));
        return action.run({suites, Catalog::shared()->plugins()[nth], effect, in, out});
    }
    return kReplyDefault;
}

template <std::size_t Nth>
int mainEntry(const char* action, const void* handle, PropertySet in, PropertySet out) {
    try {
        return run(Nth, action ? action : "", handle, in, out);
    } catch (const std::bad_alloc&) {
        return kMemory;
    } catch (...) {
        return kFailed;
    }
}

template <std::size_t Nth>
void setHost(Host* host) {
    slots[Nth].setHost(host);
}

template <std::size_t... Nth>
std::array<PluginEntry, kMostPlugins> makeEntries(std::index_sequence<Nth...>) {
    const auto plugins = Catalog::shared()->plugins();
    const auto entry = [&](std::size_t nth, auto* host, auto* main) {
        const char* const identifier = nth < plugins.size() ? plugins[nth].identifier.c_str() : nullptr;
        return PluginEntry{"OfxImageEffectPluginAPI", 1, identifier, kVersionMajor, kVersionMinor, host, main};
    };
    return {entry(Nth, &setHost<Nth>, &mainEntry<Nth>)...};
}

std::size_t count() {
    const Catalog* const catalog = Catalog::shared();
    return catalog ? std::min(catalog->plugins().size(), kMostPlugins) : 0;
}

} // namespace
} // namespace larkmoor::openfx

#pragma GCC visibility push(default)
extern "C" {
int OfxGetNumberOfPlugins();
larkmoor::openfx::PluginEntry* OfxGetPlugin(int nth);
}
#pragma GCC visibility pop

int OfxGetNumberOfPlugins() {
    return static_cast<int>(larkmoor::openfx::count());
}

larkmoor::openfx::PluginEntry* OfxGetPlugin(int nth) {
    using namespace larkmoor::openfx;
    if (nth < 0 || static_cast<std::size_t>(nth) >= count()) return nullptr;
    static std::array<PluginEntry, kMostPlugins> entries = makeEntries(std::make_index_sequence<kMostPlugins>());
    return &entries[static_cast<std::size_t>(nth)];
}
