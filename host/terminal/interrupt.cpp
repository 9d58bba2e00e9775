#include "host/terminal/interrupt.h"

#include <atomic>
#include <csignal>
#include <ctime>
#include <initializer_list>

namespace zorhost {

namespace {

volatile std::sig_atomic_t interrupted = 0;
volatile std::sig_atomic_t held = 0;
std::atomic<void (*)()> atEnd{nullptr};

void OnSignal(int signal) {
    if (interrupted && !held && signal != SIGHUP) {
        if (void (*const last)() = atEnd.load(std::memory_order_relaxed)) last();
        std::signal(signal, SIG_DFL);
        std::raise(signal);
    }
    interrupted = 1;
}

void Catch(int flags) {
    struct sigaction action = {};
    action.sa_handler = OnSignal;
    action.sa_flags = flags;
    sigemptyset(&action.sa_mask);
    for (int signal : {SIGINT, SIGTERM, SIGHUP}) sigaction(signal, &action, nullptr);
}

} // namespace

void CatchInterrupts() { Catch(SA_RESTART); }

WaitEndsAtInterrupt::WaitEndsAtInterrupt() { Catch(0); }
WaitEndsAtInterrupt::~WaitEndsAtInterrupt() { Catch(SA_RESTART); }

void AtSecondInterrupt(void (*last)()) { atEnd.store(last, std::memory_order_relaxed); }

bool Interrupted() { return interrupted != 0; }

InterruptsHeld::InterruptsHeld() { held = held + 1; }
InterruptsHeld::~InterruptsHeld() { held = held - 1; }

void Nap(int milliseconds) {
    const timespec time = {milliseconds / 1000, milliseconds % 1000 * 1000000L};
    nanosleep(&time, nullptr);
}

} // namespace zorhost
