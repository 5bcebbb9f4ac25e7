// The transform contract: what a host calls on an effect, and what the host itself provides (surfaces, factories,
// task manager).
#pragma once

#include "platform/component.h"

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"

struct IDXBaseObject : IUnknown {
    static constexpr GUID iid{0x17B59B2B, 0x9CC8, 0x11D1, {0x90, 0x53, 0x00, 0xC0, 0x4F, 0xD9, 0x18, 0x9D}};
    virtual HRESULT GetGenerationId(ULONG* id) = 0;
    virtual HRESULT IncrementGenerationId(BOOL refresh) = 0;
    virtual HRESULT GetObjectSize(ULONG* bytes) = 0;
};

struct IDXTransform : IDXBaseObject {
    static constexpr GUID iid{0x30A5FB78, 0xE11F, 0x11D1, {0x90, 0x64, 0x00, 0xC0, 0x4F, 0xD9, 0x18, 0x9D}};
    virtual HRESULT Setup(IUnknown* const* inputs, ULONG numInputs, IUnknown* const* outputs, ULONG numOutputs,
                          DWORD flags) = 0;
    virtual HRESULT Execute(const GUID* request, const DXBNDS* clip, const DXVEC* placement) = 0;
    virtual HRESULT MapBoundsIn2Out(const DXBNDS* in, ULONG count, ULONG outIndex, DXBNDS* out) = 0;
    virtual HRESULT MapBoundsOut2In(ULONG outIndex, const DXBNDS* out, ULONG inIndex, DXBNDS* in) = 0;
    virtual HRESULT SetMiscFlags(DWORD flags) = 0;
    virtual HRESULT GetMiscFlags(DWORD* flags) = 0;
    virtual HRESULT GetInOutInfo(BOOL isOutput, ULONG index, DWORD* flags, GUID* ids, ULONG* idCount,
                                 IUnknown** bound) = 0;
    virtual HRESULT SetQuality(float quality) = 0;
    virtual HRESULT GetQuality(float* quality) = 0;
};

struct IDXEffect : IDispatch {
    static constexpr GUID iid{0xE31FB81B, 0x1335, 0x11D1, {0x81, 0x89, 0x00, 0x00, 0xF8, 0x75, 0x57, 0xDB}};
    virtual HRESULT get_Capabilities(LONG* capabilities) = 0;
    virtual HRESULT get_Progress(float* progress) = 0;
    virtual HRESULT put_Progress(float progress) = 0;
    virtual HRESULT get_StepResolution(float* resolution) = 0;
    virtual HRESULT get_Duration(float* seconds) = 0;
    virtual HRESULT put_Duration(float seconds) = 0;
};

// What the host provides.

/// Straight ARGB, 32 bits.
inline constexpr GUID DDPF_ARGB32{0x773C9AC0, 0x3274, 0x11D0, {0xB7, 0x24, 0x00, 0xAA, 0x00, 0x6C, 0x1A, 0x01}};
/// ARGB, 32 bits, colour premultiplied by alpha.
inline constexpr GUID DDPF_PMARGB32{0xBBF7D403, 0x143F, 0x11D1, {0xB5, 0x0A, 0x00, 0x00, 0xF8, 0x75, 0x6A, 0x10}};
/// Four floats a pixel.
inline constexpr GUID KWPF_FLOAT128{0xEC385932, 0x2D38, 0x11D2, {0x99, 0xD3, 0x00, 0xC0, 0x4F, 0x8E, 0xDC, 0x2D}};

inline constexpr DWORD DXSAMPLE_TRANSLUCENT = 0x00020000;
inline constexpr DWORD DXSAMPLE_DITHER_MASK = 0x00700000;
inline constexpr DWORD DXLOCKF_READ = 0;
inline constexpr DWORD DXLOCKF_READWRITE = 1;

struct IDXSurface : IDXBaseObject {
    static constexpr GUID iid{0xB39FD73F, 0xE139, 0x11D1, {0x90, 0x65, 0x00, 0xC0, 0x4F, 0xD9, 0x18, 0x9D}};
    virtual HRESULT GetPixelFormat(GUID* format, DWORD* sampleFormat) = 0;
    virtual HRESULT GetBounds(DXBNDS* bounds) = 0;
    virtual HRESULT GetStatusFlags(DWORD* flags) = 0;
    virtual HRESULT SetStatusFlags(DWORD flags) = 0;
    virtual HRESULT LockSurface(const DXBNDS* bounds, ULONG timeout, DWORD flags, const IID* iid, void** out,
                                DWORD* generation) = 0;
    virtual HRESULT GetDirectDrawSurface(const IID* iid, void** out) = 0;
    virtual HRESULT GetColorKey(DWORD* key) = 0;
    virtual HRESULT SetColorKey(DWORD key) = 0;
    virtual HRESULT LockSurfaceDC(const DXBNDS* bounds, ULONG timeout, DWORD flags, IUnknown** out) = 0;
    virtual HRESULT SetAppData(std::uintptr_t data) = 0;
    virtual HRESULT GetAppData(std::uintptr_t* data) = 0;
};

/// How a host sizes a generator: width and height are those of `bounds`.
struct IDXSurfaceInit : IUnknown {
    static constexpr GUID iid{0x9EA3B639, 0xC37D, 0x11D1, {0x90, 0x5E, 0x00, 0xC0, 0x4F, 0xD9, 0x18, 0x9D}};
    virtual HRESULT InitSurface(IUnknown* directDraw, const void* description, const GUID* format, const DXBNDS* bounds,
                                DWORD flags) = 0;
};

struct DXNATIVETYPEINFO {
    void* pCurrentData;
    void* pFirstByte;
    LONG lPitch;
    DWORD dwColorKey;
};

/// Reads samples of a locked area; coordinates count from the top left of that area. A sample is 0xAARRGGBB.
struct IDXARGBReadPtr : IUnknown {
    static constexpr GUID iid{0xEAAAC2D6, 0xC290, 0x11D1, {0x90, 0x5D, 0x00, 0xC0, 0x4F, 0xD9, 0x18, 0x9D}};
    virtual HRESULT GetSurface(const IID* iid, void** out) = 0;
    /// Returns the sample format.
    virtual DWORD GetNativeType(DXNATIVETYPEINFO* info) = 0;
    virtual void Move(LONG count) = 0;
    virtual void MoveToRow(ULONG y) = 0;
    virtual void MoveToXY(ULONG x, ULONG y) = 0;
    virtual ULONG MoveAndGetRunInfo(ULONG row, const void** runs) = 0;
    /// Straight samples; returns their address.
    virtual DWORD* Unpack(DWORD* samples, ULONG count, BOOL move) = 0;
    /// Premultiplied samples; returns their address.
    virtual DWORD* UnpackPremult(DWORD* samples, ULONG count, BOOL move) = 0;
    virtual void UnpackRect(const void* description) = 0;
};

struct IDXARGBReadWritePtr : IDXARGBReadPtr {
    static constexpr GUID iid{0xEAAAC2D7, 0xC290, 0x11D1, {0x90, 0x5D, 0x00, 0xC0, 0x4F, 0xD9, 0x18, 0x9D}};
    virtual void PackAndMove(const DWORD* samples, ULONG count) = 0;
    virtual void PackPremultAndMove(const DWORD* samples, ULONG count) = 0;
    virtual void PackRect(const void* description) = 0;
    virtual void CopyAndMoveBoth(void* dither, IDXARGBReadPtr* source, ULONG count, BOOL opaque) = 0;
    virtual void CopyRect(void* dither, const RECT* target, IDXARGBReadPtr* source, const POINT* origin,
                          BOOL opaque) = 0;
    virtual void FillAndMove(DWORD* scratch, DWORD sample, ULONG count, BOOL over) = 0;
    virtual void FillRect(const RECT* target, DWORD sample, BOOL over) = 0;
    virtual void OverSample(const void* description) = 0;
    virtual void OverArrayAndMove(DWORD* scratch, const DWORD* samples, ULONG count) = 0;
};

/// The same slots on the float format.
inline constexpr GUID IID_KwFloatReadPtr{0xEC385924, 0x2D38, 0x11D2, {0x99, 0xD3, 0x00, 0xC0, 0x4F, 0x8E, 0xDC, 0x2D}};
inline constexpr GUID IID_KwFloatReadWritePtr{
    0xEC385927, 0x2D38, 0x11D2, {0x99, 0xD3, 0x00, 0xC0, 0x4F, 0x8E, 0xDC, 0x2D}};

struct IDXSurfaceFactory : IUnknown {
    static constexpr GUID iid{0x144946F5, 0xC4D4, 0x11D1, {0x81, 0xD1, 0x00, 0x00, 0xF8, 0x75, 0x57, 0xDB}};
    virtual HRESULT CreateSurface(IUnknown* directDraw, const void* description, const GUID* format,
                                  const DXBNDS* bounds, DWORD flags, IUnknown* outer, const IID* iid, void** out) = 0;
    virtual HRESULT CreateFromDDSurface(IUnknown* surface, const GUID* format, DWORD flags, IUnknown* outer,
                                        const IID* iid, void** out) = 0;
};

struct IDXTransformFactory : IServiceProvider {
    static constexpr GUID iid{0x6A950B2B, 0xA971, 0x11D1, {0x81, 0xC8, 0x00, 0x00, 0xF8, 0x75, 0x57, 0xDB}};
    virtual HRESULT SetService(const GUID* service, IUnknown* object, BOOL weak) = 0;
    virtual HRESULT CreateTransform(IUnknown* const* inputs, ULONG numInputs, IUnknown* const* outputs,
                                    ULONG numOutputs, IPropertyBag* initial, IErrorLog* log, const CLSID* clsid,
                                    const IID* iid, void** out) = 0;
    virtual HRESULT InitializeTransform(IDXTransform* transform, IUnknown* const* inputs, ULONG numInputs,
                                        IUnknown* const* outputs, ULONG numOutputs, IPropertyBag* initial,
                                        IErrorLog* log) = 0;
};

/// One piece of work for the task manager.
struct DXTASKINFO {
    void (*pfnTaskProc)(void* data, BOOL* pContinue);
    void* pTaskData;
    void* pfnCompletion;
    DWORD dwCompletionData;
    const GUID* pRequestID;
};

inline constexpr GUID SID_SDXTaskManager{0x4CB26C03, 0xFF93, 0x11D0, {0x81, 0x7E, 0x00, 0x00, 0xF8, 0x75, 0x57, 0xDB}};

struct IDXTaskManager : IUnknown {
    static constexpr GUID iid{0x254DBBC1, 0xF922, 0x11D0, {0x88, 0x3A, 0x3C, 0x8B, 0x00, 0xC1, 0x00, 0x00}};
    virtual HRESULT QueryNumProcessors(ULONG* count) = 0;
    virtual HRESULT SetThreadPoolSize(ULONG size) = 0;
    virtual HRESULT GetThreadPoolSize(ULONG* size) = 0;
    virtual HRESULT SetConcurrencyLimit(ULONG limit) = 0;
    virtual HRESULT GetConcurrencyLimit(ULONG* limit) = 0;
    /// Runs the tasks, possibly at once, and returns when all are done.
    virtual HRESULT ScheduleTasks(DXTASKINFO* tasks, HANDLE* events, DWORD* ids, ULONG count, ULONG wait) = 0;
    virtual HRESULT TerminateTasks(DWORD* ids, ULONG count, ULONG wait) = 0;
    virtual HRESULT TerminateRequest(const IID* request, ULONG wait) = 0;
};

/// What a task manager answers besides if it lends its processors to effects that cannot work in bands.
struct IKwWorkers : IUnknown {
    static constexpr GUID iid{0x39273F12, 0x315D, 0x42C3, {0xB1, 0x95, 0x16, 0x5C, 0x7C, 0x52, 0xAD, 0x5F}};
    /// Calls `piece(data, i)` for each i below `count`, possibly at once, and returns when all are done.
    virtual HRESULT RunPieces(void (*piece)(void* data, ULONG index), void* data, ULONG count) = 0;
};

/// The class id is the service id by which a transform factory hands out a new modifier.
inline constexpr GUID CLSID_DXSurfaceModifier{
    0x3E669F1D, 0x9C23, 0x11D1, {0x90, 0x53, 0x00, 0xC0, 0x4F, 0xD9, 0x18, 0x9D}};

/// Shows a surface at an offset inside other bounds. The modifier is itself an `IDXSurface`.
struct IDXSurfaceModifier : IUnknown {
    static constexpr GUID iid{0x9EA3B637, 0xC37D, 0x11D1, {0x90, 0x5E, 0x00, 0xC0, 0x4F, 0xD9, 0x18, 0x9D}};
    virtual HRESULT SetFillColor(DWORD sample) = 0;
    virtual HRESULT GetFillColor(DWORD* sample) = 0;
    virtual HRESULT SetBounds(const DXBNDS* bounds) = 0;
    virtual HRESULT SetBackground(IDXSurface* surface) = 0;
    virtual HRESULT GetBackground(IDXSurface** surface) = 0;
    virtual HRESULT SetCompositeOperation(LONG operation) = 0;
    virtual HRESULT GetCompositeOperation(LONG* operation) = 0;
    virtual HRESULT SetForeground(IDXSurface* surface, BOOL tile, const POINT* origin) = 0;
    virtual HRESULT GetForeground(IDXSurface** surface, BOOL* tile, POINT* origin) = 0;
    virtual HRESULT SetOpacity(float opacity) = 0;
    virtual HRESULT GetOpacity(float* opacity) = 0;
    virtual HRESULT SetLookup(IUnknown* table) = 0;
    virtual HRESULT GetLookup(IUnknown** table) = 0;
};

#pragma GCC diagnostic pop
