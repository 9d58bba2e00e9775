// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "engine/active_call.h"

#include "platform/platform.h"

namespace {

// The thread-local slot of the innermost active call. Allocated when the library is loaded and
// never freed, since late callbacks read it too.
const DWORD Slot = TlsAlloc();

// Callbacks in progress on all threads, in two counters. A waiting thread switches new callbacks to
// the other counter, so that they cannot prolong its wait.
std::atomic<unsigned> switches{0}; // new callbacks use counter switches % 2
std::atomic<int> callbacks[2];

ActiveCall* Innermost() { return static_cast<ActiveCall*>(TlsGetValue(Slot)); }

bool IsCallback(const ActiveCall& call) { return call.Kind != CallKind::Transmission; }

const ActiveCall* InnermostWhere(bool isCallback) {
    const ActiveCall* call = Innermost();
    while (call && IsCallback(*call) != isCallback) call = call->Enclosing;
    return call;
}

int CallbacksOfThisThread(unsigned counter) {
    int count = 0;
    for (const ActiveCall* call = Innermost(); call; call = call->Enclosing)
        count += IsCallback(*call) && call->Counter == counter ? 1 : 0;
    return count;
}

// True if all callbacks of other threads in this counter have returned by the deadline. The clock
// is read after each sleep, since a sleep can last far longer than requested.
bool Drained(unsigned counter, std::chrono::steady_clock::time_point deadline) {
    const int own = CallbacksOfThisThread(counter);
    while (callbacks[counter].load(std::memory_order_acquire) > own) {
        if (std::chrono::steady_clock::now() >= deadline) return false;
        Sleep(1);
    }
    return true;
}

} // namespace

ActiveCall::ActiveCall(CallKind kind, Generation start)
    : Kind(kind), StartGeneration(start), Enclosing(Innermost()), Counter(switches.load() % 2) {
    TlsSetValue(Slot, this);
    if (IsCallback(*this)) callbacks[Counter].fetch_add(1);
}

// Release: a thread that reads the decremented counter sees all that the callback did.
ActiveCall::~ActiveCall() {
    TlsSetValue(Slot, Enclosing);
    if (IsCallback(*this)) callbacks[Counter].fetch_sub(1, std::memory_order_release);
}

bool TransmissionCancelled() {
    const ActiveCall* transmission = InnermostWhere(false);
    return transmission && IsCancelled(transmission->StartGeneration);
}

bool InInputCallback() {
    for (const ActiveCall* call = Innermost(); call; call = call->Enclosing)
        if (call->Kind == CallKind::InputCallback) return true;
    return false;
}

Generation CallbackGeneration() {
    const ActiveCall* callback = InnermostWhere(true);
    return callback ? callback->StartGeneration : CurrentGeneration();
}

// The unused counter must be empty before new callbacks are switched to it. It can hold callbacks
// of an earlier wait that timed out; no new ones enter it meanwhile.
bool AwaitCallbacks(std::chrono::milliseconds timeout) {
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    const unsigned current = switches.load() % 2;
    if (!Drained(1 - current, deadline)) return false;
    switches.fetch_add(1);
    return Drained(current, deadline);
}
