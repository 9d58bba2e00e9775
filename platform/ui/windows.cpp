#include "platform/ui/windows.h"

#include "platform/ui/dialog.h"

#include <deque>
#include <map>
#include <mutex>
#include <optional>
#include <utility>

namespace ui {
namespace {

struct Message {
    HWND To;
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

std::optional<Message> NextPosted() {
    const std::lock_guard lock(The().Lock);
    if (The().Posted.empty()) return std::nullopt;
    const Message next = The().Posted.front();
    The().Posted.pop_front();
    return next;
}

} // namespace

HWND NewWindow(Window window) {
    const std::lock_guard lock(The().Lock);
    const HWND handle = reinterpret_cast<HWND>(The().Last += 4);
    The().All.emplace(handle, std::move(window));
    return handle;
}

void DropWindow(HWND handle) {
    const std::lock_guard lock(The().Lock);
    The().All.erase(handle);
}

Window Resolve(HWND handle) {
    const std::lock_guard lock(The().Lock);
    const auto found = The().All.find(handle);
    return found == The().All.end() ? Window{} : found->second;
}

bool Post(HWND window, UINT message, WPARAM first, LPARAM second) {
    const std::lock_guard lock(The().Lock);
    if (!The().All.contains(window)) return false;
    The().Posted.push_back({window, message, first, second});
    return true;
}

void DispatchPosted() {
    while (const auto next = NextPosted()) {
        const Window to = Resolve(next->To);
        if (to.Hear) to.Hear(next->What, next->First, next->Second);
        if (to.Owner && !to.Owner->Ended) to.Owner->Send(next->What, next->First, next->Second);
    }
}

} // namespace ui
