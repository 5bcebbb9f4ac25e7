// Readable files: JSON whose mistakes are told with their place.
#pragma once

#include <algorithm>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "host/names.h"
#include "media/av.h"
#include "record.h"

namespace larkmoor {

using Json = nlohmann::ordered_json;

/// What `action` makes; its complaint gets the place before it.
template <class Action>
auto withPlace(const std::string& place, Action action) {
    const auto sentence = [&](const Error& error) {
        return place.empty() ? std::string(error.what()) : fmt::format("{}: {}", place, error.what());
    };
    try {
        return action();
    } catch (const UsageError& error) {
        throw UsageError(sentence(error));
    } catch (const Error& error) {
        throw Error(sentence(error));
    }
}

/// A value of the file and where it stands.
class Node {
  public:
    Node(const Json& value, std::string place) : m_value(value), m_place(std::move(place)) {}

    [[noreturn]] void fail(const std::string& sentence) const {
        throw Error(m_place.empty() ? sentence : fmt::format("{}: {}", m_place, sentence));
    }

    /// An object with no other keys than these.
    const Node& object(std::initializer_list<std::string_view> keys) const {
        if (!m_value.is_object()) fail("has to be an object, with braces around it");
        for (const auto& [key, value] : m_value.items())
            if (std::ranges::find(keys, std::string_view(key)) == keys.end()) {
                std::vector<Candidate> known;
                for (const std::string_view name : keys) known.push_back({std::string(name)});
                fail(fmt::format("there is no key {}; {}", inQuotes(key), didYouMean(key, known)));
            }
        return *this;
    }

    std::optional<Node> find(const char* key) const {
        const auto at = m_value.find(key);
        if (at == m_value.end()) return {};
        return Node(*at, below(key));
    }

    Node at(const char* key) const {
        std::optional<Node> found = find(key);
        if (!found) fail(fmt::format("the key \"{}\" is missing", key));
        return *found;
    }

    /// Calls `use` with the key and the node of every member.
    template <class Use>
    void members(Use use) const {
        if (!m_value.is_object()) fail("has to be an object, with braces around it");
        for (const auto& [key, value] : m_value.items()) use(key, Node(value, below(key)));
    }

    template <class Use>
    void elements(Use use) const {
        if (!m_value.is_array()) fail("has to be a list, with brackets around it");
        for (std::size_t i = 0; i < m_value.size(); ++i) use(element(i));
    }

    const Json& json() const { return m_value; }
    const std::string& place() const { return m_place; }
    Node element(std::size_t i) const { return Node(m_value[i], fmt::format("{}[{}]", m_place, i)); }

    std::string text() const {
        if (!m_value.is_string()) fail("has to be a text in quotes");
        return m_value.get<std::string>();
    }

    bool flag() const {
        if (!m_value.is_boolean()) fail("has to be true or false");
        return m_value.get<bool>();
    }

    std::int64_t frame() const {
        constexpr std::int64_t lastFrame = std::int64_t{1} << 40;
        if (!m_value.is_number_integer() || m_value < 0 || m_value > lastFrame)
            fail("has to be the number of a frame, counted from 0");
        return m_value.get<std::int64_t>();
    }

    double seconds() const {
        constexpr double longest = 1e6;
        const double value = m_value.is_number() ? m_value.get<double>() : 0;
        if (!(value > 0 && value <= longest)) fail("has to be a number of seconds above 0");
        return value;
    }

    /// What `parse` makes of the text; its complaint gets the place.
    template <class Parse>
    auto parsed(Parse parse) const {
        const std::string given = text();
        return withPlace(m_place, [&] { return parse(given); });
    }

  private:
    std::string below(const std::string& key) const { return m_place.empty() ? key : m_place + "." + key; }

    const Json& m_value;
    std::string m_place;
};

/// Throws Error that tells the line.
Json parseJson(const std::string& text);

bool isUtf8(const std::string& text);

/// Two hexadecimal digits for every byte.
std::string hexText(std::span<const std::byte> bytes);
std::vector<std::byte> parseHex(const std::string& text);

/// Writes a record over `base`: as the texts of its fields, or as bytes where texts do not say all of it.
/// @param all tells fields that are as in `base`, too.
void putRecord(Json& out, const EffectInfo& info, const std::vector<std::byte>& base,
               const std::vector<std::byte>& record, bool all);
std::vector<std::byte> takeRecord(const Node& node, const EffectInfo& info, const std::vector<std::byte>& base,
                                  Values values);

} // namespace larkmoor
