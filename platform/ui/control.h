// A control as a model: what it holds and how it answers messages. How it looks is the screen's
// business.
#pragma once

#include "platform/system/gdi.h"
#include "platform/ui/template.h"

#include <string>
#include <vector>

namespace ui {

class Dialog;

enum class Kind {
    PushButton,
    CheckBox,
    RadioButton,
    Edit,
    List, // closed, and dropping down to choose from
    Slider,
    GroupBox, // nobody works on this and the next ones
    Label,
    Frame,
    Icon,
};
enum class Align { Left, Centre, Right };

struct Box {
    int Left = 0, Top = 0, Width = 0, Height = 0; // pixels
    bool operator==(const Box&) const = default;
};

struct Item {
    std::string Text;
    LPARAM Data = 0;
    bool operator==(const Item&) const = default;
};

// What dialogs stand on.
constexpr COLORREF FaceColour = 0x00F0F0F0;

// What a program has drawn into a control.
struct Canvas {
    // A pixel that nobody has drawn shows what the control itself looks like there.
    static constexpr COLORREF Untouched = 0xFFFFFFFF;

    Canvas() = default;
    Canvas(int width, int height);
    // Clipped to the canvas; right and bottom lie outside. An empty area fills nothing.
    void Fill(int left, int top, int right, int bottom, COLORREF colour);
    bool operator==(const Canvas&) const = default;

    int Width = 0, Height = 0;    // 0 until something is drawn
    std::vector<COLORREF> Pixels; // row by row from the top, 0x00BBGGRR
};

struct Control {
    Dialog* Owner = nullptr;
    HWND Handle = nullptr;
    int Id = -1;
    Kind What = Kind::Label;
    Align Side = Align::Left; // of a label
    bool Default = false;     // the push button that Enter means
    bool Sorted = false;      // the list keeps its entries in order
    std::string Text;
    Box Place; // within the dialog
    bool Visible = true;
    bool Enabled = true;
    bool Checked = false;

    std::vector<Item> Items; // of a list
    int Selection = -1;      // -1 for none
    bool Dropped = false;    // its entries are shown to choose from

    int Position = 0; // of a slider, whose minimum is at the top
    int Minimum = 0, Maximum = 100;
    int TickEvery = 1;

    Canvas Picture;

    bool operator==(const Control&) const = default;
    bool Is(Kind kind) const { return What == kind; }
    bool TakesFocus() const { return What < Kind::GroupBox; }
    bool TabStop() const; // reached by the Tab key just now; of radio buttons only the checked one
    bool Reachable() const; // shown inside the dialog's area and enabled, so that a user can use it
};

// Everything of it but its owner, its handle and its place.
Control FromTemplate(const ControlTemplate& form);

// A message that the control itself answers. 0 for one that it does not know.
LRESULT Answer(Control& control, UINT message, WPARAM first, LPARAM second);

// The first entry behind start, round the end to the beginning, that begins with the text without
// regard to case; -1 for none. start -1 is before the first.
int FindEntry(const Control& list, int start, const std::string& text);

} // namespace ui
