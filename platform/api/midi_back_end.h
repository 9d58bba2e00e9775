// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The entry point of a MIDI back end's shared object. docs/new-back-end.md
#pragma once

#include "platform/api/midi.h"

namespace device {

// Called on the thread that lists devices first; may block. Adds the MIDI devices that are plugged
// in, and goes on watching for changes until the result is destroyed. Null with the reason in a
// sentence if the system's MIDI cannot be reached; the registry then removes what was added and
// tries the next back end.
using OpenMidiFunction = MidiBackEnd*(std::string& reason);

} // namespace device

extern "C" __attribute__((visibility("default"))) device::OpenMidiFunction OpenZorMidi;
