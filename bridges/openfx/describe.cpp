#include "describe.h"

#include <string_view>

namespace larkmoor::openfx {
namespace {

constexpr const char* kContextTransition = "OfxImageEffectContextTransition";
constexpr const char* kContextGeneral = "OfxImageEffectContextGeneral";

void defineClip(const Suites& suites, EffectHandle effect, const char* name) {
    PropertySet set = nullptr;
    if (suites.effect->clipDefine(effect, name, &set) != kOk || !set) return;
    const Properties clip(suites, set);
    clip.set("OfxImageEffectPropSupportedComponents", "OfxImageComponentRGBA");
    clip.set("OfxImageEffectPropSupportsTiles", 0);
    clip.set("OfxImageEffectPropTemporalClipAccess", 0);
    clip.set("OfxImageClipPropOptional", 0);
    clip.set("OfxImageClipPropFieldExtraction", "OfxFieldBoth");
}

Properties propertiesOf(const Suites& suites, EffectHandle effect) {
    PropertySet set = nullptr;
    return {suites, suites.effect->getPropertySet(effect, &set) == kOk ? set : nullptr};
}

} // namespace

void describe(const Suites& suites, const Plugin& plugin, EffectHandle effect) {
    const Properties p = propertiesOf(suites, effect);
    if (!p) return;
    for (const char* const name : {"OfxPropLabel", "OfxPropShortLabel", "OfxPropLongLabel"})
        p.set(name, plugin.label.c_str());
    p.set("OfxImageEffectPluginPropGrouping", plugin.group.c_str());
    p.set("OfxPropPluginDescription", plugin.description.c_str());
    p.set("OfxPropVersion", static_cast<int>(kVersionMajor));
    p.set("OfxPropVersion", static_cast<int>(kVersionMinor), 1);
    p.set("OfxPropVersionLabel", LARKMOOR_VERSION);
    p.set("OfxImageEffectPropSupportedContexts", plugin.context());
    p.set("OfxImageEffectPropSupportedContexts", kContextGeneral, 1);
    p.set("OfxImageEffectPropSupportedPixelDepths", "OfxBitDepthByte");
    p.set("OfxImageEffectPropSupportedPixelDepths", "OfxBitDepthFloat", 1);
    p.set("OfxImageEffectPluginRenderThreadSafety", "OfxImageEffectRenderInstanceSafe");
    for (const char* const none :
         {"OfxImageEffectPluginPropSingleInstance", "OfxImageEffectPluginPropHostFrameThreading",
          "OfxImageEffectPropSupportsMultiResolution", "OfxImageEffectPropSupportsTiles",
          "OfxImageEffectPropTemporalClipAccess", "OfxImageEffectPluginPropFieldRenderTwiceAlways",
          "OfxImageEffectPropMultipleClipDepths", "OfxImageEffectPropSupportsMultipleClipPARs"})
        p.set(none, 0);
}

void describeInContext(const Suites& suites, const Plugin& plugin, EffectHandle effect, const char* context) {
    // Some hosts take their project's format from the first clip.
    for (const char* const name : plugin.inputs()) defineClip(suites, effect, name);
    defineClip(suites, effect, "Output");
    ParamSet params = nullptr;
    if (suites.effect->getParamSet(effect, &params) == kOk && params)
        define(suites, params, plugin.parameters, std::string_view(context) != kContextTransition);
}

bool tellRegion(const Suites& suites, const Plugin& plugin, EffectHandle effect, const Properties& out) {
    if (plugin.info->kind != EffectKind::Generator) return false;
    const Properties own = propertiesOf(suites, effect);
    if (!own) return false;
    const auto get = [&](const char* name, int index) { return own.number(name, 0.0, index); };
    const double left = get("OfxImageEffectPropProjectOffset", 0), low = get("OfxImageEffectPropProjectOffset", 1);
    const double width = get("OfxImageEffectPropProjectSize", 0), height = get("OfxImageEffectPropProjectSize", 1);
    if (!(width > 0 && height > 0)) return false;
    const double region[] = {left, low, left + width, low + height};
    for (int i = 0; i < 4; ++i) out.set("OfxImageEffectPropRegionOfDefinition", region[i], i);
    return true;
}

void tellInterest(const Suites& suites, const Plugin& plugin, EffectHandle effect, double time, const Properties& out) {
    for (const char* const name : plugin.inputs()) {
        ClipHandle clip = nullptr;
        PropertySet set = nullptr; // not every host takes null for it
        RectD region{};
        if (suites.effect->clipGetHandle(effect, name, &clip, &set) != kOk || !clip ||
            suites.effect->clipGetRegionOfDefinition(clip, time, &region) != kOk)
            continue;
        const std::string property = std::string("OfxImageClipPropRoI_") + name;
        const double sides[] = {region.x1, region.y1, region.x2, region.y2};
        for (int i = 0; i < 4; ++i) out.set(property.c_str(), sides[i], i);
    }
}

void tellPreferences(const Suites& suites, const Plugin& plugin, EffectHandle effect, const Properties& out) {
    if (plugin.info->watchesTime) out.set("OfxImageEffectFrameVarying", 1);
    // An effect may clear what was opaque; straight colour stays straight.
    bool straight = false;
    for (const char* const name : plugin.inputs()) {
        ClipHandle clip = nullptr;
        PropertySet set = nullptr;
        if (suites.effect->clipGetHandle(effect, name, &clip, &set) != kOk || !set) continue;
        straight = straight || Properties(suites, set).text("OfxImageEffectPropPreMultiplication") ==
                                   std::string_view("OfxImageAlphaUnPremultiplied");
    }
    out.set("OfxImageEffectPropPreMultiplication",
            straight ? "OfxImageAlphaUnPremultiplied" : "OfxImageAlphaPremultiplied");
}

} // namespace larkmoor::openfx
