// Every action of each OpenFX plug-in with each allocation of the plug-in refused in turn: it fails by a status,
// nothing is thrown, lost or half written, and the same action does afterwards what it always does.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <new>

#include "bridges/openfx_host.h"

extern "C" {
int OfxGetNumberOfPlugins();
larkmoor::openfx::PluginEntry* OfxGetPlugin(int nth);
void* __real_malloc(std::size_t size);
void* __real_calloc(std::size_t count, std::size_t size);
}

namespace openfxhost {
namespace {

constexpr long kNone = -1;
long planned = kNone; ///< allocations of the plug-in's next call that succeed
long left = kNone;    ///< of those, while it runs; below 0 all do
bool runs = false;    ///< a plug-in's code, or what it called
bool struck = false;  ///< an allocation was refused
long live = 0;        ///< blocks of `new`, made by plug-ins less those given back by them

bool isPlugins() {
    return runs && !HostsTurn::isOn();
}

bool refused() {
    if (!isPlugins() || left < 0 || --left >= 0) return false;
    return struck = true;
}

/// Runs a plug-in's code with the plan, once.
template <class Work>
int watch(const Work& work) {
    struck = false;
    left = std::exchange(planned, kNone);
    runs = true;
    int answer = 0;
    try {
        answer = work();
    } catch (...) {
        runs = false;
        addFault("throws into its host");
    }
    runs = false;
    left = kNone;
    return answer;
}

const PluginEntry* inner = nullptr;

int watchedEntry(const char* action, const void* handle, PropertySet in, PropertySet out) {
    return watch([&] { return inner->mainEntry(action, handle, in, out); });
}

/// Takes `call` again and again, each time with a later allocation refused, until none is.
/// @param quiet the call may do without the memory
void walk(const std::string& name, const std::function<int()>& call, const std::function<void(int, bool)>& look,
          bool quiet = false) {
    for (long n = 0;; ++n) {
        planned = n;
        const int status = call();
        const bool refusal = struck;
        if (refusal && !quiet && (status == kOk || status == kReplyDefault))
            addFault("has no memory and says nothing: " + name);
        if (!refusal && status != kOk && status != kReplyDefault) addFault("fails at " + name);
        look(status, refusal);
        if (!refusal) return;
    }
}

using Bytes = std::vector<std::byte>;
constexpr Area kFrame{0, 0, 24, 16};

/// An instance with pictures, and another value than the default here and there.
struct Stage {
    Stage(LoadedPlugin& plugin, const Effect& described, bool floats)
        : instance(plugin, described), out(kFrame, floats, Alpha::Straight) {
        unsigned seed = 0;
        for (const auto& [name, clip] : instance.effect().clips) {
            const bool isOut = name == "Output";
            if (!isOut) {
                pictures.push_back(std::make_unique<Picture>(kFrame, floats, Alpha::Straight));
                for (std::byte& byte : pictures.back()->memory) byte = floats ? std::byte{0x3D} : std::byte(seed += 41);
            }
            clip->picture = isOut ? &out : pictures.back().get();
            clip->region = {0, 0, 24, 16};
            clip->properties.put<double>("OfxImageEffectPropFrameRate", {25});
        }
    }
    std::vector<std::vector<double>> settings() {
        std::vector<std::vector<double>> all;
        for (const auto& [name, parameter] : instance.effect().parameters) all.push_back(parameter->numbers);
        return all;
    }

    Instance instance;
    Picture out;
    std::vector<std::unique_ptr<Picture>> pictures;
};

/// Actions that tell something: what they told the last time is what they tell without a refusal.
void walkQuestions(Stage& stage) {
    for (const char* const action :
         {"OfxImageEffectActionIsIdentity", "OfxImageEffectActionGetClipPreferences",
          "OfxImageEffectActionGetRegionOfDefinition", "OfxImageEffectActionGetRegionsOfInterest"}) {
        stage.instance.effect().properties.put<double>("OfxImageEffectPropProjectOffset", {0, 0});
        stage.instance.effect().properties.put<double>("OfxImageEffectPropProjectSize", {24, 16});
        Properties in(Owner::In), out(Owner::Out), again(Owner::Out);
        in.put<double>("OfxPropTime", {0});
        walk(
            action, [&] { return stage.instance.call(action, &in, &(out = Properties(Owner::Out))); },
            [](int, bool) {});
        stage.instance.call(action, &in, &again);
        if (again.values != out.values) addFault(std::string("tells something else by ") + action);
    }
}

void walkPreset(Stage& stage) {
    if (!stage.instance.effect().parameters.contains("preset")) return;
    stage.instance.parameter("preset").numbers = {2};
    const auto before = stage.settings();
    Properties in(Owner::In);
    in.put<double>("OfxPropTime", {0});
    in.put<std::string>("OfxPropType", {"OfxTypeParameter"});
    in.put<std::string>("OfxPropName", {"preset"});
    in.put<std::string>("OfxPropChangeReason", {"OfxChangeUserEdited"});
    walk(
        "a preset", [&] { return stage.instance.call("OfxActionInstanceChanged", &in); },
        [&](int, bool refusal) {
            if (refusal && stage.settings() != before) addFault("takes half a preset");
        });
    if (stage.instance.parameter("preset").numbers[0] != 0) addFault("leaves a preset waiting");
}

void walkFrames(LoadedPlugin& plugin, const Effect& described, bool floats) {
    Stage usual(plugin, described, floats);
    usual.instance.render(0, kFrame);
    const Bytes whole = usual.out.memory;
    std::unique_ptr<Stage> stage;
    walk(
        "a frame",
        [&] {
            const long plan = std::exchange(planned, kNone);
            stage = std::make_unique<Stage>(plugin, described, floats);
            planned = plan;
            return stage->instance.render(0, kFrame);
        },
        [&](int status, bool) {
            const Bytes untouched = Picture(kFrame, floats, Alpha::Straight).memory;
            if (stage->out.memory != (status == kOk ? whole : untouched)) addFault("draws part of a frame");
            if (stage->instance.render(0, kFrame) != kOk || stage->out.memory != whole)
                addFault("draws another frame afterwards");
            stage.reset();
        },
        true); // some ask a second time for less of the picture
}

void walkPlugin(PluginEntry& entry, bool floats) {
    inner = &entry;
    PluginEntry watched = entry;
    watched.mainEntry = &watchedEntry;
    LoadedPlugin plugin(watched);
    walk(
        "its description",
        [&] {
            Effect fresh(Owner::Effect);
            const int status = plugin.call(&fresh, "OfxActionDescribe");
            if (status == kOk && fresh.properties.values != plugin.descriptor().values)
                addFault("tells half of itself");
            return status;
        },
        [](int, bool) {});
    const std::string context = "OfxImageEffectContextGeneral";
    const auto described = plugin.describe(context);
    Properties in(Owner::In);
    in.put<std::string>("OfxImageEffectPropContext", {context});
    walk(
        "its description in a context",
        [&] {
            Effect fresh(Owner::Effect);
            const int status = plugin.call(&fresh, "OfxImageEffectActionDescribeInContext", &in);
            if (status == kOk && fresh.order != described->order) addFault("defines some of its parameters");
            return status;
        },
        [](int, bool) {});
    Stage stage(plugin, *described, floats);
    stage.instance.call("OfxActionDestroyInstance");
    walk(
        "an instance", [&] { return stage.instance.call("OfxActionCreateInstance"); },
        [&](int, bool refusal) {
            const bool stands = std::get<void*>(stage.instance.effect().properties.values["OfxPropInstanceData"][0]);
            if (stands == refusal) addFault("leaves half an instance");
        });
    walkQuestions(stage);
    walkPreset(stage);
    walkFrames(plugin, *described, floats);
    planned = 0; // the end of an instance needs none
}

} // namespace
} // namespace openfxhost

using namespace openfxhost;

void* operator new(std::size_t size) {
    void* const memory = refused() ? nullptr : __real_malloc(size ? size : 1);
    if (!memory) throw std::bad_alloc();
    if (isPlugins()) ++live;
    return memory;
}
void operator delete(void* memory) noexcept {
    if (memory && isPlugins()) --live;
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    operator delete(memory);
}
// The linker leads the bridge's own calls here.
extern "C" void* __wrap_malloc(std::size_t size) {
    return refused() ? nullptr : __real_malloc(size);
}
extern "C" void* __wrap_calloc(std::size_t count, std::size_t size) {
    return refused() ? nullptr : __real_calloc(count, size);
}

int main() {
    const auto told = [](const std::string& name) {
        const auto faults = takeFaults();
        for (const std::string& fault : faults) std::printf("%s %s\n", name.c_str(), fault.c_str());
        return static_cast<int>(faults.size());
    };
    // A host's first look, which loads the module.
    int count = 0;
    for (planned = 0; count == 0; planned = planned + 1) {
        const long plan = planned;
        count = watch([] { return OfxGetNumberOfPlugins(); });
        if (!struck && count == 0) addFault("is not there once there is memory again");
        if (!struck) break;
        planned = plan;
    }
    planned = kNone;
    int faults = told("The bundle");
    for (int nth = 0; nth < count; ++nth) {
        PluginEntry& entry = *OfxGetPlugin(nth);
        walkPlugin(entry, nth % 2 != 0); // fills what is kept for good
        planned = kNone;
        const long before = live;
        walkPlugin(entry, nth % 2 != 0);
        planned = kNone;
        if (live != before) addFault("loses memory: " + std::to_string(live - before) + " blocks");
        faults += told(entry.identifier);
    }
    std::printf("%d plug-ins, %d faults\n", count, faults);
    return faults != 0 || count == 0;
}
