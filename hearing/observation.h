// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The cost of each state, given one frame.
#pragma once

#include "hearing/costs.h"
#include "hearing/dip_finder.h"
#include "hearing/frame.h"
#include "hearing/jump_finder.h"

#include <vector>

namespace hearing {

// The range of the pitch bins, MIDI note numbers. Bins are evenly spaced.
constexpr int LowestPitch = 28;   // E1
constexpr int HighestPitch = 100; // E7

struct Observation {
    std::vector<float> Note; // cost of a note, for each pitch bin
    float Silence = 0;       // cost of silence
    float Rise = 0;          // rise of the level, 0 to 1 for FullRise
    // What indicates a re-onset, 0 to 1: Rise if the sound went on for several frames before, or a
    // dip of the level.
    float ReOnset = 0;
    int JumpBin = -1;  // of a pitch that has been steady for three frames after a jump; -1: none
    double DipEnd = 0; // the end of that dip, seconds from the start of the sound; 0: none
};

class Observer {
public:
    // tuning: how much sharper than 440 Hz the recording's A4 is, in semitones.
    Observer(const Costs& costs, double tuning);

    int Bins() const { return static_cast<int>(Result.Note.size()); }
    // The pitch at the centre of a bin.
    double PitchAt(int bin) const { return Lowest + static_cast<double>(bin) / BinsPerSemitone; }

    // Frames come in order, without gaps. The result is valid until the next call. Real-time safe:
    // yes.
    const Observation& Observe(const Frame& frame);

private:
    void ApplyPitch(double pitch);
    void ApplyNearBins(double pitch);
    void MeasureRise(int level);
    void FindJump(double pitch, int level);
    void MeasureDip(const Frame& frame);

    Costs Cost;
    int BinsPerSemitone;
    double Lowest; // pitch of bin 0
    Observation Result;
    double PreviousDecibels[2] = {}; // levels of the last two frames, the last one first
    DipFinder Dips;
    JumpFinder Jumps;
    unsigned SoundHistory = 0; // a bit per frame, 1 if it was not quiet; the last frame's is lowest
};

} // namespace hearing
