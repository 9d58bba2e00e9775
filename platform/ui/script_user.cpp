// The user that a script plays.
#include "platform/machine/clock.h"
#include "platform/ui/dialog.h"
#include "platform/ui/handles.h"
#include "platform/virtual/dialogs.h"

#include <algorithm>
#include <chrono>
#include <thread>

namespace machine {
namespace {

ui::Key KeyOf(DialogUser::Arrow arrow) {
    switch (arrow) {
    case DialogUser::Arrow::Up:
        return ui::Key::Up;
    case DialogUser::Arrow::Down:
        return ui::Key::Down;
    case DialogUser::Arrow::Left:
        return ui::Key::Left;
    case DialogUser::Arrow::Right:
        return ui::Key::Right;
    case DialogUser::Arrow::Home:
        return ui::Key::Home;
    case DialogUser::Arrow::End:
        return ui::Key::End;
    case DialogUser::Arrow::PageUp:
        return ui::Key::PageUp;
    case DialogUser::Arrow::PageDown:
        break;
    }
    return ui::Key::PageDown;
}

bool Deliver(bool done) {
    ui::DispatchPosted();
    return done;
}

void LetPass(std::uint64_t microseconds) {
    if (ClockIsStepped())
        Advance(static_cast<std::uint32_t>((microseconds + 999) / 1000));
    else
        std::this_thread::sleep_for(std::chrono::microseconds(microseconds));
}

} // namespace

HWND DialogUser::Handle() const { return At.Handle; }
int DialogUser::Resource() const { return At.Resource; }
std::string DialogUser::Title() const { return At.Title; }
bool DialogUser::Ended() const { return At.Ended; }
int DialogUser::Width() const { return At.Place.Width; }
int DialogUser::Height() const { return At.Place.Height; }
int DialogUser::Focus() const { return At.Focus ? At.Focus->Id : -1; }

ui::Control* DialogUser::Find(int id) const { return At.Find(id); }

ui::Control* DialogUser::Reach(int id) const {
    ui::Control* control = Find(id);
    return control && !At.Ended && control->Reachable() ? control : nullptr;
}

bool DialogUser::Shown(int id) const {
    const ui::Control* control = Find(id);
    return control && control->Visible && control->Place.Left < At.Place.Width &&
           control->Place.Top < At.Place.Height;
}

bool DialogUser::Enabled(int id) const {
    const ui::Control* control = Find(id);
    return control && control->Enabled;
}

bool DialogUser::Checked(int id) const {
    const ui::Control* control = Find(id);
    return control && control->Checked;
}

std::string DialogUser::Text(int id) const {
    const ui::Control* control = Find(id);
    if (!control) return {};
    if (!control->Is(ui::Kind::List)) return control->Text;
    return control->Selection < 0
               ? std::string()
               : control->Items[static_cast<std::size_t>(control->Selection)].Text;
}

std::vector<std::string> DialogUser::Items(int id) const {
    std::vector<std::string> texts;
    if (const ui::Control* control = Find(id))
        for (const ui::Item& item : control->Items) texts.push_back(item.Text);
    return texts;
}

std::intptr_t DialogUser::ItemData(int id, int index) const {
    const ui::Control* control = Find(id);
    const auto at = static_cast<std::size_t>(index);
    return control && at < control->Items.size() ? control->Items[at].Data : -1;
}

int DialogUser::Selection(int id) const {
    const ui::Control* control = Find(id);
    return control ? control->Selection : -1;
}

int DialogUser::Position(int id) const {
    const ui::Control* control = Find(id);
    return control ? control->Position : 0;
}

DialogUser::Place DialogUser::Where(int id) const {
    const ui::Control* control = Find(id);
    if (!control) return {};
    const ui::Box& box = control->Place;
    return {box.Left, box.Top, box.Width, box.Height};
}

std::vector<std::uint32_t> DialogUser::Pixels(int id) const {
    const ui::Control* control = Find(id);
    return control && control->Picture ? control->Picture->Pixels : std::vector<std::uint32_t>();
}

bool DialogUser::Click(int id) {
    ui::Control* control = Reach(id);
    if (control) At.Click(*control);
    return Deliver(control != nullptr);
}

bool DialogUser::Type(int id, const std::string& text) {
    ui::Control* control = Reach(id);
    if (!control || !control->Is(ui::Kind::Edit)) return false;
    At.MoveFocus(control);
    At.Type(*control, text);
    return Deliver(true);
}

bool DialogUser::Select(int id, int index) {
    ui::Control* control = Reach(id);
    if (!control || index < 0 || index >= static_cast<int>(control->Items.size())) return false;
    At.MoveFocus(control);
    At.Choose(*control, index);
    return Deliver(true);
}

bool DialogUser::Select(int id, const std::string& entry) {
    const std::vector<std::string> items = Items(id);
    const auto found = std::ranges::find(items, entry);
    return found != items.end() && Select(id, static_cast<int>(found - items.begin()));
}

bool DialogUser::Slide(int id, int position) {
    ui::Control* control = Reach(id);
    if (!control || !control->Is(ui::Kind::Slider)) return false;
    At.MoveFocus(control);
    At.Slide(*control, position);
    return Deliver(true);
}

bool DialogUser::Wheel(int id, int notches) {
    ui::Control* control = Reach(id);
    if (control) At.Wheel(*control, notches);
    return Deliver(control != nullptr);
}

bool DialogUser::Tab(bool backward) { return Deliver(At.Press({ui::Key::Tab, backward})); }
bool DialogUser::Enter() { return Deliver(At.Press({ui::Key::Enter})); }
bool DialogUser::Escape() { return Deliver(At.Press({ui::Key::Escape})); }
bool DialogUser::Space() { return Deliver(At.Press({ui::Key::Space})); }
bool DialogUser::Press(Arrow key) { return Deliver(At.Press({KeyOf(key)})); }
bool DialogUser::Letter(char letter, bool alt) { return Deliver(At.PressLetter(letter, alt)); }

void DialogUser::CloseBox() {
    if (!At.Ended) At.CloseBox();
    ui::DispatchPosted();
}

void DialogUser::Wait(std::uint32_t milliseconds) {
    const std::uint64_t end = Microseconds() + std::uint64_t{milliseconds} * 1000;
    for (;;) {
        ui::DispatchPosted();
        At.RunTimers();
        const std::uint64_t now = Microseconds();
        if (At.Ended || now >= end) return;
        LetPass(std::min(end, std::max(At.NextTimer(), now + 1)) - now);
    }
}

} // namespace machine
