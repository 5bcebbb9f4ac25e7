// Streams over memory that is shared by their clones and by the storage they stand in.
#pragma once

#include <memory>
#include <vector>

#include "host/object.h"

namespace larkmoor {

inline constexpr HRESULT STG_E_INVALIDFUNCTION = KwStatus(0x80030001);
inline constexpr HRESULT STG_E_FILENOTFOUND = KwStatus(0x80030002);
inline constexpr HRESULT STG_E_ACCESSDENIED = KwStatus(0x80030005);
inline constexpr HRESULT STG_E_FILEALREADYEXISTS = KwStatus(0x80030050);

/// A position of its own on shared bytes. One thread at a time.
class MemoryStream final : public ObjectOf<IStream> {
  public:
    using Content = std::shared_ptr<std::vector<std::byte>>;

    explicit MemoryStream(Content content, bool writable = true)
        : m_content(std::move(content)), m_writable(writable) {}

    /// The stream behind an interface, or null for one of another make.
    static MemoryStream* of(IStream* stream);
    const std::vector<std::byte>& content() const { return *m_content; }

    HRESULT Read(void* target, ULONG count, ULONG* got) override;
    HRESULT Write(const void* source, ULONG count, ULONG* put) override;
    HRESULT Seek(std::int64_t distance, DWORD origin, std::uint64_t* position) override;
    HRESULT SetSize(std::uint64_t size) override;
    HRESULT CopyTo(IStream* target, std::uint64_t count, std::uint64_t* got, std::uint64_t* put) override;
    HRESULT Commit(DWORD) override { return S_OK; }
    HRESULT Revert() override { return S_OK; }
    HRESULT LockRegion(std::uint64_t, std::uint64_t, DWORD) override { return STG_E_INVALIDFUNCTION; }
    HRESULT UnlockRegion(std::uint64_t, std::uint64_t, DWORD) override { return STG_E_INVALIDFUNCTION; }
    HRESULT Stat(void*, DWORD) override { return E_NOTIMPL; }
    HRESULT Clone(IStream** out) override;

  protected:
    void* findInterface(const IID& iid) override;

  private:
    std::size_t left() const { return m_position < m_content->size() ? m_content->size() - m_position : 0; }

    const Content m_content;
    const bool m_writable;
    std::size_t m_position = 0;
};

} // namespace larkmoor
