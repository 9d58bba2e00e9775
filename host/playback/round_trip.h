// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Compares the messages that were sent with those that came back.
#pragma once

#include "engine/zormidi.h"
#include "host/devices/settings.h"

#include <cstdint>
#include <string>
#include <vector>

namespace zorhost {

struct RoundTrip {
    std::int64_t SentCount = 0;       // records that the output ports send
    std::int64_t SuppressedCount = 0; // notes that the ports' note counts hold back
    std::int64_t ReceivedCount = 0;
    std::int64_t LostCount = 0;
    std::int64_t WrongCount = 0; // came in, but were not sent, or out of order
    std::vector<int> Lateness;   // of each record that came back right, milliseconds, ascending

    bool IsClean() const { return LostCount == 0 && WrongCount == 0; }
    std::string Text() const; // a table
};

// Both in order of time. A note off may come back as a note on with velocity 0. ports: those that
// the records were sent to, since they hold some notes back.
RoundTrip Compare(const std::vector<MIDIEvent>& sent, const std::vector<MIDIEvent>& received,
                  const PortMap& ports);

} // namespace zorhost
