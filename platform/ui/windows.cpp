// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

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

using Windows = common::Handles<Window>;

struct Message {
    HWND Target;
    UINT Id;
    WPARAM First;
    LPARAM Second;
};

struct MessageQueue {
    std::mutex Lock; // of the next
    std::deque<Message> Messages;
};

Windows& OpenWindows() { return common::ImmortalSingleton<Windows>(); }
MessageQueue& Queue() { return common::ImmortalSingleton<MessageQueue>(); }

std::optional<Message> PopPosted() {
    const std::scoped_lock lock(Queue().Lock);
    std::deque<Message>& messages = Queue().Messages;
    if (messages.empty()) return std::nullopt;
    const Message next = messages.front();
    messages.pop_front();
    return next;
}

} // namespace

HWND NewWindow(Window window) {
    return OpenWindows().Add<HWND>(std::make_shared<Window>(std::move(window)));
}

void DropWindow(HWND handle) { OpenWindows().Remove(handle); }

Window Resolve(HWND handle) {
    const auto found = OpenWindows().Find(handle);
    return found ? *found : Window{};
}

bool Post(HWND window, UINT message, WPARAM first, LPARAM second) {
    if (!OpenWindows().Find(window)) return false;
    const std::scoped_lock lock(Queue().Lock);
    Queue().Messages.push_back({window, message, first, second});
    return true;
}

void DispatchPosted() {
    while (const auto next = PopPosted()) {
        const Window target = Resolve(next->Target);
        if (target.Procedure) target.Procedure(next->Id, next->First, next->Second);
        if (target.Owner && !target.Owner->Ended)
            target.Owner->Send(next->Id, next->First, next->Second);
    }
}

} // namespace ui
