// What the stand-in's windows do beyond what the library's own dialogs show of it.
#include "platform/calls/resources.h"
#include "platform/machine.h"
#include "platform/platform.h"

#include <gtest/gtest.h>
#include <string>
#include <thread>
#include <vector>

namespace {

constexpr int List = 10, Edit = 12, Late = 14;
constexpr ui::ControlTemplate Controls[] = {
    {"", List, "COMBOBOX", CBS_DROPDOWNLIST | WS_TABSTOP | WS_VISIBLE, 0, 0, 40, 60},
    {"", Edit, "EDIT", WS_TABSTOP | WS_VISIBLE, 0, 40, 40, 12},
    {"Late", Late, "BUTTON", BS_PUSHBUTTON | WS_TABSTOP | WS_VISIBLE, 0, 60, 40, 14},
};
constexpr ui::DialogTemplate Dialogs[] = {{7, "Test", 0, 0, 0, 100, 80, 8, "", Controls}};

using Script = std::function<void(machine::DialogUser&, HWND)>;
struct Message {
    UINT What;
    WPARAM First;
    bool operator==(const Message&) const = default;
};
std::vector<Message> heard;

INT_PTR CALLBACK Hear(HWND dialog, UINT message, WPARAM first, LPARAM) {
    heard.push_back({message, first});
    if (message == WM_COMMAND && first == IDCANCEL) EndDialog(dialog, 5);
    return message == WM_INITDIALOG;
}

// What EndDialog gave.
INT_PTR Open(const Script& script) {
    machine::PowerOn();
    machine::UseSteppedClock();
    heard.clear();
    const auto module = reinterpret_cast<HINSTANCE>(&heard);
    machine::AttachModule(module, {{}, Dialogs});
    machine::ScriptDialogs([&](machine::DialogUser& user) { script(user, user.Handle()); });
    const INT_PTR result = DialogBoxParamA(module, MAKEINTRESOURCEA(7), nullptr, Hear, 0);
    machine::DetachModule(module);
    machine::PowerOn();
    return result;
}

LRESULT Ask(HWND dialog, int id, UINT message, WPARAM first, const char* text) {
    return SendDlgItemMessageA(dialog, id, message, first, reinterpret_cast<LPARAM>(text));
}

TEST(WindowCalls, ListsAreSearchedRoundTheEnd) {
    Open([](machine::DialogUser&, HWND dialog) {
        for (const char* text : {"b2", "A", "B1", "c"}) Ask(dialog, List, CB_ADDSTRING, 0, text);
        const auto none = static_cast<WPARAM>(-1);
        EXPECT_EQ(Ask(dialog, List, CB_FINDSTRING, none, "B"), 0);
        EXPECT_EQ(Ask(dialog, List, CB_FINDSTRING, 0, "b"), 2);
        EXPECT_EQ(Ask(dialog, List, CB_FINDSTRING, 2, "b"), 0);
        EXPECT_EQ(Ask(dialog, List, CB_FINDSTRING, 3, "A"), 1);
        EXPECT_EQ(Ask(dialog, List, CB_FINDSTRING, none, "b11"), CB_ERR);
        EXPECT_EQ(Ask(dialog, List, CB_SETCURSEL, 9, nullptr), CB_ERR);
        EXPECT_EQ(Ask(dialog, List, CB_GETITEMDATA, 9, nullptr), CB_ERR);
        EXPECT_EQ(Ask(dialog, List, CB_GETLBTEXTLEN, 2, nullptr), 2);
    });
}

TEST(WindowCalls, NumbersAreReadFromTheBeginningOfTheText) {
    struct Case {
        const char* Text;
        bool Signed;
        UINT Value;
        bool Read;
    };
    const Case cases[] = {
        {"12", true, 12, true},          {"  12 ", false, 12, true},
        {"12x", true, 12, true},         {"-7", true, static_cast<UINT>(-7), true},
        {"-7", false, 0, false},         {"", true, 0, false},
        {"x12", false, 0, false},        {"4294967295", false, 4294967295u, true},
        {"4294967296", false, 0, false}, {"2147483648", true, 0, false},
    };
    Open([&](machine::DialogUser&, HWND dialog) {
        for (const Case& test : cases) {
            SetDlgItemTextA(dialog, Edit, test.Text);
            BOOL read = 7;
            EXPECT_EQ(GetDlgItemInt(dialog, Edit, &read, test.Signed), test.Value) << test.Text;
            EXPECT_EQ(read, test.Read) << test.Text;
        }
        char text[4];
        EXPECT_EQ(GetDlgItemTextA(dialog, Edit, text, sizeof text), 3u);
        EXPECT_STREQ(text, "214");
    });
}

TEST(WindowCalls, AnotherThreadCanCloseTheDialog) {
    const INT_PTR result = Open([](machine::DialogUser& user, HWND) {
        std::thread([] { EXPECT_TRUE(machine::CloseDialog()); }).join();
        EXPECT_FALSE(user.Ended());
        user.Wait(0);
        EXPECT_TRUE(user.Ended());
        // Nothing has an effect on a dialog that has ended.
        heard.clear();
        EXPECT_FALSE(user.Click(Late));
        EXPECT_FALSE(user.Type(Edit, "x"));
        user.CloseBox();
        user.Wait(100);
        EXPECT_TRUE(heard.empty());
    });
    EXPECT_EQ(result, 5);
    EXPECT_FALSE(machine::CloseDialog());
}

TEST(WindowCalls, HandlesOfTheGoneFindNothing) {
    HWND dialog = nullptr, edit = nullptr;
    Open([&](machine::DialogUser& user, HWND handle) {
        dialog = handle;
        edit = GetDlgItem(handle, Edit);
        EXPECT_EQ(GetParent(edit), handle);
        EXPECT_EQ(GetDlgCtrlID(edit), Edit);
        EXPECT_EQ(user.Focus(), List);
        EnableWindow(GetDlgItem(handle, List), FALSE); // takes the focus from it
        EXPECT_EQ(user.Focus(), -1);
        EXPECT_EQ(GetFocus(), nullptr);
        user.Tab();
        EXPECT_EQ(user.Focus(), Edit);
        EXPECT_EQ(GetFocus(), edit);
    });
    RECT place;
    EXPECT_EQ(GetDlgItem(dialog, Edit), nullptr);
    EXPECT_FALSE(GetWindowRect(edit, &place));
    EXPECT_FALSE(PostMessageA(dialog, WM_CLOSE, 0, 0));
    EXPECT_EQ(GetDC(edit), nullptr);
    EXPECT_EQ(GetFocus(), nullptr);
    EXPECT_EQ(SetTimer(dialog, 1, 50, nullptr), 0u);
}

} // namespace
