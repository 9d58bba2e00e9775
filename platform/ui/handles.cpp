#include "platform/ui/handles.h"

#include "platform/ui/dialog.h"
#include "platform/ui/screen.h"

#include <deque>
#include <map>
#include <mutex>
#include <utility>

namespace ui {
namespace {

struct Window {
    Target Of;
    HostProcedure Hear;
};
struct Message {
    HWND Window;
    UINT What;
    WPARAM First;
    LPARAM Second;
};

struct Windows {
    std::mutex Lock;
    std::uintptr_t Last = 0x10000;
    std::map<HWND, Window> All;
    std::deque<Message> Posted;
};

Windows& The() {
    static Windows& windows = *new Windows; // outlives every caller at the process's end
    return windows;
}

HWND Add(Window window) {
    Windows& windows = The();
    std::lock_guard lock(windows.Lock);
    windows.Last += 4;
    const HWND handle = reinterpret_cast<HWND>(windows.Last);
    windows.All.emplace(handle, std::move(window));
    return handle;
}

void Deliver(const Message& message) {
    Window window;
    {
        std::lock_guard lock(The().Lock);
        const auto found = The().All.find(message.Window);
        if (found == The().All.end()) return;
        window = found->second;
    }
    if (window.Hear)
        window.Hear(message.What, message.First, message.Second);
    else
        SendMessageA(message.Window, message.What, message.First, message.Second);
}

} // namespace

HWND NewHandle(Target target) { return Add({target, nullptr}); }
HWND NewHostHandle(HostProcedure procedure) { return Add({{}, std::move(procedure)}); }

void DropHandle(HWND handle) {
    std::lock_guard lock(The().Lock);
    The().All.erase(handle);
}

Target Resolve(HWND handle) {
    std::lock_guard lock(The().Lock);
    const auto found = The().All.find(handle);
    return found == The().All.end() ? Target{} : found->second.Of;
}

bool Post(HWND window, UINT message, WPARAM first, LPARAM second) {
    {
        std::lock_guard lock(The().Lock);
        if (!The().All.contains(window)) return false;
        The().Posted.push_back({window, message, first, second});
    }
    WakeScreen();
    return true;
}

void DispatchPosted() {
    for (;;) {
        Message next;
        {
            std::lock_guard lock(The().Lock);
            if (The().Posted.empty()) return;
            next = The().Posted.front();
            The().Posted.pop_front();
        }
        Deliver(next);
    }
}

} // namespace ui
