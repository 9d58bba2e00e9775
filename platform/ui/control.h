// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The model of a control: its state, and its answers to messages. A screen (api/screen.h) draws it.
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
    GroupBox, // this and the next ones take no input
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

// The background of dialogs.
constexpr COLORREF FaceColour = 0x00F0F0F0;

// The picture that a program has drawn into a control.
struct Canvas {
    // A pixel that has not been drawn; the control shows through.
    static constexpr COLORREF Untouched = 0xFFFFFFFF;

    Canvas() = default;
    Canvas(int width, int height);
    // Clipped to the canvas; right and bottom are exclusive. An empty area has no effect.
    void Fill(int left, int top, int right, int bottom, COLORREF colour);
    bool operator==(const Canvas&) const = default;

    int Width = 0, Height = 0;    // 0 until something is drawn
    std::vector<COLORREF> Pixels; // row by row from the top, 0x00BBGGRR
};

struct Control {
    Dialog* Owner = nullptr;
    HWND Handle = nullptr;
    int Id = -1;
    Kind Type = Kind::Label;
    Align Alignment = Align::Left; // of a label
    bool Default = false;          // the push button that Enter presses
    bool Sorted = false;           // the list sorts its entries
    std::string Text;
    Box Place; // within the dialog
    bool Visible = true;
    bool Enabled = true;
    bool Checked = false;

    std::vector<Item> Items; // of a list
    int Selection = -1;      // -1 for none
    bool Dropped = false;    // the list is dropped down

    int Position = 0; // of a slider, whose minimum is at the top
    int Minimum = 0, Maximum = 100;
    int TickInterval = 1;

    Canvas Picture;

    bool operator==(const Control&) const = default;
    bool Is(Kind kind) const { return Type == kind; }
    bool TakesFocus() const { return Type < Kind::GroupBox; }
    bool TabStop() const;   // reached by the Tab key now; of radio buttons only the checked one
    bool Reachable() const; // visible inside the dialog's area and enabled
};

// A control with all but its owner, handle and place set.
Control FromTemplate(const ControlTemplate& form);

// The control's own answer to a message; 0 for messages that it does not know.
LRESULT Answer(Control& control, UINT message, WPARAM first, LPARAM second);

// The first entry after start, wrapping at the end, that begins with the text, ignoring case; -1
// for none. start -1 is before the first.
int FindEntry(const Control& list, int start, const std::string& text);

} // namespace ui
