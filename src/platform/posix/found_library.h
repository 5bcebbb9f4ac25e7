// Libraries that are looked for when they are first needed, so that the module loads where they are missing.
#pragma once

#include <dlfcn.h>

/// Stays loaded for the life of the process.
class CLibrary {
  public:
    struct tFound {
        void* address;
        template <class TFunction>
        operator TFunction*() const {
            return reinterpret_cast<TFunction*>(address);
        }
    };

    explicit CLibrary(const char* file) : m_handle(dlopen(file, RTLD_NOW | RTLD_LOCAL)), m_isWhole(m_handle) {}

    tFound Find(const char* name) {
        void* const address = m_handle ? dlsym(m_handle, name) : nullptr;
        m_isWhole = m_isWhole && address;
        return {address};
    }
    /// False where the library, or anything that was looked for in it, is missing.
    bool IsWhole() const { return m_isWhole; }

  private:
    void* m_handle;
    bool m_isWhole;
};
