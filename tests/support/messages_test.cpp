#include "support/messages.h"

#include <gtest/gtest.h>

#include <map>
#include <stdexcept>
#include <string>
#include <vector>

#include "support/named_strings.h"

namespace {

/// A host that notes the last message and gives a set answer.
struct tHost {
    UINT answer = kNotAnswered;
    bool tick = false, fails = false;
    std::string title, text, details, silenceLabel;
    bool hasDetails = false;
    LONG icon = 0, defaultButton = 0;
    std::vector<LONG> buttons;
    HWND parent = nullptr;

    tHost() {
        SetMessageCallback([](void* self, const tMESSAGE& message,
                              bool* silenced) { return static_cast<tHost*>(self)->Show(message, *silenced); },
                           this);
    }
    ~tHost() { SetMessageCallback(nullptr, nullptr); }

    UINT Show(const tMESSAGE& message, bool& silenced) {
        if (fails) throw std::runtime_error("dialog");
        title = message.title;
        text = message.text;
        hasDetails = message.details;
        details = message.details ? message.details : "";
        silenceLabel = message.silenceLabel ? message.silenceLabel : "";
        icon = message.icon;
        defaultButton = message.defaultButton;
        parent = message.parent;
        buttons.clear();
        for (const tMESSAGEBUTTON& button : message.buttons) buttons.push_back(button.id);
        silenced = tick;
        return answer;
    }
};

TEST(Messages, HostAnswers) {
    tHost host;
    host.answer = IDNO;
    EXPECT_EQ(ShowMessage(kNoParent, "Go on?", "Title", MB_YESNOCANCEL | MB_ICONQUESTION | MB_DEFBUTTON2), IDNO);
    EXPECT_EQ(host.text, "Go on?");
    EXPECT_EQ(host.title, "Title");
    EXPECT_EQ(host.icon, 32514);
    EXPECT_EQ(host.defaultButton, IDNO);
    EXPECT_EQ(host.buttons, (std::vector<LONG>{IDYES, IDNO, IDCANCEL}));
    EXPECT_EQ(host.parent, kNoParent);
    EXPECT_FALSE(host.hasDetails);
}

TEST(Messages, ButtonsByFlags) {
    tHost host;
    host.answer = IDOK;
    const struct {
        UINT flags, extras;
        std::vector<LONG> buttons;
        LONG defaultButton, icon;
    } rows[] = {
        {MB_OK, 0, {IDOK}, IDOK, 0},
        {MB_OKCANCEL | MB_ICONHAND, 0, {IDOK, IDCANCEL}, IDOK, 32513},
        {MB_ABORTRETRYIGNORE | MB_DEFBUTTON3, 0, {IDABORT, IDRETRY, IDIGNORE}, IDIGNORE, 0},
        {MB_RETRYCANCEL | MB_DEFBUTTON4, 0, {IDRETRY, IDCANCEL}, IDRETRY, 0},
        {MB_YESNO | MB_ICONEXCLAMATION | MB_DEFBUTTON4,
         kExtraYesToAll | kExtraNoToAll | kExtraDelete,
         {IDYES, IDNO, kYesToAll, kNoToAll, kDelete},
         kNoToAll,
         32515},
        {0xFFFFFFFF, 0xFFFFFFFF, {IDOK, kYesToAll, kNoToAll, kDelete}, IDOK, 0},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(ShowMessageEx(nullptr, "x", nullptr, row.flags, row.extras, nullptr), IDOK);
        EXPECT_EQ(host.buttons, row.buttons);
        EXPECT_EQ(host.defaultButton, row.defaultButton);
        EXPECT_EQ(host.icon, row.icon);
    }
}

TEST(Messages, DetailsAndSilence) {
    tHost host;
    host.answer = kDelete;
    host.tick = true;
    bool silenced = false;
    EXPECT_EQ(ShowMessageEx(nullptr, "Main/r/n-----DETAILS START-----/r/nwhy\nso/r/n-----DETAILS END-----", nullptr,
                            MB_OK, kExtraDelete, &silenced),
              kDelete);
    EXPECT_TRUE(silenced);
    EXPECT_EQ(host.text, "Main");
    EXPECT_EQ(host.details, "why\nso");
    EXPECT_EQ(host.silenceLabel, "Do no&t show this message again.");
    for (const char* const text : {"plain", "/r/n-----DETAILS START-----/r/nno end", "/r/n-----DETAILS END-----",
                                   "/r/n-----DETAILS END-----/r/n-----DETAILS START-----/r/n"}) {
        ShowMessageEx(nullptr, text, nullptr, MB_OK, 0, nullptr);
        EXPECT_EQ(host.text, text);
        EXPECT_FALSE(host.hasDetails);
        EXPECT_EQ(host.silenceLabel, "");
    }
}

TEST(Messages, StandardErrorWithoutAnAnswer) {
    testing::internal::CaptureStderr();
    bool silenced = true;
    EXPECT_EQ(MessageBoxFormat(nullptr, MB_YESNO | MB_DEFBUTTON2, "%d of %s", 3, "five"), IDNO);
    tHost host; // asked, but leaves the messages to others
    host.tick = true;
    EXPECT_EQ(ShowMessageEx(nullptr, nullptr, "Title", MB_OKCANCEL, 0, &silenced), IDOK);
    EXPECT_FALSE(silenced);
    host.fails = true;
    EXPECT_EQ(ShowMessage(nullptr, "100%", "Title", MB_RETRYCANCEL), IDRETRY);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "Kestrelwing Larkmoor Video Plugins: 3 of five\nTitle: \nTitle: 100%\n");
}

TEST(Messages, TitleAndStringsById) {
    tHost host;
    host.answer = IDOK;
    const char* const own = "Kestrelwing Larkmoor Video Plugins ";
    EXPECT_EQ(MessageBoxFormat(nullptr, MB_OK, "$(AppName)"), IDOK);
    EXPECT_EQ(host.text, own);
    EXPECT_EQ(host.title, own);
    SetProgramTitle("Studio");
    EXPECT_EQ(MessageBoxFormat(nullptr, MB_OK, "Welcome to $(AppName)"), IDOK);
    EXPECT_EQ(host.text, "Welcome to Studio");
    EXPECT_EQ(host.title, "Studio");
    SetProgramTitle(nullptr);
    EXPECT_EQ(MessageBoxFormat(nullptr, MB_OK, "$(AppName)"), IDOK);
    EXPECT_EQ(host.title + host.text, std::string(own) + own);
    EXPECT_EQ(MessageBoxResource(nullptr, nullptr, MB_OK, 48110), IDOK);
    EXPECT_EQ(host.text, "An error occurred during the current operation.");
    EXPECT_EQ(MessageBoxResource(nullptr, nullptr, MB_OK, 48005), IDOK);
    EXPECT_EQ(host.text, "");
}

TEST(Messages, Sounds) {
    EXPECT_STREQ(SoundName(1), "SystemExclamation");
    EXPECT_STREQ(SoundName(4), "Kestrelwing_DoneProcessing");
    for (const LONG code : {0, 5, -1}) EXPECT_STREQ(SoundName(code), "SystemDefault");
    PlayMessageSound(2);
    std::string played;
    SetSoundCallback([](void* to, const char* name) { *static_cast<std::string*>(to) = name; }, &played);
    PlayMessageSound(2);
    SetSoundCallback(nullptr, nullptr);
    EXPECT_EQ(played, "SystemAsterisk");
}

TEST(Strings, TableAndLoader) {
    static_assert(std::string_view(KwString(1285)) == "Color Bleed Speed");
    static_assert(std::string_view(KwString(1284)).empty());
    EXPECT_STREQ(GetResourceString(nullptr, 48303), "-Inf.");
    EXPECT_STREQ(GetResourceString(nullptr, 0), "");
    EXPECT_STREQ(GetResourceString(nullptr, 0xFFFFFFFF), "");

    std::map<UINT, std::string> rows{{48112, "Beim Laden"}, {7, "sieben"}};
    SetStringLoader(
        [](void* context, HANDLE module, UINT id) -> const char* {
            const auto& table = *static_cast<std::map<UINT, std::string>*>(context);
            const auto found = table.find(id);
            return module && found != table.end() ? found->second.c_str() : nullptr;
        },
        &rows);
    const HANDLE module = &rows;
    const char* const seven = GetResourceString(module, 7);
    EXPECT_STREQ(seven, "sieben");
    EXPECT_STREQ(GetResourceString(module, 48112), "Beim Laden");
    EXPECT_STREQ(GetResourceString(module, 48110), "");
    EXPECT_STREQ(GetResourceString(nullptr, 48112), "An error occurred while loading a plug-in.");
    rows.clear(); // rows that were read stay, and stay where they are
    EXPECT_EQ(GetResourceString(module, 7), seven);
    SetStringLoader(nullptr, nullptr);
    EXPECT_STREQ(GetResourceString(module, 7), "sieben");
    EXPECT_STREQ(GetResourceString(module, 8), "");
}

} // namespace
