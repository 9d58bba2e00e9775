// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "host/terminal/interrupt.h"

#include <atomic>
#include <csignal>
#include <ctime>
#include <initializer_list>

namespace zorhost {

namespace {

volatile std::sig_atomic_t interrupted = 0;
volatile std::sig_atomic_t exitBlockers = 0;
std::atomic<void (*)()> forcedExitHandler{nullptr};

// Signal handler. Only async-signal-safe calls are allowed here.
void OnSignal(int signal) {
    if (interrupted && !exitBlockers && signal != SIGHUP) {
        if (void (*const handler)() = forcedExitHandler.load(std::memory_order_relaxed)) handler();
        std::signal(signal, SIG_DFL);
        std::raise(signal);
    }
    interrupted = 1;
}

// flags: SA_RESTART for reads that continue after a signal, 0 for reads that fail with EINTR.
void Catch(int flags) {
    struct sigaction action = {};
    action.sa_handler = OnSignal;
    action.sa_flags = flags;
    sigemptyset(&action.sa_mask);
    for (int signal : {SIGINT, SIGTERM, SIGHUP}) sigaction(signal, &action, nullptr);
}

} // namespace

void CatchInterrupts() { Catch(SA_RESTART); }

InterruptibleReads::InterruptibleReads() { Catch(0); }
InterruptibleReads::~InterruptibleReads() { Catch(SA_RESTART); }

void SetForcedExitHandler(void (*handler)()) {
    forcedExitHandler.store(handler, std::memory_order_relaxed);
}

bool Interrupted() { return interrupted != 0; }

ForcedExitBlocker::ForcedExitBlocker() { exitBlockers = exitBlockers + 1; }
ForcedExitBlocker::~ForcedExitBlocker() { exitBlockers = exitBlockers - 1; }

void Nap(int milliseconds) {
    const timespec time = {milliseconds / 1000, milliseconds % 1000 * 1000000L};
    nanosleep(&time, nullptr);
}

} // namespace zorhost
