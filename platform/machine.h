// Steering the machine that libzorplatform plays: for hosts and tests, never for the library.
//
// The machine is virtual: its devices live in memory and in files, its clock is real or stepped by
// hand, and any call can be made to fail. Each kind of device has a header of its own. Its MIDI
// devices and its microphones may be this computer's instead (native.h).
//
// At load it suits a host that does not steer it: this computer's microphones and MIDI devices or,
// where the latter cannot be reached, one loopback cable named "Loopback"; message boxes printed on
// standard error, nothing recorded. Whoever steers begins with PowerOn.
#pragma once

#include "platform/machine/capture.h"
#include "platform/machine/clock.h"
#include "platform/machine/dialogs.h"
#include "platform/machine/faults.h"
#include "platform/machine/level.h"
#include "platform/machine/midi.h"
#include "platform/machine/modules.h"
#include "platform/machine/native.h"

namespace machine {

// Begins anew with an empty machine: real clock, no devices, no faults, boxes not printed, what is
// sent recorded, module paths as the system has them. Every open handle and pending timer is
// dropped. The library must be closed. Thread: the one that steers.
void PowerOn();

} // namespace machine
