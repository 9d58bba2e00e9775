// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Which MIDI devices a command runs on: the computer's own, or loopback ports.
#pragma once

#include "host/cli/commands.h"

#include <string>

namespace zorhost {

// Loopback ports are four outputs, each connected to the input of the same name. With --virtual,
// the first two policies use them even if the computer has MIDI devices.
enum class DevicePolicy {
    HardwareOrLoopback,        // without hardware: loopback ports shared by all zorhost processes
    HardwareOrLoopbackOutputs, // the same, but without this process's inputs
    PrivateLoopback,           // loopback ports that no other process can use; never hardware
    NoDevices,                 // neither inputs nor outputs
    HardwareOnly,              // hardware, even if there is none
};

// Sets up the virtual system's MIDI devices and prints on standard error which ones are used.
// Microphones are the computer's own unless --virtual is given. Create one at a time, and close the
// library before destroying it. On Windows the devices are always the computer's own.
class DeviceSelection {
public:
    // Throws HostError on Windows if --virtual is given.
    DeviceSelection(const GlobalOptions& global,
                    DevicePolicy policy = DevicePolicy::HardwareOrLoopback);
    ~DeviceSelection();
    DeviceSelection(const DeviceSelection&) = delete;
    DeviceSelection& operator=(const DeviceSelection&) = delete;

    // True if messages sent to the output device arrive at the input device of the same name.
    static bool IsLoopback(const std::string& device);
};

} // namespace zorhost
