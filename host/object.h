// Birth, life and interfaces of the host's own component objects.
#pragma once

#include <atomic>
#include <exception>
#include <new>
#include <type_traits>

#include "host/error.h"
#include "platform/com_ptr.h"
#include "platform/effect.h"

namespace larkmoor {

/// The interface that `I` extends, whose id every object with `I` answers as well.
template <class I>
struct BaseOf {
    using Type = IUnknown;
};
template <>
struct BaseOf<IStream> {
    using Type = ISequentialStream;
};
template <>
struct BaseOf<IDXSurface> {
    using Type = IDXBaseObject;
};
template <>
struct BaseOf<IDXTransformFactory> {
    using Type = IServiceProvider;
};

/// Base of an object that counts its references from any thread and ends at the last `Release`. It is born with one
/// reference (see `makeObject`), and `IUnknown` is always that of the first interface.
template <class First, class... Rest>
class ObjectOf : public First, public Rest... {
  public:
    ObjectOf() = default;
    ObjectOf(const ObjectOf&) = delete;
    ObjectOf& operator=(const ObjectOf&) = delete;

    HRESULT QueryInterface(const IID* iid, void** out) override {
        if (!out) return E_POINTER;
        *out = iid ? findInterface(*iid) : nullptr;
        if (!*out) return iid ? E_NOINTERFACE : E_POINTER;
        AddRef();
        return S_OK;
    }
    ULONG AddRef() override { return ++m_references; }
    ULONG Release() override {
        const ULONG left = --m_references;
        if (left == 0) delete this;
        return left;
    }

    /// True while someone else holds a reference besides the caller.
    bool isShared() const { return m_references > 1; }

  protected:
    virtual ~ObjectOf() = default;

    /// The interface of that id without a reference, or null.
    virtual void* findInterface(const IID& iid) {
        if (iid == IUnknown::iid) return static_cast<First*>(this);
        void* found = nullptr;
        const auto look = [&]<class I>(I* face) {
            if (!found && answers<I>(iid)) found = face;
        };
        look(static_cast<First*>(this));
        (look(static_cast<Rest*>(this)), ...);
        return found;
    }

  private:
    template <class I>
    static bool answers(const IID& iid) {
        if constexpr (std::is_same_v<I, IUnknown>)
            return false;
        else
            return iid == I::iid || answers<typename BaseOf<I>::Type>(iid);
    }

    std::atomic<ULONG> m_references{1};
};

/// A new object in its owner's hands. Throws std::bad_alloc.
template <class T, class... Arguments>
CComPtr<T> makeObject(Arguments&&... arguments) {
    return CComPtr<T>::Adopt(new T(std::forward<Arguments>(arguments)...));
}

/// Runs `body` and turns what it throws into a status: nothing is thrown across an interface.
template <class Body>
HRESULT guarded(Body&& body) noexcept {
    try {
        return body();
    } catch (const StatusError& error) {
        return error.code();
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    } catch (const Error&) {
        return E_INVALIDARG;
    } catch (...) {
        return E_FAIL;
    }
}

/// Stores `value` for a caller.
template <class T>
HRESULT answer(T* out, const std::type_identity_t<T>& value) {
    if (!out) return E_POINTER;
    *out = value;
    return S_OK;
}

/// Bounds of a rectangle at one place in depth and time.
constexpr DXBNDS boundsOf(const RECT& rect) {
    DXBNDS bounds{};
    bounds.Axis[0] = {rect.left, rect.right};
    bounds.Axis[1] = {rect.top, rect.bottom};
    bounds.Axis[2] = bounds.Axis[3] = {0, 1};
    return bounds;
}

constexpr RECT rectOf(const DXBNDS& bounds) {
    return {bounds.Axis[0].Min, bounds.Axis[1].Min, bounds.Axis[0].Max, bounds.Axis[1].Max};
}

} // namespace larkmoor
