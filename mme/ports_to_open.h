// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Chooses the device that each row opens, since devices may have been plugged in and unplugged
// after the tables were filled. Thread: host.
#pragma once

#include "mme/devices.h"

struct PortToOpen {
    int Row;
    std::int32_t Device; // its present number, or MapperDevice
    bool HasRowsName;    // false for a device that row 0 falls back on
};

// The rows that have a device, in the order in which they open. If the number in DeviceID now
// belongs to another device, the row's own device is found by its place in the device list, else by
// the name it had when DeviceID was set. Two rows of different devices never open the same one.
//
// If the device of row 0 is not present, row 0 opens the automatic choice or the default output for
// this time. It then comes last, and is left out if another row opens that device. The tables are
// not changed.
std::vector<PortToOpen> InputsToOpen();
std::vector<PortToOpen> OutputsToOpen();
