// A generator of the module, made without a host.
#pragma once

#include <gtest/gtest.h>

#include <vector>

#include "frame/effect_class.h"
#include "host/foreign_surface.h"
#include "host/module.h"
#include "host/services.h"
#include "platform/com_ptr.h"

/// A fresh object of a class of the object map, with the interfaces that tests speak to.
struct tGenerator {
    explicit tGenerator(const char* className) {
        for (const tObjectMapRow& row : KwObjectMap()) {
            if (std::string_view(row.className) != className) continue;
            object = CComPtr<IUnknown>::Adopt(row.create(row, nullptr));
            const auto info = KwQuery<IKwParamInfo>(object.Get());
            tClassInfo told{};
            info->GetClassInfo(&told, sizeof told);
            object->QueryInterface(&told.iid, dual.ReceiveVoid());
            recordSize = told.recordSize;
        }
        surface = KwQuery<IDXSurface>(object.Get());
        sized = KwQuery<IDXSurfaceInit>(object.Get());
        ramp = KwQuery<IKwParamRamp>(object.Get());
        persist = KwQuery<IPersistStreamInit>(object.Get());
    }

    HRESULT Size(LONG width, LONG height) {
        const DXBNDS bounds = larkmoor::boundsOf(0, 0, width, height);
        return sized->InitSurface(nullptr, nullptr, nullptr, &bounds, 0);
    }
    ULONG Generation() {
        ULONG id = 0;
        surface->GetGenerationId(&id);
        return id;
    }
    CComPtr<IDXARGBReadPtr> Lock(const DXBNDS* bounds = nullptr) {
        CComPtr<IDXARGBReadPtr> rows;
        surface->LockSurface(bounds, 0, 0, &IDXARGBReadPtr::iid, rows.ReceiveVoid(), nullptr);
        return rows;
    }
    /// The whole picture, premultiplied.
    std::vector<DWORD> Picture(LONG width, LONG height) {
        std::byte cache[256];
        dual->GetCacheInfo(cache);
        std::vector<DWORD> samples(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
        const auto rows = Lock();
        for (LONG y = 0; y < height; ++y) {
            rows->MoveToRow(static_cast<ULONG>(y));
            rows->UnpackPremult(samples.data() + std::ptrdiff_t{width} * y, static_cast<ULONG>(width), FALSE);
        }
        return samples;
    }

    CComPtr<IUnknown> object;
    CComPtr<IKwGenerator> dual;
    CComPtr<IDXSurface> surface;
    CComPtr<IDXSurfaceInit> sized;
    CComPtr<IKwParamRamp> ramp;
    CComPtr<IPersistStreamInit> persist;
    LONG recordSize = 0;
};
