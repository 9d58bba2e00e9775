#include "platform/resource_tables.h"

#include "platform/platform.h"

namespace {

constexpr machine::StringResource Strings[] = {
#define STRING(id, text) {id, text},
#include "resources/strings.inc"
#undef STRING
};

// As the resource compiler does, every control is a visible child unless it is told hidden, and a
// dialog with a font says so in its style.
#define ITEM(text, id, class, style, x, y, w, h)                                                   \
    {text, id, class, (style) | WS_CHILD | WS_VISIBLE, x, y, w, h},
#define HIDDEN(text, id, class, style, x, y, w, h)                                                 \
    {text, id, class, (style) | WS_CHILD, x, y, w, h},
#define DIALOG(id, caption, style, x, y, w, h, points, font)
#define END_DIALOG
constexpr ui::ControlTemplate MidiSetupControls[] = {
#include "resources/midi_setup.inc"
};
constexpr ui::ControlTemplate TonequillControls[] = {
#include "resources/tonequill.inc"
};
#undef ITEM
#undef HIDDEN
#undef DIALOG
#undef END_DIALOG

#define ITEM(text, id, class, style, x, y, w, h)
#define HIDDEN(text, id, class, style, x, y, w, h)
#define DIALOG(id, caption, style, x, y, w, h, points, font)                                       \
    {                                                                                              \
        id, caption, (style) | DS_SETFONT, x, y, w, h, points, font,
constexpr ui::DialogTemplate Dialogs[] = {
#define END_DIALOG                                                                                 \
    MidiSetupControls                                                                              \
    }                                                                                              \
    ,
#include "resources/midi_setup.inc"
#undef END_DIALOG
#define END_DIALOG                                                                                 \
    TonequillControls                                                                              \
    }                                                                                              \
    ,
#include "resources/tonequill.inc"
#undef END_DIALOG
};

} // namespace

const machine::Resources ModuleResources = {Strings, Dialogs};
