// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The calls in progress on each thread: timer callbacks, MIDI input callbacks and transmissions.
#pragma once

#include "engine/generation.h"

#include <chrono>
#include <cstdint>

enum class CallKind : std::uint8_t {
    TimerCallback,
    InputCallback, // of a MIDI input
    Transmission,  // into the drivers' Xmit or Silence
};

// Registers one call for its lifetime; lives on the stack of the thread that makes the call. Calls
// nest: a callback may transmit, and a message box of a transmission may start another one.
// Real time: yes.
class ActiveCall {
public:
    explicit ActiveCall(CallKind kind, Generation start = CurrentGeneration());
    ~ActiveCall();
    ActiveCall(const ActiveCall&) = delete;
    ActiveCall& operator=(const ActiveCall&) = delete;

    const CallKind Kind;
    // The generation that the call works for: the current one at its start; for a transmission,
    // that of its record, which may be older.
    const Generation StartGeneration;
    ActiveCall* const Enclosing; // the call of the same thread around this one, or null
    const unsigned Counter;      // callbacks: index of the counter that counts this call, 0 or 1
};

// True if the innermost transmission of this thread was cancelled, even before it started: the
// caller must send no more of it. False outside a transmission. Thread: any. Real time: yes.
bool TransmissionCancelled();

// True inside a MIDI input callback. The device's driver may call it with a lock of its own held,
// so such a thread must not wait for one that is inside a call of that driver. Thread: any. Real
// time: yes.
bool InInputCallback();

// The start generation of the innermost callback of this thread; the current one outside callbacks.
// Thread: any. Real time: yes.
Generation CallbackGeneration();

// Waits until the callbacks in progress at the call have returned, including those of earlier waits
// that timed out, but not those of this thread, which cannot return before this function does.
// Returns false after the timeout: a callback may stand in a message box. The caller must keep code
// and locks valid for it. Thread: host.
bool AwaitCallbacks(std::chrono::milliseconds timeout = std::chrono::seconds(5));
