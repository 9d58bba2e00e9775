// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Locks an output port for one message.
#pragma once

#include "mme/ports.h"

// Holds a port's SendLock while one message is counted and sent, so that NoteCounts and LastStatus
// agree with what the device received, whichever thread sends. Never held across a message box, nor
// while a device is opened, reset or closed.
//
// A device may belong to another program that calls back while a message is sent to it: on the
// sending thread, or on another thread that holds a lock for which the sender waits. To exclude
// deadlock, a thread inside a MIDI input callback never waits here, and a thread that already holds
// the port does not lock it again. In both cases the guard fails and the message is lost, as is all
// input during a transmission. Every other thread waits as long as the device needs for one
// message.
//
// Thread: any. Real time: no, except inside a MIDI input callback.
class OutputGuard {
public:
    explicit OutputGuard(MMEOutPort& port);
    ~OutputGuard();
    OutputGuard(const OutputGuard&) = delete;
    OutputGuard& operator=(const OutputGuard&) = delete;

    // True if this thread has locked the port and the port is open. Only then may it use the fields
    // that SendLock guards.
    explicit operator bool() const { return Locked && Port.NoteCounts; }

private:
    MMEOutPort& Port;
    const bool Locked;
};
