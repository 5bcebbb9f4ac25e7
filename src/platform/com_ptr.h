// Ownership of one reference.
#pragma once

#include <utility>

#include "platform/component.h"

/// Holds one counted reference to an interface, or none.
template <class T>
class CComPtr {
  public:
    CComPtr() = default;
    CComPtr(T* object) : m_p(object) {
        if (m_p) m_p->AddRef();
    }
    CComPtr(const CComPtr& other) : CComPtr(other.m_p) {}
    CComPtr(CComPtr&& other) noexcept : m_p(std::exchange(other.m_p, nullptr)) {}
    ~CComPtr() { Reset(); }
    CComPtr& operator=(CComPtr other) noexcept {
        std::swap(m_p, other.m_p);
        return *this;
    }

    /// Takes over a reference that the caller already owns.
    static CComPtr Adopt(T* object) {
        CComPtr owner;
        owner.m_p = object;
        return owner;
    }

    void Reset() {
        if (T* old = std::exchange(m_p, nullptr)) old->Release();
    }
    T* Get() const { return m_p; }
    T* operator->() const { return m_p; }
    explicit operator bool() const { return m_p != nullptr; }
    T* Detach() { return std::exchange(m_p, nullptr); }

    /// The place for a call that hands out a reference; what was held is released first.
    T** Receive() {
        Reset();
        return &m_p;
    }
    void** ReceiveVoid() { return reinterpret_cast<void**>(Receive()); }

  private:
    T* m_p = nullptr;
};

/// What `call(void** out)` hands out with a reference, or empty where it fails: what a failed call left behind is not
/// looked at.
template <class T, class Call>
CComPtr<T> KwReceived(Call&& call) {
    CComPtr<T> found;
    if (FAILED(call(found.ReceiveVoid()))) found.Detach();
    return found;
}

/// `T` of an object, or empty. A null object has no interfaces. A host that answers success without a pointer is
/// taken as having none.
template <class T>
CComPtr<T> KwQuery(IUnknown* object) {
    if (!object) return {};
    return KwReceived<T>([&](void** out) { return object->QueryInterface(&T::iid, out); });
}
