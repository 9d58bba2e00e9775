// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Steers the machine that libzorplatform implements: the system under the library. For hosts and
// tests; the library never includes this.
//
// The machine is virtual: its devices are in memory and in files, its clock is real or moved by the
// caller, and any call can be made to fail. Each kind of device has its own header. The machine's
// MIDI devices and microphones may be this computer's instead (native.h).
//
// At load the machine suits a host that does not steer it: this computer's microphones and MIDI
// devices or, where the latter cannot be reached, one loopback cable named "Loopback"; the software
// synthesizer if it is installed; message boxes are printed to standard error, and sent messages
// are not recorded. A steering host calls PowerOn first.
//
// The steering thread is the thread of the host or test that calls these functions.
#pragma once

#include "platform/machine/capture.h"
#include "platform/machine/clock.h"
#include "platform/machine/dialogs.h"
#include "platform/machine/faults.h"
#include "platform/machine/level.h"
#include "platform/machine/midi.h"
#include "platform/machine/modules.h"
#include "platform/machine/native.h"
#include "platform/machine/synthesizer.h"

namespace machine {

// Resets the machine: real clock, no devices, no faults, boxes not printed, sent messages recorded,
// the default module path. Closes every handle and drops every pending timer. The library must be
// closed. Thread: the steering one.
void PowerOn();

} // namespace machine
