#include "key_options.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <string_view>

#include <fmt/format.h>

#include "host/names.h"
#include "requests.h"

namespace larkmoor {

namespace {

constexpr std::int64_t lastFrame = std::int64_t{1} << 40;
constexpr double longest = 1e6; ///< seconds

/// A frame, a time, `start` or `end`; nothing for another text.
std::optional<Key> parsePlace(std::string_view text) {
    if (text == "start") return Key{startFrame, {}};
    if (text == "end") return Key{endFrame, {}};
    const char* const last = text.data() + text.size();
    std::int64_t frame = 0;
    if (const auto [end, status] = std::from_chars(text.data(), last, frame);
        status == std::errc() && end == last && frame >= 0 && frame <= lastFrame)
        return Key{frame, {}};
    double seconds = 0;
    if (const auto [end, status] = std::from_chars(text.data(), last, seconds);
        status == std::errc() && end + 1 == last && *end == 's' && seconds >= 0 && seconds <= longest)
        return Key{std::llround(seconds * 1e6), {}, Way::Linear, true};
    return {};
}

std::vector<std::byte> parseValue(const tFieldInfo& field, std::vector<std::byte> record, const std::string& text,
                                  Values values) {
    setFieldText(field, record, text);
    if (values == Values::Checked) checkField(field, record);
    return fieldBytes(field, record);
}

/// The texts of keys. Values may have commas, too: a key begins where a place and a colon stand.
std::vector<std::string> splitKeys(const std::string& text) {
    std::vector<std::string> keys;
    for (std::size_t at = 0; at <= text.size();) {
        const std::size_t comma = std::min(text.find(',', at), text.size());
        const std::string piece = text.substr(at, comma - at);
        const std::size_t colon = piece.find(':');
        const bool begins = colon != std::string::npos && parsePlace(piece.substr(0, colon)) &&
                            (piece.find(':', colon + 1) != std::string::npos || !wayOf(piece.substr(colon + 1)));
        if (begins || keys.empty())
            keys.push_back(piece);
        else
            keys.back() += "," + piece;
        at = comma + 1;
    }
    return keys;
}

} // namespace

Curve parseRamp(const EffectInfo& info, const tFieldInfo& field, const std::vector<std::byte>& record,
                const std::string& text, Values values) {
    const std::size_t colon = text.find(':');
    if (colon == std::string::npos)
        throw Error(fmt::format("--ramp takes FIELD=FROM:TO, not \"{}={}\"", field.name, text));
    if (!canMove(field))
        throw Error(fmt::format("{} of {} does not change gradually; --set gives it one value, and --key one from a "
                                "frame on",
                                field.name, info.name));
    return {&field,
            {{startFrame, parseValue(field, record, text.substr(0, colon), values)},
             {endFrame, parseValue(field, record, text.substr(colon + 1), values)}}};
}

Curve parseKeys(const EffectInfo& info, const tFieldInfo& field, const std::vector<std::byte>& record,
                const std::string& text, Values values) {
    Curve curve{&field, {}};
    for (const std::string& one : splitKeys(text)) {
        const std::size_t colon = std::min(one.find(':'), one.size());
        std::optional<Key> key = parsePlace(std::string_view(one).substr(0, colon));
        if (!key || colon == one.size())
            throw Error(fmt::format("--key takes FIELD=FRAME:VALUE,... with frames such as 50, 2.5s or end, not {}",
                                    inQuotes(one)));
        std::string value = one.substr(colon + 1);
        if (!canMove(field)) key->way = Way::Hold;
        const std::size_t last = value.rfind(':');
        if (const auto way = last == std::string::npos ? std::nullopt : wayOf(value.substr(last + 1))) {
            if (*way != Way::Hold && !canMove(field))
                throw Error(fmt::format("{} of {} does not change gradually; from a key to the next it holds",
                                        field.name, info.name));
            key->way = *way;
            value.resize(last);
        }
        key->value = parseValue(field, record, value, values);
        if (std::ranges::any_of(curve.keys,
                                [&](const Key& k) { return k.frame == key->frame && k.timed == key->timed; }))
            throw Error(fmt::format("{} has two keys at {}; one of them has to go", field.name, one.substr(0, colon)));
        curve.keys.push_back(std::move(*key));
    }
    // The ends stand where they are; times find their place among frames once the rate is known.
    std::ranges::stable_sort(curve.keys, {}, &Key::frame);
    return curve;
}

std::pair<std::int64_t, bool> parseFrame(const std::string& option, const std::string& text) {
    if (text.find(':') != std::string::npos) return {std::llround(parseTime(text) * 1e6), true};
    const std::optional<Key> key = parsePlace(text);
    if (!key || key->frame == startFrame || key->frame == endFrame)
        throw UsageError(fmt::format("{} takes a frame such as 50, or a time such as 2.5s or 0:02.5, not {}", option,
                                     inQuotes(text)));
    return {key->frame, key->timed};
}

void checkSpan(const Span& span) {
    if (span.from && span.to && span.fromTimed == span.toTimed && *span.to < *span.from)
        throw UsageError("--to has to be no earlier than --from");
}

} // namespace larkmoor
