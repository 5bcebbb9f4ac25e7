// Birth and life of the module's objects.
#pragma once

#include <atomic>
#include <cstddef>

#include "base/guard.h"
#include "platform/component.h"

/// Objects of the module stand in zero-filled memory, padding included. Members still state their own initial values:
/// the language ends the life of what stood there before a constructor ran. A null result is "out of memory".
class CZeroFilled {
  public:
    static void* operator new(std::size_t size) noexcept;
    static void operator delete(void* memory) noexcept;
};

/// What keeps the module loaded: each object and each lock of a class factory counts one.
class CModuleLock {
  public:
    CModuleLock() { ++s_count; }
    ~CModuleLock() { --s_count; }
    CModuleLock(const CModuleLock&) = delete;
    CModuleLock& operator=(const CModuleLock&) = delete;
    static void Add(LONG change) { s_count += change; }
    static LONG Count() { return s_count; }

  private:
    static std::atomic<LONG> s_count;
};

/// An object that can be aggregated: an inner unknown of its own counts the references, and every other interface
/// forwards to the controlling unknown, which without an outer object is that inner one.
class CAggregable : public CZeroFilled {
  public:
    explicit CAggregable(IUnknown* outer) : m_Inner(*this), m_pOuter(outer ? outer : &m_Inner) {}
    CAggregable(const CAggregable&) = delete;
    CAggregable& operator=(const CAggregable&) = delete;

    IUnknown* InnerUnknown() { return &m_Inner; }

  protected:
    virtual ~CAggregable() = default;

    /// The interface of that id without a reference, or null. `IUnknown` is never asked for.
    virtual void* FindInterface(const IID& iid) noexcept = 0;

    IUnknown* Outer() const { return m_pOuter; }

  private:
    class CInner final : public IUnknown {
      public:
        explicit CInner(CAggregable& object) : m_object(object) {}
        HRESULT QueryInterface(const IID* iid, void** out) noexcept override;
        ULONG AddRef() noexcept override { return ++m_references; }
        ULONG Release() noexcept override;

      private:
        CAggregable& m_object;
        std::atomic<ULONG> m_references{1};
    };

    CModuleLock m_ModuleLock;
    CInner m_Inner;
    IUnknown* m_pOuter; ///< not counted: the outer object owns this one
};
