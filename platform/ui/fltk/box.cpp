#include "platform/ui/fltk/box.h"

#include "platform/system/controls.h"
#include "platform/ui/fltk/look.h"

#include <FL/fl_draw.H>
#include <algorithm>

namespace ui {
namespace {

constexpr int Margin = 7, IconSide = 20, TextWidth = 200; // dialog units
constexpr int ButtonWidth = 50, ButtonHeight = 14;

INT_PTR CALLBACK BoxProc(HWND dialog, UINT message, WPARAM first, LPARAM) {
    if (message == WM_INITDIALOG) return 1;
    if (message != WM_COMMAND) return 0;
    EndDialog(dialog, LOWORD(first));
    return 1;
}

} // namespace

int RunBox(Screen& screen, HWND owner, const char* text, const char* caption, UINT flags) {
    const Metrics look = screen.Measure();
    look::UseFont();
    int width = TextWidth * look.BaseX / 4, height = 0;
    fl_measure(text, width, height, 0);
    const bool icon = (flags & MB_ICONEXCLAMATION) != 0;
    const int left = Margin + (icon ? IconSide + Margin : 0);
    const int wide = std::max((width + 6) * 4 / look.BaseX, 60);
    const int high = std::max((height + 4) * 8 / look.BaseY, icon ? IconSide : 8);
    const int textTop =
        icon && high == IconSide ? Margin + (IconSide - height * 8 / look.BaseY) / 2 : Margin;
    const int whole = left + wide + Margin;
    const ControlTemplate controls[] = {
        {"OK", IDOK, "BUTTON", BS_DEFPUSHBUTTON | WS_TABSTOP | WS_VISIBLE,
         (whole - ButtonWidth) / 2, 2 * Margin + high, ButtonWidth, ButtonHeight},
        {text, -1, "STATIC", SS_LEFT | WS_VISIBLE, left, textTop, wide, high},
        {"", -1, "STATIC", icon ? SS_ICON | WS_VISIBLE : SS_ICON, Margin, Margin, IconSide,
         IconSide},
    };
    const DialogTemplate form = {0, caption, 0,       0, 0, whole, 3 * Margin + high + ButtonHeight,
                                 8, "",      controls};
    Dialog box(form, look, owner, BoxProc);
    box.Start(0);
    screen.Run(box);
    return IDOK;
}

} // namespace ui
