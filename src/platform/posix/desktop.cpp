#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <initializer_list>

#include "platform/exports.h"

extern char** environ;

void KwWndCenter(HWND) {}

BOOL Internet_BrowseWebPage(const char* url) {
    if (!url) return FALSE;
    bool known = false;
    for (const char* const scheme : {"http://", "https://", "mailto:"})
        known = known || std::strncmp(url, scheme, std::strlen(scheme)) == 0;
    if (!known) return FALSE;
    char program[] = "xdg-open";
    char* const address = strdup(url);
    char* const arguments[] = {program, address, nullptr};
    pid_t child = 0;
    bool started = address && posix_spawnp(&child, program, nullptr, nullptr, arguments, environ) == 0;
    if (started) {
        int status = 0;
        started = waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0;
    }
    std::free(address);
    return started ? TRUE : FALSE;
}
