#include "score/score.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace score {

namespace {

// Clefs by the MIDI number that lies in the middle of their staff; those with an octave only for
// what is far outside the others.
struct ClefChoice {
    Clef Is;
    int Middle;
    int Reluctance; // semitones
};
constexpr ClefChoice Clefs[] = {
    {{'G', 2, 0}, 71, 0},
    {{'F', 4, 0}, 50, 0},
    {{'G', 2, 1}, 83, 8},
    {{'F', 4, -1}, 38, 8},
};
constexpr double LongestPause = 8; // seconds
constexpr int Staff = 8;           // semitones from its middle to its ends, about

// What lies outside of the staff makes ledger lines.
int Outside(Melody melody, const ClefChoice& clef) {
    int sum = 0;
    for (const HeardNote& note : melody)
        sum += std::max(0, std::abs(note.Key - clef.Middle) - Staff) + clef.Reluctance;
    return sum;
}

Clef ChooseClef(Melody melody) {
    return std::ranges::min_element(Clefs, {},
                                    [&](const ClefChoice& clef) { return Outside(melody, clef); })
        ->Is;
}

// Nobody wants minutes of rest on paper.
std::vector<HeardNote> WithoutLongPauses(Melody melody) {
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

std::string Score::Meter() const {
    return std::to_string(Of.In->Beats) + "/" + std::to_string(Of.In->BeatType);
}

std::string Score::Description() const {
    return Meter() + ", " + In.Name() + ", " + std::to_string(std::lround(Of.QuartersPerMinute)) +
           " quarter notes a minute, " + std::to_string(Bars.size()) +
           (Bars.size() == 1 ? " bar" : " bars");
}

Score MakeScore(Melody heard, double quartersPerMinute) {
    const std::vector<HeardNote> melody = WithoutLongPauses(heard);
    Score score;
    score.Of = FindRhythm(melody, quartersPerMinute);
    score.In = FindKey(melody);
    score.At = ChooseClef(melody);
    score.Pitches = Spell(melody, score.In);
    score.Bars = MakeBars(score.Of, Lengths(melody, score.Of));
    return score;
}

} // namespace score
