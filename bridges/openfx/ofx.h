// What the bridge uses of OpenFX, the interface of image effects (API 1.4): tables of functions of C in a fixed order.
#pragma once

namespace larkmoor::openfx {

/// Handles are the host's and never looked into.
using PropertySet = struct PropertySetTag*;
using EffectHandle = struct EffectTag*;
using ClipHandle = struct ClipTag*;
using ParamSet = struct ParamSetTag*;
using ParamHandle = struct ParamTag*;
using MemoryHandle = struct MemoryTag*;

enum Status : int {
    kOk = 0,
    kFailed = 1,
    kFatal = 2,
    kUnknown = 3,
    kMissingFeature = 4,
    kUnsupported = 5,
    kBadHandle = 9,
    kMemory = 8,
    kReplyDefault = 14,
    kImageFormat = 1000,
};

struct RectD {
    double x1, y1, x2, y2;
};

struct Host {
    PropertySet properties;
    /// Null for a suite or version that the host does not have.
    const void* (*fetchSuite)(PropertySet host, const char* name, int version);
};

struct PluginEntry {
    const char* api; ///< "OfxImageEffectPluginAPI"
    int apiVersion;  ///< 1
    const char* identifier;
    unsigned versionMajor, versionMinor;
    void (*setHost)(Host* host);
    int (*mainEntry)(const char* action, const void* handle, PropertySet in, PropertySet out);
};

/// "OfxPropertySuite" 1. Strings that are got are the host's, good until the next call for the same property.
struct PropertySuite {
    int (*setPointer)(PropertySet, const char* name, int index, void* value);
    int (*setString)(PropertySet, const char* name, int index, const char* value);
    int (*setDouble)(PropertySet, const char* name, int index, double value);
    int (*setInt)(PropertySet, const char* name, int index, int value);
    int (*setPointerN)(PropertySet, const char* name, int count, void* const* values);
    int (*setStringN)(PropertySet, const char* name, int count, const char* const* values);
    int (*setDoubleN)(PropertySet, const char* name, int count, const double* values);
    int (*setIntN)(PropertySet, const char* name, int count, const int* values);
    int (*getPointer)(PropertySet, const char* name, int index, void** value);
    int (*getString)(PropertySet, const char* name, int index, char** value);
    int (*getDouble)(PropertySet, const char* name, int index, double* value);
    int (*getInt)(PropertySet, const char* name, int index, int* value);
    int (*getPointerN)(PropertySet, const char* name, int count, void** values);
    int (*getStringN)(PropertySet, const char* name, int count, char** values);
    int (*getDoubleN)(PropertySet, const char* name, int count, double* values);
    int (*getIntN)(PropertySet, const char* name, int count, int* values);
    int (*reset)(PropertySet, const char* name);
    int (*getDimension)(PropertySet, const char* name, int* count);
};

/// "OfxImageEffectSuite" 1.
struct EffectSuite {
    int (*getPropertySet)(EffectHandle, PropertySet*);
    int (*getParamSet)(EffectHandle, ParamSet*);
    int (*clipDefine)(EffectHandle, const char* name, PropertySet*);
    int (*clipGetHandle)(EffectHandle, const char* name, ClipHandle*, PropertySet*);
    int (*clipGetPropertySet)(ClipHandle, PropertySet*);
    int (*clipGetImage)(ClipHandle, double time, const RectD* region, PropertySet* image);
    int (*clipReleaseImage)(PropertySet image);
    int (*clipGetRegionOfDefinition)(ClipHandle, double time, RectD* region);
    int (*abort)(EffectHandle);
    int (*memoryAlloc)(EffectHandle, unsigned long bytes, MemoryHandle*);
    int (*memoryFree)(MemoryHandle);
    int (*memoryLock)(MemoryHandle, void**);
    int (*memoryUnlock)(MemoryHandle);
};

/// "OfxParameterSuite" 1. Values travel as further arguments: `int*`, `double*` or `char**`, one for each dimension, to
/// get; the plain values to set.
struct ParameterSuite {
    int (*define)(ParamSet, const char* type, const char* name, PropertySet*);
    int (*getHandle)(ParamSet, const char* name, ParamHandle*, PropertySet*);
    int (*setGetPropertySet)(ParamSet, PropertySet*);
    int (*getPropertySet)(ParamHandle, PropertySet*);
    int (*getValue)(ParamHandle, ...);
    int (*getValueAtTime)(ParamHandle, double time, ...);
    int (*getDerivative)(ParamHandle, double time, ...);
    int (*getIntegral)(ParamHandle, double time1, double time2, ...);
    int (*setValue)(ParamHandle, ...);
    int (*setValueAtTime)(ParamHandle, double time, ...);
    int (*getNumKeys)(ParamHandle, unsigned* count);
    int (*getKeyTime)(ParamHandle, unsigned nth, double* time);
    int (*getKeyIndex)(ParamHandle, double time, int direction, int* index);
    int (*deleteKey)(ParamHandle, double time);
    int (*deleteAllKeys)(ParamHandle);
    int (*copy)(ParamHandle to, ParamHandle from, double offset, const double* range);
    int (*editBegin)(ParamSet, const char* label);
    int (*editEnd)(ParamSet);
};

/// "OfxMessageSuite" 2; version 1 ends with its first function. Formats are those of `printf`.
struct MessageSuite {
    int (*message)(EffectHandle, const char* type, const char* id, const char* format, ...);
    int (*setPersistent)(EffectHandle, const char* type, const char* id, const char* format, ...);
    int (*clearPersistent)(EffectHandle);
};

} // namespace larkmoor::openfx
