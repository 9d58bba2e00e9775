// The screen of this system's displays.
#include "platform/ui/screen.h"

#include "platform/machine/clock.h"
#include "platform/system/controls.h"
#include "platform/ui/fltk/box.h"
#include "platform/ui/fltk/look.h"
#include "platform/ui/fltk/window.h"

#include <FL/Fl.H>
#include <FL/x.H>
#include <algorithm>
#include <cstdlib>

namespace ui {
namespace {

constexpr int DialogPoints = 8;
constexpr double Forever = 1e20;

class DisplayScreen : public Screen {
public:
    DisplayScreen() {
        // Taken once, the lock lets Wake reach a waiting thread.
        Fl::lock();
        Fl::unlock();
        Fl::visible_focus(0); // every control shows its own
        Fl::background(0xF0, 0xF0, 0xF0);
    }
    Metrics Measure() override { return look::Measure(DialogPoints); }

    void Run(Dialog& dialog) override {
        const Locked locked;
        Fl_Group::current(nullptr);
        DialogWindow window(dialog);
        window.show();
        while (!dialog.Ended) {
            window.Pump();
            if (!dialog.Ended) Fl::wait(UntilNext(dialog));
        }
        window.hide();
        Fl::flush();
    }

    void Wake() override { Fl::awake(); }

    int ShowBox(HWND owner, const char* text, const char* caption, UINT flags) override {
        return RunBox(*this, owner, text, caption, flags);
    }

private:
    // The toolkit is the dialog's thread's for as long as it shows one.
    struct Locked {
        Locked() { Fl::lock(); }
        ~Locked() { Fl::unlock(); }
        Locked(const Locked&) = delete;
        Locked& operator=(const Locked&) = delete;
    };
    static double UntilNext(const Dialog& dialog) {
        const std::uint64_t next = dialog.NextTimer(), now = machine::Microseconds();
        if (next == ~std::uint64_t{0}) return Forever;
        return next > now ? static_cast<double>(next - now) / 1e6 : 0;
    }
};

} // namespace
} // namespace ui

extern "C" __attribute__((visibility("default"))) ui::Screen* OpenZorScreen(std::string* reason) {
    // The toolkit ends the process where there is no display: looked for first, by its own call.
    Display* display = XOpenDisplay(nullptr);
    if (!display) {
        const char* name = std::getenv("DISPLAY");
        *reason = name && *name ? std::string("No display answers at \"") + name + "\"."
                                : std::string("There is no display: DISPLAY is not set.");
        return nullptr;
    }
    XCloseDisplay(display);
    fl_open_display();
    static ui::DisplayScreen screen;
    return &screen;
}
