#include "platform/ui/windows.h"

#include "platform/common/handles.h"
#include "platform/common/immortal_singleton.h"
#include "platform/ui/dialog.h"

#include <deque>
#include <mutex>
#include <optional>
#include <utility>

namespace ui {
namespace {

using machine::The;
using Windows = machine::Handles<Window>;

struct Message {
    HWND To;
    UINT What;
    WPARAM First;
    LPARAM Second;
};

struct Posted {
    std::mutex Lock;
    std::deque<Message> Messages;
};

std::optional<Message> NextPosted() {
    const std::scoped_lock lock(The<Posted>().Lock);
    std::deque<Message>& messages = The<Posted>().Messages;
    if (messages.empty()) return std::nullopt;
    const Message next = messages.front();
    messages.pop_front();
    return next;
}

} // namespace

HWND NewWindow(Window window) {
    return The<Windows>().Add<HWND>(std::make_shared<Window>(std::move(window)));
}

void DropWindow(HWND handle) { The<Windows>().Take(handle); }

Window Resolve(HWND handle) {
    const auto found = The<Windows>().Find(handle);
    return found ? *found : Window{};
}

bool Post(HWND window, UINT message, WPARAM first, LPARAM second) {
    if (!The<Windows>().Find(window)) return false;
    const std::scoped_lock lock(The<Posted>().Lock);
    The<Posted>().Messages.push_back({window, message, first, second});
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
