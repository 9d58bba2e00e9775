// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The cost of each step of a path through the states. The decoder's melody is the path of least
// cost.
//
// Costs are negative logarithms of probabilities, up to a common factor: an event ten times as rare
// costs about 2.3 more. They were tuned on recordings of 21 instruments and of voices, and rounded.
// The accuracy changes little when one of them varies.
#pragma once

namespace hearing {

struct Costs {
    // Pitch bins per semitone. With two of them a singer between two keys stays in one bin instead
    // of alternating between the keys.
    int BinsPerSemitone = 2;

    // A frame with a pitch, in a note: the cost per semitone between them, up to a limit. The limit
    // makes the cost robust, since a frame's error is either small or arbitrary.
    float PitchError = 2.8f;
    float MaxPitchError = 3;
    // A frame that measured a pitch an octave, two octaves or a twelfth away from the note: the
    // most common errors of the pitch detector.
    float Harmonic = 2;
    // A frame without a pitch, in a note: consonants, bow noise, failed measurements.
    float Unvoiced = 1.5f;
    // The same at a level too low for a pitch to be searched for: the note has probably ended.
    float Quiet = 3;
    int QuietLevel = 10; // the highest such level, of 128
    // A frame with a pitch, in silence. A frame without one costs nothing there.
    float VoicedSilence = 2.25f;

    float NoteBegin = 6.5f; // from silence to a note
    float NoteEnd = 1.5f;   // from a note to silence
    // From one note to another: more than a swing of vibrato or two wrong frames can save.
    float NoteChange = 10;
    // A rising level makes an onset likelier: with a rise of FullRise or more, NoteBegin and
    // NoteChange cost RiseRelief less, and proportionally less of it with a smaller rise.
    float RiseRelief = 3;
    float FullRise = 12; // decibels over two frames
    // A note that begins with a jump between two steady pitches costs this much less: so two
    // changes cost less than the wrong frames of a short note.
    float JumpRelief = 4;
    // A re-onset: from a note to another one of the same pitch. Only a rise of the level after a
    // sounding note indicates it, or a dip, so its relief is greater. It is full with a dip of
    // FullDip or more, and nothing with LeastDip.
    float ReOnset = 10;
    float ReOnsetRelief = 12;
    float LeastDip = 1.8f; // decibels over 35 ms on each side
    float FullDip = 4.2f;

    // Weight of a note's first two frames: scoops, plucks and bow noise make them unreliable.
    float AttackShare = 0.5f;
};

} // namespace hearing
