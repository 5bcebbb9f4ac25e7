// The C++ library of this platform throws nothing: what would be an exception, such as a lack of memory, ends the
// program, and its host starts another one.
#include <cstddef>

extern "C" {
void* __cxa_allocate_exception(std::size_t) {
    __builtin_trap();
}
void __cxa_throw(void*, void*, void (*)(void*)) {
    __builtin_trap();
}
}
