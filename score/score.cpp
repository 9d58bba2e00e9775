// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "score/score.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace score {

namespace {

// A clef with an octave mark is used only for melodies far outside the staff of the others.
struct ClefChoice {
    score::Clef Clef;
    int Middle;  // MIDI note number of the middle line
    int Penalty; // semitones, added for each note
};
constexpr ClefChoice Clefs[] = {
    {{'G', 2, 0}, 71, 0},
    {{'F', 4, 0}, 50, 0},
    {{'G', 2, 1}, 83, 8},
    {{'F', 4, -1}, 38, 8},
};
constexpr double LongestPause = 8; // seconds
constexpr int HalfStaff = 8;       // semitones from the middle line to the ends of the staff, about

// The sum of the distances of all notes from the staff, in semitones: a measure of ledger lines.
int LedgerCost(Melody melody, const ClefChoice& clef) {
    int sum = 0;
    for (const HeardNote& note : melody)
        sum += std::max(0, std::abs(note.Key - clef.Middle) - HalfStaff) + clef.Penalty;
    return sum;
}

Clef ChooseClef(Melody melody) {
    const auto cost = [&](const ClefChoice& clef) { return LedgerCost(melody, clef); };
    return std::ranges::min_element(Clefs, {}, cost)->Clef;
}

// Shortens each pause to LongestPause.
std::vector<HeardNote> ShortenPauses(Melody melody) {
    std::vector<HeardNote> notes;
    double cut = 0;
    double end = melody.front().Onset;
    for (const HeardNote& note : melody) {
        cut += std::max(0.0, note.Onset - end - LongestPause);
        end = note.End;
        notes.push_back({note.Onset - cut, note.End - cut, note.Key});
    }
    return notes;
}

} // namespace

std::string Score::TimeSignature() const {
    return std::to_string(Rhythm.Meter->Beats) + "/" + std::to_string(Rhythm.Meter->BeatType);
}

std::string Score::Description() const {
    const std::string tempo = std::to_string(std::lround(Rhythm.QuartersPerMinute));
    return TimeSignature() + ", " + Key.Name() + ", " + tempo + " quarter notes per minute, " +
           std::to_string(Bars.size()) + (Bars.size() == 1 ? " bar" : " bars");
}

Score MakeScore(Melody heard, double quartersPerMinute) {
    const std::vector<HeardNote> melody = ShortenPauses(heard);
    Score score;
    score.Rhythm = FindRhythm(melody, quartersPerMinute);
    score.Key = FindKey(melody);
    score.Clef = ChooseClef(melody);
    score.Pitches = Spell(melody, score.Key);
    score.Bars = MakeBars(score.Rhythm, FindLengths(melody, score.Rhythm));
    return score;
}

} // namespace score
