// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The screen: opens the display, runs dialogs, and starts the volume program.
#include "platform/api/screen_back_end.h"
#include "platform/backends/fltk/look.h"
#include "platform/backends/fltk/window.h"
#include "platform/machine/clock.h"

#include <FL/Fl.H>
#include <FL/fl_draw.H>
#include <FL/x.H>
#include <algorithm>
#include <cstdlib>

namespace ui {
namespace {

constexpr int DialogPoints = 8;
constexpr double Forever = 1e20;

// The toolkit's lock, held by a thread while it shows a dialog.
class ToolkitLock {
public:
    ToolkitLock() { Fl::lock(); }
    ~ToolkitLock() { Fl::unlock(); }
};

// Seconds.
double TimeUntilTimer(const Dialog& dialog) {
    const std::uint64_t next = dialog.NextTimer(), now = machine::Microseconds();
    if (next == ~std::uint64_t{0}) return Forever;
    return next > now ? static_cast<double>(next - now) / 1e6 : 0;
}

// The volume programs of the common desktops, the most common first.
struct VolumeProgram {
    const char* Name;
    const char *Recording, *Playing; // arguments
};
constexpr VolumeProgram VolumePrograms[] = {
    {"pavucontrol", "--tab=4", "--tab=3"},
    {"pavucontrol-qt", "--tab=4", "--tab=3"},
    {"gnome-control-center", "sound", "sound"},
    {"systemsettings", "kcm_pulseaudio", "kcm_pulseaudio"},
    {"x-terminal-emulator", "-e alsamixer -V capture", "-e alsamixer"},
};

// Starts a program in the background. False if it is not installed.
bool Start(const std::string& program, const std::string& arguments) {
    const std::string quiet = " >/dev/null 2>&1";
    return std::system(("command -v " + program + quiet + " && { " + program + " " + arguments +
                        quiet + " & }")
                           .c_str()) == 0;
}

class DisplayScreen : public device::Screen {
public:
    DisplayScreen() {
        const ToolkitLock once; // enables Fl::awake, which Wake uses
    }
    Metrics Measure() override { return look::Measure(DialogPoints); }

    void MeasureText(const char* text, int& width, int& height) override {
        look::UseFont();
        fl_measure(text, width, height, 0);
    }

    void Run(Dialog& dialog) override {
        const ToolkitLock lock;
        Fl_Group::current(nullptr);
        DialogWindow window(dialog);
        window.Sync();
        window.show();
        while (!dialog.Ended) {
            dialog.Pump();
            window.Sync();
            if (!dialog.Ended) Fl::wait(TimeUntilTimer(dialog));
        }
        window.hide();
        Fl::flush();
    }

    void Wake() override { Fl::awake(); }

    bool OpenVolume(bool recording) override {
        return std::ranges::any_of(VolumePrograms, [recording](const VolumeProgram& each) {
            return Start(each.Name, recording ? each.Recording : each.Playing);
        });
    }
};

} // namespace
} // namespace ui

device::Screen* OpenZorScreen(std::string& reason) {
    // Tried first without the toolkit, which ends the process if no display can be opened.
    Display* display = XOpenDisplay(nullptr);
    if (!display) {
        const char* name = std::getenv("DISPLAY");
        reason = name && *name ? std::string("No display answers at \"") + name + "\"."
                               : std::string("There is no display: DISPLAY is not set.");
        return nullptr;
    }
    XCloseDisplay(display);
    fl_open_display();
    static ui::DisplayScreen screen;
    return &screen;
}
