#include "platform/windows/programs/registered.h"

// The system's header has other types by the names of the contract.
extern "C" {
__declspec(dllimport) HRESULT __stdcall CoInitializeEx(void* reserved, DWORD threads);
__declspec(dllimport) HRESULT
    __stdcall CoCreateInstance(const CLSID* clsid, IUnknown* outer, DWORD context, const IID* iid, void** out);
}

namespace {

constexpr DWORD kThreadsOfAllKinds = 0, kInThisProcess = 1;

/// Counts nothing: each stands for the life of the process.
class CRegisteredClass final : public IClassFactory {
  public:
    explicit CRegisteredClass(const CLSID& clsid) : m_clsid(clsid) {}

    HRESULT QueryInterface(const IID* iid, void** out) noexcept override {
        const bool known = *iid == IUnknown::iid || *iid == IClassFactory::iid;
        *out = known ? this : nullptr;
        return known ? S_OK : E_NOINTERFACE;
    }
    ULONG AddRef() noexcept override { return 2; }
    ULONG Release() noexcept override { return 1; }
    HRESULT CreateInstance(IUnknown* outer, const IID* iid, void** out) noexcept override {
        return CoCreateInstance(&m_clsid, outer, kInThisProcess, iid, out);
    }
    HRESULT LockServer(BOOL) noexcept override { return S_OK; }

  private:
    CLSID m_clsid;
};

} // namespace

HRESULT KwRegisteredClass(const CLSID* clsid, const IID* iid, void** out) {
    static const HRESULT ready = CoInitializeEx(nullptr, kThreadsOfAllKinds);
    *out = nullptr;
    if (FAILED(ready)) return ready;
    return (new CRegisteredClass(*clsid))->QueryInterface(iid, out);
}
