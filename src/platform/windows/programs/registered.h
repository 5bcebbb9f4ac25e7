// Classes that the system knows by its registry.
#pragma once

#include "platform/component.h"

/// A class factory that makes its objects by `CoCreateInstance`. The first call makes the thread known to the system.
HRESULT KwRegisteredClass(const CLSID* clsid, const IID* iid, void** out);
