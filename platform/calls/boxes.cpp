// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Message boxes. On the screen they are dialogs with an icon, a text and an OK button.
#include "platform/calls/dialogs.h"
#include "platform/machine/dialogs.h"
#include "platform/machine/power.h"
#include "platform/system/controls.h"

#include <algorithm>
#include <cstdio>
#include <mutex>
#include <utility>

namespace calls {

using device::Screen;
using machine::Box;

namespace {

std::mutex boxesLock;
std::vector<Box> boxes;
std::function<void(const Box&)> whileUp;
bool print = true;

const machine::AtPowerOn atPowerOn([] {
    const std::scoped_lock lock(boxesLock);
    boxes.clear();
    whileUp = nullptr;
    print = false;
});

INT_PTR CALLBACK BoxProc(HWND dialog, UINT message, WPARAM first, LPARAM) {
    if (message == WM_COMMAND) EndDialog(dialog, LOWORD(first));
    return message == WM_INITDIALOG || message == WM_COMMAND;
}

void Show(Screen& screen, const Box& box) {
    constexpr int margin = 7, iconSide = 20, textWidth = 200; // dialog units
    constexpr int buttonWidth = 50, buttonHeight = 14;
    const ui::Metrics look = screen.Measure();
    int width = textWidth * look.BaseX / 4, height = 0;
    screen.MeasureText(box.Text.c_str(), width, height);
    const bool icon = (box.Flags & MB_ICONEXCLAMATION) != 0;
    const int left = margin + (icon ? iconSide + margin : 0);
    const int wide = std::max((width + 6) * 4 / look.BaseX, 60);
    const int high = std::max((height + 4) * 8 / look.BaseY, icon ? iconSide : 8);
    const int drop = icon && high == iconSide ? (iconSide - height * 8 / look.BaseY) / 2 : 0;
    const int whole = left + wide + margin;
    const std::vector<ui::ControlTemplate> controls{
        {"OK", IDOK, "BUTTON", BS_DEFPUSHBUTTON | WS_VISIBLE, (whole - buttonWidth) / 2,
         2 * margin + high, buttonWidth, buttonHeight},
        {box.Text.c_str(), -1, "STATIC", SS_LEFT | WS_VISIBLE, left, margin + drop, wide, high},
        {"", -1, "STATIC", icon ? SS_ICON | WS_VISIBLE : SS_ICON, margin, margin, iconSide,
         iconSide}};
    const int tall = 3 * margin + high + buttonHeight;
    const ui::DialogTemplate form{0, box.Caption.c_str(), 0, 0, whole, tall, controls};
    ui::Dialog dialog(form, look, static_cast<HWND>(box.Owner), BoxProc);
    RunDialog(screen, dialog, 0);
}

} // namespace
} // namespace calls

namespace machine {

using namespace calls;

std::vector<Box> DrainBoxes() {
    const std::scoped_lock lock(boxesLock);
    return std::exchange(boxes, {});
}

void PrintBoxes(bool on) {
    const std::scoped_lock lock(boxesLock);
    print = on;
}

void WhileBoxIsUp(std::function<void(const Box&)> action) {
    const std::scoped_lock lock(boxesLock);
    whileUp = std::move(action);
}

} // namespace machine

namespace zorsystem {

int MessageBoxA(HWND owner, LPCSTR text, LPCSTR caption, UINT flags) {
    using namespace calls;
    // The system's own caption for a box without one.
    const Box box{owner, text ? text : "", caption ? caption : "Error", flags};
    Screen* screen = ScreenOfThisThread();
    std::function<void(const Box&)> action;
    {
        const std::scoped_lock lock(boxesLock);
        boxes.push_back(box);
        action = whileUp;
        if (print && !screen)
            std::fprintf(stderr, "%s: %s\n", box.Caption.c_str(), box.Text.c_str());
    }
    if (action) action(box);
    if (screen) Show(*screen, box);
    return IDOK;
}

} // namespace zorsystem
