// A host's tables of functions, and property sets by name.
#pragma once

#include "ofx.h"

namespace larkmoor::openfx {

struct Suites {
    const PropertySuite* property = nullptr;
    const EffectSuite* effect = nullptr;
    const ParameterSuite* parameter = nullptr;
    const MessageSuite* message = nullptr; ///< not every host has it
    bool messagesStay = false;             ///< it is of version 2

    /// All that no effect can do without.
    explicit operator bool() const { return property && effect && parameter; }
};

/// A property set. Hosts know different properties, so setting what one does not know is no failure, and what cannot be
/// got has a value to be taken in its place.
class Properties {
  public:
    Properties(const Suites& suites, PropertySet set) : m_suite(*suites.property), m_set(set) {}

    bool set(const char* name, const char* value, int index = 0) const {
        return m_suite.setString(m_set, name, index, value) == kOk;
    }
    bool set(const char* name, int value, int index = 0) const {
        return m_suite.setInt(m_set, name, index, value) == kOk;
    }
    bool set(const char* name, double value, int index = 0) const {
        return m_suite.setDouble(m_set, name, index, value) == kOk;
    }
    bool set(const char* name, void* value, int index = 0) const {
        return m_suite.setPointer(m_set, name, index, value) == kOk;
    }

    int number(const char* name, int otherwise, int index = 0) const {
        int value = otherwise;
        return m_suite.getInt(m_set, name, index, &value) == kOk ? value : otherwise;
    }
    double number(const char* name, double otherwise, int index = 0) const {
        double value = otherwise;
        return m_suite.getDouble(m_set, name, index, &value) == kOk ? value : otherwise;
    }
    const char* text(const char* name) const {
        char* value = nullptr;
        return m_suite.getString(m_set, name, 0, &value) == kOk && value ? value : "";
    }
    void* pointer(const char* name) const {
        void* value = nullptr;
        return m_suite.getPointer(m_set, name, 0, &value) == kOk ? value : nullptr;
    }

    explicit operator bool() const { return m_set; }
    PropertySet handle() const { return m_set; }

  private:
    const PropertySuite& m_suite;
    PropertySet m_set;
};

} // namespace larkmoor::openfx
