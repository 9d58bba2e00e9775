// What is being played now, as one number that only grows.
//
// Whatever ends a piece or begins another raises it: a stop, the start of the timer, a kill, the
// emptying, allocating or freeing of a queue, the resetting or setting of the time, also by a MIDI
// Start or Song Position, the opening and closing of the drivers; and a pump that put itself off.
//
// Who works for a piece notes the number first, and looks again before each thing that it does:
//   a pass of the pump goes on while the number stands. When it has moved, the pass begins anew
//     with a fresh time, or ends if the chain was ended meanwhile (stop, kill);
//   a record that was sent is taken out of its queue unless the queue was emptied since;
//   a transmission goes on to the next port unless playback was killed, or the drivers were opened
//     or closed, since. A change of the time does not stop it: a note off under way still goes to
//     every port that sounds.
// So each thing that can be ended keeps the number that its last ending gave, and one comparison
// tells whether what was noted is still good.
#pragma once

#include <atomic>
#include <cstdint>

// 64 bits: it never comes round.
using Generation = std::uint64_t;

namespace generation {
inline std::atomic<Generation> Present{1};
inline std::atomic<Generation> Silenced{1}; // by the last kill, opening or closing
} // namespace generation

// Thread: any. Real time: yes, all of these.
inline Generation CurrentGeneration() { return generation::Present.load(); }

// Gives the new number. Inside a QueueSection where it goes with a change of queue or time.
inline Generation RaiseGeneration() { return generation::Present.fetch_add(1) + 1; }

// Raises the number, and nothing that was on its way to the drivers goes on.
inline void EndTransmissions() { generation::Silenced.store(RaiseGeneration()); }

// Whether a transmission that began at that number may go on.
inline bool MayTransmit(Generation since) { return generation::Silenced.load() <= since; }
