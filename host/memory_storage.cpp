#include <map>
#include <string>

#include "host/memory_stream.h"
#include "host/services.h"

namespace larkmoor {
namespace {

constexpr DWORD kModeAccess = 3; // 0 read, 1 write, 2 both
constexpr DWORD kModeCreate = 0x1000;

/// Named streams. One thread at a time.
class MemoryStorage final : public ObjectOf<IStorage> {
  public:
    HRESULT CreateStream(const OLECHAR* name, DWORD mode, DWORD, DWORD, IStream** out) override {
        if (!out) return E_POINTER;
        *out = nullptr;
        if (!name) return E_POINTER;
        return guarded([&]() -> HRESULT {
            if (!(mode & kModeCreate) && m_streams.contains(name)) return STG_E_FILEALREADYEXISTS;
            auto content = std::make_shared<std::vector<std::byte>>();
            auto stream = makeObject<MemoryStream>(content);
            m_streams[name] = std::move(content);
            *out = stream.Detach();
            return S_OK;
        });
    }
    HRESULT OpenStream(const OLECHAR* name, void*, DWORD mode, DWORD, IStream** out) override {
        if (!out) return E_POINTER;
        *out = nullptr;
        if (!name) return E_POINTER;
        return guarded([&]() -> HRESULT {
            const auto found = m_streams.find(name);
            if (found == m_streams.end()) return STG_E_FILENOTFOUND;
            *out = makeObject<MemoryStream>(found->second, (mode & kModeAccess) != 0).Detach();
            return S_OK;
        });
    }
    HRESULT DestroyElement(const OLECHAR* name) override {
        if (!name) return E_POINTER;
        return guarded([&] { return m_streams.erase(name) ? S_OK : STG_E_FILENOTFOUND; });
    }
    HRESULT RenameElement(const OLECHAR* oldName, const OLECHAR* newName) override {
        if (!oldName || !newName) return E_POINTER;
        return guarded([&]() -> HRESULT {
            if (m_streams.contains(newName)) return STG_E_FILEALREADYEXISTS;
            const auto found = m_streams.find(oldName);
            if (found == m_streams.end()) return STG_E_FILENOTFOUND;
            m_streams[newName] = found->second;
            m_streams.erase(oldName);
            return S_OK;
        });
    }
    HRESULT Commit(DWORD) override { return S_OK; }
    HRESULT Revert() override { return S_OK; }

    HRESULT CreateStorage(const OLECHAR*, DWORD, DWORD, DWORD, IStorage** out) override {
        return answer(out, nullptr) ? E_POINTER : E_NOTIMPL;
    }
    HRESULT OpenStorage(const OLECHAR*, IStorage*, DWORD, void*, DWORD, IStorage** out) override {
        return answer(out, nullptr) ? E_POINTER : E_NOTIMPL;
    }
    HRESULT CopyTo(DWORD, const IID*, void*, IStorage*) override { return E_NOTIMPL; }
    HRESULT MoveElementTo(const OLECHAR*, IStorage*, const OLECHAR*, DWORD) override { return E_NOTIMPL; }
    HRESULT EnumElements(DWORD, void*, DWORD, IEnumSTATSTG**) override { return E_NOTIMPL; }
    HRESULT SetElementTimes(const OLECHAR*, const void*, const void*, const void*) override { return E_NOTIMPL; }
    HRESULT SetClass(const CLSID*) override { return E_NOTIMPL; }
    HRESULT SetStateBits(DWORD, DWORD) override { return E_NOTIMPL; }
    HRESULT Stat(void*, DWORD) override { return E_NOTIMPL; }

  private:
    std::map<std::basic_string<OLECHAR>, MemoryStream::Content> m_streams;
};

} // namespace

CComPtr<IStorage> createMemoryStorage() {
    return CComPtr<IStorage>(makeObject<MemoryStorage>().Get());
}

} // namespace larkmoor
