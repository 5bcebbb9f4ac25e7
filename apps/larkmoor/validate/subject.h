// A module and its objects by the binary contract alone: what a host that knows nothing else of them can call.
#pragma once

#include <span>
#include <string>
#include <vector>

#include <fmt/format.h>

#include "host/error.h"
#include "host/services.h"
#include "platform/com_ptr.h"
#include "platform/effect.h"
#include "validate/picture.h"

namespace larkmoor::validate {

/// Ends a check: what the module did, and what it should have done, as one sentence.
struct Fault : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// `sentence` and its arguments tell what is wrong where `holds` is not.
template <class... A>
void expect(bool holds, fmt::format_string<const A&...> sentence, const A&... arguments) {
    if (!holds) throw Fault(fmt::format(sentence, arguments...));
}

/// A status as people look it up.
std::string told(HRESULT status);

/// Succeeding, with `what` naming the call.
void expectDone(HRESULT status, std::string_view what);
void expectRefused(HRESULT status, std::string_view what);

/// A row of the module's object map.
struct Row {
    GUID category{};
    CLSID clsid{};
    std::string description;

    bool isEffect() const { return category != GUID{}; }
    /// The description without its first word, the maker's.
    std::string name() const;
};

class ForeignModule {
  public:
    /// Throws Fault for a file that is none, or lacks an entry.
    explicit ForeignModule(const std::string& file);

    std::vector<Row> rows() const;
    HRESULT enumerate(LONG index, Row& row, LONG room) const;
    HRESULT classObject(const CLSID* clsid, const IID* iid, void** out) const { return m_get(clsid, iid, out); }
    CComPtr<IClassFactory> factory(const CLSID& clsid) const;
    CComPtr<IUnknown> create(const CLSID& clsid) const;
    bool canUnload() const { return m_canUnload() == S_OK; }
    void* symbol(const char* name) const;

  private:
    template <class F>
    void find(F*& function, const char* name);

    void* m_library = nullptr;
    HRESULT (*m_get)(const CLSID*, const IID*, void**) = nullptr;
    HRESULT (*m_enumerate)(LONG, GUID*, CLSID*, char*, LONG, void*, void*, void*) = nullptr;
    HRESULT (*m_canUnload)() = nullptr;
};

/// An effect's or generator's object, with a site.
class Subject {
  public:
    Subject(const ForeignModule& module, const CLSID& clsid, unsigned processors = 1);
    ~Subject();

    bool isGenerator() const { return !m_transform; }
    int minInputs() const { return m_info.minInputs; }
    int maxInputs() const { return m_info.maxInputs; }
    IUnknown* object() const { return m_object.Get(); }
    IDXTransform* transform() const { return m_transform.Get(); }
    /// An interface that the contract promises, or empty.
    template <class T>
    CComPtr<T> face() const {
        return KwQuery<T>(m_object.Get());
    }
    /// The dual interface of a filter or transition.
    IKwEffect* dual() const { return static_cast<IKwEffect*>(m_effect.Get()); }

    /// As it is saved; empty where the effect has none.
    std::vector<std::byte> record() const;
    HRESULT setRecord(std::span<const std::byte> record) const;
    LONG presetCount() const;
    void applyPreset(LONG index) const;
    void setProgress(float progress) const;

    /// One frame over what the output holds. Nothing stays bound.
    HRESULT draw(std::span<const Picture* const> inputs, const Picture& output, const DXBNDS* clip = nullptr,
                 const DXVEC* place = nullptr) const;
    HRESULT draw(std::span<IUnknown* const> inputs, const Surface& output, const DXBNDS* clip = nullptr,
                 const DXVEC* place = nullptr) const;
    HRESULT bind(std::span<IUnknown* const> inputs, IUnknown* output) const;

  private:
    HRESULT generate(const Surface& output) const;

    CComPtr<IDXTransformFactory> m_site;
    CComPtr<IUnknown> m_object;
    CComPtr<IDXTransform> m_transform;
    CComPtr<IDXEffect> m_effect;
    tEffectInfo m_info{};
};

} // namespace larkmoor::validate
