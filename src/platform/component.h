// The component model: abstract classes of operations in slot order, single inheritance, no virtual destructor, no
// data, nothing thrown. Each interface carries its id as `iid`.
#pragma once

#include "platform/types.h"

// An interface has no destructor of its own: objects end at their last Release.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"

struct IUnknown {
    static constexpr GUID iid{0x00000000, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};
    virtual HRESULT QueryInterface(const IID* iid, void** out) = 0;
    virtual ULONG AddRef() = 0;
    virtual ULONG Release() = 0;
};

struct IClassFactory : IUnknown {
    static constexpr GUID iid{0x00000001, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};
    virtual HRESULT CreateInstance(IUnknown* outer, const IID* iid, void** out) = 0;
    virtual HRESULT LockServer(BOOL lock) = 0;
};

/// A value of a call by name. Only the kinds listed below are read or written by the module.
struct VARIANT {
    WORD vt;
    WORD reserved[3];
    union {
        std::int64_t llVal;
        LONG lVal;
        std::int16_t iVal;
        std::uint8_t bVal;
        float fltVal;
        double dblVal;
        void* byref;
        struct {
            void* first;
            void* second;
        } pair;
    };
};
static_assert(sizeof(VARIANT) == 8 + 2 * sizeof(void*));

enum : WORD {
    VT_EMPTY = 0,
    VT_NULL = 1,
    VT_I2 = 2,
    VT_I4 = 3,
    VT_R4 = 4,
    VT_R8 = 5,
    VT_BOOL = 11,
    VT_VARIANT = 12,
    VT_I1 = 16,
    VT_UI1 = 17,
    VT_UI2 = 18,
    VT_UI4 = 19,
    VT_I8 = 20,
    VT_UI8 = 21,
    VT_INT = 22,
    VT_UINT = 23,
    VT_PTR = 26,
    VT_BYREF = 0x4000,
};

/// Arguments stand last to first; named ones (a property's new value) come before the others.
struct DISPPARAMS {
    VARIANT* rgvarg;
    LONG* rgdispidNamedArgs;
    UINT cArgs;
    UINT cNamedArgs;
};

enum : WORD { DISPATCH_METHOD = 1, DISPATCH_PROPERTYGET = 2, DISPATCH_PROPERTYPUT = 4, DISPATCH_PROPERTYPUTREF = 8 };
inline constexpr LONG DISPID_PROPERTYPUT = -3;
inline constexpr LONG DISPID_UNKNOWN = -1;

struct ITypeInfo;
struct EXCEPINFO;

struct IDispatch : IUnknown {
    static constexpr GUID iid{0x00020400, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};
    virtual HRESULT GetTypeInfoCount(UINT* count) = 0;
    virtual HRESULT GetTypeInfo(UINT index, LCID locale, ITypeInfo** out) = 0;
    virtual HRESULT GetIDsOfNames(const IID* reserved, OLECHAR** names, UINT count, LCID locale, LONG* ids) = 0;
    virtual HRESULT Invoke(LONG id, const IID* reserved, LCID locale, WORD flags, DISPPARAMS* params, VARIANT* result,
                           EXCEPINFO* exception, UINT* badArgument) = 0;
};

struct IServiceProvider : IUnknown {
    static constexpr GUID iid{0x6D5140C1, 0x7436, 0x11CE, {0x80, 0x34, 0x00, 0xAA, 0x00, 0x60, 0x09, 0xFA}};
    virtual HRESULT QueryService(const GUID* service, const IID* iid, void** out) = 0;
};

struct IObjectWithSite : IUnknown {
    static constexpr GUID iid{0xFC4801A3, 0x2BA9, 0x11CF, {0xA2, 0x29, 0x00, 0xAA, 0x00, 0x3D, 0x73, 0x52}};
    virtual HRESULT SetSite(IUnknown* site) = 0;
    virtual HRESULT GetSite(const IID* iid, void** out) = 0;
};

/// A short `Read` gives S_OK or S_FALSE and the count.
struct ISequentialStream : IUnknown {
    static constexpr GUID iid{0x0C733A30, 0x2A1C, 0x11CE, {0xAD, 0xE5, 0x00, 0xAA, 0x00, 0x44, 0x77, 0x3D}};
    virtual HRESULT Read(void* target, ULONG count, ULONG* got) = 0;
    virtual HRESULT Write(const void* source, ULONG count, ULONG* put) = 0;
};

struct IStream : ISequentialStream {
    static constexpr GUID iid{0x0000000C, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};
    virtual HRESULT Seek(std::int64_t distance, DWORD origin, std::uint64_t* position) = 0;
    virtual HRESULT SetSize(std::uint64_t size) = 0;
    virtual HRESULT CopyTo(IStream* target, std::uint64_t count, std::uint64_t* got, std::uint64_t* put) = 0;
    virtual HRESULT Commit(DWORD flags) = 0;
    virtual HRESULT Revert() = 0;
    virtual HRESULT LockRegion(std::uint64_t offset, std::uint64_t count, DWORD type) = 0;
    virtual HRESULT UnlockRegion(std::uint64_t offset, std::uint64_t count, DWORD type) = 0;
    virtual HRESULT Stat(void* out, DWORD flags) = 0;
    virtual HRESULT Clone(IStream** out) = 0;
};

struct IEnumSTATSTG;

struct IStorage : IUnknown {
    static constexpr GUID iid{0x0000000B, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};
    virtual HRESULT CreateStream(const OLECHAR* name, DWORD mode, DWORD reserved1, DWORD reserved2, IStream** out) = 0;
    virtual HRESULT OpenStream(const OLECHAR* name, void* reserved1, DWORD mode, DWORD reserved2, IStream** out) = 0;
    virtual HRESULT CreateStorage(const OLECHAR* name, DWORD mode, DWORD reserved1, DWORD reserved2,
                                  IStorage** out) = 0;
    virtual HRESULT OpenStorage(const OLECHAR* name, IStorage* priority, DWORD mode, void* exclude, DWORD reserved,
                                IStorage** out) = 0;
    virtual HRESULT CopyTo(DWORD excluded, const IID* excludedIds, void* excludedNames, IStorage* target) = 0;
    virtual HRESULT MoveElementTo(const OLECHAR* name, IStorage* target, const OLECHAR* newName, DWORD flags) = 0;
    virtual HRESULT Commit(DWORD flags) = 0;
    virtual HRESULT Revert() = 0;
    virtual HRESULT EnumElements(DWORD reserved1, void* reserved2, DWORD reserved3, IEnumSTATSTG** out) = 0;
    virtual HRESULT DestroyElement(const OLECHAR* name) = 0;
    virtual HRESULT RenameElement(const OLECHAR* oldName, const OLECHAR* newName) = 0;
    virtual HRESULT SetElementTimes(const OLECHAR* name, const void* created, const void* accessed,
                                    const void* modified) = 0;
    virtual HRESULT SetClass(const CLSID* clsid) = 0;
    virtual HRESULT SetStateBits(DWORD bits, DWORD mask) = 0;
    virtual HRESULT Stat(void* out, DWORD flags) = 0;
};

struct IErrorLog;

struct IPropertyBag : IUnknown {
    static constexpr GUID iid{0x55272A00, 0x42CB, 0x11CE, {0x81, 0x35, 0x00, 0xAA, 0x00, 0x4B, 0xB8, 0x51}};
    virtual HRESULT Read(const OLECHAR* name, VARIANT* value, IErrorLog* log) = 0;
    virtual HRESULT Write(const OLECHAR* name, VARIANT* value) = 0;
};

struct IPersist : IUnknown {
    static constexpr GUID iid{0x0000010C, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};
    virtual HRESULT GetClassID(CLSID* out) = 0;
};

struct IPersistStreamInit : IPersist {
    static constexpr GUID iid{0x7FD52380, 0x4E07, 0x101B, {0xAE, 0x2D, 0x08, 0x00, 0x2B, 0x2E, 0xC7, 0x13}};
    virtual HRESULT IsDirty() = 0;
    virtual HRESULT Load(IStream* stream) = 0;
    virtual HRESULT Save(IStream* stream, BOOL clearDirty) = 0;
    virtual HRESULT GetSizeMax(std::uint64_t* size) = 0;
    virtual HRESULT InitNew() = 0;
};

struct IPersistStorage : IPersist {
    static constexpr GUID iid{0x0000010A, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};
    virtual HRESULT IsDirty() = 0;
    virtual HRESULT InitNew(IStorage* storage) = 0;
    virtual HRESULT Load(IStorage* storage) = 0;
    virtual HRESULT Save(IStorage* storage, BOOL sameAsLoad) = 0;
    virtual HRESULT SaveCompleted(IStorage* storage) = 0;
    virtual HRESULT HandsOffStorage() = 0;
};

struct IPersistPropertyBag : IPersist {
    static constexpr GUID iid{0x37D84F60, 0x42CB, 0x11CE, {0x81, 0x35, 0x00, 0xAA, 0x00, 0x4B, 0xB8, 0x51}};
    virtual HRESULT InitNew() = 0;
    virtual HRESULT Load(IPropertyBag* bag, IErrorLog* log) = 0;
    virtual HRESULT Save(IPropertyBag* bag, BOOL clearDirty, BOOL saveAll) = 0;
};

/// The ids are the caller's to free, with `free` where the platform has no task allocator.
struct CAUUID {
    ULONG cElems;
    GUID* pElems;
};

struct ISpecifyPropertyPages : IUnknown {
    static constexpr GUID iid{0xB196B28B, 0xBAB4, 0x101A, {0xB6, 0x9C, 0x00, 0xAA, 0x00, 0x34, 0x1D, 0x07}};
    virtual HRESULT GetPages(CAUUID* pages) = 0;
};

struct IObjectSafety : IUnknown {
    static constexpr GUID iid{0xCB5BDC81, 0x93C1, 0x11CF, {0x8F, 0x20, 0x00, 0x80, 0x5F, 0x2C, 0xD0, 0x64}};
    virtual HRESULT GetInterfaceSafetyOptions(const IID* iid, DWORD* supported, DWORD* enabled) = 0;
    virtual HRESULT SetInterfaceSafetyOptions(const IID* iid, DWORD mask, DWORD enabled) = 0;
};

#pragma GCC diagnostic pop
