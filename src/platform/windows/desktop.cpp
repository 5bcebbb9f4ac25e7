#include <cstring>

#include "platform/exports.h"
#include "platform/windows/system.h"

void KwWndCenter(HWND) {}

BOOL Internet_BrowseWebPage(const char* url) {
    if (!url) return FALSE;
    for (const char* const scheme : {"http://", "https://", "mailto:"})
        if (std::strncmp(url, scheme, std::strlen(scheme)) == 0) return KwOpenAddress(url) ? TRUE : FALSE;
    return FALSE;
}
