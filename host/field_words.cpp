#include "host/field_words.h"
#include "platform/number.h"

#include <algorithm>

namespace larkmoor {

std::string fieldTitle(const tFieldInfo& field) {
    std::string title = field.label ? field.label : "";
    std::erase(title, '&');
    while (title.ends_with(':') || title.ends_with(' ')) title.pop_back();
    return !title.empty() ? title : field.name ? field.name : "";
}

bool isIdle(const tFieldInfo& field) {
    // The table's word for it.
    return field.help && std::string_view(field.help).starts_with("Kept ");
}

std::string fieldLetters(const tFieldInfo& field) {
    std::string letters = field.components ? field.components : "";
    constexpr std::string_view order = "rgba";
    if (field.kind == KWFIELD_COLOR && letters.find_first_not_of(order) == std::string::npos)
        std::ranges::sort(letters, {}, [&](char letter) { return order.find(letter); });
    return letters;
}

std::string componentWord(char letter) {
    switch (letter) {
    case 'r':
        return "Red";
    case 'g':
        return "Green";
    case 'b':
        return "Blue";
    case 'a':
        return "Alpha";
    default:
        return std::string(1, static_cast<char>(letter >= 'a' && letter <= 'z' ? letter - 'a' + 'A' : letter));
    }
}

std::vector<double> fieldNumbers(std::string_view text) {
    std::vector<double> numbers;
    while (!text.empty()) {
        double number = 0;
        const auto [end, error] = KwReadNumber(text.data(), text.data() + text.size(), number);
        if (error != std::errc()) break;
        numbers.push_back(number);
        text.remove_prefix(static_cast<std::size_t>(end - text.data()));
        if (text.starts_with(',')) text.remove_prefix(1);
    }
    return numbers;
}

} // namespace larkmoor
