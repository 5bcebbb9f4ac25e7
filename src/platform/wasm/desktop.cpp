#include "platform/exports.h"

void KwWndCenter(HWND) {}

BOOL Internet_BrowseWebPage(const char*) {
    return FALSE;
}
