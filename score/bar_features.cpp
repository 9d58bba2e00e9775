// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "score/bar_features.h"

#include <algorithm>
#include <cmath>
#include <unordered_map>
#include <unordered_set>

namespace score {

namespace {

constexpr double LongNote = 1;         // powers of two above the usual length: it ends a phrase
constexpr std::size_t RepeatNotes = 7; // that a repeat has at least

double Clamp(double value, double most) { return std::clamp(value, -most, most); }
std::uint64_t Hash(std::uint64_t before, int value) {
    return (before + static_cast<std::uint64_t>(value) + 1) * 0x9E3779B97F4A7C15u ^ before >> 29;
}

double UsualLength(std::span<const GridNote> notes) {
    std::vector<int> lengths;
    for (std::size_t i = 1; i < notes.size(); ++i)
        lengths.push_back(notes[i].Tick - notes[i - 1].Tick);
    if (lengths.empty()) return TicksPerQuarter;
    const auto middle = lengths.begin() + static_cast<std::ptrdiff_t>(lengths.size() / 2);
    std::nth_element(lengths.begin(), middle, lengths.end());
    return std::max(1, *middle);
}

} // namespace

int Written(int tick, const BarLines& lines) {
    const int product = tick * lines.Numerator;
    return (product + (product >= 0 ? 1 : -1) * lines.Denominator / 2) / lines.Denominator +
           lines.Phase;
}

BarPlace PlaceOf(const TimeSignature& meter, int tick) {
    const int bar = meter.BarTicks();
    const int beat = meter.BeatTicks() == 2 * TicksPerQuarter ? TicksPerQuarter : meter.BeatTicks();
    const int place = Modulo(tick, bar);
    if (place == 0) return Downbeat;
    const int inBeat = place % beat;
    if (inBeat == 0) {
        if (bar == 3 * beat) return place == beat ? SecondOfThree : ThirdOfThree;
        return 2 * place == bar || (bar == 5 * beat && place == 3 * beat) ? HalfBar : WeakBeat;
    }
    const bool compound = meter.IsCompound();
    if (inBeat % EighthTicks == 0)
        return !compound ? OffBeat : inBeat == EighthTicks ? SecondEighth : ThirdEighth;
    if (inBeat % SixteenthTicks == 0)
        return compound && inBeat == beat / 2 ? TupletPlace : FinePlace;
    return inBeat % TripletTicks == 0 && !compound ? TupletPlace : OffGrid;
}

// Counts the features of one piece with given bar lines.
class FeatureCounter {
public:
    FeatureCounter(const MeasuredPiece& piece, const std::vector<int>& ticks,
                   const TimeSignature& meter, double quartersPerMinute)
        : Piece(piece), Notes(piece.Notes), Meter(meter), Bar(Meter.BarTicks()), Ticks(ticks),
          Last(Notes.size() - 1) {
        CountPlaces();
        CountPhrases();
        CountRepeats();
        CountPickup();
        CountLags();
        CountBars();
        CountTempo(quartersPerMinute);
        if (Piece.Complete) CountEnd();
        Scale(0, LastPlace, static_cast<double>(Notes.size()));
        Scale(BarCount, CrossedBeat + 1, static_cast<double>(Notes.size()));
    }
    FeatureVector Counts{};

private:
    int Length(std::size_t note) const { return Ticks[note + 1] - Ticks[note]; }
    void Add(std::size_t feature, double value) { Counts[feature] += value; }
    // Many notes repeat what few have shown: the evidence grows with the root of their number.
    void Scale(std::size_t first, std::size_t end, double number) {
        for (std::size_t i = first; i < end; ++i) Counts[i] /= std::sqrt(std::max(1.0, number));
    }
    void CountPlaces();
    void CountPhrases();
    void CountRepeats();
    void CountPickup();
    void CountLags();
    void CountBars();
    void CountEnd();
    void CountTempo(double quartersPerMinute);
    void CountCrossings(std::size_t note);

    const MeasuredPiece& Piece;
    std::span<const GridNote> Notes;
    const TimeSignature& Meter;
    const int Bar;
    const std::vector<int>& Ticks;
    const std::size_t Last;
};

void FeatureCounter::CountCrossings(std::size_t note) {
    const int place = Ticks[note] % Bar;
    const int end = place + Length(note);
    const int beat = Meter.BeatTicks();
    if (end > Bar && place != 0) {
        Add(CrossedDownbeat, 1);
    } else if (Bar % (2 * beat) == 0 && place < Bar / 2 && place > 0 && end > Bar / 2) {
        Add(CrossedHalf, 1);
    } else if (place % beat != 0 && place / beat != (end - 1) / beat) {
        Add(CrossedBeat, 1);
    }
}

void FeatureCounter::CountPlaces() {
    for (std::size_t i = 0; i < Notes.size(); ++i) {
        const std::size_t place = PlaceOf(Meter, Ticks[i]);
        Add(Onsets + place, 1);
        if (i < Last) Add(Accents + place, Piece.Lengthening[i]);
        if (i < Last) CountCrossings(i);
        if (i > 0 && i < Last) {
            const double around = (Notes[i - 1].Key + Notes[i + 1].Key) / 2.0;
            Add(Depths + place, Clamp((around - Notes[i].Key) / 5, 2));
        }
        if (i > 0) Add(Leaps + place, Clamp(std::abs(Notes[i].Key - Notes[i - 1].Key) / 5.0, 2));
    }
    Add(BarCount, static_cast<double>(Ticks[Last]) / Bar);
}

void FeatureCounter::CountPhrases() {
    const int first = Ticks[0] % Bar;
    for (const std::size_t note : Piece.Phrases) {
        const int place = Ticks[note] % Bar;
        Add(PhrasePlaces + int{PlaceOf(Meter, place)}, 1);
        Add(place == first ? PhraseLikeFirst : PhraseUnlikeFirst, 1);
    }
    const auto number = static_cast<double>(Piece.Phrases.size());
    Scale(PhrasePlaces, RepeatPlaces, number);
    Scale(PhraseLikeFirst, RepeatLikeFirst, number);
}

void FeatureCounter::CountRepeats() {
    const int first = Ticks[0] % Bar;
    for (const auto& repeat : Piece.Repeats) {
        const int place = Ticks[repeat.Note] % Bar;
        const int distance = Ticks[repeat.Note] - Ticks[repeat.Source];
        Add(RepeatPlaces + int{PlaceOf(Meter, place)}, 1);
        Add(place == first ? RepeatLikeFirst : RepeatUnlikeFirst, 1);
        if (distance % Bar == 0) Add(RepeatWholeBars, 1);
        if (distance % (2 * Bar) == 0) Add(RepeatTwoBars, 1);
        if (distance % (4 * Bar) == 0) Add(RepeatFourBars, 1);
    }
    const auto number = static_cast<double>(Piece.Repeats.size());
    Scale(RepeatPlaces, BarCount, number);
    Scale(RepeatLikeFirst, PitchRepeat1, number);
}

void FeatureCounter::CountPickup() {
    const int place = Ticks[0] % Bar;
    const int pickup = Bar - place;
    const std::size_t kind = place == 0                  ? NoPickup
                             : pickup <= EighthTicks     ? EighthPickup
                             : 2 * pickup == Bar         ? HalfPickup
                             : pickup == TicksPerQuarter ? QuarterPickup
                             : pickup == 3 * EighthTicks ? DottedPickup
                             : 2 * pickup > Bar          ? LongPickup
                                                         : OtherPickup;
    Add(kind, 1);
}

void FeatureCounter::CountLags() {
    constexpr struct {
        int Bars;
        std::size_t Pitch, Rhythm;
    } lags[] = {{1, PitchRepeat1, RhythmRepeat1},
                {2, PitchRepeat2, RhythmRepeat2},
                {4, PitchRepeat4, BarFeatures},
                {8, PitchRepeat8, BarFeatures}};
    for (const auto& lag : lags) {
        double pitches = 0, rhythms = 0;
        std::size_t other = 0;
        for (std::size_t i = 0; i < Notes.size(); ++i) {
            const int wanted = Ticks[i] + lag.Bars * Bar;
            while (other < Notes.size() && Ticks[other] < wanted) ++other;
            if (other == Notes.size()) break;
            if (Ticks[other] != wanted) continue;
            rhythms += 1;
            if (Notes[i].Key == Notes[other].Key) pitches += 1;
        }
        const double count = static_cast<double>(Notes.size());
        Add(lag.Pitch, 5 * pitches / count);
        if (lag.Rhythm != BarFeatures) Add(lag.Rhythm, 5 * rhythms / count);
    }
}

void FeatureCounter::CountBars() {
    std::unordered_set<std::uint64_t> melodies, rhythms;
    double seen = 0, rhythmSeen = 0;
    int bars = 0;
    for (std::size_t i = 0; i < Notes.size();) {
        const int bar = Ticks[i] / Bar;
        std::uint64_t melody = 1, rhythm = 1;
        for (; i < Notes.size() && Ticks[i] / Bar == bar; ++i) {
            rhythm = Hash(rhythm, Ticks[i] % Bar);
            melody = Hash(Hash(melody, Ticks[i] % Bar), Notes[i].Key);
        }
        ++bars;
        if (!melodies.insert(melody).second) seen += 1;
        if (!rhythms.insert(rhythm).second) rhythmSeen += 1;
    }
    Add(BarSeen, 5 * seen / bars);
    Add(BarRhythmSeen, 5 * rhythmSeen / bars);
}

void FeatureCounter::CountEnd() {
    for (std::size_t i = 0; i < Notes.size(); ++i)
        if (Notes[i].Key % 12 == Notes[Last].Key % 12)
            Add(FinalPitches + int{PlaceOf(Meter, Ticks[i])}, 1);
    Add(LastPlace + int{PlaceOf(Meter, Ticks[Last])}, 1);
    const int whole = Ticks[Last] / Bar + (Ticks[0] == 0 ? 1 : 0); // without the pickup bar
    Add(FourBars, whole % 4 == 0 ? 1 : 0);
    Add(EightBars, whole % 8 == 0 ? 1 : 0);
}

void FeatureCounter::CountTempo(double quartersPerMinute) {
    const double tempo = std::log(quartersPerMinute / 110) * 3;
    Add(Tempo, tempo);
    Add(TempoSquare, tempo * tempo);
    const double notes = static_cast<double>(std::max<std::size_t>(Last, 1));
    const double density = std::log2((Ticks[Last] - Ticks[0] + 1) / notes / EighthTicks);
    Add(Density, density);
    Add(DensitySquare, density * density);
    const int beats = Meter.Beats;
    if (beats == 2 && Meter.BeatType == 4) Add(IsTwo, 1);
    if (beats == 4 || Meter.BeatType == 2) Add(IsFour, 1);
    if (beats == 3 && Meter.BeatType == 4) Add(IsThree, 1);
    if (beats == 6 || beats == 12) Add(IsSix, 1);
    if (beats == 9) Add(IsNine, 1);
}

MeasuredPiece::MeasuredPiece(std::span<const GridNote> notes, bool complete)
    : Notes(notes), Complete(complete) {
    const double usual = UsualLength(notes);
    for (std::size_t i = 0; i + 1 < notes.size(); ++i)
        Lengthening.push_back(Clamp(std::log2((notes[i + 1].Tick - notes[i].Tick) / usual), 2));
    FindPhrases();
    FindRepeats();
}

void MeasuredPiece::FindPhrases() {
    for (std::size_t i = 0; i + 1 < Lengthening.size(); ++i) {
        const double length = Lengthening[i];
        if (length >= LongNote && length >= Lengthening[i + 1] &&
            (i == 0 || length >= Lengthening[i - 1]))
            Phrases.push_back(i + 1);
    }
}

// A repeat begins where RepeatNotes notes and their lengths have occurred before and the note in
// front differs.
void MeasuredPiece::FindRepeats() {
    std::unordered_map<std::uint64_t, std::size_t> first;
    std::size_t expected = 0; // source that would continue the repeat before
    for (std::size_t i = 0; i + RepeatNotes < Notes.size(); ++i) {
        std::uint64_t hash = 1;
        for (std::size_t note = i; note < i + RepeatNotes; ++note)
            hash = Hash(Hash(hash, Notes[note].Key), Notes[note + 1].Tick - Notes[note].Tick);
        const auto [found, added] = first.try_emplace(hash, i);
        if (!added && found->second != expected) Repeats.push_back({i, found->second});
        expected = added ? 0 : found->second + 1;
    }
}

FeatureVector MeasuredPiece::Measure(const std::vector<int>& ticks, const TimeSignature& meter,
                                     double quartersPerMinute) const {
    return FeatureCounter(*this, ticks, meter, quartersPerMinute).Counts;
}

} // namespace score
