#include <vector>

#include "host/services.h"
#include "host/surface_modifier.h"
#include "host/surface_object.h"
#include "host/task_manager.h"
#include "platform/threads.h"

namespace larkmoor {
namespace {

class SurfaceFactory final : public ObjectOf<IDXSurfaceFactory> {
  public:
    HRESULT CreateSurface(IUnknown*, const void*, const GUID* format, const DXBNDS* bounds, DWORD, IUnknown* outer,
                          const IID* iid, void** out) override {
        if (!out) return E_POINTER;
        *out = nullptr;
        if (outer) return CLASS_E_NOAGGREGATION;
        if (!bounds) return E_POINTER;
        PixelFormat made = PixelFormat::PremultipliedArgb32;
        const RECT rect = rectOf(*bounds);
        const std::int64_t width = std::int64_t{rect.right} - rect.left, height = std::int64_t{rect.bottom} - rect.top;
        if (bounds->eType != 0 || (format && !formatOfId(*format, made)) || width > INT32_MAX || height > INT32_MAX ||
            width < 1 || height < 1)
            return E_INVALIDARG;
        return guarded([&] {
            return SurfaceObject::create(made, static_cast<int>(width), static_cast<int>(height), rect.left, rect.top)
                ->QueryInterface(iid, out);
        });
    }
    HRESULT CreateFromDDSurface(IUnknown*, const GUID*, DWORD, IUnknown*, const IID*, void** out) override {
        return answer(out, nullptr) ? E_POINTER : E_NOTIMPL;
    }
};

class TransformFactory final : public ObjectOf<IDXTransformFactory> {
  public:
    explicit TransformFactory(unsigned processors) {
        const auto tasks = makeObject<TaskManager>(processors);
        if (FAILED(SetService(&IDXSurfaceFactory::iid, makeObject<SurfaceFactory>().Get(), FALSE)) ||
            FAILED(SetService(&SID_SDXTaskManager, static_cast<IDXTaskManager*>(tasks.Get()), FALSE)))
            throw std::bad_alloc(); // without them an effect would draw otherwise, or nothing
    }

    HRESULT QueryService(const GUID* service, const IID* iid, void** out) override {
        if (!out) return E_POINTER;
        *out = nullptr;
        if (!service || !iid) return E_POINTER;
        CComPtr<IUnknown> object;
        {
            const CHeld guard(m_lock);
            for (const Service& row : m_services)
                if (row.id == *service) object = row.object;
        }
        if (object) return object->QueryInterface(iid, out);
        return *service == CLSID_DXSurfaceModifier ? createModifier(iid, out) : E_NOINTERFACE;
    }

    /// Replaces or adds; a null object takes the service away. A weak service has to outlive the factory.
    HRESULT SetService(const GUID* service, IUnknown* object, BOOL weak) override {
        if (!service) return E_POINTER;
        return guarded([&] {
            std::vector<Service> old; // ends outside the lock, as an object may call back when it is let go
            const CHeld guard(m_lock);
            std::vector<Service> services;
            for (const Service& row : m_services)
                if (row.id != *service) services.push_back(row);
            if (object) services.push_back({*service, object, weak ? CComPtr<IUnknown>() : CComPtr<IUnknown>(object)});
            old.swap(m_services);
            m_services.swap(services);
            return S_OK;
        });
    }

    HRESULT CreateTransform(IUnknown* const*, ULONG, IUnknown* const*, ULONG, IPropertyBag*, IErrorLog*,
                            const CLSID* clsid, const IID* iid, void** out) override {
        if (!out) return E_POINTER;
        *out = nullptr;
        if (!clsid || !iid) return E_POINTER;
        return *clsid == CLSID_DXSurfaceModifier ? createModifier(iid, out) : E_NOTIMPL;
    }

    HRESULT InitializeTransform(IDXTransform* transform, IUnknown* const* inputs, ULONG numInputs,
                                IUnknown* const* outputs, ULONG numOutputs, IPropertyBag*, IErrorLog*) override {
        if (!transform) return E_POINTER;
        if (const auto sited = KwQuery<IObjectWithSite>(transform))
            if (const HRESULT status = sited->SetSite(this); FAILED(status)) return status;
        return transform->Setup(inputs, numInputs, outputs, numOutputs, 0);
    }

  private:
    struct Service {
        GUID id;
        IUnknown* object;
        CComPtr<IUnknown> held;
    };

    static HRESULT createModifier(const IID* iid, void** out) {
        return guarded([&] { return makeObject<SurfaceModifier>()->QueryInterface(iid, out); });
    }

    CMutex m_lock;
    std::vector<Service> m_services;
};

} // namespace

CComPtr<IDXTransformFactory> createTransformFactory(unsigned processors) {
    return CComPtr<IDXTransformFactory>(makeObject<TransformFactory>(processors).Get());
}

} // namespace larkmoor
