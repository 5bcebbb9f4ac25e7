// What stands between code that may throw and the module's boundary.
#pragma once

#include <exception>
#include <new>
#include <type_traits>

#include "platform/threads.h"
#include "platform/types.h"

/// Runs `body` and turns what it throws into a status: nothing passes the module's boundary. A body without a result
/// gives S_OK.
template <class Body>
HRESULT KwGuarded(Body&& body) noexcept {
    try {
        if constexpr (std::is_void_v<decltype(body())>)
            return body(), S_OK;
        else
            return body();
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    } catch (...) {
        return E_FAIL;
    }
}

/// The same with `mutex` held.
template <class Mutex, class Body>
HRESULT KwGuarded(Mutex& mutex, Body&& body) noexcept {
    return KwGuarded([&] {
        const CHeld guard(mutex);
        return body();
    });
}

/// Gives a value out.
template <class T>
HRESULT KwAnswer(T* out, const std::type_identity_t<T>& value) noexcept {
    if (!out) return E_POINTER;
    *out = value;
    return S_OK;
}
