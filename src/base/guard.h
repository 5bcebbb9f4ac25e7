// What stands between code that may throw and the module's boundary.
#pragma once

#include <exception>
#include <new>

#include "platform/types.h"

/// Runs `body` and turns what it throws into a status: nothing passes the module's boundary.
template <class Body>
HRESULT KwGuarded(Body&& body) noexcept {
    try {
        return body();
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    } catch (...) {
        return E_FAIL;
    }
}
