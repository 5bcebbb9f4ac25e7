// The plain types that cross the module's boundary. Sizes are the same on every platform.
#pragma once

#include <cstdint>
#include <cstring>

using LONG = std::int32_t;
using BOOL = std::int32_t;
using HRESULT = std::int32_t;
using ULONG = std::uint32_t;
using DWORD = std::uint32_t;
using UINT = std::uint32_t;
using LCID = std::uint32_t;
using WORD = std::uint16_t;
using HANDLE = void*;

/// One unit of UTF-16. Where a system's own headers have a wide character in its place, that one is of the same
/// size and layout.
using WCHAR = char16_t;
/// The same, by the name that calls by name know it under.
using OLECHAR = WCHAR;

inline constexpr BOOL FALSE = 0;
inline constexpr BOOL TRUE = 1;

struct GUID {
    std::uint32_t Data1;
    std::uint16_t Data2;
    std::uint16_t Data3;
    std::uint8_t Data4[8];

    friend constexpr bool operator==(const GUID&, const GUID&) = default;
};
static_assert(sizeof(GUID) == 16);
using CLSID = GUID;
using IID = GUID;

struct POINT {
    LONG x, y;
};

/// Right and bottom are exclusive; y runs downwards.
struct RECT {
    LONG left, top, right, bottom;

    friend constexpr bool operator==(const RECT&, const RECT&) = default;
};

/// Bounds on the four axes X, Y, Z, T. Only the discrete type (0) is looked into; the eight spare words belong to the
/// wider members of other types and travel untouched.
struct DXBNDS {
    struct tAxis {
        LONG Min, Max;
        friend constexpr bool operator==(const tAxis&, const tAxis&) = default;
    };
    LONG eType;
    LONG padding;
    tAxis Axis[4];
    LONG spare[8];
};
static_assert(sizeof(DXBNDS) == 72);

/// A place on the four axes X, Y, Z, T.
struct DXVEC {
    LONG eType;
    LONG padding;
    LONG Axis[4];
    LONG spare[4];
};
static_assert(sizeof(DXVEC) == 40);

/// A status is a signed 32-bit value: 0 and above success, below 0 failure.
constexpr HRESULT KwStatus(std::uint32_t code) {
    return static_cast<HRESULT>(code);
}

inline constexpr HRESULT S_OK = 0;
inline constexpr HRESULT S_FALSE = 1;
inline constexpr HRESULT E_NOTIMPL = KwStatus(0x80004001);
inline constexpr HRESULT E_NOINTERFACE = KwStatus(0x80004002);
inline constexpr HRESULT E_POINTER = KwStatus(0x80004003);
inline constexpr HRESULT E_FAIL = KwStatus(0x80004005);
inline constexpr HRESULT E_UNEXPECTED = KwStatus(0x8000FFFF);
inline constexpr HRESULT E_OUTOFMEMORY = KwStatus(0x8007000E);
inline constexpr HRESULT E_INVALIDARG = KwStatus(0x80070057);
inline constexpr HRESULT CLASS_E_NOAGGREGATION = KwStatus(0x80040110);
inline constexpr HRESULT CLASS_E_CLASSNOTAVAILABLE = KwStatus(0x80040111);
inline constexpr HRESULT DXTERR_UNINITIALIZED = KwStatus(0x887A0001);
inline constexpr HRESULT KW_E_MORE_DATA = KwStatus(0x800700EA);
inline constexpr HRESULT DISP_E_MEMBERNOTFOUND = KwStatus(0x80020003);
inline constexpr HRESULT DISP_E_TYPEMISMATCH = KwStatus(0x80020005);
inline constexpr HRESULT DISP_E_UNKNOWNNAME = KwStatus(0x80020006);
inline constexpr HRESULT DISP_E_BADPARAMCOUNT = KwStatus(0x8002000E);

constexpr bool FAILED(HRESULT status) {
    return status < 0;
}
constexpr bool SUCCEEDED(HRESULT status) {
    return status >= 0;
}

/// The page or host that gets a message. Posting queues for the receiver's own thread and never calls back into the
/// poster's stack. A null `HWND` is no window.
struct tMessageTarget {
    void (*post)(void* self, UINT message, std::uintptr_t wParam, std::intptr_t lParam);
};
using HWND = tMessageTarget*;

inline constexpr UINT WM_COMMAND = 273;

/// Where the module is built, its exported functions and classes.
#ifdef _WIN32
#define KWEXPORT __declspec(dllexport)
#else
#define KWEXPORT __attribute__((visibility("default")))
#endif
