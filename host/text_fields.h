// The text form of fields that are no numbers: texts and fonts.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/effect.h"

namespace larkmoor {

/// Size in bytes of a record with that text field, as its count tells it; the least size where it has no count.
std::size_t textEnd(const tFieldInfo& field, std::span<const std::byte> record);

/// Reads or replaces the text at the end of a record. Escapes as in `setFieldText`.
std::string loadText(const tFieldInfo& field, std::span<const std::byte> record);
void storeText(const tFieldInfo& field, std::vector<std::byte>& record, std::string_view text);

/// Reads or changes the font description at a place of a record. False for a text that is none.
std::string loadFont(const tFieldInfo& field, std::span<const std::byte> record);
bool storeFont(const tFieldInfo& field, std::span<std::byte> record, std::string_view text);

} // namespace larkmoor
