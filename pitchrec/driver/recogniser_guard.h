// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Keeps Recogniser from being closed while the poll uses it.
#pragma once

#include "pitchrec/driver/prec_driver.h"

// Tries to lock Recogniser; never waits. Held for a few loads and stores only, never across a call
// into the engine, so that SetRecogniser waits briefly. Used by the timer's and the host's thread,
// not by the delivery thread of the sound. Real time: yes.
class RecogniserGuard {
public:
    RecogniserGuard();
    ~RecogniserGuard();
    RecogniserGuard(const RecogniserGuard&) = delete;
    RecogniserGuard& operator=(const RecogniserGuard&) = delete;
    explicit operator bool() const { return Locked; }

private:
    bool Locked;
};

// Number of changes of Recogniser so far: identifies the present one. Read under the guard.
extern std::uint32_t RecogniserNumber;

// Replaces Recogniser, possibly by null, and returns the old one. Waits until no poll uses that.
// Thread: host.
Sonorel::PitchRec* SetRecogniser(Sonorel::PitchRec* recogniser);
