// Texts by name, for `$(name)` in patterns. Names differ by more than the case of ASCII letters.
#pragma once

#include <string>

/// Sets a text in place of an older one; a null value takes the name away. Out of memory leaves all as it was. Any
/// thread.
void SetNamedString(const char* key, const char* value) noexcept;

/// Copies the text of a name; false, and `value` untouched, if there is none. Any thread.
bool GetNamedString(std::string_view key, std::string& value) noexcept;
