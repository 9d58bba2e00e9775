// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The instrument of the contract suite (capture_contract_test.cpp): a microphone called "Voice" of
// one capture back end. Each test program defines its own.
#pragma once

#include "platform/machine.h"

#include <chrono>

struct CaptureInstrument {
    const char* BackEnd; // its name in registry/back_ends.h, or "memory"
    void (*Plug)();      // on a machine without microphones
    void (*Unplug)();
    std::chrono::microseconds BlockInterval; // sound arrives at least this often
    int Stops; // how many times a stop is tried; each costs a server a connection
};

CaptureInstrument TestedMicrophone();
