#include "standard_files.h"

#include <csignal>
#include <cstdio>

#include <fcntl.h>
#include <unistd.h>

namespace larkmoor {

void settleStandardFiles() {
    for (const int place : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (::fcntl(place, F_GETFD) != -1) continue;
        // The other way round than it is used. Lower places are filled already, so this one is taken.
        const int file = ::open("/dev/null", place == STDIN_FILENO ? O_WRONLY : O_RDONLY);
        if (file >= 0 && file != place) ::close(file);
    }
    std::signal(SIGPIPE, SIG_IGN);
}

void tell(std::string_view text) noexcept {
    std::fwrite(text.data(), 1, text.size(), stderr);
    std::fflush(stderr);
}

} // namespace larkmoor
