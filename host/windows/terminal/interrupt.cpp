#include "host/terminal/interrupt.h"

#include "platform/platform.h"

#include <atomic>

namespace zorhost {

namespace {

std::atomic<bool> interrupted{false};
std::atomic<int> held{0};
std::atomic<void (*)()> atEnd{nullptr};

// On a thread of the system's. The system ends the process some seconds after a console has been
// closed, whatever is answered; until then the loops write what there is.
BOOL WINAPI OnControl(DWORD what) {
    const bool before = interrupted.exchange(true);
    if (what == CTRL_C_EVENT || what == CTRL_BREAK_EVENT) {
        if (!before || held.load() > 0) return TRUE;
        if (void (*const last)() = atEnd.load()) last();
        return FALSE; // the system ends the process
    }
    Sleep(INFINITE);
    return TRUE;
}

} // namespace

void CatchInterrupts() { SetConsoleCtrlHandler(OnControl, TRUE); }

// No wait is for a pipe there.
WaitEndsAtInterrupt::WaitEndsAtInterrupt() = default;
WaitEndsAtInterrupt::~WaitEndsAtInterrupt() = default;

void AtSecondInterrupt(void (*last)()) { atEnd.store(last); }

bool Interrupted() { return interrupted.load(std::memory_order_relaxed); }

InterruptsHeld::InterruptsHeld() { ++held; }
InterruptsHeld::~InterruptsHeld() { --held; }

void Nap(int milliseconds) { Sleep(static_cast<DWORD>(milliseconds)); }

} // namespace zorhost
