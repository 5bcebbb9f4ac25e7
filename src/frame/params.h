// The parameter record of an object and everything that stands around it: ramp, presets, persistence, pages.
#pragma once

#include <atomic>

#include "base/guard.h"
#include "frame/effect_class.h"
#include "platform/com_ptr.h"
#include "platform/threads.h"

/// The four copies of a record that an object keeps, as bytes.
struct tRecordSet {
    std::byte *params, *work, *rampFrom, *rampTo;
};

/// Parameters of an effect or generator without regard to the record's type. The parameter lock guards the records and
/// is taken after the transform lock where both are held.
class CParamObject : public IKwParamRamp,
                     public IKwPresets,
                     public IKwEffectGroup,
                     public IPersistStreamInit,
                     public IPersistStorage,
                     public IPersistPropertyBag,
                     public ISpecifyPropertyPages,
                     public IKwParamInfo {
  public:
    HRESULT SetRampOn(BOOL on) override;
    HRESULT SaveParams(IStream* stream) override;
    HRESULT LoadParams(IStream* stream) override;
    HRESULT Interpolate(IStream* out, IStream* from, IStream* to, double position) override;
    HRESULT SetRampRecords(IStream* from, IStream* to) override;
    HRESULT SetRampPos(double position) override;
    HRESULT SetParamSink(IUnknown* sink) override;

    HRESULT GetCount(LONG* count) override;
    HRESULT GetName(LONG index, WCHAR* buffer, LONG length) override;
    HRESULT Apply(LONG index) override;

    HRESULT GetGroup(LONG* group, LONG* item) override;

    HRESULT GetClassID(CLSID* out) override;
    HRESULT IsDirty() override;
    HRESULT Load(IStream* stream) override;
    HRESULT Save(IStream* stream, BOOL clearDirty) override;
    HRESULT GetSizeMax(std::uint64_t* size) override;
    HRESULT InitNew() override;

    HRESULT InitNew(IStorage* storage) override;
    HRESULT Load(IStorage* storage) override;
    HRESULT Save(IStorage* storage, BOOL sameAsLoad) override;
    HRESULT SaveCompleted(IStorage*) override { return S_OK; }
    HRESULT HandsOffStorage() override { return S_OK; }

    // The one row of the property map has no name, so a bag gets no keys and gives none.
    HRESULT Load(IPropertyBag*, IErrorLog*) override { return S_OK; }
    HRESULT Save(IPropertyBag*, BOOL, BOOL) override { return S_OK; }

    HRESULT GetPages(CAUUID* pages) override;

    HRESULT GetClassInfo(tClassInfo* out, ULONG size) override;
    HRESULT GetField(LONG index, tFieldInfo* out, ULONG size) override;
    HRESULT GetPreset(LONG index, const char** name, void* record, ULONG size) override;

  protected:
    CParamObject(const tObjectMapRow& row, const tEffectClass& effect, const tRecordSet& records)
        : m_row(row), m_class(effect), m_records(records) {}
    virtual ~CParamObject() = default;

    /// Every record becomes the default.
    void SetDefaults();
    void ToDefault(std::byte* record);

    HRESULT GetAll(void* pvParam, LONG cbStruct);
    HRESULT PutAll(const void* pvParam, LONG cbStruct);
    HRESULT PutNotifyWindow(HWND window, UINT id);

    /// The interface of that id without a reference, or null.
    void* FindParamInterface(const IID& iid) noexcept;

    /// Brings the working record up to date: along the ramp where one is on, else from the record as set. Then copies
    /// it to `copy`, a record of the caller's. Bands call this at once.
    void UpdateWork(void* copy);

    // A record in memory. Most are plain bytes; one that owns more says how it is copied. All-zero bytes are a record
    // that owns nothing. Never called without the parameter lock where the object's own records are meant. What throws
    // leaves the target as it was.
    virtual void CopyRecord(std::byte* to, const std::byte* from);
    virtual void DropRecord(std::byte* /*record*/) noexcept {}
    /// Takes the first `size` bytes of a host's block into the record as set, and gives them out; `size` is at most the
    /// record's.
    virtual void TakeBlock(const void* block, ULONG size);
    virtual void GiveBlock(void* block, ULONG size);

    // A record's way through a stream. Most are their raw bytes; `got` is what the stream could give.
    virtual HRESULT ReadRecord(IStream* stream, std::byte* record, ULONG* got);
    virtual HRESULT WriteRecord(IStream* stream, const std::byte* record);
    virtual std::uint64_t StreamSize() { return m_class.recordSize; }
    /// Brings an older, shorter stream form to today's record, after `got` bytes were read into it.
    virtual void UpgradeRecord(std::byte* /*record*/, ULONG /*got*/) {}
    /// Reads a saved record of any age.
    virtual HRESULT LoadRecord(IStream* stream, std::byte* record);
    /// The record between two others.
    virtual void RampRecord(const std::byte* from, const std::byte* to, double position, std::byte* out);

    const tObjectMapRow& m_row;
    const tEffectClass& m_class;
    const tRecordSet m_records;
    CRecursiveMutex m_ParamLock;

  private:
    class CRecord;

    void CopyLocked(std::byte* to, const std::byte* from);
    /// Lets `read` change a copy of one of the object's records, and takes what has become of it. A stream may wait for
    /// another thread, so none is read or written under the parameter lock.
    template <class Read>
    HRESULT TakeFrom(std::byte* record, Read&& read);
    void MarkDirty(bool dirty = true) noexcept {
        KwGuarded(m_ParamLock, [&] { m_Dirty = dirty; });
    }
    /// Tells the page that the record changed without it. Never under the parameter lock.
    void PostToPage() noexcept;
    /// Tells the host's sink the same. Never under the parameter lock.
    void CallSink() noexcept;

    bool m_Dirty = true;
    bool m_RampOn = false;
    double m_RampPos = 0.0;
    CComPtr<IUnknown> m_pParamSink;
    CMutex m_NotifyLock; ///< guards the window; held while it is posted to
    HWND m_NotifyWnd = nullptr;
    UINT m_NotifyId = 0;
};
