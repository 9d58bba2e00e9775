// A note that the decoder heard.
#pragma once

namespace hearing {

struct Note {
    double Onset = 0;    // seconds from the beginning of the sound
    double End = 0;      // likewise; as far as it is known while Open
    double Pitch = 0;    // MIDI number with fractions, 69 for 440 Hz
    int Level = 0;       // greatest of its beginning, without the frames' gains, 0 to 128
    double Sureness = 0; // share of its frames that measured this pitch, 0 to 1; 0 while Open
    bool Open = false;   // goes on
};

} // namespace hearing
