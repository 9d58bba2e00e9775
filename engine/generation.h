// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The playback generation: a number that grows with every event that makes earlier work stale.
//
// Raised by: stopping and starting the timer, ZorKillMIDI, emptying, allocating or freeing a queue,
// resetting or setting the time (also by an incoming MIDI Start or Song Position), opening and
// closing the drivers, and a pump pass that is deferred to a later expiry.
//
// A thread reads the generation before it starts to work, and compares it before each step:
//   A pump pass goes on while its generation is current. A stale pass starts again with a fresh
//     time, or ends if the timer chain was ended meanwhile (stop, kill).
//   A record that was sent is removed from its queue, unless the queue was emptied since.
//   A transmission goes on to the next port, unless it was cancelled: by a kill, or by opening or
//     closing the drivers. A change of the time does not cancel it: a note off in progress still
//     goes to every port where the note sounds.
// Each operation that can be overtaken stores the generation of its last interruption (a queue's
// EmptiedGeneration, generation::LastCancel), so that a single comparison decides.
#pragma once

#include <atomic>
#include <cstdint>

// 64 bits: does not wrap in practice.
using Generation = std::uint64_t;

namespace generation {
inline std::atomic<Generation> Current{1};
inline std::atomic<Generation> LastCancel{1}; // of the last kill, opening or closing
} // namespace generation

// All functions: any thread, real time.
inline Generation CurrentGeneration() { return generation::Current.load(); }
inline bool IsCurrent(Generation start) { return CurrentGeneration() == start; }

// Returns the new number. Called inside the QueueSection that changes the queue or the time.
inline Generation RaiseGeneration() { return generation::Current.fetch_add(1) + 1; }

// Raises the generation and cancels all transmissions that started before.
inline void CancelTransmissions() { generation::LastCancel.store(RaiseGeneration()); }

// True for a transmission that started in the given generation and was cancelled since.
inline bool IsCancelled(Generation start) { return generation::LastCancel.load() > start; }
