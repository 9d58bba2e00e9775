// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "mme/ports.h"

// The tables before any configuration is read: rows 0 to 3 cover Channels 0 to 63.
MMEInPort InPorts[PortRows] = {{}, {.BaseChannel = 16}, {.BaseChannel = 32}, {.BaseChannel = 48}};
MMEOutPort OutPorts[PortRows] = {{}, {.BaseChannel = 16}, {.BaseChannel = 32}, {.BaseChannel = 48}};

std::uint8_t MidiOutReset = 0;
std::atomic<std::int16_t> SyncMaster{0};
std::atomic<std::uint8_t> SyncEnabled{0};

void MMEInPort::Clear() {
    BaseChannel = 0;
    Name[0] = DeviceName[0] = '\0';
    DeviceID = 0;
}

void MMEOutPort::Clear() {
    BaseChannel = 0;
    Name[0] = DeviceName[0] = '\0';
    DeviceID = 0;
    Support = 0;
    OutMatch = 0;
}
