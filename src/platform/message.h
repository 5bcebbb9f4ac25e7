// Messages to the user, as a host gets them to be answered.
#pragma once

#include <span>

#include "platform/types.h"

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

/// Icons, by the platform's numbers.
enum tMessageIcon : LONG {
    KWICON_NONE = 0,
    KWICON_HAND = 32513,
    KWICON_QUESTION = 32514,
    KWICON_EXCLAMATION = 32515,
    KWICON_ASTERISK = 32516,
};

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
    LONG icon; ///< `tMessageIcon`
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
