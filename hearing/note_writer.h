// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Turns decided states into notes with their exact onsets and pitches.
#pragma once

#include "hearing/frame.h"
#include "hearing/note.h"
#include "hearing/trellis.h"

#include <span>
#include <vector>

namespace hearing {

class NoteWriter {
public:
    explicit NoteWriter(int binsPerSemitone);

    // Adds the next state in order. pitch: of the state's bin. frames: the state's own frame first,
    // then the later ones that are already known; at least one. dipEnd: where the level rises
    // again, in seconds, if the frame indicates a re-onset by a dip; else 0.
    void Write(State state, double pitch, std::span<const Frame> frames, double dipEnd);
    // Ends an open note.
    void Close();

    const std::vector<Note>& Notes() const { return Result; }
    // Forgets all but the last one.
    void DropNotes();

private:
    bool BeginsNote(State state) const;
    void Open(std::span<const Frame> frames, double dipEnd);
    double FootOfRise(int least, const Frame& first) const;
    void KeepSilent(const Frame& frame);

    int BinsPerSemitone;
    std::vector<Note> Result;
    State LastState;
    double BinPitch = 0;              // of the open note
    std::vector<double> FramePitches; // measured in frames of the open note
    std::size_t FrameCount = 0;       // of the open note, up to MaxFrames
    std::vector<Frame> SilentFrames;  // the last ones before the next note, oldest first
};

} // namespace hearing
