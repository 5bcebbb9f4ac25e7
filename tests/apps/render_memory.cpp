// The command renders a tiny clip with each allocation of its own or of FFmpeg refused in turn, in a process each: it
// says a sentence and leaves nothing under the name of the output, or is done and leaves the whole.
//
//     larkmoor_render_memory [OWN [FFMPEG]]    every OWN-th and every FFMPEG-th allocation; 1 unless given
#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <new>
#include <string>
#include <vector>

#include <dlfcn.h>
#include <execinfo.h>
#include <fcntl.h>
#include <link.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

int larkmoorMain(int count, char** arguments); // the command's own, under another name

namespace {

std::atomic<long> left{-1};        ///< allocations that still succeed; below 0 all do
std::atomic<bool> ofFfmpeg{false}; ///< FFmpeg's are meant, not the command's own

/// What a child process tells.
struct Told {
    std::atomic<bool> struck, untold; ///< untold by a library, which goes on
    std::atomic<long> allocations;
};
Told* told = nullptr;

extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* memory, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
}

/// Where the code of FFmpeg's libraries lies.
struct Range {
    std::uintptr_t begin, end;
};
constexpr const char* ffmpegNames[] = {"libavcodec", "libavformat",   "libavutil",
                                       "libswscale", "libswresample", "libavfilter"};
std::array<Range, 16> ranges;
int rangeCount = 0;

int findFfmpeg(dl_phdr_info* library, std::size_t, void*) {
    for (const char* name : ffmpegNames)
        if (std::strstr(library->dlpi_name, name))
            for (int i = 0; i < library->dlpi_phnum; ++i) {
                const auto& segment = library->dlpi_phdr[i];
                if (segment.p_type != PT_LOAD || !(segment.p_flags & PF_X)) continue;
                const std::uintptr_t begin = library->dlpi_addr + segment.p_vaddr;
                ranges.at(static_cast<std::size_t>(rangeCount++)) = {begin, begin + segment.p_memsz};
            }
    return 0;
}

bool isOfFfmpeg(const void* caller) {
    const auto at = reinterpret_cast<std::uintptr_t>(caller);
    return std::any_of(ranges.begin(), ranges.begin() + rangeCount,
                       [&](const Range& range) { return at >= range.begin && at < range.end; });
}

/// Whether a function of a library asks for the memory.
bool asks(const char* function) {
    std::array<void*, 64> callers;
    const int count = ::backtrace(callers.data(), static_cast<int>(callers.size()));
    return std::any_of(callers.begin(), callers.begin() + count, [&](void* caller) {
        Dl_info found{};
        return ::dladdr(caller, &found) && found.dli_sname && std::strcmp(found.dli_sname, function) == 0;
    });
}

/// Functions of FFmpeg's that go on without the memory and do not tell: what they read or write may lack something.
constexpr const char* silent[] = {"avformat_find_stream_info", "avio_open_dyn_buf", "avio_close_dyn_buf",
                                  "avcodec_default_execute"};

/// Whether an allocation of C's is the one that is refused.
bool isRefused(std::size_t size, const void* caller) {
    if (!ofFfmpeg || left.load() < 0 || !isOfFfmpeg(caller) || left.fetch_sub(1) != 0) return false;
    // A file that FFmpeg opens without memory for the names of its protocols is freed twice.
    if (size == sizeof "file,crypto,data" && asks("av_strdup")) {
        left = 0;
        return false;
    }
    told->struck = true;
    told->untold = std::any_of(std::begin(silent), std::end(silent), asks);
    errno = ENOMEM;
    return true;
}

/// oneTBB's scheduler waits for good once it has no memory for a task of its own: the next allocation is meant then.
bool isOfScheduler(const void* caller) {
    Dl_info found{};
    return ::dladdr(caller, &found) && std::strstr(found.dli_fname, "libtbb");
}

void* make(std::size_t size, std::size_t alignment, const void* caller) {
    if (!ofFfmpeg && left.load() >= 0 && left.fetch_sub(1) == 0) {
        if (!isOfScheduler(caller)) {
            told->struck = true;
            throw std::bad_alloc();
        }
        left = 0;
    }
    const std::size_t least = size ? size : 1;
    void* const memory = alignment ? __libc_memalign(alignment, least) : __libc_malloc(least);
    if (!memory) throw std::bad_alloc();
    return memory;
}

std::string contentOf(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

struct Outcome {
    int status; ///< as `waitpid` gives it
    std::string said;
};

/// Runs the command in a process of its own, which ends after a minute.
Outcome run(std::vector<std::string> words, long allocations) {
    told->struck = told->untold = false;
    std::fflush(nullptr);
    const pid_t child = ::fork();
    if (child == 0) {
        ::alarm(60);
        ::dup2(::open("said", O_WRONLY | O_CREAT | O_TRUNC, 0600), STDERR_FILENO);
        std::vector<char*> arguments;
        for (std::string& word : words) arguments.push_back(word.data());
        arguments.push_back(nullptr);
        left = allocations;
        const int status = larkmoorMain(static_cast<int>(words.size()), arguments.data());
        told->allocations = allocations - left.exchange(-1);
        ::_exit(status);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    return {status, contentOf("said")};
}

} // namespace

extern "C" {
void* malloc(std::size_t size) {
    return isRefused(size, __builtin_return_address(0)) ? nullptr : __libc_malloc(size);
}
void* calloc(std::size_t count, std::size_t size) {
    return isRefused(count * size, __builtin_return_address(0)) ? nullptr : __libc_calloc(count, size);
}
void* realloc(void* memory, std::size_t size) {
    return isRefused(size, __builtin_return_address(0)) ? nullptr : __libc_realloc(memory, size);
}
__attribute__((visibility("default"))) int posix_memalign(void** memory, std::size_t alignment, std::size_t size) {
    if (isRefused(size, __builtin_return_address(0))) return ENOMEM;
    *memory = __libc_memalign(alignment, size);
    return *memory ? 0 : ENOMEM;
}
}

void* operator new(std::size_t size) {
    return make(size, 0, __builtin_return_address(0));
}
void* operator new(std::size_t size, std::align_val_t alignment) {
    return make(size, static_cast<std::size_t>(alignment), __builtin_return_address(0));
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    try {
        return make(size, 0, __builtin_return_address(0));
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::align_val_t) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t, std::align_val_t) noexcept {
    std::free(memory);
}

int main(int count, char** arguments) {
    const long ownStep = count > 1 ? std::max(1L, std::atol(arguments[1])) : 1;
    const long step = count > 2 ? std::max(1L, std::atol(arguments[2])) : 1;
    told = new (::mmap(nullptr, sizeof *told, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0)) Told();
    ::dl_iterate_phdr(&findFfmpeg, nullptr);
    asks(""); // the first time it asks for memory itself
    std::string folder = std::filesystem::temp_directory_path() / "larkmoor-memory-XXXXXX";
    if (!::mkdtemp(folder.data())) return 1;
    std::filesystem::current_path(folder);
    std::string noise(std::size_t{16} * 12 * 4 * 7 / 2, '\0'); // the last picture is cut short
    for (std::size_t i = 0; i < noise.size(); ++i) noise[i] = static_cast<char>(i * i / 7);
    std::ofstream("in.raw", std::ios::binary) << noise;
    const struct {
        bool ffmpeg; ///< whose allocations are refused; FFmpeg's in one thread, where they come in order
        const char *in, *out;
        std::vector<std::string> options;
    } renders[] = {
        {false, "in.raw", "out.mkv", {"--raw", "16x12:bgra:25", "--codec", "ffv1"}},
        {true, "in.raw", "out.avi", {"--raw", "16x12:bgra:25", "--codec", "rawvideo"}},
        {true, "out.avi", "out.nut", {"--codec", "ffv1"}},
        {true, "out.nut", "out.png", {"--frames", "1"}},
        {true, "out.png", "still.png", {}},
        {true, "out.nut", "out.y4m", {"--pixel-format", "yuv444p"}},
        {true, "out.y4m", "out.mkv", {"--codec", "ffv1", "-y"}},
    };
    int faults = 0;
    for (const auto& render : renders) {
        std::vector<std::string> words{
            "larkmoor", "--module",  LARKMOOR_MODULE_FILE,     "render", render.in, "-o", render.out, "--effect",
            "Sepia",    "--threads", render.ffmpeg ? "1" : "2"};
        words.insert(words.end(), render.options.begin(), render.options.end());
        ofFfmpeg = render.ffmpeg;
        const auto fault = [&](long n, const char* what, const Outcome& outcome) {
            std::printf("%s to %s, allocation %ld: %s (status %d): %s\n", render.in, render.out, n, what,
                        outcome.status, outcome.said.c_str());
            ++faults;
        };
        const Outcome usual = run(words, LONG_MAX);
        const long all = told->allocations, each = render.ffmpeg ? step : ownStep;
        const std::string whole = contentOf(render.out);
        constexpr int exitDamaged = 3;
        if (usual.status != W_EXITCODE(render.in == std::string("in.raw") ? exitDamaged : 0, 0) || whole.empty()) {
            fault(-1, "is not even made with all memory", usual);
            break;
        }
        // The last ones come when the output has its name.
        constexpr long last = 8;
        long refused = 0, untold = 0;
        for (long n = 0; n <= all + last; n += n < all - last ? std::min(each, all - last - n) : 1) {
            std::filesystem::remove(render.out);
            const Outcome outcome = run(words, n);
            const std::string made = contentOf(render.out);
            const bool stands = std::filesystem::exists(render.out);
            if (!WIFEXITED(outcome.status))
                fault(n, "ends by a signal", outcome);
            else if (outcome.status == W_EXITCODE(exitDamaged, 0) &&
                     outcome.said.find("more memory than there is") != std::string::npos)
                ; // a packet, without which the clip is rendered
            else if (outcome.status == usual.status && made != whole && !told->untold)
                fault(n, "is called done and is not", outcome);
            else if (outcome.status != usual.status && stands)
                fault(n, "is called failed and stands under its name", outcome);
            else if (outcome.status != usual.status && outcome.said.find("larkmoor: ") == std::string::npos)
                fault(n, "fails without a sentence", outcome);
            refused += outcome.status != usual.status;
            untold += told->untold;
        }
        std::printf("%s to %s: %ld allocations, %ld refusals told, %ld untold by FFmpeg\n", render.in, render.out, all,
                    refused, untold);
        std::ofstream(render.out, std::ios::binary) << whole;
    }
    std::filesystem::current_path("/");
    std::filesystem::remove_all(folder);
    return faults != 0;
}
