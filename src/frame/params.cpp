#include "frame/params.h"

#include <algorithm>
#include <cstdlib>
#include <memory>

#include "base/object.h"

namespace {

constexpr WCHAR kContents[] = {'C', 'o', 'n', 't', 'e', 'n', 't', 's', 0};
constexpr DWORD kModeRead = 16;     // exclusive, read
constexpr DWORD kModeCreate = 4114; // create, read-write, exclusive

template <class T>
HRESULT CopyOut(const T& from, void* to, ULONG size) {
    if (!to) return E_POINTER;
    std::memcpy(to, &from, std::min<std::size_t>(size, sizeof from));
    return S_OK;
}

} // namespace

void* CParamObject::FindParamInterface(const IID& iid) noexcept {
    if (iid == IKwParamInfo::iid) return static_cast<IKwParamInfo*>(this);
    if (iid == ISpecifyPropertyPages::iid) return static_cast<ISpecifyPropertyPages*>(this);
    if (iid == IPersistStorage::iid) return static_cast<IPersistStorage*>(this);
    if (iid == IPersistPropertyBag::iid) return static_cast<IPersistPropertyBag*>(this);
    if (iid == IKwPresets::iid && m_class.answersPresets && m_class.presets.Count() > 0)
        return static_cast<IKwPresets*>(this);
    if (iid == IKwEffectGroup::iid && m_class.group) return static_cast<IKwEffectGroup*>(this);
    if (m_class.recordSize == 0) return nullptr; // nothing to ramp or to keep
    if (iid == IPersistStreamInit::iid || iid == IPersist::iid) return static_cast<IPersistStreamInit*>(this);
    if (iid == IKwParamRamp::iid) return static_cast<IKwParamRamp*>(this);
    return nullptr;
}

void CParamObject::ToDefault(std::byte* record) {
    CopyRecord(record, static_cast<const std::byte*>(m_class.defaults));
}

void CParamObject::CopyRecord(std::byte* to, const std::byte* from) {
    if (m_class.recordSize) std::memcpy(to, from, m_class.recordSize);
}

void CParamObject::SetDefaults() {
    if (m_class.recordSize == 0) return;
    for (std::byte* const record : {m_records.params, m_records.work, m_records.rampFrom, m_records.rampTo})
        ToDefault(record);
}

void CParamObject::RampRecord(const std::byte* from, const std::byte* to, double position, std::byte* out) {
    KwInterpolateRecord(m_class.fields, from, to, position, out, m_class.recordSize);
}

void CParamObject::UpdateWork(void* copy) {
    const CHeld guard(m_ParamLock);
    if (m_RampOn)
        RampRecord(m_records.rampFrom, m_records.rampTo, m_RampPos, m_records.work);
    else if (m_Dirty)
        CopyRecord(m_records.work, m_records.params);
    m_Dirty = false;
    CopyRecord(static_cast<std::byte*>(copy), m_records.work);
}

/// A record of its own, gone with what it owns.
class CParamObject::CRecord {
  public:
    explicit CRecord(CParamObject& object)
        : m_object(object), m_bytes(std::make_unique<std::byte[]>(object.m_class.recordSize)) {}
    CRecord(const CRecord&) = delete;
    CRecord& operator=(const CRecord&) = delete;
    ~CRecord() { m_object.DropRecord(m_bytes.get()); }
    operator std::byte*() const { return m_bytes.get(); }

  private:
    CParamObject& m_object;
    const std::unique_ptr<std::byte[]> m_bytes;
};

void CParamObject::CopyLocked(std::byte* to, const std::byte* from) {
    const CHeld guard(m_ParamLock);
    CopyRecord(to, from);
}

void CParamObject::PostToPage() noexcept {
    KwGuarded(m_NotifyLock, [&] { // none is posted once a window has been taken away
        if (m_NotifyWnd && m_NotifyWnd->post) m_NotifyWnd->post(m_NotifyWnd, WM_COMMAND, m_NotifyId, 0);
    });
}

void CParamObject::CallSink() noexcept {
    KwGuarded([&] {
        CComPtr<IUnknown> sink;
        {
            const CHeld guard(m_ParamLock);
            sink = m_pParamSink;
        }
        if (sink) static_cast<IKwParamSink*>(sink.Get())->OnParamsChanged();
    });
}

// The record as a block.

HRESULT CParamObject::GetAll(void* pvParam, LONG cbStruct) {
    if (!pvParam) return E_INVALIDARG;
    return KwGuarded(m_ParamLock,
                     [&] { GiveBlock(pvParam, std::min(static_cast<ULONG>(cbStruct), m_class.recordSize)); });
}

HRESULT CParamObject::PutAll(const void* pvParam, LONG cbStruct) {
    if (!pvParam) return E_INVALIDARG;
    const HRESULT status = KwGuarded(m_ParamLock, [&] {
        m_Dirty = true;
        TakeBlock(pvParam, std::min(static_cast<ULONG>(cbStruct), m_class.recordSize));
    });
    CallSink();
    return status;
}

void CParamObject::TakeBlock(const void* block, ULONG size) {
    std::memcpy(m_records.params, block, size);
}

void CParamObject::GiveBlock(void* block, ULONG size) {
    std::memcpy(block, m_records.params, size);
}

HRESULT CParamObject::PutNotifyWindow(HWND window, UINT id) {
    return KwGuarded(m_NotifyLock, [&] {
        m_NotifyWnd = window;
        m_NotifyId = id;
    });
}

// Ramp.

HRESULT CParamObject::SetRampOn(BOOL on) {
    return KwGuarded(m_ParamLock, [&] { m_RampOn = on != FALSE; });
}

HRESULT CParamObject::SaveParams(IStream* stream) {
    if (!stream) return E_POINTER;
    return KwGuarded([&] {
        const CRecord copy(*this);
        CopyLocked(copy, m_records.params);
        return WriteRecord(stream, copy);
    });
}

template <class Read>
HRESULT CParamObject::TakeFrom(std::byte* record, Read&& read) {
    const CRecord copy(*this);
    CopyLocked(copy, record);
    const HRESULT status = read(copy);
    CopyLocked(record, copy);
    return status;
}

HRESULT CParamObject::LoadParams(IStream* stream) {
    if (!stream) return E_POINTER;
    const HRESULT status = KwGuarded([&] {
        return TakeFrom(m_records.params, [&](std::byte* record) {
            ULONG got = 0;
            return ReadRecord(stream, record, &got);
        });
    });
    if (FAILED(status)) KwGuarded(m_ParamLock, [&] { ToDefault(m_records.params); });
    MarkDirty();
    PostToPage();
    return status;
}

HRESULT CParamObject::Interpolate(IStream* out, IStream* from, IStream* to, double position) {
    if (!out || !from || !to) return E_POINTER;
    return KwGuarded([&] {
        const CRecord start(*this), end(*this), result(*this);
        ToDefault(start);
        ToDefault(end);
        ULONG got = 0;
        if (const HRESULT status = ReadRecord(from, start, &got); FAILED(status)) return status;
        if (const HRESULT status = ReadRecord(to, end, &got); FAILED(status)) return status;
        RampRecord(start, end, position, result);
        return WriteRecord(out, result);
    });
}

HRESULT CParamObject::SetRampRecords(IStream* from, IStream* to) {
    const HRESULT status = KwGuarded([&] {
        const CRecord start(*this), end(*this);
        {
            const CHeld guard(m_ParamLock);
            CopyRecord(start, m_records.rampFrom);
            CopyRecord(end, m_records.rampTo);
        }
        ULONG got = 0;
        HRESULT read = from && to ? ReadRecord(from, start, &got) : E_POINTER;
        if (SUCCEEDED(read)) read = ReadRecord(to, end, &got);
        if (FAILED(read)) return read;
        const CHeld guard(m_ParamLock);
        CopyRecord(m_records.rampFrom, start);
        CopyRecord(m_records.rampTo, end);
        return read;
    });
    if (SUCCEEDED(status)) return status;
    KwGuarded(m_ParamLock, [&] {
        ToDefault(m_records.rampFrom);
        ToDefault(m_records.rampTo);
    });
    return status;
}

HRESULT CParamObject::SetRampPos(double position) {
    return KwGuarded(m_ParamLock, [&] { m_RampPos = position; });
}

HRESULT CParamObject::SetParamSink(IUnknown* sink) {
    return KwGuarded([&] {
        CComPtr<IUnknown> previous(sink); // what is dropped ends outside the lock
        const CHeld guard(m_ParamLock);
        std::swap(m_pParamSink, previous);
    });
}

// Presets.

HRESULT CParamObject::GetCount(LONG* count) {
    if (!count) return E_INVALIDARG;
    *count = m_class.presets.Count();
    return S_OK;
}

HRESULT CParamObject::GetName(LONG index, WCHAR* buffer, LONG length) {
    if (!m_class.presets.Has(index) || !buffer || length <= 0) return E_INVALIDARG;
    const char* name = m_class.presets.Name(index);
    LONG at = 0;
    do {
        buffer[at++] = static_cast<WCHAR>(static_cast<unsigned char>(*name));
    } while (*name++ && at < length);
    buffer[length - 1] = 0;
    return S_OK;
}

HRESULT CParamObject::Apply(LONG index) {
    if (!m_class.presets.Has(index)) return E_INVALIDARG;
    const HRESULT status = PutAll(m_class.presets.Record(index), static_cast<LONG>(m_class.recordSize));
    PostToPage();
    return status;
}

HRESULT CParamObject::GetGroup(LONG* group, LONG* item) {
    if (group) *group = m_class.group->group;
    if (item) *item = m_class.group->item;
    return S_OK;
}

// Persistence.

HRESULT CParamObject::ReadRecord(IStream* stream, std::byte* record, ULONG* got) {
    *got = 0;
    return stream->Read(record, m_class.recordSize, got);
}

HRESULT CParamObject::WriteRecord(IStream* stream, const std::byte* record) {
    ULONG put = 0;
    return stream->Write(record, m_class.recordSize, &put);
}

HRESULT CParamObject::LoadRecord(IStream* stream, std::byte* record) {
    ULONG got = 0;
    const HRESULT status = ReadRecord(stream, record, &got);
    if (SUCCEEDED(status)) UpgradeRecord(record, got);
    return status;
}

HRESULT CParamObject::GetClassID(CLSID* out) {
    if (!out) return E_POINTER;
    *out = m_row.clsid;
    return S_OK;
}

HRESULT CParamObject::IsDirty() {
    return KwGuarded(m_ParamLock, [&] { return m_Dirty ? S_OK : S_FALSE; });
}

HRESULT CParamObject::Load(IStream* stream) {
    if (!stream) return E_POINTER;
    const HRESULT status = KwGuarded(
        [&] { return TakeFrom(m_records.params, [&](std::byte* record) { return LoadRecord(stream, record); }); });
    MarkDirty();
    if (FAILED(status)) return status;
    PostToPage();
    CallSink();
    return status;
}

HRESULT CParamObject::Save(IStream* stream, BOOL clearDirty) {
    if (!stream) return E_POINTER;
    const HRESULT status = SaveParams(stream);
    if (FAILED(status)) return status;
    MarkDirty(!clearDirty);
    PostToPage();
    return status;
}

HRESULT CParamObject::GetSizeMax(std::uint64_t* size) {
    if (!size) return E_INVALIDARG;
    return KwGuarded([&] { *size = StreamSize(); });
}

HRESULT CParamObject::InitNew() {
    const HRESULT status = KwGuarded(m_ParamLock, [&] {
        ToDefault(m_records.params);
        m_Dirty = true;
    });
    PostToPage();
    CallSink();
    return status;
}

HRESULT CParamObject::InitNew(IStorage*) {
    return m_class.recordSize ? InitNew() : E_FAIL;
}

HRESULT CParamObject::Load(IStorage* storage) {
    if (!storage) return E_POINTER;
    return KwGuarded([&] {
        HRESULT status = S_OK;
        const auto stream = KwReceived<IStream>([&](void** out) {
            return status = storage->OpenStream(kContents, nullptr, kModeRead, 0, reinterpret_cast<IStream**>(out));
        });
        if (FAILED(status)) return status;
        return m_class.recordSize ? Load(stream.Get()) : E_FAIL;
    });
}

HRESULT CParamObject::Save(IStorage* storage, BOOL sameAsLoad) {
    if (!storage) return E_POINTER;
    return KwGuarded([&] {
        HRESULT status = S_OK;
        const auto stream = KwReceived<IStream>([&](void** out) {
            return status = storage->CreateStream(kContents, kModeCreate, 0, 0, reinterpret_cast<IStream**>(out));
        });
        if (FAILED(status)) return status;
        return m_class.recordSize ? Save(stream.Get(), sameAsLoad) : E_FAIL;
    });
}

HRESULT CParamObject::GetPages(CAUUID* pages) {
    if (!pages) return E_POINTER;
    *pages = {};
    const tObjectMapRow* const page = KwMateOf(m_row);
    if (!page) return S_OK;
    pages->pElems = static_cast<GUID*>(std::malloc(sizeof(GUID)));
    if (!pages->pElems) return E_OUTOFMEMORY;
    *pages->pElems = page->clsid;
    pages->cElems = 1;
    return S_OK;
}

// The field table.

HRESULT CParamObject::GetClassInfo(tClassInfo* out, ULONG size) {
    return CopyOut(tClassInfo{.className = m_row.className,
                              .description = m_row.description,
                              .clsid = m_row.clsid,
                              .iid = m_class.iid,
                              .kind = m_class.kind,
                              .minInputs = m_class.minInputs,
                              .maxInputs = m_class.maxInputs,
                              .recordSize = static_cast<LONG>(m_class.recordSize),
                              .fieldCount = static_cast<LONG>(m_class.fields.size()),
                              .presetCount = m_class.presets.Count(),
                              .floatForm = m_class.floatForm,
                              .family = m_class.family},
                   out, size);
}

HRESULT CParamObject::GetField(LONG index, tFieldInfo* out, ULONG size) {
    if (!out || index < 0 || static_cast<std::size_t>(index) >= m_class.fields.size()) return E_INVALIDARG;
    return CopyOut(m_class.fields[static_cast<std::size_t>(index)], out, size);
}

HRESULT CParamObject::GetPreset(LONG index, const char** name, void* record, ULONG size) {
    if (index != -1 && !m_class.presets.Has(index)) return E_INVALIDARG;
    if (name) *name = index < 0 ? "" : m_class.presets.Name(index);
    if (record && m_class.recordSize)
        std::memcpy(record, index < 0 ? m_class.defaults : m_class.presets.Record(index),
                    std::min(size, m_class.recordSize));
    return S_OK;
}
