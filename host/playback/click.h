// A metronome on the output queue.
#pragma once

#include "engine/zormidi.h"

#include <cstdint>
#include <string>
#include <vector>

namespace zorhost {

class Click {
public:
    // words: beats a minute, and beats a bar, 4 if not given. Throws HostError.
    explicit Click(const std::vector<std::string>& words);

    // Milliseconds of the time base at which the bar after the count-in begins.
    std::int64_t Lead() const;
    // Queues the beats up to that time.
    void Feed(std::int64_t until);
    double BeatsPerMinute() const { return Rate; }
    int Beats() const { return InBar; }

private:
    double TimeOf(std::int64_t beat) const;
    MIDIEvent Next() const;

    double Rate = 0;
    int InBar = 4;
    std::int64_t Sent = 0; // note ons and note offs
};

} // namespace zorhost
