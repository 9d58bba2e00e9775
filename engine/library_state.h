// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Two facts that all parts of the engine read: whether the library is up, and whether time runs.
#pragma once

#include <atomic>
#include <cstdint>

// Set by a MIDISysInit that brought up at least one driver, cleared by MIDISysTerm, on the host's
// thread.
inline std::atomic<std::uint8_t> SysInited{0};

// Thread: any. Real time: yes.
inline bool LibraryIsUp() { return SysInited.load(std::memory_order_acquire) != 0; }

// The time base runs and the timer chain may go on. Stored inside the lock of timer.cpp.
inline std::atomic<std::uint8_t> TimerRunning{0};
