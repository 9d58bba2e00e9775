// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// On Windows the MIDI devices are the computer's own.
#include "host/devices/device_selection.h"

#include "host/terminal/host_error.h"
#include "platform/platform.h"

#include <cstdio>

namespace zorhost {

DeviceSelection::DeviceSelection(const GlobalOptions& global, DevicePolicy) {
    if (global.Virtual)
        throw HostError("--virtual is not available on Windows: install a loopback MIDI driver; "
                        "its ports are listed like other MIDI devices",
                        ExitWrongUse);
    std::fprintf(stderr, "MIDI devices of this computer: %u inputs, %u outputs.\n",
                 midiInGetNumDevs(), midiOutGetNumDevs());
}

DeviceSelection::~DeviceSelection() = default;

// Windows does not report whether a device is a loopback.
bool DeviceSelection::IsLoopback(const std::string&) { return false; }

} // namespace zorhost
