#include "platform/posix/font_libraries.h"

#include <cstdio>

const tFontconfig& Fc() {
    static const tFontconfig functions;
    return functions;
}

const tFreeType& Ft() {
    static const tFreeType functions;
    return functions;
}

bool HasFontLibraries() {
    static const bool has = [] {
        const bool found = Fc().library.IsWhole(), drawn = Ft().library.IsWhole();
        if (!found || !drawn)
            std::fprintf(stderr,
                         "larkmoor: titles and timecodes stay without letters: the system has no %s; install it\n",
                         !drawn ? "libfreetype.so.6" : "libfontconfig.so.1"); // which does not load without the other
        return found && drawn;
    }();
    return has;
}
