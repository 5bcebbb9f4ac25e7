// Linked into shared libraries alone: what the C++ library, as it is linked in, wants of a C library newer than 2.28.
#include <dlfcn.h>
#include <link.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>

extern "C" {

char __libc_single_threaded = 0; ///< so counts are always atomic

std::uint32_t arc4random() {
    std::uint32_t value = 0;
    if (getentropy(&value, sizeof value) != 0) std::abort();
    return value;
}

#ifdef DLFO_STRUCT_HAS_EH_DBASE
/// Where an exception's way up finds the tables of the code at an address.
int _dl_find_object(void* address, dl_find_object* found) {
    struct tSearch {
        std::uintptr_t address;
        dl_find_object* found;
    } search{reinterpret_cast<std::uintptr_t>(address), found};
    const auto look = [](dl_phdr_info* object, std::size_t, void* data) {
        const auto& [at, out] = *static_cast<tSearch*>(data);
        bool isHere = false;
        const ElfW(Phdr)* tables = nullptr;
        for (const ElfW(Phdr)* part = object->dlpi_phdr; part != object->dlpi_phdr + object->dlpi_phnum; ++part) {
            isHere = isHere || (part->p_type == PT_LOAD && at - (object->dlpi_addr + part->p_vaddr) < part->p_memsz);
            if (part->p_type == PT_GNU_EH_FRAME) tables = part;
        }
        if (!isHere || !tables) return 0;
        *out = {};
        out->dlfo_eh_frame = reinterpret_cast<void*>(object->dlpi_addr + tables->p_vaddr);
        return 1;
    };
    return dl_iterate_phdr(look, &search) == 1 ? 0 : -1;
}
#endif

} // extern "C"
