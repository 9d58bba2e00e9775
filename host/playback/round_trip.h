// What was sent against what came back: nothing lost, nothing wrong, and how late.
#pragma once

#include "engine/zormidi.h"
#include "host/devices/settings.h"

#include <cstdint>
#include <string>
#include <vector>

namespace zorhost {

struct RoundTrip {
    std::int64_t Sent = 0;     // records that the ports send on
    std::int64_t HeldBack = 0; // notes that the ports' note counts hold back
    std::int64_t Received = 0;
    std::int64_t Lost = 0;
    std::int64_t Wrong = 0;            // came in, but were not sent like that or not in that place
    std::vector<int> LateMilliseconds; // of each that came back right, ascending

    bool Clean() const { return Lost == 0 && Wrong == 0; }
    std::string Text() const;
};

// Both in the order of time. A note off may come back as a note on with velocity 0. ports: those
// that the records were sent to, since they hold some notes back.
RoundTrip Compare(const std::vector<MIDIEvent>& sent, const std::vector<MIDIEvent>& received,
                  const PortMap& ports);

} // namespace zorhost
