// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Messages on their way from the thread that sends them to the one that renders.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>

namespace device {

// Lock-free. One thread pushes at a time, and one pops at a time. Real time.
class MessageQueue {
public:
    // False if the queue is full.
    bool Push(std::uint32_t message) {
        const std::size_t end = End.load(std::memory_order_relaxed);
        if (end - Begin.load(std::memory_order_acquire) == Messages.size()) return false;
        Messages[end % Messages.size()] = message;
        End.store(end + 1); // ordered before what the sender reads next, for IsEmpty
        return true;
    }
    // False if the queue is empty.
    bool Pop(std::uint32_t& message) {
        const std::size_t begin = Begin.load(std::memory_order_relaxed);
        if (begin == End.load(std::memory_order_acquire)) return false;
        message = Messages[begin % Messages.size()];
        Begin.store(begin + 1, std::memory_order_release);
        return true;
    }

    bool IsEmpty() const { return Begin.load() == End.load(); }

private:
    // More than a sender writes while the sound server takes one block: 0.1 s of a flood.
    std::array<std::uint32_t, 8192> Messages{};
    std::atomic<std::size_t> Begin{0}, End{0};
};

} // namespace device
