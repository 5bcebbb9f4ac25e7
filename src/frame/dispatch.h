// The dual interfaces: calls by name (`IDispatch`), and the members that effects and generators share.
#pragma once

#include <span>

#include "frame/params.h"

/// What a member takes or gives, in the types that the dual interfaces use.
enum tDispatchType : LONG { KWDISP_NONE, KWDISP_LONG, KWDISP_FLOAT, KWDISP_POINTER };

/// Added to the id of a property for the operation that gets or puts it, under its own name. An operation may be
/// called as a method as well.
inline constexpr LONG KWDISP_GETTER = 0x10000, KWDISP_PUTTER = 0x20000;

/// The ids of the members that all dual interfaces share.
enum : LONG { kDispatchAll = 1, kDispatchNotifyWindow = 2 };

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

/// A table of members behind those that all dual interfaces share.
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
    const tDispatchMember* Find(const auto& fits) const;
    HRESULT Prepare(LONG id, WORD flags, const DISPPARAMS* params, UINT* badArgument, tDispatchCall& call,
                    const tDispatchMember*& member) const;
    static void Return(const tDispatchMember& member, const tDispatchCall& call, const DISPPARAMS* params,
                       VARIANT* result);

    std::span<const tDispatchMember> m_members;
};

/// The dual interface of an effect or generator over its parameters: `IDispatch` and the members that all share.
template <class Dual>
class CDual : public CParamObject, public Dual {
  public:
    HRESULT GetTypeInfoCount(UINT* count) override { return KwAnswer(count, UINT{0}); }
    HRESULT GetTypeInfo(UINT, LCID, ITypeInfo** out) override {
        const HRESULT status = KwAnswer(out, nullptr);
        return FAILED(status) ? status : E_NOTIMPL;
    }
    HRESULT GetIDsOfNames(const IID*, OLECHAR** names, UINT count, LCID, LONG* ids) override {
        return KwGuarded([&] { return m_members.GetIDsOfNames(names, count, ids); });
    }
    HRESULT Invoke(LONG id, const IID*, LCID, WORD flags, DISPPARAMS* params, VARIANT* result, EXCEPINFO*,
                   UINT* badArgument) override {
        return KwGuarded([&] {
            return m_members.Invoke(id, flags, params, result, badArgument, [this](tDispatchCall& call) {
                const bool put = call.kind == DISPATCH_PROPERTYPUT;
                switch (call.id) {
                case kDispatchAll:
                    return put ? this->put_all(call.pointer[0], call.number[1])
                               : this->get_all(call.pointer[0], call.number[1]);
                case kDispatchNotifyWindow:
                    return put_NotifyWindow(static_cast<HWND>(call.pointer[0]), static_cast<UINT>(call.number[1]));
                default:
                    return Call(call);
                }
            });
        });
    }

    HRESULT get_all(void* pvParam, LONG cbStruct) override { return GetAll(pvParam, cbStruct); }
    HRESULT put_all(void* pvParam, LONG cbStruct) override { return PutAll(pvParam, cbStruct); }
    HRESULT put_NotifyWindow(HWND window, UINT id) override { return PutNotifyWindow(window, id); }

  protected:
    CDual(const tObjectMapRow& row, const tEffectClass& effect, const tRecordSet& records,
          const CDispatchTable& members)
        : CParamObject(row, effect, records), m_members(members) {}

    /// A member of the table that was handed in.
    virtual HRESULT Call(tDispatchCall& call) = 0;

  private:
    const CDispatchTable& m_members;
};

/// A base with the four records of the type `R`, which begin as the default.
template <class Base, class R>
class CWithRecord : public Base {
    static_assert(std::is_trivially_copyable_v<R>);

  protected:
    template <class... More>
    CWithRecord(const tObjectMapRow& row, IUnknown* outer, const tEffectClass& effect, More&&... more)
        : Base(row, outer, effect, {Bytes(m_Params), Bytes(m_Work), Bytes(m_RampFrom), Bytes(m_RampTo)},
               std::forward<More>(more)...) {
        this->SetDefaults();
    }

    static std::byte* Bytes(R& record) { return reinterpret_cast<std::byte*>(&record); }

    /// The record of this frame: `m_Work`, brought up to date under the parameter lock. Copied out, since bands on
    /// other threads may bring it up to date again.
    R UpdateWorkParams() {
        R copy{};
        this->UpdateWork(&copy);
        return copy;
    }

    R m_Params{}, m_Work{}, m_RampFrom{}, m_RampTo{};
};
