// What the bridges to hosts of other kinds share: one catalog a process, and records from a host's parameters.
#pragma once

#include <exception>
#include <utility>

#include "host/module.h"
#include "platform/threads.h"

namespace larkmoor {

/// The module, and what a bridge makes of each effect. Hosts keep pointers into it.
template <class Plugin>
class PluginCatalog {
  public:
    /// @param file as for `Module::load`. Throws Error.
    PluginCatalog(const std::string& file, Plugin (*make)(const Module&, const EffectInfo&))
        : m_module(Module::load(file)) {
        for (const EffectInfo& info : m_module.effects()) m_plugins.push_back(make(m_module, info));
    }

    const Module& module() const { return m_module; }
    std::span<const Plugin> plugins() const { return m_plugins; }

  private:
    const Module m_module;
    std::vector<Plugin> m_plugins;
};

/// The process's one catalog, of the module that belongs to the library that an address lies in (see `moduleBeside`).
/// Null where there is none, of which `complain` is told once. It is looked for anew at the next call: there may have
/// been too little memory.
template <class Catalog>
const Catalog* sharedCatalog(const void* address, void (*complain)(const char* sentence)) {
    static CMutex lock;
    static const Catalog* catalog = nullptr;
    static bool told = false;
    const CHeld guard(lock);
    if (catalog) return catalog;
    try {
        catalog = new Catalog(moduleBeside(address));
    } catch (const std::exception& error) {
        if (!std::exchange(told, true)) complain(error.what());
    }
    return catalog;
}

/// What a host's parameter says of the field that it moves, or of its part of that.
struct FieldPart {
    const tFieldInfo* field = nullptr; ///< null for a parameter of none
    bool changed = false;              ///< from the default
    std::string text;                  ///< as `setFieldText` takes it
};

/// The default record with what has changed. What has its default keeps the default record's very bytes; what a field
/// does not take leaves its default.
/// @param parts those of one field side by side, in the order of its text.
std::vector<std::byte> recordOfParts(const EffectInfo& info, std::span<const FieldPart> parts);

/// Sets a field; what it does not take leaves it as it is.
void setOrKeep(const tFieldInfo& field, std::vector<std::byte>& record, std::string_view text);

/// A channel of a colour, 0 to 1, as "#RRGGBB" would have it where a whole step of 255 is meant.
double wholeStep(double channel);

/// What name and label of a parameter for one element of a field end in: "Red" and " red" of a colour; nothing where it
/// is the only one.
struct ElementWords {
    std::string name, label;
};
ElementWords elementWords(const tFieldInfo& field, std::size_t element, std::size_t count);

inline constexpr const char* kPresetHint = "Puts a preset in the place of the other settings.";
inline constexpr const char* kProgressHint =
    "How far the transition has come: 0 shows the first picture, 1 the second.";
inline constexpr double kMostStartHours = 100; ///< of a parameter for the time of the first frame

} // namespace larkmoor
