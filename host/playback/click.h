// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// A metronome on the output queue.
#pragma once

#include "engine/zormidi.h"

#include <cstdint>
#include <string>
#include <vector>

namespace zorhost {

// Sends the drum sounds of the metronome on channel 10. The first bar is a count-in.
class Click {
public:
    // arguments: beats per minute, 10 to 500, then beats per bar, 1 to 32, by default 4. Throws
    // HostError.
    explicit Click(const std::vector<std::string>& arguments);

    // The end of the count-in, in milliseconds of the time base.
    std::int64_t CountInEnd() const;
    // Queues the beats up to that time, in milliseconds of the time base.
    void Feed(std::int64_t until);
    double BeatsPerMinute() const { return Rate; }
    int BeatsPerBar() const { return BarBeats; }

private:
    double TimeOf(std::int64_t beat) const;
    MIDIEvent NextRecord() const;

    double Rate = 0; // beats per minute
    int BarBeats = 4;
    std::int64_t SentRecords = 0; // note ons and note offs, alternately
};

} // namespace zorhost
