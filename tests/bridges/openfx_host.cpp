#include "bridges/openfx_host.h"

#include <algorithm>
#include <cstdarg>
#include <cstring>

#include <dlfcn.h>

namespace openfxhost {
namespace {

std::mutex faultLock;
std::vector<std::string> faults;

/// The interface's properties: who may set and who may get them of (H)ost, (E)ffect, instance (X), (C)lip, (P)arameter,
/// i(M)age, (I)n and (O)ut arguments; the kind of their values, '*' for any; how many there may be, 0 for any number.
struct Row {
    std::string_view sets, gets;
    char kind;
    std::size_t most;
    std::string_view names; ///< with a blank behind each
};
constexpr Row kRows[] = {
    {"EP", "EXCP", 's', 1, "OfxPropLabel "},
    {"E", "E", 's', 1,
     "OfxPropShortLabel OfxPropLongLabel OfxImageEffectPluginPropGrouping OfxPropPluginDescription OfxPropVersionLabel "
     "OfxImageEffectPluginRenderThreadSafety "},
    {"E", "E", 's', 0, "OfxImageEffectPropSupportedContexts OfxImageEffectPropSupportedPixelDepths "},
    {"E", "E", 'i', 0, "OfxPropVersion "},
    {"E", "E", 'i', 1,
     "OfxImageEffectPluginPropSingleInstance OfxImageEffectPluginPropHostFrameThreading "
     "OfxImageEffectPropSupportsMultiResolution OfxImageEffectPluginPropFieldRenderTwiceAlways "
     "OfxImageEffectPropMultipleClipDepths OfxImageEffectPropSupportsMultipleClipPARs "},
    {"EC", "EC", 'i', 1, "OfxImageEffectPropSupportsTiles OfxImageEffectPropTemporalClipAccess "},
    {"C", "C", 's', 0, "OfxImageEffectPropSupportedComponents "},
    {"C", "C", 'i', 1, "OfxImageClipPropOptional "},
    {"C", "C", 's', 1, "OfxImageClipPropFieldExtraction "},
    {"X", "X", 'p', 1, "OfxPropInstanceData "},
    {"", "XI", 's', 1, "OfxImageEffectPropContext "},
    {"", "X", 'd', 2, "OfxImageEffectPropProjectSize OfxImageEffectPropProjectOffset "},
    {"", "XC", 'd', 1, "OfxImageEffectPropFrameRate "},
    {"P", "P", 's', 1, "OfxParamPropHint OfxParamPropScriptName OfxParamPropDoubleType OfxParamPropStringMode "},
    {"P", "P", 'i', 1, "OfxParamPropAnimates OfxParamPropDigits "},
    {"P", "P", '*', 0,
     "OfxParamPropDefault OfxParamPropMin OfxParamPropMax OfxParamPropDisplayMin OfxParamPropDisplayMax "},
    {"P", "P", 'd', 1, "OfxParamPropIncrement "},
    {"P", "P", 's', 0, "OfxParamPropChoiceOption "},
    {"", "M", 'p', 1, "OfxImagePropData "},
    {"", "M", 'i', 1, "OfxImagePropRowBytes "},
    {"", "M", 'i', 4, "OfxImagePropBounds "},
    {"", "CM", 's', 1, "OfxImageEffectPropPixelDepth OfxImageEffectPropComponents "},
    {"O", "CM", 's', 1, "OfxImageEffectPropPreMultiplication "},
    {"", "CM", 'd', 1, "OfxImagePropPixelAspectRatio "},
    {"O", "I", 'd', 1, "OfxPropTime "},
    {"O", "I", 's', 1, "OfxPropName "},
    {"", "I", 's', 1, "OfxPropType OfxPropChangeReason "},
    {"", "I", 'i', 4, "OfxImageEffectPropRenderWindow "},
    {"", "I", 'd', 2, "OfxImageEffectPropRenderScale "},
    {"O", "", 'd', 4,
     "OfxImageEffectPropRegionOfDefinition OfxImageClipPropRoI_Source OfxImageClipPropRoI_SourceFrom "
     "OfxImageClipPropRoI_SourceTo "},
    {"O", "", 'i', 1, "OfxImageEffectFrameVarying "},
};

/// Null for what is no property.
const Row* rowOf(std::string_view name) {
    static const auto all = [] {
        std::map<std::string_view, const Row*> found;
        for (const Row& row : kRows)
            for (std::size_t at = 0, end; (end = row.names.find(' ', at)) != std::string_view::npos; at = end + 1)
                found[row.names.substr(at, end - at)] = &row;
        return found;
    }();
    const auto found = all.find(name);
    return found == all.end() ? nullptr : found->second;
}

template <class Handle>
auto& of(Handle handle) {
    if constexpr (std::is_same_v<Handle, PropertySet>) return *reinterpret_cast<Properties*>(handle);
    if constexpr (std::is_same_v<Handle, ClipHandle>) return *reinterpret_cast<Clip*>(handle);
    if constexpr (std::is_same_v<Handle, ParamHandle>) return *reinterpret_cast<Parameter*>(handle);
    if constexpr (std::is_same_v<Handle, EffectHandle> || std::is_same_v<Handle, ParamSet>)
        return *reinterpret_cast<Effect*>(handle);
}

bool known(const Properties& set, const char* name, char kind, int index, bool sets) {
    const Row* const row = rowOf(name);
    const char who = "HEXCPMIO"[static_cast<std::size_t>(set.owner)];
    if (row && (sets ? row->sets : row->gets).find(who) != std::string_view::npos &&
        (row->kind == '*' || row->kind == kind) && index >= 0 &&
        (!row->most || static_cast<std::size_t>(index) < row->most))
        return true;
    addFault(std::string(sets ? "sets " : "gets ") + name + " as '" + kind + "' " + std::to_string(index));
    return false;
}

template <class T, char Kind>
int setOne(PropertySet set, const char* name, int index, T value) {
    const HostsTurn turn;
    Properties& properties = of(set);
    if (!known(properties, name, Kind, index, true)) return kUnknown;
    auto& values = properties.values[name];
    if (values.size() <= static_cast<std::size_t>(index)) values.resize(static_cast<std::size_t>(index) + 1);
    values[static_cast<std::size_t>(index)] = value;
    return kOk;
}

template <class T, char Kind, class Held = T>
int getOne(PropertySet set, const char* name, int index, T* out) {
    const HostsTurn turn;
    Properties& properties = of(set);
    if (!known(properties, name, Kind, index, false)) return kUnknown;
    const auto found = properties.values.find(std::string_view(name));
    if (found == properties.values.end() || found->second.size() <= static_cast<std::size_t>(index)) return kUnknown;
    auto* const held = std::get_if<Held>(&found->second[static_cast<std::size_t>(index)]);
    if (!held) return kUnknown;
    if constexpr (std::is_same_v<Held, std::string>)
        *out = held->data();
    else
        *out = *held;
    return kOk;
}

const PropertySuite propertySuite{.setPointer = &setOne<void*, 'p'>,
                                  .setString = &setOne<const char*, 's'>,
                                  .setDouble = &setOne<double, 'd'>,
                                  .setInt = &setOne<int, 'i'>,
                                  .getPointer = &getOne<void*, 'p'>,
                                  .getString = &getOne<char*, 's', std::string>,
                                  .getDouble = &getOne<double, 'd'>,
                                  .getInt = &getOne<int, 'i'>};

void during(const Effect& effect, const char* what, std::initializer_list<const char*> actions) {
    if (std::ranges::find(actions, effect.action) == actions.end())
        addFault(std::string(what) + " during " + effect.action);
}

int clipDefine(EffectHandle handle, const char* name, PropertySet* set) {
    const HostsTurn turn;
    Effect& effect = of(handle);
    during(effect, "clipDefine", {"OfxImageEffectActionDescribeInContext"});
    auto& clip = effect.clips[name];
    if (clip) addFault(std::string("defines the clip twice: ") + name);
    clip = std::make_unique<Clip>();
    clip->name = name;
    *set = clip->properties.handle();
    return kOk;
}

int clipGetHandle(EffectHandle handle, const char* name, ClipHandle* clip, PropertySet* set) {
    const HostsTurn turn;
    Effect& effect = of(handle);
    const auto found = effect.clips.find(name);
    if (effect.properties.owner != Owner::Instance || found == effect.clips.end()) {
        addFault(std::string("asks for the clip ") + name);
        return kBadHandle;
    }
    *clip = reinterpret_cast<ClipHandle>(found->second.get());
    if (set) *set = found->second->properties.handle();
    return kOk;
}

int clipGetImage(ClipHandle handle, double, const RectD*, PropertySet* image) {
    const HostsTurn turn;
    Clip& clip = of(handle);
    during(*clip.effect, "clipGetImage", {"OfxImageEffectActionRender"});
    if (!clip.picture) return kFailed;
    Picture& picture = *clip.picture;
    auto* const set = new Properties(Owner::Image);
    const Area& b = picture.bounds;
    constexpr const char* states[] = {"OfxImageOpaque", "OfxImageAlphaPremultiplied", "OfxImageAlphaUnPremultiplied"};
    set->put<void*>("OfxImagePropData", {picture.first});
    set->put<int>("OfxImagePropRowBytes", {static_cast<int>(picture.rowBytes)});
    set->put<int>("OfxImagePropBounds", {b.x1, b.y1, b.x2, b.y2});
    set->put<std::string>("OfxImageEffectPropPixelDepth", {picture.floats ? "OfxBitDepthFloat" : "OfxBitDepthByte"});
    set->put<std::string>("OfxImageEffectPropComponents", {"OfxImageComponentRGBA"});
    set->put<std::string>("OfxImageEffectPropPreMultiplication", {states[static_cast<int>(picture.alpha)]});
    if (clip.properties.has("OfxImagePropPixelAspectRatio"))
        set->put<double>("OfxImagePropPixelAspectRatio", {clip.properties.number("OfxImagePropPixelAspectRatio")});
    set->values["effect"] = {static_cast<void*>(clip.effect)};
    ++clip.effect->images;
    *image = set->handle();
    return kOk;
}

int clipReleaseImage(PropertySet image) {
    const HostsTurn turn;
    Properties* const set = &of(image);
    --static_cast<Effect*>(std::get<void*>(set->values["effect"][0]))->images;
    delete set;
    return kOk;
}

const EffectSuite effectSuite{
    .getPropertySet =
        [](EffectHandle handle, PropertySet* set) {
            *set = of(handle).properties.handle();
            return static_cast<int>(kOk);
        },
    .getParamSet =
        [](EffectHandle handle, ParamSet* set) {
            *set = reinterpret_cast<ParamSet>(handle);
            return static_cast<int>(kOk);
        },
    .clipDefine = &clipDefine,
    .clipGetHandle = &clipGetHandle,
    .clipGetImage = &clipGetImage,
    .clipReleaseImage = &clipReleaseImage,
    .clipGetRegionOfDefinition =
        [](ClipHandle handle, double, RectD* region) {
            *region = of(handle).region;
            return static_cast<int>(kOk);
        },
    .abort =
        [](EffectHandle handle) {
            const HostsTurn turn;
            Effect& effect = of(handle);
            during(effect, "abort", {"OfxImageEffectActionRender"});
            if (effect.abortAfter > 0)
                --effect.abortAfter;
            else if (effect.abortAfter == 0)
                return 1;
            return 0;
        },
};

int paramDefine(ParamSet handle, const char* type, const char* name, PropertySet* set) {
    const HostsTurn turn;
    Effect& effect = of(handle);
    during(effect, "paramDefine", {"OfxImageEffectActionDescribeInContext"});
    auto& parameter = effect.parameters[name];
    if (parameter) addFault(std::string("defines the parameter twice: ") + name);
    parameter = std::make_unique<Parameter>();
    parameter->type = std::string(type).substr(std::strlen("OfxParamType"));
    effect.order.emplace_back(name);
    *set = parameter->properties.handle();
    return kOk;
}

int paramGetHandle(ParamSet handle, const char* name, ParamHandle* param, PropertySet* set) {
    const HostsTurn turn;
    Effect& effect = of(handle);
    const auto found = effect.parameters.find(name);
    if (effect.properties.owner != Owner::Instance || found == effect.parameters.end()) {
        addFault(std::string("asks for the parameter ") + name);
        return kUnknown;
    }
    *param = reinterpret_cast<ParamHandle>(found->second.get());
    if (set) *set = found->second->properties.handle();
    return kOk;
}

bool isWhole(const Parameter& parameter) {
    return parameter.type == "Integer" || parameter.type == "Boolean" || parameter.type == "Choice";
}

int getValueAtTime(ParamHandle handle, double time, ...) {
    Parameter& parameter = of(handle);
    std::va_list arguments;
    va_start(arguments, time);
    if (parameter.type == "String")
        *va_arg(arguments, char**) = parameter.text.data();
    else
        for (const double number : parameter.numbers) {
            const double value = parameter.perFrame == 0 ? number : number + parameter.perFrame * time;
            if (isWhole(parameter))
                *va_arg(arguments, int*) = static_cast<int>(value);
            else
                *va_arg(arguments, double*) = value;
        }
    va_end(arguments);
    return kOk;
}

int setValue(ParamHandle handle, ...) {
    const HostsTurn turn;
    Parameter& parameter = of(handle);
    std::va_list arguments;
    va_start(arguments, handle);
    if (parameter.type == "String")
        parameter.text = va_arg(arguments, char*);
    else
        for (double& number : parameter.numbers)
            number = isWhole(parameter) ? va_arg(arguments, int) : va_arg(arguments, double);
    va_end(arguments);
    return kOk;
}

const ParameterSuite parameterSuite{.define = &paramDefine,
                                    .getHandle = &paramGetHandle,
                                    .getValueAtTime = &getValueAtTime,
                                    .setValue = &setValue,
                                    .editBegin =
                                        [](ParamSet set, const char*) {
                                            const HostsTurn turn;
                                            during(of(set), "editBegin", {"OfxActionInstanceChanged"});
                                            ++of(set).edits;
                                            return static_cast<int>(kOk);
                                        },
                                    .editEnd =
                                        [](ParamSet set) {
                                            --of(set).edits;
                                            return static_cast<int>(kOk);
                                        }};

int messageVersion = 2;

template <bool Stays>
int tell(EffectHandle handle, const char* type, const char*, const char* format, ...) {
    const HostsTurn turn;
    if (std::strcmp(type, "OfxMessageError") != 0 || std::strcmp(format, "%s") != 0) addFault("tells otherwise");
    if (Stays != (messageVersion == 2)) addFault("tells what stays as what does not");
    std::va_list arguments;
    va_start(arguments, format);
    of(handle).messages.emplace_back(va_arg(arguments, const char*));
    va_end(arguments);
    return kOk;
}

const MessageSuite messageSuite{
    .message = &tell<false>, .setPersistent = &tell<true>, .clearPersistent = [](EffectHandle handle) {
        const HostsTurn turn;
        of(handle).messages.emplace_back("nothing");
        return static_cast<int>(kOk);
    }};

bool mayFetch = false;

const void* fetchSuite(PropertySet, const char* name, int version) {
    const HostsTurn turn;
    if (!mayFetch) addFault(std::string("fetches a suite before it is loaded: ") + name);
    const std::string_view wanted = name;
    if (wanted == "OfxMessageSuite") return version == messageVersion ? &messageSuite : nullptr;
    if (version != 1) return nullptr;
    if (wanted == "OfxPropertySuite") return &propertySuite;
    if (wanted == "OfxImageEffectSuite") return &effectSuite;
    return wanted == "OfxParameterSuite" ? &parameterSuite : nullptr;
}

} // namespace

void addFault(const std::string& fault) {
    const std::scoped_lock guard(faultLock);
    faults.push_back(fault);
}

std::vector<std::string> takeFaults() {
    const std::scoped_lock guard(faultLock);
    return std::exchange(faults, {});
}

std::string Properties::text(const std::string& name, std::size_t index) const {
    const auto found = values.find(name);
    return found != values.end() && index < found->second.size() ? std::get<std::string>(found->second[index]) : "";
}

double Properties::number(const std::string& name, std::size_t index) const {
    const auto found = values.find(name);
    if (found == values.end() || index >= found->second.size()) return 0;
    const int* const whole = std::get_if<int>(&found->second[index]);
    return whole ? *whole : std::get<double>(found->second[index]);
}

LoadedPlugin::LoadedPlugin(PluginEntry& entry, int withMessages) : m_entry(entry) {
    static Properties hostProperties(Owner::Host);
    static Host hosts[3]; // what a plug-in has of one it need not ask for again
    Host& host = hosts[withMessages] = {hostProperties.handle(), &fetchSuite};
    messageVersion = withMessages;
    mayFetch = false;
    entry.setHost(&host);
    mayFetch = true;
    if (call(nullptr, "OfxActionLoad") != kOk) addFault("cannot be loaded");
    if (call(&m_descriptor, "OfxActionDescribe") != kOk) addFault("cannot be described");
}

int LoadedPlugin::call(Effect* effect, const char* action, Properties* in, Properties* out) {
    if (effect) effect->action = action;
    const int status = m_entry.mainEntry(action, effect, in ? in->handle() : nullptr, out ? out->handle() : nullptr);
    if (effect && effect->images) addFault(std::string("keeps an image after ") + action);
    if (effect && effect->edits) addFault(std::string("leaves an edit open after ") + action);
    if (effect) effect->action = "nothing";
    return status;
}

std::unique_ptr<Effect> LoadedPlugin::describe(const std::string& context) {
    auto effect = std::make_unique<Effect>(Owner::Effect);
    effect->context = context;
    Properties in(Owner::In);
    in.put<std::string>("OfxImageEffectPropContext", {context});
    if (call(effect.get(), "OfxImageEffectActionDescribeInContext", &in) != kOk)
        addFault("cannot be described in " + context);
    return effect;
}

Instance::Instance(LoadedPlugin& plugin, const std::string& context) : Instance(plugin, *plugin.describe(context)) {}

Instance::Instance(LoadedPlugin& plugin, const Effect& described) : m_plugin(plugin) {
    m_effect.properties.put<std::string>("OfxImageEffectPropContext", {described.context});
    for (const auto& [name, clip] : described.clips) {
        auto& own = m_effect.clips[name] = std::make_unique<Clip>(*clip);
        own->effect = &m_effect;
    }
    for (const auto& [name, parameter] : described.parameters) {
        auto& own = m_effect.parameters[name] = std::make_unique<Parameter>(*parameter);
        if (own->type == "String")
            own->text = own->properties.text("OfxParamPropDefault");
        else
            for (std::size_t i = 0; i < own->properties.values["OfxParamPropDefault"].size(); ++i)
                own->numbers.push_back(own->properties.number("OfxParamPropDefault", i));
    }
    if (call("OfxActionCreateInstance") != kOk) addFault("cannot be created");
}

Instance::~Instance() {
    if (call("OfxActionDestroyInstance") != kOk) addFault("cannot be destroyed");
}

Parameter& Instance::parameter(const std::string& name) {
    return *m_effect.parameters.at(name);
}

Clip& Instance::clip(const std::string& name) {
    return *m_effect.clips.at(name);
}

int Instance::render(double time, const Area& window, double scaleX, double scaleY) {
    Properties in(Owner::In);
    in.put<double>("OfxPropTime", {time});
    in.put<int>("OfxImageEffectPropRenderWindow", {window.x1, window.y1, window.x2, window.y2});
    in.put<double>("OfxImageEffectPropRenderScale", {scaleX, scaleY});
    return call("OfxImageEffectActionRender", &in);
}

std::vector<std::unique_ptr<LoadedPlugin>>& plugins() {
    static std::vector<std::unique_ptr<LoadedPlugin>> all = [] {
        std::vector<std::unique_ptr<LoadedPlugin>> found;
        void* const file = ::dlopen(LARKMOOR_OPENFX_FILE, RTLD_LAZY | RTLD_LOCAL);
        if (!file) {
            addFault(::dlerror());
            return found;
        }
        const auto count = reinterpret_cast<int (*)()>(::dlsym(file, "OfxGetNumberOfPlugins"));
        const auto get = reinterpret_cast<PluginEntry* (*)(int)>(::dlsym(file, "OfxGetPlugin"));
        for (int i = 0; i < count(); ++i) found.push_back(std::make_unique<LoadedPlugin>(*get(i)));
        return found;
    }();
    return all;
}

} // namespace openfxhost
