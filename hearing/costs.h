// What each step of a path through the sound costs. The path of least cost is the melody.
//
// Costs stand for negative logarithms of probabilities, up to a factor: what is ten times as rare
// costs about 2.3 more. They were set on recordings of 21 instruments and of voices, and rounded:
// around each of them the result is flat.
#pragma once

namespace hearing {

struct Costs {
    // Pitches that a note can be at. Two a semitone, so that a singer between two keys need not
    // change keys over it.
    int PlacesPerSemitone = 2;

    // A frame that measured a pitch, against a note. A frame's error is small or anything at all:
    // a line that is cut off, not a parabola.
    float PerSemitone = 2.8f;
    float MostOff = 3;
    // A note an octave, two octaves or a twelfth from the measured pitch: the detector's usual
    // slip.
    float Harmonic = 2;
    // A frame without a pitch, against a note: consonants, bow noise, failed measurements.
    float Unvoiced = 1.5f;
    // The same where it is so quiet that no pitch is searched for: the note has ended.
    float Quiet = 3;
    int QuietLevel = 10; // and below, of 128
    // A frame with a pitch, against the rest. One without costs the rest nothing.
    float VoicedRest = 2.25f;

    float Begin = 6.5f; // from the rest to a note
    float End = 1.5f;   // back
    float Change = 10;  // from note to note: more than a swing of vibrato or two slips can save
    // A rise of the level makes a beginning likelier: at FullRise or more a Begin or Change costs
    // that much less.
    float Relief = 3;
    float FullRise = 12;     // decibels over two frames
    float Repeat = 10;       // from a note to the same one struck again
    float RepeatRelief = 12; // where it had sounded for a while; nothing else speaks for it

    // Of a note's first two frames only this share counts: scoops, pluck and bow noise.
    float AttackShare = 0.5f;
};

} // namespace hearing
