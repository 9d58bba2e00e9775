// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "host/terminal/interrupt.h"

#include "platform/platform.h"

#include <atomic>

namespace zorhost {

namespace {

std::atomic<bool> interrupted{false};
std::atomic<int> exitBlockers{0};
std::atomic<void (*)()> forcedExitHandler{nullptr};

// Runs on a thread that the system creates. When the console is closed the system ends the process
// after a few seconds, whatever this returns; until then the commands write their files.
BOOL WINAPI OnControl(DWORD event) {
    const bool before = interrupted.exchange(true);
    if (event == CTRL_C_EVENT || event == CTRL_BREAK_EVENT) {
        if (!before || exitBlockers.load() > 0) return TRUE;
        if (void (*const handler)() = forcedExitHandler.load()) handler();
        return FALSE; // the system ends the process
    }
    Sleep(INFINITE);
    return TRUE;
}

} // namespace

void CatchInterrupts() { SetConsoleCtrlHandler(OnControl, TRUE); }

// Nothing to do: on Windows no pipes are read.
InterruptibleReads::InterruptibleReads() = default;
InterruptibleReads::~InterruptibleReads() = default;

void SetForcedExitHandler(void (*handler)()) { forcedExitHandler.store(handler); }

bool Interrupted() { return interrupted.load(std::memory_order_relaxed); }

ForcedExitBlocker::ForcedExitBlocker() { ++exitBlockers; }
ForcedExitBlocker::~ForcedExitBlocker() { --exitBlockers; }

void Nap(int milliseconds) { Sleep(static_cast<DWORD>(milliseconds)); }

} // namespace zorhost
