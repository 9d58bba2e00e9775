// From decided states to notes: where they really began, and their exact pitch.
#pragma once

#include "hearing/frame.h"
#include "hearing/note.h"
#include "hearing/trellis.h"

#include <span>
#include <vector>

namespace hearing {

class NoteWriter {
public:
    explicit NoteWriter(int placesPerSemitone) : PerSemitone(placesPerSemitone) {}

    // The state of frames.front(), at that pitch; the frames after it are those known already.
    void Take(State state, double pitch, std::span<const Frame> frames);
    // Ends an open note.
    void Close();

    const std::vector<Note>& Notes() const { return Written; }

private:
    bool Begins(State state) const;
    void Open(std::span<const Frame> frames);
    double FootOfRise(int least, const Frame& first) const;
    void Remember(const Frame& frame);

    int PerSemitone;
    std::vector<Note> Written;
    State Last;
    double Pitch = 0;            // of the open note's place
    std::vector<double> Pitches; // its frames', as far as they lie near
    int Frames = 0;              // of it
    std::vector<Frame> Silent;   // the last ones of the rest before the next note
};

} // namespace hearing
