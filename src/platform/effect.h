// The module's own interfaces: an effect's parameters, ramp, presets, and what its fields are.
#pragma once

#include "platform/transform.h"

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"

/// The dual interface of a filter or transition. Each class answers it under an id of its own.
struct IKwEffect : IDXEffect {
    /// Copies the smaller of `cbStruct` (taken as unsigned) and the record's size out of the record as last set.
    virtual HRESULT get_all(void* pvParam, LONG cbStruct) = 0;
    /// Copies `cbStruct` bytes into the front of the record; the whole record where `cbStruct` is outside 0 to its
    /// size. Values are not checked.
    virtual HRESULT put_all(void* pvParam, LONG cbStruct) = 0;
    /// The window that is told of changes by WM_COMMAND with `id`; null for none.
    virtual HRESULT put_NotifyWindow(HWND window, UINT id) = 0;
};

/// The dual interface of a generator, which is no `IDXEffect`.
struct IKwGenerator : IDispatch {
    virtual HRESULT GetCacheInfo(void* cache) = 0;
    virtual HRESULT get_all(void* pvParam, LONG cbStruct) = 0;
    virtual HRESULT put_all(void* pvParam, LONG cbStruct) = 0;
    virtual HRESULT put_NotifyWindow(HWND window, UINT id) = 0;
};

enum tEffectKind : LONG { KWKIND_FILTER = 2, KWKIND_TRANSITION = 5, KWKIND_MASK = 10 };

/// The block that `IKwEffectInfo` hands out.
struct tEffectInfo {
    LONG kind;
    LONG reserved1;
    double weight;
    LONG minInputs;
    LONG maxInputs;
    ULONG flags;
    LONG reserved2;
};
static_assert(sizeof(tEffectInfo) == 32);

struct IKwEffectInfo : IUnknown {
    static constexpr GUID iid{0x709BA0D3, 0xF965, 0x11D1, {0x9A, 0xA9, 0x00, 0xA0, 0xC9, 0x9B, 0x12, 0xC5}};
    /// Copies the smaller of `size` and 32 bytes of `tEffectInfo`.
    virtual HRESULT GetEffectInfo(void* block, ULONG size) = 0;
    /// Stores the value limited to 0 to 1; not-a-number counts as 0.
    virtual HRESULT SetLevel(double value) = 0;
};

/// Animation of a record between two others. Records travel as their raw bytes.
struct IKwParamRamp : IUnknown {
    static constexpr GUID iid{0x8D506FC4, 0x9541, 0x11D2, {0x96, 0x01, 0x00, 0xC0, 0x4F, 0x8E, 0xDC, 0x2D}};
    virtual HRESULT SetRampOn(BOOL on) = 0;
    virtual HRESULT SaveParams(IStream* stream) = 0;
    virtual HRESULT LoadParams(IStream* stream) = 0;
    virtual HRESULT Interpolate(IStream* out, IStream* from, IStream* to, double position) = 0;
    virtual HRESULT SetRampRecords(IStream* from, IStream* to) = 0;
    /// Used as given, without a clamp.
    virtual HRESULT SetRampPos(double position) = 0;
    virtual HRESULT SetParamSink(IUnknown* sink) = 0;
};

/// What a parameter sink answers to: its first operation behind `IUnknown`, called with no arguments after a change.
struct IKwParamSink : IUnknown {
    virtual HRESULT OnParamsChanged() = 0;
};

struct IKwPresets : IUnknown {
    static constexpr GUID iid{0x36A22460, 0x0CC9, 0x11D0, {0x85, 0x74, 0x00, 0xA0, 0xC9, 0x05, 0x39, 0x12}};
    virtual HRESULT GetCount(LONG* count) = 0;
    /// At most `length` 16-bit characters, the ending zero included; a longer name is cut.
    virtual HRESULT GetName(LONG index, WCHAR* buffer, LONG length) = 0;
    virtual HRESULT Apply(LONG index) = 0;
};

struct IKwEffectGroup : IUnknown {
    static constexpr GUID iid{0xFD754C90, 0x528E, 0x4DC5, {0x8E, 0xE3, 0x52, 0xE7, 0x03, 0x3C, 0xE9, 0xCA}};
    virtual HRESULT GetGroup(LONG* group, LONG* item) = 0;
};

/// What a surface says about its picture.
struct tSurfaceInfo {
    double pixelAspect;     ///< width of a pixel over its height
    double frameRate;       ///< frames a second, 0 when unknown
    std::int64_t time100ns; ///< time of the frame in units of 100 ns
};
static_assert(sizeof(tSurfaceInfo) == 24);

/// Provided by a host's surface.
struct IKwSurfaceInfo : IUnknown {
    static constexpr GUID iid{0x709BA0D6, 0xF965, 0x11D1, {0x9A, 0xA9, 0x00, 0xA0, 0xC9, 0x9B, 0x12, 0xC5}};
    virtual HRESULT GetSurfaceInfo(void* block, ULONG size) = 0;
};

// What the fields of a record are. All texts are UTF-8, static, and live as long as the module is loaded.

enum tFieldKind : LONG {
    KWFIELD_NUMBER = 0, ///< a real number
    KWFIELD_WHOLE = 1,  ///< a whole number
    KWFIELD_SWITCH = 2, ///< 0 or 1
    KWFIELD_CHOICE = 3, ///< one of `choices`
    KWFIELD_COLOR = 4,  ///< several numbers, one for each letter of `components`, 0 to 1
    KWFIELD_POINT = 5,  ///< two numbers, components "xy"
    KWFIELD_TEXT = 6,   ///< a 32-bit count of 16-bit characters, the ending zero included, then a pointer to them
    KWFIELD_FONT = 7,   ///< `tLOGFONT`
};

/// How a number is stored, little-endian.
enum tFieldType : LONG { KWTYPE_LONG = 0, KWTYPE_FLOAT = 1, KWTYPE_DOUBLE = 2, KWTYPE_BYTES = 3 };

/// What a ramp does with a field.
enum tFieldRamp : LONG {
    KWRAMP_START = 0,  ///< taken from the start record
    KWRAMP_LINEAR = 1, ///< from + (to - from) * position
    KWRAMP_HUE = 2,    ///< around the circle of 0 to 1, the shorter way
};

struct tFieldChoice {
    const char* text;
    LONG value;
};

/// One row of a class's field table.
struct tFieldInfo {
    const char* name;            ///< as in the record, for files and command lines
    const char* label;           ///< for people, with `&` before the mnemonic
    const char* help;            ///< one sentence: what the field does
    const char* unit;            ///< "" for a plain fraction; else "degrees", "pixels", "IRE", ...
    const char* format;          ///< how a page prints it, in the `$` language of value formats; "" for none
    const char* components;      ///< for colours and points: one letter an element, in storage order; else ""
    const tFieldChoice* choices; ///< for choices, else null
    LONG choiceCount;
    tFieldKind kind;
    tFieldType type; ///< of each element
    LONG offset;     ///< place in the record, in bytes
    LONG count;      ///< elements; 1 for plain numbers
    tFieldRamp ramp;
    double minimum, maximum; ///< the range that pages keep; the record itself is not checked
    double step;             ///< the least change that a page makes
};

/// What an effect makes of 16-byte pixels.
enum tFloatForm : LONG {
    KWFLOAT_OTHER = 0, ///< nothing, or another picture than of bytes; of a generator, whose pictures are bytes
    KWFLOAT_SOUND = 1, ///< the picture that it makes of bytes, finer
};

/// What an effect class is.
struct tClassInfo {
    const char* className;   ///< as in the object map
    const char* description; ///< with the maker's word
    CLSID clsid;
    IID iid;   ///< the class's own dual interface
    LONG kind; ///< `tEffectKind`; 0 for a generator
    LONG minInputs, maxInputs;
    LONG recordSize; ///< bytes
    LONG fieldCount;
    LONG presetCount;
    tFloatForm floatForm;
    const char* family; ///< the word under which hosts list it with its like: "Blur"
};

/// The field table of an effect. Every effect and generator answers it.
struct IKwParamInfo : IUnknown {
    static constexpr GUID iid{0x6C8B2F0E, 0x4D1A, 0x4E57, {0x9B, 0x3C, 0x52, 0xA7, 0x1E, 0xD0, 0x84, 0x6F}};
    /// Copies the smaller of `size` and the size of `tClassInfo`.
    virtual HRESULT GetClassInfo(tClassInfo* out, ULONG size) = 0;
    /// Copies the smaller of `size` and the size of `tFieldInfo`. E_INVALIDARG for a null pointer or an index
    /// outside 0 to the count less one.
    virtual HRESULT GetField(LONG index, tFieldInfo* out, ULONG size) = 0;
    /// Name and record of a preset; either pointer may be null. Index -1 is the default record, with an empty name.
    /// Copies the smaller of `size` and the record's size.
    virtual HRESULT GetPreset(LONG index, const char** name, void* record, ULONG size) = 0;
};

#pragma GCC diagnostic pop
