// To be loaded before a program: the allocation that LARKMOOR_FAIL_AT numbers, counted from the start of main(), is
// refused. With LARKMOOR_COUNT_IN the number of all goes into that file at the end.
#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstdlib>

#include <dlfcn.h>

extern "C" {
void* __libc_malloc(std::size_t);
void* __libc_calloc(std::size_t, std::size_t);
void* __libc_realloc(void*, std::size_t);
void* __libc_memalign(std::size_t, std::size_t);
}

namespace {

std::atomic<long> g_count{0};
std::atomic<long> g_refused{-1}; ///< below 0 before all is set up

bool isRefused() {
    const long refused = g_refused.load(std::memory_order_relaxed);
    return refused >= 0 && ++g_count == refused;
}

void* given(void* memory) {
    if (!memory) errno = ENOMEM;
    return memory;
}

using Main = int (*)(int, char**, char**);
Main g_main;

int countedMain(int count, char** arguments, char** environment) {
    const char* const number = std::getenv("LARKMOOR_FAIL_AT");
    g_refused = number ? std::atol(number) : 0;
    return g_main(count, arguments, environment);
}

struct Teller {
    ~Teller() {
        g_refused = -1;
        const char* const file = std::getenv("LARKMOOR_COUNT_IN");
        std::FILE* const out = file ? std::fopen(file, "w") : nullptr;
        if (!out) return;
        std::fprintf(out, "%ld\n", g_count.load());
        std::fclose(out);
    }
} const g_teller;

} // namespace

extern "C" {

void* malloc(std::size_t size) {
    return given(isRefused() ? nullptr : __libc_malloc(size));
}
void* calloc(std::size_t count, std::size_t size) {
    return given(isRefused() ? nullptr : __libc_calloc(count, size));
}
void* realloc(void* memory, std::size_t size) {
    return isRefused() ? given(nullptr) : __libc_realloc(memory, size);
}
void* memalign(std::size_t alignment, std::size_t size) {
    return given(isRefused() ? nullptr : __libc_memalign(alignment, size));
}
void* aligned_alloc(std::size_t alignment, std::size_t size) {
    return memalign(alignment, size);
}
int posix_memalign(void** memory, std::size_t alignment, std::size_t size) {
    void* const made = isRefused() ? nullptr : __libc_memalign(alignment, size);
    if (!made) return ENOMEM;
    *memory = made;
    return 0;
}

int __libc_start_main(Main main, int count, char** arguments, void (*init)(), void (*fini)(), void (*loader)(),
                      void* stack) {
    g_main = main;
    const auto start = reinterpret_cast<decltype(&__libc_start_main)>(::dlsym(RTLD_NEXT, "__libc_start_main"));
    return start(&countedMain, count, arguments, init, fini, loader, stack);
}
}
