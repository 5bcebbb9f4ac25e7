// A module that goes wrong in the way that LARKMOOR_FAULT names: the real one's objects, with some of their operations
// exchanged.
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string_view>

#include <dlfcn.h>
#include <sys/mman.h>
#include <unistd.h>

#include "platform/com_ptr.h"
#include "platform/effect.h"
#include "platform/page.h"

namespace {

bool has(std::string_view fault) {
    const char* const given = std::getenv("LARKMOOR_FAULT");
    return given && fault == given;
}

template <class F>
F real(const char* name) {
    static void* const library = ::dlopen(LARKMOOR_MODULE_FILE, RTLD_NOW | RTLD_LOCAL);
    return reinterpret_cast<F>(::dlsym(library, name));
}

/// Puts `with` into a slot of all objects with the same table. @return what stood there.
template <class F>
F exchange(IUnknown* object, int slot, F with) {
    void** const entry = *reinterpret_cast<void***>(object) + slot;
    const auto page = static_cast<std::uintptr_t>(::sysconf(_SC_PAGESIZE));
    void* const start = reinterpret_cast<void*>(reinterpret_cast<std::uintptr_t>(entry) / page * page);
    ::mprotect(start, page + sizeof(void*), PROT_READ | PROT_WRITE);
    const auto before = reinterpret_cast<F>(*entry);
    if (before != with) *entry = reinterpret_cast<void*>(with);
    return before == with ? nullptr : before;
}

// What this thread bound last: objects of several threads come by.
thread_local IUnknown* g_input = nullptr;
thread_local IUnknown* g_output = nullptr;
HRESULT (*g_setup)(void*, IUnknown* const*, ULONG, IUnknown* const*, ULONG, DWORD);
HRESULT (*g_execute)(void*, const GUID*, const DXBNDS*, const DXVEC*);
HRESULT (*g_putAll)(void*, void*, LONG);
HRESULT (*g_apply)(void*, LONG);
HRESULT (*g_save)(void*, IStream*, BOOL);
HRESULT (*g_getPages)(void*, CAUUID*);
HRESULT (*g_setObjects)(void*, ULONG, IUnknown**);
HRESULT (*g_create)(void*, IUnknown*, const IID*, void**);

HRESULT setup(void* self, IUnknown* const* in, ULONG nIn, IUnknown* const* out, ULONG nOut, DWORD flags) {
    g_input = in && nIn ? in[0] : nullptr;
    g_output = out && nOut ? out[0] : nullptr;
    return g_setup(self, in, nIn, out, nOut, flags);
}

/// One pixel of a bound surface, as far from its first as told.
void touch(IUnknown* surface, int distance, int value) {
    if (!surface) return;
    const auto bound = KwQuery<IDXSurface>(surface);
    const auto pointer = KwReceived<IDXARGBReadWritePtr>(
        [&](void** out) { return bound->LockSurface(nullptr, 0, 1, &IDXARGBReadWritePtr::iid, out, nullptr); });
    if (!pointer) return;
    DXNATIVETYPEINFO native{};
    pointer->GetNativeType(&native);
    static_cast<volatile unsigned char*>(native.pFirstByte)[distance] = static_cast<unsigned char>(value);
    if (has("lock held")) CComPtr(pointer).Detach();
}

/// Seconds of this process's processor.
void spend(double seconds) {
    const std::clock_t end = std::clock() + static_cast<std::clock_t>(seconds * CLOCKS_PER_SEC);
    while (std::clock() < end) {
    }
}

void* g_stuck = nullptr; ///< an object that draws no more

HRESULT execute(void* self, const GUID* request, const DXBNDS* clip, const DXVEC* place) {
    if (has("crashes without surfaces") && !g_output) std::abort();
    if (has("does not draw again") && !g_output) g_stuck = self;
    if (self == g_stuck) return S_OK;
    if (has("draws all the same")) touch(g_output, 0, 1);
    const HRESULT status = g_execute(self, request, clip, place);
    static std::atomic<int> frames = 0;
    ++frames;
    if (has("writes before the picture")) touch(g_output, -1, 0);
    if (has("writes into the input") && g_input) touch(g_input, 0, 0);
    if (has("another picture each time")) touch(g_output, 0, frames);
    if (has("lock held")) touch(g_output, 0, 0);
    if (has("leaks")) static_cast<volatile char*>(std::malloc(200))[0] = 1;
    if (has("refuses each frame")) return E_FAIL;
    if (has("hides a refusal")) return S_OK;
    if (has("hands a refusal on") && FAILED(status)) return DXTERR_UNINITIALIZED;
    if (has("fails in the end")) return S_FALSE;
    if (has("takes its time")) spend(2.1);
    if (has("crashes")) std::abort();
    if (has("ends the process")) std::_Exit(0);
    return status;
}

HRESULT putAll(void* self, void* record, LONG size) {
    return g_putAll(self, record, has("loses the record's end") ? size - 1 : size);
}
HRESULT apply(void* self, LONG index) {
    return g_apply(self, has("takes any preset") ? 0 : index);
}
HRESULT save(void* self, IStream* stream, BOOL clearDirty) {
    const HRESULT status = g_save(self, stream, clearDirty);
    return has("saves too much") && stream ? stream->Write(&status, 4, nullptr) : status;
}
HRESULT getPages(void* self, CAUUID* pages) {
    const HRESULT status = g_getPages(self, pages);
    if (has("tells a page that is none") && pages) ++pages->pElems->Data1;
    return status;
}
HRESULT setObjects(void* self, ULONG count, IUnknown** objects) {
    const HRESULT status = g_setObjects(self, count, objects);
    return has("shows any object") ? S_OK : status;
}
HRESULT createInstance(void* self, IUnknown* outer, const IID* iid, void** out) {
    if (has("is inside under any id") && outer) iid = &IUnknown::iid;
    const HRESULT status =
        g_create(self, has("stays outside") && iid && *iid == IUnknown::iid ? nullptr : outer, iid, out);
    if (has("holds its outer object") && outer && SUCCEEDED(status)) outer->AddRef();
    return status;
}

} // namespace

#define EXPORT extern "C" __attribute__((visibility("default")))

EXPORT HRESULT DllCanUnloadNow() {
    return real<HRESULT (*)()>("DllCanUnloadNow")();
}

EXPORT HRESULT DllEnumObjects2(LONG index, GUID* category, CLSID* clsid, char* text, LONG size, void* a, void* b,
                               void* c) {
    if (has("repeats a row") && index == 64) index = 63;
    return real<decltype(&DllEnumObjects2)>("DllEnumObjects2")(index, category, clsid, text, size, a, b, c);
}

// The real one's other functions are found in it, which this one is linked to.
EXPORT void KwSetMemoryDWords(void* words, ULONG value, ULONG count) {
    real<decltype(&KwSetMemoryDWords)>("KwSetMemoryDWords")(words, value, has("fills a word more") ? count + 1 : count);
}

EXPORT HRESULT KwDibBrightness(void* bits, const RECT* frame, LONG stride, const RECT* clip, LONG bytesPerPixel,
                               float amount) {
    if (has("takes no frame for an empty one") && !frame) return S_OK;
    return real<decltype(&KwDibBrightness)>("KwDibBrightness")(bits, frame, stride, clip, bytesPerPixel, amount);
}

EXPORT HRESULT DllGetClassObject(const CLSID* clsid, const IID* iid, void** out) {
    const auto get = real<decltype(&DllGetClassObject)>("DllGetClassObject");
    CComPtr<IClassFactory> factory;
    if (get(clsid, &IClassFactory::iid, factory.ReceiveVoid()) != S_OK) return factory.Detach(), get(clsid, iid, out);
    CComPtr<IUnknown> object;
    factory->CreateInstance(nullptr, &IUnknown::iid, object.ReceiveVoid());
    const auto change = [](auto& kept, IUnknown* face, int slot, auto with) {
        if (const auto before = face ? exchange(face, slot, with) : nullptr) kept = before;
    };
    const auto transform = KwQuery<IDXTransform>(object.Get());
    change(g_setup, transform.Get(), 6, &setup);
    change(g_execute, transform.Get(), 7, &execute);
    change(g_putAll, KwQuery<IDXEffect>(object.Get()).Get(), 14, &putAll);
    change(g_apply, KwQuery<IKwPresets>(object.Get()).Get(), 5, &apply);
    change(g_save, KwQuery<IPersistStreamInit>(object.Get()).Get(), 6, &save);
    change(g_getPages, KwQuery<ISpecifyPropertyPages>(object.Get()).Get(), 3, &getPages);
    change(g_setObjects, KwQuery<IPropertyPage>(object.Get()).Get(), 7, &setObjects);
    change(g_create, factory.Get(), 3, &createInstance);
    if (has("keeps objects alive")) object.Detach();
    return get(clsid, iid, out);
}
