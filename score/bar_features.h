// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// What speaks for or against a meter and bar lines in a piece: where in the bars its notes, long
// notes, low notes, phrases and repeats stand.
#pragma once

#include "score/meter.h"

#include <array>
#include <cstdint>
#include <span>
#include <vector>

namespace score {

// How a pulse is written.
struct BarLines {
    TimeSignature Meter;
    int Numerator = 1, Denominator = 1; // written ticks per tick of the pulse
    int Phase = 0; // written ticks from the beginning of a bar to the tick 0 of the pulse
};

// The written tick of a tick of the pulse, from the beginning of some bar.
int Written(int tick, const BarLines& lines);

struct GridNote {
    int Tick; // of a pulse, ascending
    int Key;  // MIDI note number, the lowest of a chord
};

// Places of a bar by weight. A bar of 6/8 has a Downbeat and a HalfBar.
enum BarPlace : std::uint8_t {
    Downbeat,
    HalfBar,
    WeakBeat,
    SecondOfThree,
    ThirdOfThree,
    OffBeat,
    SecondEighth, // of three
    ThirdEighth,
    FinePlace, // between eighths
    TupletPlace,
    OffGrid,
    BarPlaces
};
BarPlace PlaceOf(const TimeSignature& meter, int tick);

// The first ones are counted for each BarPlace.
enum BarFeature : std::uint8_t {
    Onsets,
    Accents = Onsets + BarPlaces,            // powers of two above the usual length
    Depths = Accents + BarPlaces,            // below the notes around
    Leaps = Depths + BarPlaces,              // from the note before
    FinalPitches = Leaps + BarPlaces,        // notes of the last note's pitch class
    LastPlace = FinalPitches + BarPlaces,    // of the last note
    PhrasePlaces = LastPlace + BarPlaces,    // behind a long note
    RepeatPlaces = PhrasePlaces + BarPlaces, // where what has been played begins again
    BarCount = RepeatPlaces + BarPlaces,
    CrossedDownbeat, // by a note that begins before
    CrossedHalf,
    CrossedBeat,
    NoPickup,
    EighthPickup,
    QuarterPickup,
    DottedPickup,
    HalfPickup,
    LongPickup,
    OtherPickup,
    PhraseLikeFirst, // at the same place of the bar as the piece
    PhraseUnlikeFirst,
    RepeatLikeFirst,
    RepeatUnlikeFirst,
    RepeatWholeBars, // after a number of whole bars
    RepeatTwoBars,
    RepeatFourBars,
    PitchRepeat1, // after one bar
    PitchRepeat2,
    PitchRepeat4,
    PitchRepeat8,
    RhythmRepeat1,
    RhythmRepeat2,
    BarSeen, // bars that have occurred before
    BarRhythmSeen,
    FourBars, // the piece is a multiple of four bars
    EightBars,
    Tempo,
    TempoSquare,
    Density,
    DensitySquare,
    IsTwo,
    IsFour,
    IsThree,
    IsSix,
    IsNine,
    BarFeatures
};
using FeatureVector = std::array<double, BarFeatures>;

// A piece, with what does not depend on its bar lines. If it is not complete, its end does not
// count.
class MeasuredPiece {
public:
    explicit MeasuredPiece(std::span<const GridNote> notes, bool complete = true);
    // ticks: of each note as written, from the beginning of the first note's bar.
    FeatureVector Measure(const std::vector<int>& ticks, const TimeSignature& meter,
                          double quartersPerMinute) const;
    std::span<const GridNote> Notes;

private:
    friend class FeatureCounter;
    void FindPhrases();
    void FindRepeats();
    struct Repeat {
        std::size_t Note, Source; // first notes of both
    };
    std::vector<double> Lengthening;  // of each note but the last, in powers of two
    std::vector<std::size_t> Phrases; // first notes behind a long one
    std::vector<Repeat> Repeats;
    bool Complete;
};

} // namespace score
