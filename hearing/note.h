// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// A note that the decoder found.
#pragma once

namespace hearing {

struct Note {
    double Onset = 0;      // seconds from the start of the sound
    double End = 0;        // seconds from the start of the sound; provisional while Open
    double Pitch = 0;      // MIDI note number with fractions, 69 for 440 Hz
    int Level = 0;         // peak of its attack without the frames' gains, 0 to 128
    double Confidence = 0; // share of its frames that measured this pitch, 0 to 1; 0 while Open
    bool Open = false;     // the note has not ended yet
};

} // namespace hearing
