#include "support/named_strings.h"

#include <algorithm>
#include <vector>

#include "platform/threads.h"

namespace {

struct tNamedString {
    std::string key, value;
};

struct tNamedStrings {
    CMutex lock;
    std::vector<tNamedString> rows; ///< by key
};

constinit tNamedStrings g_strings;

/// Bytes above ASCII compare as they are: the order is the same for every user.
bool KeyLess(std::string_view a, std::string_view b) {
    const auto lower = [](char c) { return static_cast<unsigned char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c); };
    return std::ranges::lexicographical_compare(a, b, {}, lower, lower);
}

auto Find(std::string_view key) {
    return std::ranges::lower_bound(g_strings.rows, key, KeyLess, &tNamedString::key);
}

bool IsAt(std::vector<tNamedString>::iterator place, std::string_view key) {
    return place != g_strings.rows.end() && !KeyLess(key, place->key);
}

} // namespace

void SetNamedString(const char* key, const char* value) noexcept {
    if (!key) return;
    try {
        tNamedString row{key, value ? value : ""};
        const CHeld guard(g_strings.lock);
        const auto place = Find(key);
        const bool found = IsAt(place, key);
        if (!value) {
            if (found) g_strings.rows.erase(place);
        } else if (found) {
            std::swap(*place, row);
        } else {
            g_strings.rows.insert(place, std::move(row));
        }
    } catch (...) {
    }
}

bool GetNamedString(std::string_view key, std::string& value) noexcept {
    try {
        const CHeld guard(g_strings.lock);
        const auto place = Find(key);
        if (!IsAt(place, key)) return false;
        value = place->value;
        return true;
    } catch (...) {
        return false;
    }
}
