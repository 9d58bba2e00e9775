// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "platform/backends/fltk/widgets.h"

#include <FL/Fl_Group.H>
#include <FL/Fl_Menu_.H>
#include <algorithm>
#include <vector>

namespace ui {
namespace {

// Doubles the characters that the toolkit's menus interpret.
std::string Escaped(const std::string& text) {
    std::string plain;
    for (const char c : text) {
        if (c == '&' || c == '@') plain += c;
        plain += c;
    }
    return plain;
}

constexpr double PumpInterval = 0.05; // seconds, while a list is dropped down
void PumpDialog(void* dialog) {
    static_cast<Dialog*>(dialog)->Pump();
    Fl::repeat_timeout(PumpInterval, &PumpDialog, dialog);
}

// A drop-down list. Its base is a menu, whose style the dropped-down menu uses.
class List : public InputWidget<Fl_Menu_> {
public:
    List(Control& control, const std::string& caption) : InputWidget(control, caption) {
        box(FL_BORDER_BOX);
        color(FL_WHITE);
        selection_color(look::Accent);
        textsize(look::FontPixels());
    }
    int handle(int event) override {
        const int handled = InputWidget::handle(event);
        if (event == FL_PUSH && handled == 0 && Focused()) return DropDown();
        if (event == FL_SHORTCUT && Fl_Widget::test_shortcut()) return take_focus();
        if (event == FL_KEYBOARD) return handled || HandleKey();
        // Only with the focus, so that scrolling past a list does not change it.
        if (event == FL_MOUSEWHEEL && Focused()) return ChooseNear(Fl::event_dy());
        return handled;
    }
    void draw() override {
        look::Picture picture(w(), h());
        picture.Panel(Focused(), Paper(), Border(Lit()));
        DrawArrow(picture);
        picture.Draw(x(), y());
        if (Model.Selection < 0) return;
        const int pad = look::Scaled(6);
        look::DrawPlain(Model.Items[static_cast<std::size_t>(Model.Selection)].Text,
                        {x() + pad, y(), w() - pad - ArrowRoom(), h()}, Ink());
    }

private:
    static int ArrowRoom() { return look::Scaled(20); }
    void DrawArrow(look::Picture& picture) const {
        const double line = look::Line(), unit = look::Scaled(4), mid = h() / 2.0;
        const double centre = w() - ArrowRoom() / 2.0 - line;
        picture.Stroke(centre - unit, mid - unit / 2, centre, mid + unit / 2, 1.5 * line, Ink());
        picture.Stroke(centre, mid + unit / 2, centre + unit, mid - unit / 2, 1.5 * line, Ink());
    }
    int ChooseNear(int steps) {
        const int last = static_cast<int>(Model.Items.size()) - 1;
        Owner.Choose(Model, std::clamp(Model.Selection + steps, 0, std::max(last, 0)));
        return 1;
    }
    int HandleKey() {
        constexpr int page = 5, all = 1 << 20;
        const int key = Fl::event_key();
        const bool alt = Fl::event_alt() != 0;
        if (key == FL_F + 4 || (key == ' ' && !alt) || (alt && (key == FL_Down || key == FL_Up)))
            return DropDown();
        if (alt || Fl::event_ctrl()) return 0;
        if (key == FL_Up || key == FL_Left) return ChooseNear(-1);
        if (key == FL_Down || key == FL_Right) return ChooseNear(1);
        if (key == FL_Page_Up) return ChooseNear(-page);
        if (key == FL_Page_Down) return ChooseNear(page);
        if (key == FL_Home) return ChooseNear(-all);
        if (key == FL_End) return ChooseNear(all);
        if (key <= ' ' || key > '~') return 0;
        Owner.Choose(Model, FindEntry(Model, Model.Selection,
                                      Fl::event_text())); // the next entry that begins with it
        return 1;
    }
    int DropDown() {
        if (Model.Items.empty()) return 1;
        std::vector<std::string> texts;
        for (const Item& item : Model.Items) texts.push_back(Escaped(item.Text));
        std::vector<Fl_Menu_Item> entries(texts.size() + 1, Fl_Menu_Item{});
        for (std::size_t row = 0; row < texts.size(); ++row) {
            entries[row].text = texts[row].c_str();
            entries[row].labelsize_ = look::FontPixels();
        }
        const Fl_Menu_Item* present = Model.Selection < 0 ? nullptr : &entries[0] + Model.Selection;
        Fl_Group::current(nullptr);
        Fl::add_timeout(PumpInterval, &PumpDialog, &Owner);
        Model.Dropped = true;
        const Fl_Menu_Item* chosen = entries[0].pulldown(x(), y(), w(), h(), present, this);
        Model.Dropped = false;
        Fl::remove_timeout(&PumpDialog, &Owner);
        if (chosen) Owner.Choose(Model, static_cast<int>(chosen - &entries[0]));
        return 1;
    }
};

} // namespace

Fl_Widget* NewList(Control& control, const std::string& caption) {
    return new List(control, caption);
}

} // namespace ui
