// The safety words of an object, by interface.
#pragma once

#include <atomic>

#include "platform/component.h"

/// One enabled word for each interface that a script might be let at.
class CSafetyList : public IObjectSafety {
  public:
    HRESULT GetInterfaceSafetyOptions(const IID* iid, DWORD* supported, DWORD* enabled) noexcept override {
        if (!supported || !enabled) return E_POINTER;
        *supported = *enabled = 0;
        const tRow* const row = Find(iid);
        if (!row) return E_NOINTERFACE;
        *supported = 1;
        *enabled = row->enabled & 1;
        return S_OK;
    }

    HRESULT SetInterfaceSafetyOptions(const IID* iid, DWORD mask, DWORD enabled) noexcept override {
        tRow* const row = Find(iid);
        if (!row) return E_NOINTERFACE;
        row->enabled = mask & enabled;
        return S_OK;
    }

  protected:
    ~CSafetyList() = default;

  private:
    struct tRow {
        IID iid;
        std::atomic<DWORD> enabled; ///< from any thread
    };
    tRow* Find(const IID* iid) noexcept {
        for (tRow& row : m_rows)
            if (iid && row.iid == *iid) return &row;
        return nullptr;
    }
    tRow m_rows[4]{{IDispatch::iid, 0},
                   {IPersistPropertyBag::iid, 0},
                   {IPersistStorage::iid, 0},
                   // IPersistStream
                   {{0x00000109, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}}, 0}};
};
