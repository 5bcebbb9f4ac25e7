#include "frame/dispatch.h"

#include "base/arith.h"

namespace {

constexpr WORD kGet = DISPATCH_PROPERTYGET, kPut = DISPATCH_PROPERTYPUT, kMethod = DISPATCH_METHOD;

// Each member answers to its property's name and to that of the operation itself.
constexpr tDispatchMember kShared[] = {
    {"all", kDispatchAll, kGet | kPut, KWDISP_POINTER, KWDISP_LONG},
    {"get_all", kDispatchAll + KWDISP_GETTER, kGet, KWDISP_POINTER, KWDISP_LONG},
    {"put_all", kDispatchAll + KWDISP_PUTTER, kPut, KWDISP_POINTER, KWDISP_LONG},
    {"NotifyWindow", kDispatchNotifyWindow, kPut | kMethod, KWDISP_POINTER, KWDISP_LONG},
    {"put_NotifyWindow", kDispatchNotifyWindow + KWDISP_PUTTER, kPut | kMethod, KWDISP_POINTER, KWDISP_LONG},
};

char LowerAscii(unsigned c) {
    return static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
}

bool SameName(const OLECHAR* wide, const char* name) {
    for (; *wide && *name; ++wide, ++name)
        if (*wide > 127 || LowerAscii(*wide) != LowerAscii(static_cast<unsigned char>(*name))) return false;
    return !*wide && !*name;
}

/// The number that a variant holds or refers to; false for other kinds.
bool ReadNumber(const VARIANT& given, double& out) {
    const bool nested = given.vt == (VT_VARIANT | VT_BYREF) && given.byref;
    const VARIANT& value = nested ? *static_cast<const VARIANT*>(given.byref) : given;
    const bool byRef = (value.vt & VT_BYREF) != 0;
    if (byRef && !value.byref) return false;
    const auto get = [&]<class T>(const T& held) {
        T number = held;
        if (byRef) std::memcpy(&number, value.byref, sizeof number);
        out = static_cast<double>(number);
        return true;
    };
    switch (value.vt & ~VT_BYREF) {
    case VT_I2:
    case VT_BOOL:
        return get(value.iVal);
    case VT_UI2:
        return get(static_cast<std::uint16_t>(value.iVal));
    case VT_I1:
        return get(static_cast<std::int8_t>(value.bVal));
    case VT_UI1:
        return get(value.bVal);
    case VT_I4:
    case VT_INT:
        return get(value.lVal);
    case VT_UI4:
    case VT_UINT:
        return get(static_cast<ULONG>(value.lVal));
    case VT_I8:
        return get(value.llVal);
    case VT_UI8:
        return get(static_cast<std::uint64_t>(value.llVal));
    case VT_R4:
        return get(value.fltVal);
    case VT_R8:
        return get(value.dblVal);
    default:
        return false;
    }
}

/// The address that a variant holds: by reference, as a pointer, or as an integer as wide as one.
bool ReadPointer(const VARIANT& value, void*& out) {
    if (value.vt & VT_BYREF || value.vt == VT_PTR) {
        out = value.byref;
        return true;
    }
    if (value.vt == VT_EMPTY || value.vt == VT_NULL) {
        out = nullptr;
        return true;
    }
    if ((value.vt == VT_I8 || value.vt == VT_UI8) && sizeof(void*) == 8) {
        out = reinterpret_cast<void*>(static_cast<std::uintptr_t>(value.llVal));
        return true;
    }
    if ((value.vt == VT_I4 || value.vt == VT_UI4 || value.vt == VT_INT || value.vt == VT_UINT) &&
        (sizeof(void*) == 4 || value.lVal == 0)) {
        out = reinterpret_cast<void*>(static_cast<std::uintptr_t>(static_cast<ULONG>(value.lVal)));
        return true;
    }
    return false;
}

/// Writes a property's value to where a variant refers to, if that is a number of the size; false for other kinds.
/// Without a value it only looks at the kind.
bool WriteNumber(const VARIANT& target, const double* value) {
    if (!(target.vt & VT_BYREF) || !target.byref) return false;
    const auto put = [&]<class T>(T number) {
        if (value) std::memcpy(target.byref, &number, sizeof number);
        return true;
    };
    const double number = value ? *value : 0.0;
    switch (target.vt & ~VT_BYREF) {
    case VT_I4:
    case VT_INT:
    case VT_UI4:
    case VT_UINT:
        return put(KwTrunc(number));
    case VT_R4:
        return put(static_cast<float>(number));
    case VT_R8:
        return put(number);
    case VT_VARIANT: {
        VARIANT held{};
        held.vt = VT_R8;
        held.dblVal = number;
        return put(held);
    }
    default:
        return false;
    }
}

bool TakesArguments(const tDispatchMember& member, WORD kind) {
    return kind != DISPATCH_PROPERTYGET || member.first == KWDISP_POINTER;
}

} // namespace

const tDispatchMember* CDispatchTable::Find(const auto& fits) const {
    for (const auto members : {m_members, std::span<const tDispatchMember>(kShared)})
        for (const tDispatchMember& member : members)
            if (fits(member)) return &member;
    return nullptr;
}

HRESULT CDispatchTable::GetIDsOfNames(OLECHAR** names, UINT count, LONG* ids) const {
    if (!names || !ids) return E_POINTER;
    if (count == 0) return S_OK;
    for (UINT i = 0; i < count; ++i) ids[i] = DISPID_UNKNOWN;
    if (!names[0]) return E_POINTER;
    const auto* const member = Find([&](const tDispatchMember& row) { return SameName(names[0], row.name); });
    if (!member) return DISP_E_UNKNOWNNAME;
    ids[0] = member->id;
    return count == 1 ? S_OK : DISP_E_UNKNOWNNAME; // arguments have no names of their own
}

HRESULT CDispatchTable::Prepare(LONG id, WORD flags, const DISPPARAMS* params, UINT* badArgument, tDispatchCall& call,
                                const tDispatchMember*& member) const {
    // A caller may ask for method and property-get at once and take whichever there is.
    if (flags & DISPATCH_PROPERTYPUTREF) flags |= DISPATCH_PROPERTYPUT;
    const auto kindsOf = [flags](const tDispatchMember& row) {
        const bool called = (flags & DISPATCH_METHOD) && row.id > KWDISP_GETTER;
        return called ? row.kind : static_cast<WORD>(row.kind & flags);
    };
    member = Find([&](const tDispatchMember& row) { return row.id == id && kindsOf(row); });
    if (!member) return DISP_E_MEMBERNOTFOUND;
    call.id = id & (KWDISP_GETTER - 1);
    const WORD kinds = kindsOf(*member);
    call.kind = static_cast<WORD>(kinds & DISPATCH_PROPERTYPUT ? DISPATCH_PROPERTYPUT
                                  : kinds & DISPATCH_METHOD    ? DISPATCH_METHOD
                                                               : DISPATCH_PROPERTYGET);

    const UINT given = params ? params->cArgs : 0;
    const tDispatchType types[2] = {member->first, member->second};
    UINT wanted = member->second != KWDISP_NONE ? 2 : member->first != KWDISP_NONE ? 1 : 0;
    // A plain property is got through the result, or through its one argument by reference.
    if (!TakesArguments(*member, call.kind)) {
        if (given > 1) return DISP_E_BADPARAMCOUNT;
        if (given == 1 && (!params->rgvarg || !WriteNumber(params->rgvarg[0], nullptr))) {
            if (badArgument) *badArgument = 0;
            return DISP_E_TYPEMISMATCH;
        }
        return S_OK;
    }
    if (given != wanted || (given > 0 && !params->rgvarg)) return DISP_E_BADPARAMCOUNT;
    for (UINT i = 0; i < wanted; ++i) {
        const UINT at = wanted - 1 - i;
        const VARIANT& value = params->rgvarg[at];
        double number = 0.0;
        const bool good = types[i] == KWDISP_POINTER ? ReadPointer(value, call.pointer[i]) : ReadNumber(value, number);
        if (!good) {
            if (badArgument) *badArgument = at;
            return DISP_E_TYPEMISMATCH;
        }
        call.number[i] = KwWrap32(KwTrunc64(number));
        if (i == 0) call.real = static_cast<float>(number);
    }
    return S_OK;
}

void CDispatchTable::Return(const tDispatchMember& member, const tDispatchCall& call, const DISPPARAMS* params,
                            VARIANT* result) {
    if (call.kind != DISPATCH_PROPERTYGET || TakesArguments(member, call.kind)) {
        if (result) *result = {};
        return;
    }
    const bool isFloat = member.first == KWDISP_FLOAT;
    const double value = isFloat ? static_cast<double>(call.resultFloat) : static_cast<double>(call.resultLong);
    if (params && params->cArgs == 1) WriteNumber(params->rgvarg[0], &value);
    if (!result) return;
    *result = {};
    if (isFloat) {
        result->vt = VT_R4;
        result->fltVal = call.resultFloat;
    } else {
        result->vt = VT_I4;
        result->lVal = call.resultLong;
    }
}
