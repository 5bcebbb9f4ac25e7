// The command renders a tiny clip with each allocation of its own refused in turn, in a process each: it says a
// sentence and leaves nothing or the whole under the name of the output.
//
//     larkmoor_render_memory [STEP]    every STEP-th allocation; 1 unless given
#include <atomic>
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
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

int larkmoorMain(int count, char** arguments); // the command's own, under another name

namespace {

std::atomic<long> left{-1}; ///< allocations that still succeed; below 0 all do
std::atomic<bool>* struck = nullptr;

/// oneTBB's scheduler waits for good once it has no memory for a task of its own: the next allocation is meant then.
bool isOfScheduler(const void* caller) {
    Dl_info found{};
    return ::dladdr(caller, &found) && std::strstr(found.dli_fname, "libtbb");
}

void* make(std::size_t size, std::size_t alignment, const void* caller) {
    if (left.load() >= 0 && left.fetch_sub(1) == 0) {
        if (!isOfScheduler(caller)) {
            *struck = true;
            throw std::bad_alloc();
        }
        left = 0;
    }
    const std::size_t least = size ? size : 1;
    void* const memory =
        alignment ? std::aligned_alloc(alignment, (least + alignment - 1) / alignment * alignment) : std::malloc(least);
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
    *struck = false;
    std::fflush(nullptr);
    const pid_t child = ::fork();
    if (child == 0) {
        ::alarm(60);
        const int told = ::open("said", O_WRONLY | O_CREAT | O_TRUNC, 0600);
        ::dup2(told, STDERR_FILENO);
        std::vector<char*> arguments;
        for (std::string& word : words) arguments.push_back(word.data());
        arguments.push_back(nullptr);
        left = allocations;
        const int status = larkmoorMain(static_cast<int>(words.size()), arguments.data());
        left = -1;
        ::_exit(status);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    return {status, contentOf("said")};
}

} // namespace

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
    const long step = count > 1 ? std::max(1L, std::atol(arguments[1])) : 1;
    struck = new (::mmap(nullptr, sizeof *struck, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0))
        std::atomic<bool>(false);
    std::string folder = std::filesystem::temp_directory_path() / "larkmoor-memory-XXXXXX";
    if (!::mkdtemp(folder.data())) return 1;
    std::filesystem::current_path(folder);
    std::ofstream("in.raw", std::ios::binary) << std::string(16 * 12 * 4 * 3, '\x55');
    const std::vector<std::string> words{
        "larkmoor", "--module", LARKMOOR_MODULE_FILE, "render", "in.raw",    "--raw", "16x12:bgra:25", "-o", "out.mkv",
        "--codec",  "ffv1",     "--effect",           "Sepia",  "--threads", "2"};
    const Outcome usual = run(words, -1);
    const std::string whole = contentOf("out.mkv");
    int faults = 0;
    const auto fault = [&](long n, const char* what, const Outcome& outcome) {
        std::printf("allocation %ld: %s (status %d): %s\n", n, what, outcome.status, outcome.said.c_str());
        ++faults;
    };
    if (usual.status != 0 || whole.empty()) fault(-1, "is not even made with all memory", usual);
    long n = 0, told = 0;
    for (; usual.status == 0; n += step) {
        std::filesystem::remove("out.mkv");
        const Outcome outcome = run(words, n);
        const std::string made = contentOf("out.mkv");
        if (!WIFEXITED(outcome.status))
            fault(n, "ends by a signal", outcome);
        else if (outcome.status == 0 && made != whole)
            fault(n, "is called done and is not", outcome);
        else if (std::filesystem::exists("out.mkv") && made != whole)
            fault(n, "leaves half of it under the name of the output", outcome);
        else if (outcome.status != 0 && !outcome.said.starts_with("larkmoor: "))
            fault(n, "fails without a sentence", outcome);
        told += outcome.status != 0;
        if (!*struck) break;
    }
    std::printf("%ld allocations, each %ld-th refused: %ld renders told so, %d faults\n", n, step, told, faults);
    std::filesystem::current_path("/");
    std::filesystem::remove_all(folder);
    return faults != 0;
}
