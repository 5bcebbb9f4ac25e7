#include "json_node.h"

#include <charconv>

#include "host/text_fields.h"

namespace larkmoor {

std::string hexText(std::span<const std::byte> bytes) {
    std::string text;
    for (const std::byte byte : bytes) text += fmt::format("{:02X}", static_cast<unsigned>(byte));
    return text;
}

std::vector<std::byte> parseHex(const std::string& text) {
    std::vector<std::byte> bytes(text.size() / 2);
    bool good = text.size() % 2 == 0;
    for (std::size_t i = 0; good && i < bytes.size(); ++i) {
        unsigned value = 0;
        const char* const from = text.data() + 2 * i;
        good = std::from_chars(from, from + 2, value, 16).ptr == from + 2;
        bytes[i] = static_cast<std::byte>(value);
    }
    if (!good) throw Error("has to be two hexadecimal digits for every byte");
    return bytes;
}

Json parseJson(const std::string& text) {
    // Reading goes through any depth, but writing what was read calls itself for each level.
    static constexpr int deepest = 64;
    const auto look = [](int depth, Json::parse_event_t, const Json&) {
        if (depth > deepest) throw Error(fmt::format("goes deeper than {} levels, which no such file does", deepest));
        return true;
    };
    try {
        return Json::parse(text, look);
    } catch (const Json::parse_error& error) {
        const std::string_view before = std::string_view(text).substr(0, error.byte);
        throw Error(fmt::format("line {}: this is no JSON", 1 + std::ranges::count(before, '\n')));
    } catch (const Json::out_of_range&) { // the one that reading knows
        throw Error("a number is too large to be one of such a file: it goes beyond 1.8e308");
    }
}

bool isUtf8(const std::string& text) {
    try {
        (void)Json(text).dump();
        return true;
    } catch (const Json::type_error&) {
        return false;
    }
}

void putRecord(Json& out, const EffectInfo& info, const std::vector<std::byte>& base,
               const std::vector<std::byte>& record, bool all) {
    Json fields = Json::object();
    std::vector<std::byte> back = base;
    bool exact = true;
    try {
        for (const tFieldInfo& field : info.fields) {
            const std::string text = fieldText(field, record);
            if (!all && text == fieldText(field, base)) continue;
            setFieldText(field, back, text);
            exact = exact && isUtf8(text);
            fields[field.name] = text;
        }
    } catch (const Error&) {
        exact = false;
    }
    if (exact && back == record)
        out["fields"] = std::move(fields);
    else
        out["record"] = hexText(record);
}

std::vector<std::byte> takeRecord(const Node& node, const EffectInfo& info, const std::vector<std::byte>& base,
                                  Values values) {
    const std::optional<Node> fields = node.find("fields"), bytes = node.find("record");
    if (fields && bytes) node.fail("\"fields\" and \"record\" tell the same; one of them has to go");
    if (bytes)
        return bytes->parsed([&](const std::string& digits) {
            std::vector<std::byte> record = parseHex(digits);
            const tFieldInfo* const text = info.textField();
            const std::size_t size = text ? textEnd(*text, record) : info.defaults.size();
            if (record.size() != size)
                throw Error(fmt::format("the record of {} has {} bytes, not {}", info.name, size, record.size()));
            if (values == Values::Checked) checkRecord(info, record);
            return record;
        });
    std::vector<std::byte> record = base;
    if (fields)
        fields->members([&](const std::string& name, const Node& field) {
            field.parsed([&](const std::string& text) {
                const tFieldInfo& row = info.field(name);
                setFieldText(row, record, text);
                if (values == Values::Checked) checkField(row, record);
                return 0;
            });
        });
    return record;
}

} // namespace larkmoor
