// What people are shown of fields.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/effect.h"

namespace larkmoor {

/// The label without its mnemonic and final colon; the name where there is no label.
std::string fieldTitle(const tFieldInfo& field);

/// Whether the field stands in the record alone: nothing reads it.
bool isIdle(const tFieldInfo& field);

/// The letters of a colour or point in the order in which its text has them: red, green, blue, alpha.
std::string fieldLetters(const tFieldInfo& field);

/// "Red" for 'r', "X" for 'x'.
std::string componentWord(char letter);

/// The numbers of a field's text, up to what is none.
std::vector<double> fieldNumbers(std::string_view text);

} // namespace larkmoor
