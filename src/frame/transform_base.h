// The transform contract, once for all effects.
#pragma once

#include <memory>

#include "base/object.h"
#include "frame/safety.h"
#include "platform/com_ptr.h"
#include "platform/effect.h"
#include "platform/threads.h"

/// One piece of a frame, as `Work` receives it. Object pointer in words 0 and 1, `DoBounds` at word 2, `OutputBounds`
/// at word 20, `m_Result` at word 39, on every platform.
struct tWorkInfo {
    union {
        class CTransformBase* object;
        std::uint64_t objectWords;
    };
    DXBNDS DoBounds;     ///< the area to be done, in input coordinates
    DXBNDS OutputBounds; ///< the same area in output coordinates
    LONG reserved;
    HRESULT m_Result; ///< the status of this piece
};
static_assert(sizeof(tWorkInfo) == 160 && offsetof(tWorkInfo, DoBounds) == 8 &&
              offsetof(tWorkInfo, OutputBounds) == 80 && offsetof(tWorkInfo, m_Result) == 156);

/// A bound input or output.
struct tTransformInput {
    CComPtr<IUnknown> object;    ///< as given to `Setup`
    CComPtr<IDXSurface> surface; ///< empty: not connected
    CComPtr<IDXBaseObject> base;
    ULONG generation = 0; ///< last seen; one less than at bind before the first look
    DWORD sampleFormat = 0;
};

/// The base of every effect object. Locks: the transform lock is held across `Setup`, `Execute`, `SetSite` and
/// `IncrementGenerationId`; bands run while the calling thread holds it and do not take it themselves.
class CTransformBase : public CAggregable, public CSafetyList, public IDXTransform, public IObjectWithSite {
  public:
    static constexpr ULONG kMaxBands = 4;

    enum : DWORD {
        kMiscBlendWithOutput = 1,
        kMiscBit0Changeable = 0x00010000,
        kMiscBit1Changeable = 0x00020000,
        kMiscWatchOutput = 0x01000000,
        kMiscCustomClip = 0x02000000,
        kMiscCustomPlacement = 0x04000000,
        kMiscQuality = 0x08000000,
        kOptionMeshInputs = 1,
        kOptionMeshOutput = 2,
        kOptionSameSizeInputs = 4,
        kOptionCenterInputs = 8,
    };

    explicit CTransformBase(IUnknown* outer) : CAggregable(outer) {}

    HRESULT GetGenerationId(ULONG* id) override;
    HRESULT IncrementGenerationId(BOOL refresh) override;
    HRESULT GetObjectSize(ULONG* bytes) override;
    HRESULT Setup(IUnknown* const* inputs, ULONG numInputs, IUnknown* const* outputs, ULONG numOutputs,
                  DWORD flags) override;
    HRESULT Execute(const GUID* request, const DXBNDS* clip, const DXVEC* placement) override;
    HRESULT MapBoundsIn2Out(const DXBNDS* in, ULONG count, ULONG outIndex, DXBNDS* out) override;
    HRESULT MapBoundsOut2In(ULONG outIndex, const DXBNDS* out, ULONG inIndex, DXBNDS* in) override;
    HRESULT SetMiscFlags(DWORD flags) override;
    HRESULT GetMiscFlags(DWORD* flags) override;
    HRESULT GetInOutInfo(BOOL isOutput, ULONG index, DWORD* flags, GUID* ids, ULONG* idCount,
                         IUnknown** bound) override;
    HRESULT SetQuality(float quality) override;
    HRESULT GetQuality(float* quality) override;

    HRESULT SetSite(IUnknown* site) override;
    HRESULT GetSite(const IID* iid, void** out) override;

    /// Which input shows at `point` of the output: its index, and the place in it. S_FALSE where none does.
    HRESULT PointPick(const DXVEC* point, ULONG* inputIndex, DXVEC* inputPoint);

  protected:
    // What an effect may say for itself.
    virtual HRESULT BeginWork(tWorkInfo&, ULONG& /*bands*/) { return S_OK; }
    virtual HRESULT EndWork(tWorkInfo&) { return S_OK; }
    virtual HRESULT AfterSetup(DWORD /*flags*/);
    virtual void ReleaseObjects() {}
    virtual HRESULT ExecuteCustom(const GUID*, const DXBNDS*, const DXVEC*) { return E_FAIL; }
    virtual void RefreshGenerationId();
    virtual ULONG ObjectSize() const { return 184; }
    /// Does one band. Views are unlocked on every way out. `pContinue` points to a flag that a caller may clear.
    virtual HRESULT Work(const tWorkInfo& info, BOOL* pContinue) = 0;
    /// Output bounds from the union of the input bounds; without an input those of the output.
    virtual HRESULT ComputeBounds(DXBNDS& bounds);
    virtual HRESULT ComputeMeshBounds(DXBNDS&) { return S_OK; }
    virtual HRESULT PickSurface(const DXBNDS&, ULONG& /*inputIndex*/, DXVEC& /*inputPoint*/) { return E_NOTIMPL; }
    virtual HRESULT GetPickOrder(const DXBNDS& bounds, ULONG& count, ULONG* indices, ULONG* weights);
    virtual IUnknown* GetControllingUnknown() { return Outer(); }

    void* FindInterface(const IID& iid) noexcept override;

    // `IDXEffect` for the classes that have it.
    HRESULT GetProgress(float* progress);
    HRESULT PutProgress(float progress);
    HRESULT GetStepResolution(float* resolution);
    HRESULT GetDuration(float* seconds);
    HRESULT PutDuration(float seconds);

    /// The surface of an input, or null where it is not connected.
    IDXSurface* InputSurface(ULONG index) const;
    IDXSurface* OutputSurface() const { return m_Output.surface.Get(); }
    /// Outputs keep what stood there, under the new picture, where this is set.
    bool BlendsWithOutput() const { return (m_MiscFlags & kMiscBlendWithOutput) != 0; }

    mutable CRecursiveMutex m_Lock;
    CComPtr<IUnknown> m_pSite;
    bool m_ServicesShort = false; ///< of memory when the site was set
    CComPtr<IDXTransformFactory> m_pTransformFactory;
    CComPtr<IDXSurfaceFactory> m_pSurfaceFactory;
    CComPtr<IDXTaskManager> m_pTaskManager;
    CComPtr<IKwWorkers> m_pWorkers;
    CComPtr<IUnknown> m_pDirectDraw;
    CComPtr<IUnknown> m_pDirect3DRM;
    std::atomic<DWORD> m_MiscFlags = 0x06030003; ///< read without the lock
    ULONG m_NumProcessors = 1;
    ULONG m_GenerationId = 1;
    ULONG m_ParamGeneration = 0;
    BOOL m_PickDefaultOrder = FALSE;
    float m_Duration = 1.0f;
    float m_StepResolution = 0.0f;
    float m_Quality = 0.5f;
    ULONG m_NumInputs = 0;
    DWORD m_EffectiveFlags = 0;
    BOOL m_Busy = FALSE;
    DWORD m_OptionFlags = 0;
    ULONG m_TaskTimeout = 0xFFFFFFFF;
    ULONG m_MaxInputs = 1;
    ULONG m_RequiredInputs = 1;
    ULONG m_MaxBands = kMaxBands;
    float m_Progress = 0.0f;
    std::unique_ptr<tTransformInput[]> m_pInputs; ///< `m_MaxInputs` rows, from the first `SetSite` on
    tTransformInput m_Output;

  private:
    bool HasMesh() const { return (m_OptionFlags & (kOptionMeshInputs | kOptionMeshOutput)) != 0; }
    HRESULT TakeServices();
    void DropServices();
    HRESULT SetupLocked(IUnknown* const* inputs, ULONG numInputs, IUnknown* const* outputs, ULONG numOutputs,
                        DWORD flags);
    void UnbindAll();
    /// Whether there are services and what is to be bound fits.
    HRESULT CheckSetup(IUnknown* const* inputs, ULONG numInputs, IUnknown* const* outputs, ULONG numOutputs,
                       DWORD flags);
    HRESULT BindAll(IUnknown* const* inputs, ULONG numInputs, IUnknown* output, DWORD flags);
    HRESULT Bind(IUnknown* object, tTransformInput& row);
    HRESULT MakeInputsSameSize();
    void UpdateEffectiveFlags();
    /// The union of the given blocks or, with `count` 0, of the bounds of the connected inputs.
    HRESULT UniteInputs(const DXBNDS* in, ULONG count, DXBNDS& all) const;
    HRESULT ExecuteBound(const GUID* request, const DXBNDS* clip, const DXVEC* placement);
    /// Intersects and places; S_FALSE where nothing is left.
    HRESULT PlaceAndClip(tWorkInfo& info, const DXBNDS* clip, const DXVEC* placement);
    HRESULT RunWork(const tWorkInfo& info, BOOL* pContinue) noexcept;
    /// The whole frame on this thread, with the host's processors at the kernels' service.
    HRESULT RunWhole(const tWorkInfo& info);
    HRESULT RunBands(const tWorkInfo& info, ULONG bands, const GUID* request);
    static void RunTask(void* data, BOOL* pContinue);
    HRESULT PickLocked(const DXVEC& point, ULONG& inputIndex, DXVEC& inputPoint);

    /// What is bound stays so while a call stands on it, whatever its surfaces call back.
    template <class Call>
    HRESULT WithBound(const Call& call) {
        const bool executing = std::exchange(m_Executing, true);
        const HRESULT status = KwGuarded(call);
        m_Executing = executing;
        return status;
    }

    bool m_Executing = false, m_Binding = false;
    HANDLE m_BandEvents[kMaxBands]{};
};
