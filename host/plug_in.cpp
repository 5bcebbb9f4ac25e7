#include "host/plug_in.h"

#include <cmath>

#include "host/field_words.h"
#include "host/names.h"

namespace larkmoor {

std::vector<std::byte> recordOfParts(const EffectInfo& info, std::span<const FieldPart> parts) {
    std::vector<std::byte> record = info.defaults;
    for (std::size_t i = 0; i < parts.size();) {
        const tFieldInfo* const field = parts[i].field;
        bool changed = false;
        std::string text;
        for (bool first = true; i < parts.size() && parts[i].field == field; ++i, first = false) {
            changed = changed || parts[i].changed;
            if (!first) text += field && field->kind == KWFIELD_FONT ? ' ' : ',';
            text += parts[i].text;
        }
        if (field && changed) setOrKeep(*field, record, text);
    }
    return record;
}

void setOrKeep(const tFieldInfo& field, std::vector<std::byte>& record, std::string_view text) {
    try {
        setFieldText(field, record, text);
    } catch (const Error&) {
    }
}

double wholeStep(double channel) {
    const double steps = std::round(channel * 255);
    return std::fabs(channel * 255 - steps) < 1e-4 ? steps / 255 : channel;
}

ElementWords elementWords(const tFieldInfo& field, std::size_t element, std::size_t count) {
    if (count < 2) return {};
    const std::string letters = fieldLetters(field);
    const std::string word = element < letters.size() ? componentWord(letters[element]) : std::to_string(element + 1);
    return {word, " " + (word.size() > 1 ? foldName(word) : word)};
}

} // namespace larkmoor
