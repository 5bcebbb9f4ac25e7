// What the handles `Module` and `Effect` share.
#pragma once

#include "host/module.h"

namespace larkmoor {

struct Module::State {
    State(const std::string& path, ClassObjects classObjects);
    State(const State&) = delete;
    State& operator=(const State&) = delete;
    ~State();

    CComPtr<IUnknown> createObject(const CLSID& clsid) const;
    void listEffects();

    std::string path;
    void* library = nullptr;
    ClassObjects getClassObject = nullptr;
    std::vector<EffectInfo> effects;
};

struct Effect::State {
    std::shared_ptr<const Module::State> module; ///< outlives the objects below
    const EffectInfo* info = nullptr;
    CComPtr<IDXTransformFactory> site;
    CComPtr<IUnknown> object;
    // One of the two stands, by the kind.
    CComPtr<IKwEffect> effect;
    CComPtr<IKwGenerator> generator;
    CComPtr<IDXTransform> transform;
    std::vector<CComPtr<IDXSurface>> bound; ///< the inputs, then the output, that `Setup` took

    std::vector<std::byte> record() const;
    void setRecord(std::span<const std::byte> record);
    /// Throws Error where the size is not that of a whole record.
    void checkRecord(std::span<const std::byte> record) const;
    /// Throws StatusError in the effect's name when `status` is a failure of `doing`.
    void check(HRESULT status, const char* doing) const;
    /// An interface that the effect cannot do without for `doing`.
    template <class T>
    CComPtr<T> need(const char* doing) const {
        auto found = KwQuery<T>(object.Get());
        if (!found) check(E_NOINTERFACE, doing);
        return found;
    }
};

/// An interface by an id that is known at run time only.
template <class T>
CComPtr<T> queryAs(IUnknown* object, const IID& iid) {
    CComPtr<T> found;
    if (object && FAILED(object->QueryInterface(&iid, found.ReceiveVoid()))) found.Detach();
    return found;
}

} // namespace larkmoor
