#include "host/module.h"

#include <algorithm>

#include "fmt/format.h"
#include "host/module_state.h"
#include "host/names.h"
#include "platform/library.h"

namespace larkmoor {
namespace {

template <class Function>
Function function(void* library, const char* name) {
    return reinterpret_cast<Function>(KwFindFunction(library, name));
}

std::string withoutMaker(const std::string& description) {
    const std::size_t blank = description.find(' ');
    return blank == std::string::npos || blank + 1 == description.size() ? description : description.substr(blank + 1);
}

EffectKind kindOf(LONG kind) {
    return kind == 0 ? EffectKind::Generator : kind == KWKIND_TRANSITION ? EffectKind::Transition : EffectKind::Filter;
}

/// Bit of `tEffectInfo::flags` in effects that take the frame's time from the surface.
constexpr ULONG kFlagWatchesTime = 0x100;

/// False for an object that does not tell what it is.
bool describe(IUnknown* object, EffectInfo& info) {
    const auto told = KwQuery<IKwParamInfo>(object);
    tClassInfo row{};
    if (!told || FAILED(told->GetClassInfo(&row, sizeof row)) || row.recordSize < 0) return false;
    info.className = row.className ? row.className : "";
    info.family = row.family ? row.family : "";
    info.iid = row.iid;
    info.kind = kindOf(row.kind);
    info.minInputs = row.minInputs;
    info.maxInputs = row.maxInputs;
    info.soundInFloat = row.floatForm == KWFLOAT_SOUND;
    tEffectInfo block{};
    const auto teller = KwQuery<IKwEffectInfo>(object);
    info.watchesTime =
        teller && SUCCEEDED(teller->GetEffectInfo(&block, sizeof block)) && (block.flags & kFlagWatchesTime) != 0;
    const auto recordOf = [&](LONG index, std::string& name) {
        std::vector<std::byte> record(static_cast<std::size_t>(row.recordSize));
        const char* text = nullptr;
        if (SUCCEEDED(told->GetPreset(index, &text, record.data(), static_cast<ULONG>(record.size()))) && text)
            name = text;
        return record;
    };
    for (LONG i = 0; i < row.fieldCount; ++i) {
        tFieldInfo field{};
        if (SUCCEEDED(told->GetField(i, &field, sizeof field))) info.fields.push_back(field);
    }
    std::string unnamed;
    info.defaults = recordOf(-1, unnamed);
    for (LONG i = 0; i < row.presetCount; ++i) {
        PresetInfo preset;
        preset.record = recordOf(i, preset.name);
        info.presets.push_back(std::move(preset));
    }
    if (info.textField()) {
        // Told records hold pointers; the object itself writes them out.
        const auto ramp = KwQuery<IKwParamRamp>(object);
        const auto presets = KwQuery<IKwPresets>(object);
        const auto saved = [&] {
            const auto stream = createMemoryStream();
            if (ramp) ramp->SaveParams(stream.Get());
            return streamContent(stream.Get());
        };
        info.defaults = saved();
        for (LONG i = 0; i < row.presetCount && presets; ++i) {
            presets->Apply(i);
            info.presets[static_cast<std::size_t>(i)].record = saved();
        }
    }
    return true;
}

} // namespace

Module::State::State(const std::string& file, ClassObjects classObjects) : path(file) {
    std::string why;
    library = KwOpenLibrary(file, why);
    if (!library) throw Error(fmt::format("the module {} cannot be loaded: {}", path, why));
    getClassObject = classObjects ? classObjects : function<ClassObjects>(library, "DllGetClassObject");
    try {
        if (!getClassObject || !KwFindFunction(library, "DllEnumObjects2"))
            throw Error(fmt::format("{} is not an effect module: it does not export DllEnumObjects2 and "
                                    "DllGetClassObject",
                                    path));
        listEffects();
    } catch (...) {
        KwCloseLibrary(library);
        throw;
    }
}

Module::State::~State() {
    // An object that a caller still holds keeps its code.
    const auto canUnload = function<HRESULT (*)()>(library, "DllCanUnloadNow");
    if (!canUnload || canUnload() == S_OK) KwCloseLibrary(library);
}

void Module::State::listEffects() {
    using Enumerate = HRESULT (*)(LONG, GUID*, CLSID*, char*, LONG, void*, void*, void*);
    const auto enumerate = function<Enumerate>(library, "DllEnumObjects2");
    constexpr LONG kMostRows = 10000;
    for (LONG i = 0; i < kMostRows; ++i) {
        GUID category{};
        EffectInfo info;
        char description[512] = "";
        if (enumerate(i, &category, &info.clsid, description, sizeof description, nullptr, nullptr, nullptr) != S_OK)
            break;
        if (category == GUID{}) continue; // a page
        description[sizeof description - 1] = 0;
        info.description = description;
        info.name = withoutMaker(info.description);
        CComPtr<IUnknown> object;
        try {
            object = createObject(info.clsid);
        } catch (const StatusError&) {
            continue; // announced, not built
        }
        if (describe(object.Get(), info)) effects.push_back(std::move(info));
    }
}

CComPtr<IUnknown> Module::State::createObject(const CLSID& clsid) const {
    CComPtr<IClassFactory> factory;
    CComPtr<IUnknown> object;
    HRESULT status = getClassObject(&clsid, &IClassFactory::iid, factory.ReceiveVoid());
    if (FAILED(status)) factory.Detach();
    if (factory) {
        status = factory->CreateInstance(nullptr, &IUnknown::iid, object.ReceiveVoid());
        if (FAILED(status)) object.Detach();
    }
    if (object) return object;
    if (status == E_OUTOFMEMORY) throw StatusError("there is not enough memory for another effect", status);
    throw StatusError(fmt::format("the module {} has no such effect", path),
                      FAILED(status) ? status : CLASS_E_CLASSNOTAVAILABLE);
}

bool isLegalizer(const EffectInfo& info) {
    return info.className == "DXTBroadcastColors" || info.className == "DXTGamut";
}

bool isNone(const EffectInfo& info, std::span<const std::byte> record) {
    return std::ranges::any_of(info.presets, [&](const PresetInfo& preset) {
        return preset.name == "Reset to None" && std::ranges::equal(preset.record, record);
    });
}

std::string moduleBeside(const void* address) {
    return KwModuleBeside(address);
}

std::string moduleFile(const std::string& path) {
    std::string looked;
    std::string file = KwModuleFile(path, looked);
    if (file.empty())
        throw Error(fmt::format("the module {} was not found; looked for {}and on the system's library path; set "
                                "LARKMOOR_MODULE to the file",
                                kModuleFileName, looked));
    return file;
}

Module Module::load(const std::string& path, ClassObjects classObjects) {
    Module module;
    module.m_state = std::make_shared<State>(moduleFile(path), classObjects);
    return module;
}

std::span<const EffectInfo> Module::effects() const {
    return m_state->effects;
}

const EffectInfo& Module::find(std::string_view name) const {
    for (const EffectInfo& info : effects())
        if (sameName(name, info.name) || sameName(name, info.className) || sameName(name, info.description))
            return info;
    if (effects().empty())
        throw Error(fmt::format("there is no effect {}: the module {} has none", inQuotes(name), m_state->path));
    std::vector<Candidate> candidates;
    for (const EffectInfo& info : effects()) candidates.push_back({info.name, {info.className, info.description}});
    throw Error(fmt::format("there is no effect {}; {}", inQuotes(name), didYouMean(name, candidates)));
}

Effect Module::create(const EffectInfo& info, unsigned processors) const {
    auto state = std::make_shared<Effect::State>();
    state->module = m_state;
    for (const EffectInfo& row : effects())
        if (row.clsid == info.clsid) state->info = &row;
    if (!state->info) throw Error(fmt::format("the module {} has no effect {}", m_state->path, inQuotes(info.name)));
    state->site = createTransformFactory(processors);
    state->object = createObject(info.clsid);
    state->transform = KwQuery<IDXTransform>(state->object.Get());
    if (state->info->kind == EffectKind::Generator)
        state->generator = queryAs<IKwGenerator>(state->object.Get(), state->info->iid);
    else
        state->effect = queryAs<IKwEffect>(state->object.Get(), state->info->iid);
    if (!state->generator && !state->effect) state->check(E_NOINTERFACE, "be made");
    if (const auto sited = KwQuery<IObjectWithSite>(state->object.Get()))
        state->check(sited->SetSite(state->site.Get()), "be made");
    return Effect(std::move(state));
}

CComPtr<IUnknown> Module::createObject(const CLSID& clsid) const {
    return m_state->createObject(clsid);
}

void* Module::symbol(const char* name) const {
    return KwFindFunction(m_state->library, name);
}

} // namespace larkmoor
