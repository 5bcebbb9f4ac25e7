// Effects: the transform frame and the parameter frame bound to the interface tables.
#pragma once

#include <optional>

#include "frame/create.h"
#include "frame/dispatch.h"
#include "frame/surface.h"
#include "frame/transform_base.h"
#include "kernels/strips.h"

/// An effect without regard to its record's type. An effect class derives from `CEffect` below and says `Draw`.
class CEffectObject : public CTransformBase, public CDual<IKwEffect>, public IKwEffectInfo {
  public:
    // `IUnknown`, for every table.
    HRESULT QueryInterface(const IID* iid, void** out) override { return Outer()->QueryInterface(iid, out); }
    ULONG AddRef() override { return Outer()->AddRef(); }
    ULONG Release() override { return Outer()->Release(); }

    HRESULT get_Capabilities(LONG* capabilities) override { return KwAnswer(capabilities, 2); }
    HRESULT get_Progress(float* progress) override { return GetProgress(progress); }
    HRESULT put_Progress(float progress) override { return PutProgress(progress); }
    HRESULT get_StepResolution(float* resolution) override { return CTransformBase::GetStepResolution(resolution); }
    HRESULT get_Duration(float* seconds) override { return GetDuration(seconds); }
    HRESULT put_Duration(float seconds) override { return PutDuration(seconds); }

    HRESULT GetEffectInfo(void* block, ULONG size) override;
    HRESULT SetLevel(double value) override;

  protected:
    CEffectObject(const tObjectMapRow& row, IUnknown* outer, const tEffectClass& effect, const tRecordSet& records);

    void* FindInterface(const IID& iid) noexcept override;
    HRESULT Call(tDispatchCall& call) override;

    tEffectInfo m_Info{};
    double m_Level = 0.0;
};

/// The record of a class without one.
struct tNoRecord {};

/// The views of one band: the output, clipped to `OutputBounds`, and the connected inputs, clipped to `DoBounds`. They
/// unlock at the end of its life.
class CEffectViews {
  public:
    LONG BytesPerPixel() const { return output.m_BytesPerPixel; }
    bool HasInput() const { return !first.m_Unlocked; }

    /// Runs a filter's per-pixel steps strip by strip (see `KwForStrips`): `body(output, input)`, where `input` is null
    /// without one and the work is in place.
    template <class Body>
    HRESULT ForStrips(Body&& body) const {
        const tView whole = output.View();
        return KwForStrips(whole, HasInput() ? first.View() : whole, BytesPerPixel(),
                           [&](const tView& o, const tView& i) { return body(o, HasInput() ? &i : nullptr); });
    }

    /// Whether the first input's frame, where there is one, has the size of the output's.
    bool FramesMatch() const {
        return !HasInput() || (KwWidth(first.m_Frame) == KwWidth(output.m_Frame) &&
                               KwHeight(first.m_Frame) == KwHeight(output.m_Frame));
    }

    /// How the work ends where the output and the first input have no rectangle in common; nothing where they have.
    std::optional<HRESULT> EndIfApart() const {
        tRowPair rows;
        const HRESULT status = KwDibResolveClipTwo(output.View(), first.View(), BytesPerPixel(), rows);
        return FAILED(status) || rows.source.width == 0 ? std::optional(status) : std::nullopt;
    }

    CKwSurface output, first, second;
};

/// What `CEffect` asks of an effect, beyond its record.
class CEffectWork : public CEffectObject {
  protected:
    using CEffectObject::CEffectObject;

    /// The pixel format of every view of a frame.
    virtual HRESULT WorkFormat(GUID* format) { return ChooseWorkFormat(OutputSurface(), format); }

    /// Whether the effect writes the whole frame, whatever the clip. The output is then locked whole, where the host
    /// allows that; where it does not, the frame is only the area of the clip.
    virtual bool WritesWholeFrame() const { return false; }

    /// Locks the output for writing and the inputs for reading in the work format. E_FAIL where a view cannot be had.
    HRESULT LockViews(const tWorkInfo& info, CEffectViews& views);

  private:
    bool LockOutput(const tWorkInfo& info, CKwSurface& output, const GUID& format);
};

/// An effect with the record `R`, whose work is one routine over locked views.
template <class R>
class CEffect : public CWithRecord<CEffectWork, R> {
  protected:
    using CWithRecord<CEffectWork, R>::CWithRecord;

    /// Does one band with the record of this frame. A filter copies its input to the output first where its rule says
    /// so. Bands may run at once: members are read only.
    virtual HRESULT Draw(const CEffectViews& views, const R& params) = 0;

    /// Before the record of this frame is taken: a status ends the band, and the record counts as not taken.
    virtual std::optional<HRESULT> BeforeRecord(const CEffectViews&) { return {}; }

    HRESULT Work(const tWorkInfo& info, BOOL*) override {
        CEffectViews views;
        if (const HRESULT status = this->LockViews(info, views); FAILED(status)) return status;
        if (const std::optional<HRESULT> end = BeforeRecord(views)) return *end;
        return Draw(views, this->UpdateWorkParams());
    }
};
