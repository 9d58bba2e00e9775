#include "platform/ui/fltk/keys.h"

#include <FL/Fl.H>
#include <optional>

namespace ui {
namespace {

// Keys that a dialog takes even from a field.
std::optional<KeyPress> DialogKey(int key) {
    const bool shift = Fl::event_shift() != 0;
    switch (key) {
    case FL_Tab:
        return KeyPress{Key::Tab, shift};
    case FL_Enter:
    case FL_KP_Enter:
        return KeyPress{Key::Enter};
    case FL_Escape:
        return KeyPress{Key::Escape};
    default:
        return std::nullopt;
    }
}

std::optional<KeyPress> ControlKey(int key) {
    switch (key) {
    case ' ':
        return KeyPress{Key::Space};
    case FL_Up:
        return KeyPress{Key::Up};
    case FL_Down:
        return KeyPress{Key::Down};
    case FL_Left:
        return KeyPress{Key::Left};
    case FL_Right:
        return KeyPress{Key::Right};
    case FL_Home:
        return KeyPress{Key::Home};
    case FL_End:
        return KeyPress{Key::End};
    case FL_Page_Up:
        return KeyPress{Key::PageUp};
    case FL_Page_Down:
        return KeyPress{Key::PageDown};
    default:
        return std::nullopt;
    }
}

} // namespace

bool TakeKey(Dialog& dialog, const Control* focus) {
    const int key = Fl::event_key();
    const bool alt = Fl::event_alt() != 0;
    if (const auto press = DialogKey(key); press && !alt) return dialog.Press(*press);
    if (alt) return key > ' ' && key < 0x7F && dialog.PressLetter(static_cast<char>(key), true);
    if (Fl::event_ctrl() || (focus && focus->Is(Kind::Edit))) return false;
    if (const auto press = ControlKey(key)) return dialog.Press(*press);
    return Fl::event_length() == 1 && dialog.PressLetter(Fl::event_text()[0], false);
}

bool OpensList() {
    const int key = Fl::event_key();
    if (key == FL_F + 4 || (key == ' ' && !Fl::event_alt())) return true;
    return Fl::event_alt() && (key == FL_Down || key == FL_Up);
}

} // namespace ui
