// Calls by name (`IDispatch`) for the dual interfaces.
#pragma once

#include <span>

#include "platform/effect.h"

/// What a member takes or gives, in the types that the dual interfaces use.
enum tDispatchType : LONG { KWDISP_NONE, KWDISP_LONG, KWDISP_FLOAT, KWDISP_POINTER };

/// Added to the id of a property for the operation that gets or puts it, under its own name. An operation may be
/// called as a method as well.
inline constexpr LONG KWDISP_GETTER = 0x10000, KWDISP_PUTTER = 0x20000;

/// A member of a dual interface. A property is got through a pointer that may also be handed in by reference.
struct tDispatchMember {
    const char* name;            ///< compared without regard to case
    LONG id;                     ///< below 0x10000, plus one of the two above for an operation
    WORD kind;                   ///< `DISPATCH_PROPERTYGET`, `DISPATCH_PROPERTYPUT` or `DISPATCH_METHOD`, or several
    tDispatchType first, second; ///< arguments, in the order of the member's declaration
};

/// The arguments of one call, brought to the member's types.
struct tDispatchCall {
    LONG id;   ///< the property's
    WORD kind; ///< the one kind that was asked for
    void* pointer[2];
    LONG number[2];
    float real;
    /// For a property got without an argument: the caller's result. The member writes one of these.
    LONG resultLong;
    float resultFloat;
};

/// The four operations of `IDispatch` over a table of members. `Call` carries out one member on the object.
class CDispatchTable {
  public:
    constexpr explicit CDispatchTable(std::span<const tDispatchMember> members) : m_members(members) {}

    HRESULT GetIDsOfNames(OLECHAR** names, UINT count, LONG* ids) const;

    /// Checks the call against the table, converts its arguments and runs `call`.
    template <class Call>
    HRESULT Invoke(LONG id, WORD flags, const DISPPARAMS* params, VARIANT* result, UINT* badArgument,
                   Call&& call) const {
        tDispatchCall made{};
        const tDispatchMember* member = nullptr;
        HRESULT status = Prepare(id, flags, params, badArgument, made, member);
        if (FAILED(status)) return status;
        status = call(made);
        if (SUCCEEDED(status)) Return(*member, made, params, result);
        return status;
    }

  private:
    HRESULT Prepare(LONG id, WORD flags, const DISPPARAMS* params, UINT* badArgument, tDispatchCall& call,
                    const tDispatchMember*& member) const;
    static void Return(const tDispatchMember& member, const tDispatchCall& call, const DISPPARAMS* params,
                       VARIANT* result);

    std::span<const tDispatchMember> m_members;
};
