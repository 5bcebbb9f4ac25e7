// The module as hosts load it: class factories and the walk of the object map.
#include <algorithm>
#include <array>
#include <cstring>
#include <type_traits>

#include "base/object.h"
#include "frame/effect_class.h"
#include "platform/exports.h"

namespace {

/// The image transform category: effects implement it, pages do not.
constexpr GUID kImageTransformCategory{0xC501EDBE, 0x9E70, 0x11D1, {0x90, 0x53, 0x00, 0xC0, 0x4F, 0xD9, 0x18, 0x9D}};

/// Lives as long as the module; references do not keep the module loaded, locks do.
class CClassFactory final : public IClassFactory {
  public:
    CClassFactory() = default;
    explicit CClassFactory(const tObjectMapRow& row) : m_row(&row) {}

    HRESULT QueryInterface(const IID* iid, void** out) noexcept override {
        if (!out) return E_POINTER;
        *out = nullptr;
        if (!iid) return E_INVALIDARG;
        if (!(*iid == IUnknown::iid) && !(*iid == IClassFactory::iid)) return E_NOINTERFACE;
        *out = static_cast<IClassFactory*>(this);
        return S_OK;
    }
    ULONG AddRef() noexcept override { return 2; }
    ULONG Release() noexcept override { return 1; }

    HRESULT CreateInstance(IUnknown* outer, const IID* iid, void** out) override {
        if (!out) return E_POINTER;
        *out = nullptr;
        if (!iid) return E_INVALIDARG;
        if (!m_row->create) return CLASS_E_CLASSNOTAVAILABLE;
        // An outer object has to own the inner unknown: any other interface counts on the outer object alone.
        if (outer && !(*iid == IUnknown::iid)) return CLASS_E_NOAGGREGATION;
        return KwGuarded([&] {
            IUnknown* const object = m_row->create(*m_row, outer);
            if (!object) return E_OUTOFMEMORY;
            const HRESULT status = object->QueryInterface(iid, out);
            object->Release();
            return status;
        });
    }
    HRESULT LockServer(BOOL lock) noexcept override {
        CModuleLock::Add(lock ? 1 : -1);
        return S_OK;
    }

  private:
    const tObjectMapRow* m_row = nullptr;
};

/// The factory of a row. Nothing ends its life: a host may still hold one while the process ends.
CClassFactory& FactoryOf(std::size_t index) {
    using tFactories = std::array<CClassFactory, kMostClasses>;
    static_assert(std::is_trivially_destructible_v<tFactories>);
    static tFactories factories = [] {
        tFactories made;
        std::ranges::transform(KwObjectMap(), made.begin(), [](const auto& row) { return CClassFactory(row); });
        return made;
    }();
    return factories[index];
}

} // namespace

HRESULT DllCanUnloadNow() {
    return CModuleLock::Count() == 0 ? S_OK : S_FALSE;
}

HRESULT DllGetClassObject(const CLSID* clsid, const IID* iid, void** out) {
    if (!out) return E_POINTER;
    *out = nullptr;
    if (!clsid) return E_INVALIDARG;
    const auto rows = KwObjectMap();
    const auto row = std::find_if(rows.begin(), rows.end(), [&](const auto& r) { return r.clsid == *clsid; });
    if (row == rows.end()) return CLASS_E_CLASSNOTAVAILABLE;
    return KwGuarded([&] { return FactoryOf(static_cast<std::size_t>(row - rows.begin())).QueryInterface(iid, out); });
}

HRESULT DllEnumObjects2(LONG index, GUID* category, CLSID* clsid, char* description, LONG descriptionSize, void*, void*,
                        void*) {
    if (index < 0) return E_INVALIDARG;
    const auto rows = KwObjectMap();
    if (static_cast<std::size_t>(index) >= rows.size()) return S_FALSE;
    const tObjectMapRow& row = rows[static_cast<std::size_t>(index)];
    if (clsid) *clsid = row.clsid;
    if (description && descriptionSize > 0) {
        const char* const text = row.description ? row.description : "";
        const std::size_t length = std::min(std::strlen(text), static_cast<std::size_t>(descriptionSize) - 1);
        std::memcpy(description, text, length);
        description[length] = 0;
    }
    if (category) *category = row.description ? kImageTransformCategory : GUID{};
    return S_OK;
}

HRESULT DllRegisterServer() {
    return E_NOTIMPL;
}

HRESULT DllUnregisterServer() {
    return S_OK;
}
