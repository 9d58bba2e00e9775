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
constexpr double LongestPause = 8;  // seconds
constexpr double LongestNote = 60;  // seconds
constexpr int HalfStaff = 8;        // semitones from the middle line to the ends of the staff
constexpr double UnsureBelow = 0.5; // confidence
constexpr int PianoPenalty = 6;     // semitones: the hands' usual clefs are preferred by this

// The sum of the distances of all notes from the staff, in semitones: a measure of ledger lines.
int LedgerCost(Melody notes, const std::vector<int>& staves, int staff, const ClefChoice& clef) {
    int sum = 0;
    for (std::size_t i = 0; i < notes.size(); ++i)
        if (staves[i] == staff)
            sum += std::max(0, std::abs(notes[i].Key - clef.Middle) - HalfStaff) + clef.Penalty;
    return sum;
}

// hands: the score has two staves.
Clef ChooseClef(Melody notes, const std::vector<int>& staves, int staff, bool hands) {
    const auto count = static_cast<int>(std::count(staves.begin(), staves.end(), staff));
    const auto cost = [&](const ClefChoice& clef) {
        const bool usual = clef.Clef.Octave == 0 && (clef.Clef.Sign == 'F') == (staff == 1);
        return LedgerCost(notes, staves, staff, clef) +
               (hands && !usual ? PianoPenalty * std::max(1, count) : 0);
    };
    return std::min_element(
               std::begin(Clefs), std::end(Clefs),
               [&](const ClefChoice& a, const ClefChoice& b) { return cost(a) < cost(b); })
        ->Clef;
}

// Shortens each pause to LongestPause, and each note to LongestNote.
std::vector<HeardNote> ShortenPauses(Melody notes) {
    std::vector<HeardNote> shortened;
    double cut = 0;
    double end = notes.front().Onset;
    for (HeardNote note : notes) {
        cut += std::max(0.0, note.Onset - end - LongestPause);
        note.End = std::min(note.End, note.Onset + LongestNote);
        end = std::max(end, note.End);
        note.Onset -= cut;
        note.End -= cut;
        shortened.push_back(note);
    }
    return shortened;
}

// One spelling for each note, towards the nearest note of the next chord of its voice.
std::vector<Spelling> SpellAll(Melody notes, const std::vector<Voice>& voices,
                               const std::vector<KeyChange>& keys, const std::vector<int>& bars) {
    std::vector<Spelling> spellings(notes.size());
    const auto keyOf = [&](int note) { return notes[static_cast<std::size_t>(note)].Key; };
    for (const Voice& voice : voices) {
        for (std::size_t i = 0; i < voice.Chords.size(); ++i) {
            for (const int note : voice.Chords[i].Notes) {
                int step = 0;
                if (i + 1 < voice.Chords.size())
                    for (const int next : voice.Chords[i + 1].Notes)
                        if (std::abs(keyOf(next) - keyOf(note)) == 1)
                            step = keyOf(next) - keyOf(note);
                auto change = keys.end();
                while ((--change)->Bar > bars[static_cast<std::size_t>(note)] &&
                       change != keys.begin()) {
                }
                spellings[static_cast<std::size_t>(note)] = Spell(keyOf(note), step, change->Key);
            }
        }
    }
    return spellings;
}

} // namespace

std::string Score::TimeSignature() const {
    return std::to_string(Rhythm.Meter().Beats) + "/" + std::to_string(Rhythm.Meter().BeatType);
}

std::string Score::Description() const {
    const std::string tempo = std::to_string(std::lround(Rhythm.QuartersPerMinute()));
    return TimeSignature() + ", " + Keys.front().Key.Name() + ", " + tempo +
           " quarter notes per minute, " + std::to_string(Bars.size()) +
           (Bars.size() == 1 ? " bar" : " bars");
}

std::vector<int> Score::UnsureBars() const {
    std::vector<int> numbers;
    const int first = Bars.front().Offset > 0 ? 0 : 1;
    for (std::size_t bar = 0; bar < Bars.size(); ++bar) {
        bool unsure = false;
        for (const auto& voice : Bars[bar].Voices)
            for (const Symbol& symbol : voice)
                for (const int note : symbol.Notes)
                    unsure = unsure || Unsure[static_cast<std::size_t>(note)];
        if (unsure) numbers.push_back(static_cast<int>(bar) + first);
    }
    return numbers;
}

Score MakeScore(Melody heard, const ScoreOptions& options) {
    const std::vector<HeardNote> notes = ShortenPauses(heard);
    return MakeScore(notes, FindRhythm(notes, options.Hints), options);
}

Score MakeScore(Melody notes, double quartersPerMinute) {
    ScoreOptions options;
    options.Hints.QuartersPerMinute = quartersPerMinute;
    return MakeScore(notes, options);
}

Score MakeScore(Melody notes, const Rhythm& rhythm, const ScoreOptions& options) {
    Score score;
    score.Rhythm = rhythm;
    const std::vector<int> bars = BarsOf(rhythm);
    score.Keys = options.Key ? std::vector<KeyChange>{{0, *options.Key}} : FindKeys(notes, bars);
    const std::vector<int> staves = FindStaves(notes, rhythm, options.Staves);
    score.Voices =
        FindVoices(notes, rhythm, staves,
                   std::max(options.Staves, 1 + *std::max_element(staves.begin(), staves.end())));
    const bool hands = score.Voices.back().Staff == 1;
    for (int staff = 0; staff <= score.Voices.back().Staff; ++staff)
        score.Clefs.push_back(ChooseClef(notes, staves, staff, hands));
    score.Pitches = SpellAll(notes, score.Voices, score.Keys, bars);
    for (const HeardNote& note : notes)
        score.Unsure.push_back(options.MarkUnsure && note.Confidence < UnsureBelow);
    score.Bars = MakeBars(rhythm, score.Voices);
    return score;
}

} // namespace score
