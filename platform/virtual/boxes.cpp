#include "platform/virtual/boxes.h"

#include "platform/machine/power.h"
#include "platform/system/user.h"
#include "platform/ui/screen.h"

#include <atomic>
#include <cstdio>
#include <mutex>
#include <utility>

namespace machine {
namespace {

std::mutex boxesLock;
std::vector<Box> boxes;
std::function<void(const Box&)> whileUp;
bool print = true;
std::atomic<void*> focus{nullptr};

void Reset() {
    std::lock_guard lock(boxesLock);
    boxes.clear();
    whileUp = nullptr;
    print = false;
    focus = nullptr;
}
const AtPowerOn atPowerOn(Reset);

} // namespace

std::vector<Box> TakeBoxes() {
    std::lock_guard lock(boxesLock);
    return std::exchange(boxes, {});
}

void PrintBoxes(bool on) {
    std::lock_guard lock(boxesLock);
    print = on;
}

void WhileBoxIsUp(std::function<void(const Box&)> action) {
    std::lock_guard lock(boxesLock);
    whileUp = std::move(action);
}

void SetFocusWindow(void* window) { focus = window; }

} // namespace machine

namespace zorsystem {

int MessageBoxA(HWND owner, LPCSTR text, LPCSTR caption, UINT flags) {
    using namespace machine;
    // A box without a caption is an error box.
    const Box box{owner, text ? text : "", caption ? caption : "Error", flags};
    ui::Screen* screen = ui::ScreenForBoxes();
    std::function<void(const Box&)> action;
    {
        std::lock_guard lock(boxesLock);
        boxes.push_back(box);
        action = whileUp;
        if (print && !screen)
            std::fprintf(stderr, "%s: %s\n", box.Caption.c_str(), box.Text.c_str());
    }
    if (action) action(box);
    if (screen) return screen->ShowBox(owner, box.Text.c_str(), box.Caption.c_str(), flags);
    return IDOK;
}

HWND GetFocus() { return static_cast<HWND>(machine::focus.load()); }

} // namespace zorsystem
