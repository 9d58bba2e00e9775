// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Turns the recogniser's frames into notes.
//
// The state of a frame is decided a fixed number of frames later, the lag. Live, it is a compromise
// between delay and accuracy. For a file it is so long that all candidate paths have merged, and
// the result equals that of decoding the whole file at once.
#pragma once

#include "hearing/note_writer.h"
#include "hearing/observation.h"
#include "hearing/trellis.h"

#include <cstddef>
#include <vector>

namespace hearing {

constexpr int LiveLag = 4;   // frames, 93 ms
constexpr int FileLag = 256; // frames, 5.9 s

// For one thread at a time. A frame takes at most 2 us. Memory is allocated for the notes only:
// Feed is real-time safe as long as DropNotes keeps them few.
class Decoder {
public:
    // lag: frames, above 0. tuning: how much sharper than 440 Hz the recording's A4 is, in
    // semitones.
    explicit Decoder(int lag, double tuning = 0, const Costs& costs = {});

    // Adds the next frame, in order and without gaps.
    void Feed(const Frame& frame);
    // Decides the remaining frames and ends an open note. Call it once, after the last Feed.
    void Finish();

    // The notes so far, in order. Only the last one can be open. Valid until the next call.
    const std::vector<Note>& Notes() const { return Writer.Notes(); }
    // Forgets all notes but the last one. Real-time safe: yes.
    void DropNotes() { Writer.DropNotes(); }

private:
    void Decide(std::size_t undecided);

    std::size_t Lag;
    std::size_t Stride; // frames decided at a time
    hearing::Observer Observer;
    Trellis Paths;
    NoteWriter Writer;
    std::vector<Frame> Undecided;
    std::vector<double> DipEnds; // of these frames
    std::vector<State> Path;
};

} // namespace hearing
