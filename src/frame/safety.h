// The safety words of an object, by interface.
#pragma once

#include "platform/component.h"

/// One enabled word for each interface that a script might be let at.
class CSafetyList {
  public:
    HRESULT Get(const IID* iid, DWORD* supported, DWORD* enabled) const {
        if (!supported || !enabled) return E_POINTER;
        *supported = *enabled = 0;
        for (const tRow& row : m_rows) {
            if (!iid || !(row.iid == *iid)) continue;
            *supported = 1;
            *enabled = row.enabled & 1;
            return S_OK;
        }
        return E_NOINTERFACE;
    }

    HRESULT Set(const IID* iid, DWORD mask, DWORD enabled) {
        for (tRow& row : m_rows) {
            if (!iid || !(row.iid == *iid)) continue;
            row.enabled = mask & enabled;
            return S_OK;
        }
        return E_NOINTERFACE;
    }

  private:
    struct tRow {
        IID iid;
        DWORD enabled;
    };
    tRow m_rows[4]{{IDispatch::iid, 0},
                   {IPersistPropertyBag::iid, 0},
                   {IPersistStorage::iid, 0},
                   // IPersistStream
                   {{0x00000109, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}}, 0}};
};
