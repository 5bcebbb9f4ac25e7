#include "host/memory_stream.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "host/services.h"

namespace larkmoor {
namespace {

/// By which the host knows its own streams again.
constexpr IID kOwnStreamId{0x2D7A9C41, 0x0E63, 0x4B8B, {0xA5, 0x1D, 0x77, 0x30, 0xC8, 0x4E, 0x92, 0x16}};

/// What a stream may grow to. A length beyond it is a mistake, not a demand.
constexpr std::uint64_t kMostBytes =
    std::min<std::uint64_t>(std::uint64_t{1} << 32, std::numeric_limits<std::ptrdiff_t>::max() / 2);

} // namespace

MemoryStream* MemoryStream::of(IStream* stream) {
    void* own = nullptr;
    if (!stream || FAILED(stream->QueryInterface(&kOwnStreamId, &own)) || !own) return nullptr;
    stream->Release();
    return static_cast<MemoryStream*>(own);
}

void* MemoryStream::findInterface(const IID& iid) {
    return iid == kOwnStreamId ? this : ObjectOf::findInterface(iid);
}

HRESULT MemoryStream::Read(void* target, ULONG count, ULONG* got) {
    if (got) *got = 0;
    if (!target) return E_POINTER;
    const std::size_t length = std::min<std::size_t>(count, left());
    if (length) std::memcpy(target, m_content->data() + m_position, length);
    m_position += length;
    if (got) *got = static_cast<ULONG>(length);
    return length == count ? S_OK : S_FALSE;
}

HRESULT MemoryStream::Write(const void* source, ULONG count, ULONG* put) {
    if (put) *put = 0;
    if (!source) return E_POINTER;
    if (!m_writable) return STG_E_ACCESSDENIED;
    if (count == 0) return S_OK;
    return guarded([&] {
        if (std::uint64_t{m_position} + count > kMostBytes) return E_OUTOFMEMORY;
        const std::size_t end = m_position + count;
        if (m_content->size() < end) m_content->resize(end);
        std::memcpy(m_content->data() + m_position, source, count);
        m_position = end;
        if (put) *put = count;
        return S_OK;
    });
}

HRESULT MemoryStream::Seek(std::int64_t distance, DWORD origin, std::uint64_t* position) {
    if (origin > 2) return STG_E_INVALIDFUNCTION;
    const std::size_t bases[] = {0, m_position, m_content->size()};
    const auto base = static_cast<std::int64_t>(bases[origin]);
    if (distance < -base || distance > static_cast<std::int64_t>(kMostBytes) - base) return STG_E_INVALIDFUNCTION;
    m_position = static_cast<std::size_t>(base + distance);
    if (position) *position = m_position;
    return S_OK;
}

HRESULT MemoryStream::SetSize(std::uint64_t size) {
    if (!m_writable) return STG_E_ACCESSDENIED;
    if (size > kMostBytes) return E_OUTOFMEMORY;
    return guarded([&] {
        m_content->resize(static_cast<std::size_t>(size));
        return S_OK;
    });
}

HRESULT MemoryStream::CopyTo(IStream* target, std::uint64_t count, std::uint64_t* got, std::uint64_t* put) {
    if (got) *got = 0;
    if (put) *put = 0;
    if (!target) return E_POINTER;
    const auto length = static_cast<ULONG>(std::min({count, std::uint64_t{left()}, std::uint64_t{UINT32_MAX}}));
    return guarded([&] {
        // A copy of the bytes, as the target may stand on the same ones and move them.
        const auto from = m_content->begin() + static_cast<std::ptrdiff_t>(length ? m_position : 0);
        const std::vector<std::byte> bytes(from, from + length);
        m_position += length;
        if (got) *got = length;
        ULONG written = 0;
        const HRESULT status = length ? target->Write(bytes.data(), length, &written) : S_OK;
        if (put) *put = written;
        return status;
    });
}

HRESULT MemoryStream::Clone(IStream** out) {
    if (!out) return E_POINTER;
    *out = nullptr;
    return guarded([&] {
        auto clone = makeObject<MemoryStream>(m_content, m_writable);
        clone->m_position = m_position;
        *out = clone.Detach();
        return S_OK;
    });
}

CComPtr<IStream> createMemoryStream(std::span<const std::byte> content) {
    return CComPtr<IStream>(
        makeObject<MemoryStream>(std::make_shared<std::vector<std::byte>>(content.begin(), content.end())).Get());
}

std::vector<std::byte> streamContent(IStream* stream) {
    const MemoryStream* const own = MemoryStream::of(stream);
    if (!own) throw Error("only a memory stream of this library can be asked for its content");
    return own->content();
}

} // namespace larkmoor
