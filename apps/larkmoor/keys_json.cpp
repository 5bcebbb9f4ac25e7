#include "keys_json.h"

#include <algorithm>

#include <fmt/format.h>

namespace larkmoor {

namespace {

constexpr std::int64_t lastFrame = std::int64_t{1} << 40;

/// Of keys, which may stand before the output begins.
std::int64_t frameOf(const Node& node) {
    const Json& value = node.json();
    if (!value.is_number_integer() || value < -lastFrame || value > lastFrame)
        node.fail("has to be the number of a frame, counted from 0");
    return value.get<std::int64_t>();
}

Json frameJson(std::int64_t frame) {
    return frame == startFrame ? Json("start") : frame == endFrame ? Json("end") : Json(frame);
}

/// A number as such, all else as text; bytes where a text does not say all of it.
Json valueJson(const tFieldInfo& field, const std::vector<std::byte>& record, const std::vector<std::byte>& value) {
    std::vector<std::byte> with = record;
    putFieldBytes(field, with, value);
    const std::string text = fieldText(field, with);
    try {
        std::vector<std::byte> back = record;
        setFieldText(field, back, text);
        if (isUtf8(text) && fieldBytes(field, back) == value) {
            const bool number = (field.kind == KWFIELD_NUMBER || field.kind == KWFIELD_WHOLE) && field.count == 1;
            const Json plain = number ? Json::parse(text) : Json();
            return number && plain.dump() == text ? plain : Json(text);
        }
    } catch (const Error&) {
        // Such as a number that is none.
    }
    return Json{{"bytes", hexText(value)}};
}

std::vector<std::byte> takeValue(const Node& node, const tFieldInfo& field, const std::vector<std::byte>& record,
                                 Values values) {
    const Json& value = node.json();
    std::vector<std::byte> with = record;
    if (value.is_object()) {
        node.object({"bytes"}).at("bytes").parsed([&](const std::string& digits) {
            const std::vector<std::byte> bytes = parseHex(digits);
            const std::size_t size = fieldBytes(field, record).size();
            if (field.kind != KWFIELD_TEXT && bytes.size() != size)
                throw Error(fmt::format("{} has {} bytes, not {}", field.name, size, bytes.size()));
            putFieldBytes(field, with, bytes);
            return 0;
        });
    } else {
        const std::string text = value.is_string() ? value.get<std::string>() : value.dump();
        withPlace(node.place(), [&] {
            setFieldText(field, with, text);
            return 0;
        });
    }
    return withPlace(node.place(), [&] {
        if (values == Values::Checked) checkField(field, with);
        return fieldBytes(field, with);
    });
}

Key takeKey(const Node& node, const EffectInfo& info, const tFieldInfo& field, const std::vector<std::byte>& record,
            Values values) {
    const Json& json = node.json();
    if (!json.is_array() || json.size() < 2 || json.size() > 3)
        node.fail("has to be a frame and a value, such as [50, 3] or [50, 3, \"smooth\"]");
    Key key{.way = canMove(field) ? Way::Linear : Way::Hold};
    const Node frame = node.element(0);
    if (json[0] == "start" || json[0] == "end")
        key.frame = json[0] == "start" ? startFrame : endFrame;
    else
        key.frame = frameOf(frame);
    key.value = takeValue(node.element(1), field, record, values);
    if (json.size() == 2) return key;
    const Node word = node.element(2);
    const std::optional<Way> way = wayOf(word.text());
    if (!way) word.fail("has to be \"hold\", \"linear\" or \"smooth\"");
    if (*way != Way::Hold && !canMove(field))
        word.fail(
            fmt::format("{} of {} does not change gradually; from a key to the next it holds", field.name, info.name));
    key.way = *way;
    return key;
}

Curves takeRamp(const Node& ramp, const EffectInfo& info, const std::vector<std::byte>& record, Values values) {
    ramp.object({"from", "to", "fields", "record"});
    const std::vector<std::byte> end = takeRecord(ramp, info, record, values);
    if (!ramp.find("from") && !ramp.find("to")) return rampCurves(info, record, end, {});
    const std::pair frames(ramp.at("from").frame(), ramp.at("to").frame());
    if (frames.first > frames.second) ramp.fail("\"from\" has to be no later than \"to\"");
    return rampCurves(info, record, end, frames);
}

} // namespace

void putKeys(Json& out, const EffectInfo& info, const std::vector<std::byte>& record, const Curves& curves,
             const Span& span) {
    Json all = Json::object();
    for (const tFieldInfo& field : info.fields) { // in the table's order, whatever that of their making
        const Curve* const curve = findCurve(curves, field);
        if (!curve) continue;
        Json& keys = all[field.name] = Json::array();
        for (const Key& key : curve->keys) {
            Json one{frameJson(key.frame), valueJson(field, record, key.value)};
            if (key.way != (canMove(field) ? Way::Linear : Way::Hold)) one.push_back(wayName(key.way));
            keys.push_back(std::move(one));
        }
    }
    if (!all.empty()) out["keys"] = std::move(all);
    if (span.from) out["from"] = *span.from;
    if (span.to) out["to"] = *span.to;
}

Curves takeKeys(const Node& node, const EffectInfo& info, const std::vector<std::byte>& record, Values values) {
    const std::optional<Node> keys = node.find("keys"), ramp = node.find("ramp");
    if (keys && ramp) node.fail("\"keys\" and \"ramp\" tell the same; the ramp has to go");
    if (ramp) return takeRamp(*ramp, info, record, values);
    Curves curves;
    if (!keys) return curves;
    keys->members([&](const std::string& name, const Node& list) {
        const tFieldInfo& field = *withPlace(list.place(), [&] { return &info.field(name); });
        if (findCurve(curves, field)) list.fail("the field has keys already");
        Curve curve{&field, {}};
        list.elements([&](const Node& node) {
            Key key = takeKey(node, info, field, record, values);
            if (!curve.keys.empty() && key.frame <= curve.keys.back().frame)
                node.fail("has to stand at a later frame than the key before it");
            curve.keys.push_back(std::move(key));
        });
        if (curve.keys.empty()) list.fail("has to hold one key at least");
        withPlace(list.place(), [&] {
            checkEnds(info, curve);
            return 0;
        });
        curves.push_back(std::move(curve));
    });
    std::ranges::sort(curves, {}, &Curve::field); // as they are written
    return curves;
}

Span takeSpan(const Node& node) {
    Span span;
    if (const auto from = node.find("from")) span.from = frameOf(*from);
    if (const auto to = node.find("to")) span.to = frameOf(*to);
    if (span.from && span.to && *span.from > *span.to) node.fail("\"from\" has to be no later than \"to\"");
    return span;
}

} // namespace larkmoor
