// A control as a model: what it holds and how it answers messages. How it looks is the screen's
// business.
#pragma once

#include "platform/system/types.h"
#include "platform/ui/canvas.h"
#include "platform/ui/template.h"

#include <memory>
#include <string>
#include <vector>

namespace ui {

class Dialog;

enum class Kind {
    PushButton,
    CheckBox,
    RadioButton,
    GroupBox,
    Label,
    Frame,
    Icon,
    Edit,
    List, // closed, and dropping down to choose from
    Slider,
};

struct Box {
    int Left = 0, Top = 0, Width = 0, Height = 0; // pixels
    bool operator==(const Box&) const = default;
};

struct Item {
    std::string Text;
    LPARAM Data = 0;
    bool operator==(const Item&) const = default;
};

struct Control {
    Dialog* Owner = nullptr;
    HWND Handle = nullptr;
    int Id = -1;
    Kind What = Kind::Label;
    DWORD Style = 0;
    std::string Text;
    Box Place; // within the dialog
    bool Visible = true;
    bool Enabled = true;
    bool Checked = false;

    std::vector<Item> Items; // of a list
    int Selection = -1;      // -1 for none

    int Position = 0; // of a slider
    int Minimum = 0, Maximum = 100;
    int PageSize = 20;
    int TickEvery = 1;

    std::unique_ptr<Canvas> Picture; // null until something is drawn

    bool Is(Kind kind) const { return What == kind; }
    bool TakesFocus() const;
    bool TabStop() const;   // reached by the Tab key just now
    bool Reachable() const; // shown inside the dialog's area and enabled, so that a user can use it
    char Mnemonic() const;  // the letter behind '&' in its text, in lower case; 0 for none
};

Kind KindOf(const ControlTemplate& control);

// A message that the control itself answers. 0 for one that it does not know.
LRESULT Answer(Control& control, UINT message, WPARAM first, LPARAM second);

// In the order of sorted lists.
bool SortsBefore(const std::string& one, const std::string& other);
// The first entry behind start, round the end to the beginning, that begins with the text without
// regard to case; -1 for none. start -1 is before the first.
int FindEntry(const Control& list, int start, const std::string& text);

} // namespace ui
