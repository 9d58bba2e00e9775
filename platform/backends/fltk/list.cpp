#include "platform/backends/fltk/widgets.h"

#include <FL/Fl_Group.H>
#include <FL/Fl_Menu_.H>
#include <algorithm>
#include <vector>

namespace ui {
namespace {

// Device names are no markup.
std::string Escaped(const std::string& text) {
    std::string plain;
    for (const char c : text) {
        if (c == '&' || c == '@') plain += c;
        plain += c;
    }
    return plain;
}

constexpr double PumpEvery = 0.05; // seconds, while a list is down
void PumpDialog(void* dialog) {
    static_cast<Dialog*>(dialog)->Pump();
    Fl::repeat_timeout(PumpEvery, &PumpDialog, dialog);
}

// A closed list. As a menu it only lends its style to the one that drops down.
class List : public Worked<Fl_Menu_> {
public:
    List(Control& control, const std::string& caption) : Worked(control, caption) {
        box(FL_BORDER_BOX);
        color(FL_WHITE);
        selection_color(look::Accent);
        textsize(look::FontPixels());
    }
    int handle(int event) override {
        const int taken = Worked::handle(event);
        if (event == FL_PUSH && taken == 0 && Focused()) return DropDown();
        if (event == FL_SHORTCUT && Fl_Widget::test_shortcut()) return take_focus();
        if (event == FL_KEYBOARD) return taken || TakeKey();
        // A list that the wheel happens to pass over must not change.
        if (event == FL_MOUSEWHEEL && Focused()) return ChooseNear(Fl::event_dy());
        return taken;
    }
    void draw() override {
        look::Picture picture(w(), h());
        picture.Panel(Focused(), Paper(), Border(Lit()));
        DrawArrow(picture);
        picture.Draw(x(), y());
        if (Of.Selection < 0) return;
        const int pad = look::Scaled(6);
        look::DrawPlain(Of.Items[static_cast<std::size_t>(Of.Selection)].Text,
                        {x() + pad, y(), w() - pad - ArrowRoom(), h()}, Ink());
    }

private:
    static int ArrowRoom() { return look::Scaled(20); }
    void DrawArrow(look::Picture& picture) const {
        const double line = look::Line(), unit = look::Scaled(4), mid = h() / 2.0;
        const double at = w() - ArrowRoom() / 2.0 - line;
        picture.Stroke(at - unit, mid - unit / 2, at, mid + unit / 2, 1.5 * line, Ink());
        picture.Stroke(at, mid + unit / 2, at + unit, mid - unit / 2, 1.5 * line, Ink());
    }
    int ChooseNear(int steps) {
        const int last = static_cast<int>(Of.Items.size()) - 1;
        In.Choose(Of, std::clamp(Of.Selection + steps, 0, std::max(last, 0)));
        return 1;
    }
    int TakeKey() {
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
        In.Choose(Of, FindEntry(Of, Of.Selection, Fl::event_text())); // the next with this letter
        return 1;
    }
    int DropDown() {
        if (Of.Items.empty()) return 1;
        std::vector<std::string> texts;
        for (const Item& item : Of.Items) texts.push_back(Escaped(item.Text));
        std::vector<Fl_Menu_Item> entries(texts.size() + 1, Fl_Menu_Item{});
        for (std::size_t row = 0; row < texts.size(); ++row) {
            entries[row].text = texts[row].c_str();
            entries[row].labelsize_ = look::FontPixels();
        }
        const Fl_Menu_Item* present = Of.Selection < 0 ? nullptr : &entries[0] + Of.Selection;
        Fl_Group::current(nullptr);
        Fl::add_timeout(PumpEvery, &PumpDialog, &In);
        Of.Dropped = true;
        const Fl_Menu_Item* chosen = entries[0].pulldown(x(), y(), w(), h(), present, this);
        Of.Dropped = false;
        Fl::remove_timeout(&PumpDialog, &In);
        if (chosen) In.Choose(Of, static_cast<int>(chosen - &entries[0]));
        return 1;
    }
};

} // namespace

Fl_Widget* NewList(Control& control, const std::string& caption) {
    return new List(control, caption);
}

} // namespace ui
