// What one effect class is, as data.
#pragma once

#include <optional>
#include <span>

#include "frame/fields.h"
#include "platform/effect.h"

/// A preset row: a name in plain ASCII and the record as it would be given to `put_all`.
template <class R>
struct tPreset {
    const char* name;
    R record;
};

/// A table of preset rows with the record type forgotten.
class CPresetRows {
  public:
    constexpr CPresetRows() = default;
    template <class R, std::size_t N>
    constexpr CPresetRows(const tPreset<R> (&rows)[N])
        : m_rows(rows), m_stride(sizeof(tPreset<R>)), m_recordOffset(offsetof(tPreset<R>, record)),
          m_count(static_cast<LONG>(N)) {}

    constexpr LONG Count() const { return m_count; }
    bool Has(LONG index) const { return index >= 0 && index < m_count; }
    const char* Name(LONG index) const {
        return *reinterpret_cast<const char* const*>(static_cast<const std::byte*>(m_rows) + At(index));
    }
    const void* Record(LONG index) const { return static_cast<const std::byte*>(m_rows) + At(index) + m_recordOffset; }

  private:
    std::size_t At(LONG index) const { return m_stride * static_cast<std::size_t>(index); }

    const void* m_rows = nullptr;
    std::size_t m_stride = 0, m_recordOffset = 0;
    LONG m_count = 0;
};

struct tEffectGroup {
    LONG group, item;
};

/// The data of an effect class. Name, class id, description and page stand in the object map.
struct tEffectClass {
    IID iid;                      ///< the class's own dual interface; made once, never changed
    LONG kind;                    ///< `tEffectKind`; 0 for a generator
    const char* family = nullptr; ///< of `tClassInfo`
    LONG minInputs, maxInputs;
    ULONG infoFlags; ///< the `flags` of `tEffectInfo`; their meaning belongs to the host
    ULONG maxBands = 1;
    std::optional<tEffectGroup> group{};
    const void* defaults = nullptr; ///< the default record
    ULONG recordSize = 0;           ///< bytes
    std::span<const tFieldInfo> fields{};
    CPresetRows presets{};
    tFloatForm floatForm = KWFLOAT_OTHER;
    bool answersPresets = true; ///< false: presets are told by `IKwParamInfo` alone
    DWORD miscFlags = 0;        ///< further bits of `m_MiscFlags`
};

/// A row of the object map. The table is in `object_map.cpp`.
struct tObjectMapRow {
    const char* className;
    CLSID clsid;
    LONG script;             ///< resource id of the registry script
    const char* description; ///< null for a page
    /// Makes the object with one reference on the returned inner unknown; null where memory is short. A null creator
    /// is a class that cannot be made.
    IUnknown* (*create)(const tObjectMapRow& row, IUnknown* outer);
    LONG mate; ///< the row of an effect's page and of a page's effect; -1 for none
};

inline constexpr std::size_t kMostClasses = 128; ///< room for more than there are

/// In the order that hosts count them.
std::span<const tObjectMapRow> KwObjectMap();

/// The page of an effect, the effect of a page; null for none.
const tObjectMapRow* KwMateOf(const tObjectMapRow& row);

/// Creator of a class. Defined in `frame/create.h`; each class instantiates it in its own source.
template <class T>
IUnknown* KwCreate(const tObjectMapRow& row, IUnknown* outer);
