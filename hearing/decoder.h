// From the recogniser's frames to notes.
//
// A state is decided a number of frames after its own: a few for live use, so many for a file that
// all paths have long met by then and the result is that of the whole file at once.
#pragma once

#include "hearing/note_writer.h"
#include "hearing/observation.h"
#include "hearing/trellis.h"

#include <cstddef>
#include <vector>

namespace hearing {

// Frames from a frame to its decision. Live: 93 ms.
constexpr int LiveLag = 4;
constexpr int FileLag = 256;

// No thread of its own: one at a time. Takes at most 2 us for a frame; allocates where a note
// begins or grows. Its memory does not grow but for the notes.
class Decoder {
public:
    // lag in frames, above 0. tuning: what the take is sharper than 440 Hz, in semitones.
    explicit Decoder(int lag, double tuning = 0, const Costs& costs = {});

    // Frames come in order, without a gap.
    void Take(const Frame& frame);
    // The sound is over: decides what is left. Nothing may be taken after it.
    void Finish();

    // So far, in order. Only the last one can be open.
    const std::vector<Note>& Notes() const { return Writer.Notes(); }

private:
    void Decide(std::size_t kept);

    std::size_t Lag;
    std::size_t Stride; // states decided at a time
    Observer Eye;
    Trellis Paths;
    NoteWriter Writer;
    std::vector<Frame> Waiting; // not decided yet
    std::vector<State> Path;
};

} // namespace hearing
