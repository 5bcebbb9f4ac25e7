// Texts between records (UTF-16) and toolkits (UTF-8). What is no text becomes U+FFFD.
#pragma once

#include <string>
#include <string_view>

std::string KwUtf8(std::u16string_view text);
std::u16string KwUtf16(std::string_view text);
