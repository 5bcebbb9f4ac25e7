// Messages to the user. The module has no window of its own: a message is a model that the host answers, in a dialog or
// by rule. Without a host the text goes to standard error and the default button is the answer.
#pragma once

#include "platform/message.h"
#include "support/strings.h"
#include "support/value_format.h"

/// Extra buttons of `ShowMessageEx`, as bits.
inline constexpr UINT kExtraYesToAll = 1;
inline constexpr UINT kExtraNoToAll = 2;
inline constexpr UINT kExtraDelete = 4;

/// No parent at all; a null parent leaves the choice to the host.
inline const HWND kNoParent = reinterpret_cast<HWND>(~std::uintptr_t{0});

/// Plays the sound of an event without waiting for it.
using tSoundCallback = void (*)(void* context, const char* name);

/// Null takes a callback away. Any thread; a call that is under way ends with the old one.
void SetMessageCallback(tMessageCallback callback, void* context) noexcept;
void SetSoundCallback(tSoundCallback callback, void* context) noexcept;

/// Title of messages without one, and `$(AppName)` in patterns; null for the module's own, which it is at the start.
void SetProgramTitle(const char* title) noexcept;

/// Shows a text as it stands and returns the id of the button. A null title is the program's.
LONG ShowMessage(HWND parent, const char* text, const char* title, UINT flags) noexcept;

/// A message with extra buttons and, where `silenced` isn't null, a check box whose state it receives. A part of the
/// text between "/r/n-----DETAILS START-----/r/n" and "/r/n-----DETAILS END-----" becomes the details.
LONG ShowMessageEx(HWND parent, const char* text, const char* title, UINT flags, UINT extraButtons,
                   bool* silenced) noexcept;

/// Shows a formatted text under the program's title.
template <std::convertible_to<tFORMATARG>... A>
LONG MessageBoxFormat(HWND parent, UINT flags, const char* pattern, const A&... args) noexcept {
    return ShowMessage(parent, FormatText(pattern, args...).c_str(), nullptr, flags);
}

/// The same with a pattern of the string table; one without a row is empty, and the box still shows.
template <std::convertible_to<tFORMATARG>... A>
LONG MessageBoxResource(HANDLE module, HWND parent, UINT flags, UINT id, const A&... args) noexcept {
    return MessageBoxFormat(parent, flags, GetResourceString(module, id), args...);
}

/// The event's name: 1 exclamation, 2 asterisk, 3 question, 4 end of a long process, else the default sound.
const char* SoundName(LONG code) noexcept;
/// Plays the sound of a code through the host; silent without one.
void PlayMessageSound(LONG code) noexcept;
