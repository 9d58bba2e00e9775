// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The open listeners by number, so that a wrong, closed or busy one is an error and never a crash.
#pragma once

#include "zorhearing/listener.h"

#include <atomic>
#include <cstdint>
#include <memory>

namespace zorhearing {

// A place for listeners, one after the other. Each has a number of its own, above 0.
struct ListenerSlot {
    // Four times the number, plus the flags below; 0 if the slot is free.
    std::atomic<std::uint64_t> State{0};
    std::unique_ptr<Listener> Object; // of the thread that has set Busy
    std::uint64_t LastNumber = 0;

    static constexpr std::uint64_t Busy = 1;    // a thread uses the listener
    static constexpr std::uint64_t Closing = 2; // that thread closes it when it has finished
};

// Returns the number, or 0 if there is no room: 65,536 can be open. Throws std::bad_alloc. Thread:
// any.
std::int64_t AddListener(std::unique_ptr<Listener> listener);

enum class Access { Granted, NoListener, Busy };

// Uses a listener until it is destroyed; no other thread can use it meanwhile. Takes no lock.
// Thread: any.
class ListenerUse {
public:
    explicit ListenerUse(std::int64_t number);
    ~ListenerUse();
    ListenerUse(const ListenerUse&) = delete;
    ListenerUse& operator=(const ListenerUse&) = delete;

    Access Result() const { return Granted; }
    Listener* operator->() const { return Slot->Object.get(); }

private:
    ListenerSlot* Slot = nullptr;
    std::uint64_t Number;
    Access Granted = Access::NoListener;
};

// Frees a listener, or has the thread free it that is using it. False if it is not open. Thread:
// any.
bool RemoveListener(std::int64_t number);

} // namespace zorhearing
