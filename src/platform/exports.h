// The functions that the module exports with C linkage. The exported kernels follow in `kernels/exports.h`, with the
// records that they take.
#pragma once

#include "platform/component.h"
#include "platform/message.h"
#include "platform/time_format.h"

extern "C" {
/// S_OK while no object and no class factory lock is alive, else S_FALSE.
KWEXPORT HRESULT DllCanUnloadNow();
/// The class factory of a class of the object map. CLASS_E_CLASSNOTAVAILABLE for an unknown class.
KWEXPORT HRESULT DllGetClassObject(const CLSID* clsid, const IID* iid, void** out);
/// Row `index` of the object map; S_FALSE behind its end, E_INVALIDARG below 0. `category` is null for a page.
/// The description is cut to `descriptionSize` bytes, its ending zero included. The last three arguments are unused.
KWEXPORT HRESULT DllEnumObjects2(LONG index, GUID* category, CLSID* clsid, char* description, LONG descriptionSize,
                                 void*, void*, void*);
/// Always E_NOTIMPL: hosts do not go through a registry.
KWEXPORT HRESULT DllRegisterServer();
/// Always S_OK.
KWEXPORT HRESULT DllUnregisterServer();
/// Centres a window over its owner; does nothing where the platform has no windows of its own.
KWEXPORT void KwWndCenter(HWND window);
/// Shows a http, https or mailto address in the user's browser. FALSE where it cannot be started.
KWEXPORT BOOL Internet_BrowseWebPage(const char* url);
/// Lets the host answer the module's messages, such as a page's About box; null takes that away.
KWEXPORT void KwSetMessageCallback(tMessageCallback callback, void* context);
/// Writes a time in units of 100 ns as UTF-8, in the user's locale and ended by a zero, into `size` bytes. `full`
/// leaves the fraction out. The bytes written without the zero; a text that is longer is cut.
KWEXPORT std::size_t KwFormatTime(char* dest, std::size_t size, const tTIMEFORMAT* format, std::int64_t time,
                                  BOOL full);
}
