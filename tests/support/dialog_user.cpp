// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

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

// An invisible control if the dialog has none of this id.
ui::Control& DialogUser::Control(int id) const {
    static ui::Control none;
    none = {};
    none.Visible = none.Enabled = false;
    ui::Control* control = Target.Find(id);
    return control ? *control : none;
}

ui::Control* DialogUser::FindUsable(int id) const {
    ui::Control& control = Control(id);
    return !Target.Ended && control.Owner && control.Reachable() ? &control : nullptr;
}

bool DialogUser::Shown(int id) const {
    const ui::Control& control = Control(id);
    return control.Visible && control.Place.Left < Target.Place.Width &&
           control.Place.Top < Target.Place.Height;
}

std::string DialogUser::Text(int id) const {
    const ui::Control& control = Control(id);
    if (!control.Is(ui::Kind::List)) return control.Text;
    return control.Selection < 0 ? "" : Items(id).at(static_cast<std::size_t>(control.Selection));
}

std::vector<std::string> DialogUser::Items(int id) const {
    std::vector<std::string> texts;
    for (const ui::Item& item : Control(id).Items) texts.push_back(item.Text);
    return texts;
}

// The control gets the focus first.
bool DialogUser::Act(int id, const std::function<void(ui::Control&)>& action) {
    ui::Control* control = FindUsable(id);
    if (!control) return false;
    Target.MoveFocus(control);
    action(*control);
    ui::DispatchPosted();
    return true;
}

bool DialogUser::Click(int id) {
    return Act(id, [this](ui::Control& button) { Target.Click(button); });
}

bool DialogUser::Type(int id, const std::string& text) {
    return Act(id, [&](ui::Control& edit) { Target.Type(edit, text); });
}

bool DialogUser::Select(int id, int index) {
    return Act(id, [&](ui::Control& list) { Target.Choose(list, index); });
}

bool DialogUser::Select(int id, const std::string& entry) {
    const std::vector<std::string> items = Items(id);
    const auto found = std::ranges::find(items, entry);
    return found != items.end() && Select(id, static_cast<int>(found - items.begin()));
}

bool DialogUser::Slide(int id, int position) {
    return Act(id, [&](ui::Control& slider) { Target.Slide(slider, position); });
}

void DialogUser::Escape() {
    Target.Close();
    ui::DispatchPosted();
}

void DialogUser::Wait(std::uint32_t milliseconds) {
    const std::uint64_t end = machine::Microseconds() + std::uint64_t{milliseconds} * 1000;
    for (;;) {
        Target.Pump();
        const std::uint64_t now = machine::Microseconds();
        if (Target.Ended || now >= end) return;
        const std::uint64_t next = std::clamp(Target.NextTimer(), now + 1, end);
        machine::Advance(static_cast<std::uint32_t>((next - now + 999) / 1000));
    }
}

void ScriptDialogs(DialogScript script) {
    screen.Script = std::move(script);
    device::UseScreen(screen.Script ? &screen : nullptr);
}

std::vector<bool> DrainVolumePrograms() { return std::exchange(screen.Programs, {}); }
