// Messages to the user. The module has no window of its own: a message is a model that the host answers, in a dialog or
// by rule. Without a host the text goes to standard error and the default button is the answer.
#pragma once

#include <span>

#include "platform/types.h"
#include "support/strings.h"
#include "support/value_format.h"

/// Which buttons a box has: the low four bits of the flags.
inline constexpr UINT MB_OK = 0;
inline constexpr UINT MB_OKCANCEL = 1;
inline constexpr UINT MB_ABORTRETRYIGNORE = 2;
inline constexpr UINT MB_YESNOCANCEL = 3;
inline constexpr UINT MB_YESNO = 4;
inline constexpr UINT MB_RETRYCANCEL = 5;
/// Its icon.
inline constexpr UINT MB_ICONHAND = 16;
inline constexpr UINT MB_ICONQUESTION = 32;
inline constexpr UINT MB_ICONEXCLAMATION = 48;
inline constexpr UINT MB_ICONASTERISK = 64;
/// Its default button, where that isn't the first.
inline constexpr UINT MB_DEFBUTTON2 = 0x100;
inline constexpr UINT MB_DEFBUTTON3 = 0x200;
inline constexpr UINT MB_DEFBUTTON4 = 0x300;

inline constexpr LONG IDOK = 1;
inline constexpr LONG IDCANCEL = 2;
inline constexpr LONG IDABORT = 3;
inline constexpr LONG IDRETRY = 4;
inline constexpr LONG IDIGNORE = 5;
inline constexpr LONG IDYES = 6;
inline constexpr LONG IDNO = 7;
inline constexpr LONG kYesToAll = 100;
inline constexpr LONG kNoToAll = 101;
inline constexpr LONG kDelete = 102;
/// Controls of the box besides its buttons.
inline constexpr LONG kDetailsControl = 200;
inline constexpr LONG kSilenceControl = 300;

/// Extra buttons of `ShowMessageEx`, as bits.
inline constexpr UINT kExtraYesToAll = 1;
inline constexpr UINT kExtraNoToAll = 2;
inline constexpr UINT kExtraDelete = 4;

/// No parent at all; a null parent leaves the choice to the host.
inline const HWND kNoParent = reinterpret_cast<HWND>(~std::uintptr_t{0});

struct tMESSAGEBUTTON {
    LONG id;
    const char* label; ///< "&" ahead of the letter that chooses it
};

/// A message as it is to be shown. All texts are UTF-8 and good for the time of the call.
struct tMESSAGE {
    HWND parent;
    UINT flags;
    const char* title;
    const char* text;
    LONG icon; ///< 32513 hand, 32514 question, 32515 exclamation, 32516 asterisk; 0 none
    std::span<const tMESSAGEBUTTON> buttons;
    LONG defaultButton;       ///< its id
    const char* details;      ///< text of the pane that opens below; null for none
    const char* showDetails;  ///< label of the button that opens the pane, while it is closed
    const char* hideDetails;  ///< and while it is open
    const char* silenceLabel; ///< check box under the text; null for none
};

/// A callback's answer when it leaves a message to others.
inline constexpr UINT kNotAnswered = 0xFFFFFFFF;

/// Answers a message with the id of a button. `silenced` arrives false; true says that the box was ticked. Called on
/// the thread of the message.
using tMessageCallback = UINT (*)(void* context, const tMESSAGE& message, bool* silenced);
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
