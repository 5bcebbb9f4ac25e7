// A small host of OpenFX that is strict: what is not in the interface, comes at the wrong time or is left behind is a
// fault.
#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <variant>
#include <vector>

#include "bridges/openfx_picture.h"

namespace openfxhost {

using namespace larkmoor::openfx;

/// Everything that a plug-in did wrong, by any thread.
void addFault(const std::string& fault);
std::vector<std::string> takeFaults();

/// As long as a plug-in's call is with the host, whose memory is its own affair.
class HostsTurn {
  public:
    HostsTurn() { ++s_depth; }
    ~HostsTurn() { --s_depth; }
    HostsTurn(const HostsTurn&) = delete;
    HostsTurn& operator=(const HostsTurn&) = delete;
    static bool isOn() { return s_depth > 0; }

  private:
    static inline thread_local int s_depth = 0;
};

using PropertyValue = std::variant<int, double, std::string, void*>;

/// What a property set belongs to; each knows other properties.
enum class Owner { Host, Effect, Instance, Clip, Parameter, Image, In, Out };

struct Properties {
    explicit Properties(Owner who) : owner(who) {}
    Owner owner;
    std::map<std::string, std::vector<PropertyValue>, std::less<>> values;

    PropertySet handle() { return reinterpret_cast<PropertySet>(this); }
    template <class T>
    void put(const std::string& name, std::vector<T> given) {
        values[name] = {given.begin(), given.end()};
    }
    bool has(const std::string& name) const { return values.count(name) > 0; }
    std::string text(const std::string& name, std::size_t index = 0) const;
    double number(const std::string& name, std::size_t index = 0) const;
};

struct Clip {
    Properties properties{Owner::Clip};
    Picture* picture = nullptr; ///< the host's choice; null for none connected
    RectD region{};
    std::string name;
    struct Effect* effect = nullptr;
};

struct Parameter {
    Properties properties{Owner::Parameter};
    std::string type;
    std::vector<double> numbers;
    double perFrame = 0; ///< an animation: added for each frame
    std::string text;
};

struct Effect {
    explicit Effect(Owner who) : properties(who) {}
    Properties properties;
    std::map<std::string, std::unique_ptr<Clip>> clips;
    std::map<std::string, std::unique_ptr<Parameter>> parameters;
    std::vector<std::string> order;    ///< of the definition of parameters
    std::string action;                ///< that runs
    std::vector<std::string> messages; ///< to the user; "nothing" where the one that stands is taken away
    int images = 0;                    ///< out at the moment
    int edits = 0;
    int abortAfter = -1; ///< so many times the host goes on
    std::string context;
};

/// A plug-in of an opened file, loaded and described.
class LoadedPlugin {
  public:
    /// @param withMessages version of the suite that tells users; 0 for none
    explicit LoadedPlugin(PluginEntry& entry, int withMessages = 2);

    /// What the plug-in tells in a context.
    std::unique_ptr<Effect> describe(const std::string& context);
    /// An action on an effect; faults where images stay out.
    int call(Effect* effect, const char* action, Properties* in = nullptr, Properties* out = nullptr);
    PluginEntry& entry() { return m_entry; }
    const Properties& descriptor() const { return m_descriptor.properties; }

  private:
    PluginEntry& m_entry;
    Effect m_descriptor{Owner::Effect};
};

/// An instance with clips and parameters, made and ended as hosts do.
class Instance {
  public:
    Instance(LoadedPlugin& plugin, const std::string& context);
    /// By a description that was made before.
    Instance(LoadedPlugin& plugin, const Effect& described);
    ~Instance();
    Instance(const Instance&) = delete;
    Instance& operator=(const Instance&) = delete;

    Parameter& parameter(const std::string& name);
    Clip& clip(const std::string& name);
    int render(double time, const Area& window, double scaleX = 1, double scaleY = 1);
    int call(const char* action, Properties* in = nullptr, Properties* out = nullptr) {
        return m_plugin.call(&m_effect, action, in, out);
    }
    Effect& effect() { return m_effect; }

  private:
    LoadedPlugin& m_plugin;
    Effect m_effect{Owner::Instance};
};

/// The bundle's file, opened once for the process.
std::vector<std::unique_ptr<LoadedPlugin>>& plugins();

} // namespace openfxhost
