// Files through FFmpeg's demuxers and decoders into the reader. Not FFmpeg is what is tried, but what the reader makes
// of what comes from it.
#include <cstdint>

#include <sys/mman.h>
#include <unistd.h>

#include "media/av.h"
#include "media/reader.h"

extern "C" {
#include <libavutil/log.h>
#include <libavutil/mem.h>
}

using namespace larkmoor;

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    av_log_set_level(AV_LOG_QUIET);
    av_max_alloc(std::size_t{64} << 20); // a picture that claims to be huge is refused, not made
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 2) return 0;
    const int file = ::memfd_create("input", MFD_CLOEXEC);
    if (::write(file, data + 1, size - 1) < 0) return 0;
    const std::string path = "/proc/self/fd/" + std::to_string(file);
    try {
        ReadOptions options;
        options.start = data[0] & 1 ? 0.05 : 0;
        options.skip = data[0] & 2 ? 1 : 0;
        options.policy = {.strict = (data[0] & 4) != 0, .turn = (data[0] & 8) == 0};
        if (data[0] & 16) Reader::table(path, options);
        Reader reader(path, options);
        reader.expectedFrames();
        for (int i = 0; i < 4; ++i)
            if (!reader.next().frame) break;
        reader.rest();
        reader.damageTold();
    } catch (const Error& error) {
        if (*error.what() == 0) __builtin_trap();
    } catch (const std::bad_alloc&) { // refused above
    }
    ::close(file);
    return 0;
}
