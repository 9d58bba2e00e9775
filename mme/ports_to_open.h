// Which device each row opens, since devices may have come and gone after the tables were filled.
// All of it runs on the host's thread.
#pragma once

#include "mme/devices.h"

struct PortToOpen {
    int Row;
    std::int32_t Device; // its number now, or MapperDevice
    bool Named;          // it is what the row names
};

// The rows that have a device, in the order in which they open. The device at DeviceID may be
// another one by now: the row's own is where the list has moved it to, else it is looked for by the
// name it was taken under. Two rows of different devices never get the same one. If a device is
// gone, row 0 opens what it falls back on for this time; as the row does not name that, it comes
// last, and only if no other row has it. The rows keep what they stand for.
std::vector<PortToOpen> InputsToOpen();
std::vector<PortToOpen> OutputsToOpen();
