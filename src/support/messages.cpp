#include "support/messages.h"

#include <array>
#include <cstdio>
#include <string>

#include "platform/exports.h"
#include "platform/threads.h"
#include "support/named_strings.h"

namespace {

template <class TCallback>
struct tHostCall {
    TCallback call = nullptr;
    void* context = nullptr;
};

struct tHost {
    CMutex lock;
    tHostCall<tMessageCallback> message;
    tHostCall<tSoundCallback> sound;
};

constinit tHost g_host;

/// As the module tells it where its host has said nothing; with the blank at its end.
constexpr const char* kProgramTitle = "Kestrelwing Larkmoor Video Plugins ";

/// `$(AppName)` is known from the module's start.
[[maybe_unused]] const bool g_titled = (SetNamedString("AppName", kProgramTitle), true);

/// The host is called outside the lock: its dialog may stand for minutes.
template <class TCallback>
tHostCall<TCallback> Get(tHostCall<TCallback> tHost::*member) {
    const CHeld guard(g_host.lock);
    return g_host.*member;
}

template <class TCallback>
void Set(tHostCall<TCallback> tHost::*member, TCallback call, void* context) {
    const CHeld guard(g_host.lock);
    g_host.*member = {call, context};
}

/// Buttons by the low bits of the flags; an id of 0 ends a row.
constexpr tMESSAGEBUTTON kOk{IDOK, "OK"}, kCancel{IDCANCEL, "Cancel"}, kAbort{IDABORT, "&Abort"},
    kRetry{IDRETRY, "&Retry"}, kIgnore{IDIGNORE, "&Ignore"}, kYes{IDYES, "&Yes"}, kNo{IDNO, "&No"}, kNone{};
constexpr tMESSAGEBUTTON kBoxes[][3] = {
    {kOk, kNone, kNone},  {kOk, kCancel, kNone}, {kAbort, kRetry, kIgnore},
    {kYes, kNo, kCancel}, {kYes, kNo, kNone},    {kRetry, kCancel, kNone},
};
constexpr tMESSAGEBUTTON kExtras[] = {{kYesToAll, "Yes to &All"}, {kNoToAll, "N&o to All"}, {kDelete, "D&elete"}};

constexpr std::string_view kDetailsStart = "/r/n-----DETAILS START-----/r/n";
constexpr std::string_view kDetailsEnd = "/r/n-----DETAILS END-----";

class CButtons {
  public:
    CButtons(UINT flags, UINT extras) {
        const UINT type = flags & 15;
        for (const tMESSAGEBUTTON& button : kBoxes[type < std::size(kBoxes) ? type : MB_OK])
            if (button.id) m_buttons[m_count++] = button;
        for (UINT i = 0; i < std::size(kExtras); ++i)
            if (extras >> i & 1) m_buttons[m_count++] = kExtras[i];
        const UINT wanted = flags >> 8 & 15;
        m_default = m_buttons[wanted < m_count ? wanted : 0].id;
    }
    std::span<const tMESSAGEBUTTON> All() const { return std::span(m_buttons).first(m_count); }
    LONG Default() const { return m_default; }

  private:
    std::array<tMESSAGEBUTTON, 3 + std::size(kExtras)> m_buttons{};
    std::size_t m_count = 0;
    LONG m_default;
};

/// The platform's icon of the flags.
LONG IconOf(UINT flags) {
    const LONG icon = static_cast<LONG>(flags >> 4 & 15);
    return icon >= 1 && icon <= 4 ? KWICON_HAND - 1 + icon : KWICON_NONE;
}

/// One write per message, so that those of several threads don't mix.
void WriteToStandardError(const tMESSAGE& message) {
    std::string_view title(message.title);
    while (title.ends_with(' ')) title.remove_suffix(1);
    const auto length = static_cast<int>(title.size());
    if (message.details)
        std::fprintf(stderr, "%.*s: %s\n%s\n", length, title.data(), message.text, message.details);
    else
        std::fprintf(stderr, "%.*s: %s\n", length, title.data(), message.text);
}

/// The single way out for all messages.
LONG Show(tMESSAGE& message, bool* silenced) {
    std::string title;
    if (!message.title) message.title = GetNamedString("AppName", title) ? title.c_str() : kProgramTitle;
    bool ticked = false;
    UINT answer = kNotAnswered;
    if (const auto host = Get(&tHost::message); host.call) {
        try {
            answer = host.call(host.context, message, &ticked);
        } catch (...) { // a host's failure must not stop the module
        }
    }
    if (answer == kNotAnswered) {
        ticked = false;
        answer = static_cast<UINT>(message.defaultButton);
        WriteToStandardError(message);
    }
    if (silenced) *silenced = ticked;
    return static_cast<LONG>(answer);
}

} // namespace

void SetMessageCallback(tMessageCallback callback, void* context) noexcept {
    Set(&tHost::message, callback, context);
}

void KwSetMessageCallback(tMessageCallback callback, void* context) {
    SetMessageCallback(callback, context);
}

void SetSoundCallback(tSoundCallback callback, void* context) noexcept {
    Set(&tHost::sound, callback, context);
}

void SetProgramTitle(const char* title) noexcept {
    SetNamedString("AppName", title ? title : kProgramTitle);
}

LONG ShowMessage(HWND parent, const char* text, const char* title, UINT flags) noexcept {
    const CButtons buttons(flags, 0);
    tMESSAGE message{parent, flags, title, text ? text : "", IconOf(flags), buttons.All(), buttons.Default()};
    return Show(message, nullptr);
}

LONG ShowMessageEx(HWND parent, const char* text, const char* title, UINT flags, UINT extraButtons,
                   bool* silenced) noexcept {
    const CButtons buttons(flags, extraButtons);
    tMESSAGE message{parent, flags, title, text ? text : "", IconOf(flags), buttons.All(), buttons.Default()};
    message.showDetails = GetResourceString(nullptr, 48318);
    message.hideDetails = GetResourceString(nullptr, 48320);
    if (silenced != nullptr) message.silenceLabel = "Do no&t show this message again.";
    std::string main, details;
    try {
        const std::string_view whole(message.text);
        const std::size_t start = whole.find(kDetailsStart);
        const std::size_t from = start + kDetailsStart.size();
        const std::size_t end = start == whole.npos ? whole.npos : whole.find(kDetailsEnd, from);
        if (end != whole.npos) {
            details = whole.substr(from, end - from);
            main = whole.substr(0, start);
            main += whole.substr(end + kDetailsEnd.size());
            message.text = main.c_str();
            message.details = details.c_str();
        }
    } catch (...) { // without memory the text shows undivided
    }
    return Show(message, silenced);
}

const char* SoundName(LONG code) noexcept {
    switch (code) {
    case 1:
        return "SystemExclamation";
    case 2:
        return "SystemAsterisk";
    case 3:
        return "SystemQuestion";
    case 4:
        return "Kestrelwing_DoneProcessing";
    default:
        return "SystemDefault";
    }
}

void PlayMessageSound(LONG code) noexcept {
    if (const auto host = Get(&tHost::sound); host.call) {
        try {
            host.call(host.context, SoundName(code));
        } catch (...) { // silence is a sound answer
        }
    }
}
