// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The calls on dialogs, controls and message boxes, with a script as user.
#include "tests/support/dialog_user.h"
#include "tests/support/machine_test.h"

#include "platform/system/controls.h"
#include "platform/system/user.h"

namespace {

constexpr int List = 100, Slider = 101, Field = 102;
ui::Resources resources{{},
                        {{1,
                          "Form",
                          0,
                          0,
                          200,
                          100,
                          {{"", List, "COMBOBOX", CBS_SORT | WS_VISIBLE, 0, 0, 50, 50},
                           {"", Slider, "msctls_trackbar32", WS_VISIBLE, 0, 20, 50, 12},
                           {"", Field, "EDIT", WS_VISIBLE, 0, 40, 50, 12}}}}};

std::vector<std::pair<int, int>> commands; // id and code

INT_PTR CALLBACK Procedure(HWND dialog, UINT message, WPARAM first, LPARAM) {
    if (message != WM_COMMAND) return 0;
    commands.emplace_back(LOWORD(first), HIWORD(first));
    if (LOWORD(first) == IDCANCEL) EndDialog(dialog, 7);
    return 1;
}

INT_PTR Show(HWND parent, DialogScript script) {
    ScriptDialogs(std::move(script));
    return DialogBoxParamA(reinterpret_cast<HINSTANCE>(&resources), MAKEINTRESOURCEA(1), parent,
                           Procedure, 0);
}

TEST_F(MachineTest, AListKeepsItsChoiceAndASliderItsRange) {
    Show(nullptr, [](DialogUser& user) {
        const auto list = [&user](UINT message, LPARAM first, const char* text = "") {
            return SendDlgItemMessageA(user.Handle(), List, message, static_cast<WPARAM>(first),
                                       reinterpret_cast<LPARAM>(text));
        };
        list(CB_ADDSTRING, 0, "keys");
        list(CB_SETCURSEL, 0);
        EXPECT_EQ(list(CB_ADDSTRING, 0, "Synth"), 1);
        EXPECT_EQ(list(CB_GETCURSEL, 0), 0);
        EXPECT_EQ(list(CB_ADDSTRING, 0, "Alto"), 0); // before what is chosen
        EXPECT_EQ(user.Text(List), "keys");
        EXPECT_EQ(list(CB_ADDSTRING, 0, "alpine"), 0);
        const std::pair<LPARAM, LRESULT> found[] = {{-1, 0}, {0, 1}, {1, 0}, {9, 0}};
        for (const auto& [start, index] : found)
            EXPECT_EQ(list(CB_FINDSTRING, start, "AL"), index) << start;
        list(CB_RESETCONTENT, 0);
        EXPECT_EQ(list(CB_GETCURSEL, 0), CB_ERR);

        const auto slider = [&user](UINT message, LPARAM value) {
            return SendDlgItemMessageA(user.Handle(), Slider, message, 0, value);
        };
        slider(TBM_SETRANGEMAX, 1000);
        slider(TBM_SETPOS, 900);
        EXPECT_EQ(slider(TBM_GETPOS, 0), 900);
        slider(TBM_SETRANGEMAX, 500);
        EXPECT_EQ(slider(TBM_GETPOS, 0), 500);
    });
}

TEST_F(MachineTest, ClosingReportsTheLossOfFocusAndPostedMessagesComeInOrder) {
    std::vector<unsigned> came;
    void* const host = machine::CreateHostWindow(
        [&came](unsigned message, std::uintptr_t, std::intptr_t) { came.push_back(message); });
    commands.clear();
    const INT_PTR result = Show(static_cast<HWND>(host), [](DialogUser& user) {
        user.Type(Field, "64");
        for (const UINT number : {1u, 2u, 3u})
            PostMessageA(GetParent(user.Handle()), WM_USER + number, 0, 0);
        EXPECT_TRUE(machine::CloseDialog());
        user.Wait(0);
        EXPECT_TRUE(user.Ended());
    });
    EXPECT_EQ(result, 7);
    EXPECT_EQ(commands, (std::vector<std::pair<int, int>>{
                            {Field, EN_CHANGE}, {IDCANCEL, 0}, {Field, EN_KILLFOCUS}}));
    EXPECT_EQ(came, (std::vector<unsigned>{WM_USER + 1, WM_USER + 2, WM_USER + 3}));
    machine::DestroyHostWindow(host);
    EXPECT_FALSE(PostMessageA(static_cast<HWND>(host), WM_USER, 0, 0));
    EXPECT_FALSE(machine::CloseDialog()); // none is open
}

TEST_F(MachineTest, AfterPowerOnNoActionOfAnEarlierHostRunsInABox) {
    int ran = 0;
    machine::WhileBoxIsUp([&ran](const machine::Box&) { ++ran; });
    MessageBoxA(nullptr, "first", nullptr, MB_OK);
    PowerOn();
    MessageBoxA(nullptr, "second", nullptr, MB_OK);
    EXPECT_EQ(ran, 1);
    EXPECT_EQ(DrainBoxTexts(), std::vector<std::string>{"second"});
}

} // namespace
