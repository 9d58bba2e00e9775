#include "tests/support/dialog_user.h"

#include "platform/api/screen.h"
#include "platform/machine.h"
#include "platform/ui/windows.h"

#include <algorithm>
#include <utility>

namespace {

class ScriptScreen : public device::Screen {
public:
    ui::Metrics Measure() override { return {}; }
    void MeasureText(const char*, int&, int&) override {}
    void Run(ui::Dialog& dialog) override {
        DialogUser user(dialog);
        if (dialog.Resource != 0) Script(user);
        user.Escape();
        if (!dialog.Ended) dialog.End(0);
    }
    void Wake() override {}
    bool OpenVolume(bool recording) override {
        Programs.push_back(recording);
        return true;
    }
    DialogScript Script;
    std::vector<bool> Programs;
};
ScriptScreen screen;

} // namespace

// Of a control that is not there: one of its own, of which nothing is known.
ui::Control& DialogUser::The(int id) const {
    static ui::Control none;
    none = {};
    none.Visible = none.Enabled = false;
    ui::Control* control = At.Find(id);
    return control ? *control : none;
}

ui::Control* DialogUser::Reach(int id) const {
    ui::Control& control = The(id);
    return !At.Ended && control.Owner && control.Reachable() ? &control : nullptr;
}

bool DialogUser::Shown(int id) const {
    const ui::Control& control = The(id);
    return control.Visible && control.Place.Left < At.Place.Width &&
           control.Place.Top < At.Place.Height;
}

std::string DialogUser::Text(int id) const {
    const ui::Control& control = The(id);
    if (!control.Is(ui::Kind::List)) return control.Text;
    return control.Selection < 0 ? "" : Items(id).at(static_cast<std::size_t>(control.Selection));
}

std::vector<std::string> DialogUser::Items(int id) const {
    std::vector<std::string> texts;
    for (const ui::Item& item : The(id).Items) texts.push_back(item.Text);
    return texts;
}

// The user's hands are where he works.
bool DialogUser::Do(int id, const std::function<void(ui::Control&)>& action) {
    ui::Control* control = Reach(id);
    if (!control) return false;
    At.MoveFocus(control);
    action(*control);
    ui::DispatchPosted();
    return true;
}

bool DialogUser::Click(int id) {
    return Do(id, [this](ui::Control& button) { At.Click(button); });
}

bool DialogUser::Type(int id, const std::string& text) {
    return Do(id, [&](ui::Control& edit) { At.Type(edit, text); });
}

bool DialogUser::Select(int id, int index) {
    return Do(id, [&](ui::Control& list) { At.Choose(list, index); });
}

bool DialogUser::Select(int id, const std::string& entry) {
    const std::vector<std::string> items = Items(id);
    const auto found = std::ranges::find(items, entry);
    return found != items.end() && Select(id, static_cast<int>(found - items.begin()));
}

bool DialogUser::Slide(int id, int position) {
    return Do(id, [&](ui::Control& slider) { At.Slide(slider, position); });
}

void DialogUser::Escape() {
    At.Close();
    ui::DispatchPosted();
}

void DialogUser::Wait(std::uint32_t milliseconds) {
    const std::uint64_t end = machine::Microseconds() + std::uint64_t{milliseconds} * 1000;
    for (;;) {
        At.Pump();
        const std::uint64_t now = machine::Microseconds();
        if (At.Ended || now >= end) return;
        const std::uint64_t next = std::clamp(At.NextTimer(), now + 1, end);
        machine::Advance(static_cast<std::uint32_t>((next - now + 999) / 1000));
    }
}

void ScriptDialogs(DialogScript script) {
    screen.Script = std::move(script);
    device::UseScreen(screen.Script ? &screen : nullptr);
}

std::vector<bool> TakeVolumePrograms() { return std::exchange(screen.Programs, {}); }
