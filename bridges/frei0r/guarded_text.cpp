#include "guarded_text.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace larkmoor::frei0r {
namespace {

constexpr std::size_t kMostText = 65535;
constexpr std::size_t kPage = 4096;

/// The kernel answers an error where a signal would end the process, so memory of unknown state goes through a pipe.
class Probe {
  public:
    Probe() {
        if (::pipe2(m_ends, O_CLOEXEC | O_NONBLOCK) != 0) m_ends[0] = m_ends[1] = -1;
    }
    Probe(const Probe&) = delete;
    Probe& operator=(const Probe&) = delete;
    ~Probe() {
        for (const int end : m_ends)
            if (end >= 0) ::close(end);
    }

    /// As many of `size` bytes as can be read, up to the end of the page.
    std::size_t read(std::uintptr_t from, char* to, std::size_t size) const {
        size = std::min(size, kPage - from % kPage);
        // The plain system call: wrappers of checking tools look at the memory themselves.
        const long sent = ::syscall(SYS_write, m_ends[1], from, size);
        if (sent <= 0) return 0;
        const ssize_t got = ::read(m_ends[0], to, static_cast<std::size_t>(sent));
        return got > 0 ? static_cast<std::size_t>(got) : 0;
    }

  private:
    int m_ends[2]{-1, -1};
};

/// Length of the UTF-8 character that `text` begins with, 0 for none.
std::size_t characterLength(const std::string& text, std::size_t at) {
    const auto lead = static_cast<unsigned char>(text[at]);
    if (lead < 0x80) return lead >= 0x20 || lead == '\t' || lead == '\n' || lead == '\r' ? 1 : 0;
    const std::size_t length = lead >= 0xF0 && lead < 0xF5   ? 4
                               : lead >= 0xE0 && lead < 0xF0 ? 3
                               : lead >= 0xC2 && lead < 0xE0 ? 2
                                                             : 0;
    for (std::size_t i = 1; i < length; ++i)
        if (at + i >= text.size() || (static_cast<unsigned char>(text[at + i]) & 0xC0) != 0x80) return 0;
    return length;
}

bool isText(const std::string& text) {
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t length = characterLength(text, at);
        if (length == 0) return false;
        at += length;
    }
    return true;
}

std::optional<std::string> textAt(const Probe& probe, std::uintptr_t place) {
    std::string text;
    char piece[512];
    while (text.size() <= kMostText) {
        const std::size_t got = probe.read(place + text.size(), piece, sizeof piece);
        if (got == 0) return std::nullopt;
        const char* const end = std::find(piece, piece + got, '\0');
        text.append(piece, static_cast<std::size_t>(end - piece));
        if (end != piece + got) return isText(text) ? std::optional(text) : std::nullopt;
    }
    return std::nullopt;
}

} // namespace

std::optional<std::string> guardedText(const void* parameter) {
    const Probe probe;
    const auto place = reinterpret_cast<std::uintptr_t>(parameter);
    std::uintptr_t inner = 0;
    char bytes[sizeof inner];
    std::size_t got = 0;
    while (got < sizeof bytes) {
        const std::size_t more = probe.read(place + got, bytes + got, sizeof bytes - got);
        if (more == 0) break;
        got += more;
    }
    if (got == sizeof bytes) {
        std::memcpy(&inner, bytes, sizeof inner);
        // Eight letters hardly ever lead anywhere, while a pointer may look like letters.
        if (char byte; probe.read(inner, &byte, 1) == 1) return textAt(probe, inner);
    }
    return textAt(probe, place);
}

} // namespace larkmoor::frei0r
