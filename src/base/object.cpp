#include "base/object.h"

#include <cstdlib>

std::atomic<LONG> CModuleLock::s_count{0};

void* CZeroFilled::operator new(std::size_t size) noexcept {
    return std::calloc(1, size);
}
void CZeroFilled::operator delete(void* memory) noexcept {
    std::free(memory);
}

HRESULT CAggregable::CInner::QueryInterface(const IID* iid, void** out) noexcept {
    if (!out) return E_POINTER;
    *out = nullptr;
    if (!iid) return E_INVALIDARG;
    if (*iid == IUnknown::iid) {
        *out = static_cast<IUnknown*>(this);
        AddRef();
        return S_OK;
    }
    *out = m_object.FindInterface(*iid);
    if (!*out) return E_NOINTERFACE;
    m_object.m_pOuter->AddRef();
    return S_OK;
}

ULONG CAggregable::CInner::Release() noexcept {
    const ULONG left = --m_references;
    if (left == 0) {
        // Releasing what the object holds may reach back into it; one extra reference keeps that from a second end.
        m_references = 1;
        delete &m_object;
    }
    return left;
}
