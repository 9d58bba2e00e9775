// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "score/rhythm.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>

namespace score {

namespace {

// Costs are negative logarithms of probabilities.
constexpr double MinTempo = 50; // quarter notes per minute
constexpr double MaxTempo = 210;
constexpr double TempoStep = 0.025;      // ratio by which the tempo may change from note to note
constexpr double TempoStepCost = 1.2;    // of such a change
constexpr double GivenTempoWidth = 0.08; // greatest deviation from a given tempo, as a ratio
constexpr double UsualTempoWidth = 0.35; // standard deviation of a meter's tempo, as a logarithm
constexpr double OnsetJitter = 0.03;     // seconds, standard deviation of a detected onset
constexpr double TimingFreedom = 0.05;   // the player's own, as a share of the time since the last
constexpr double MaxOnsetCost = 6;       // of an onset that is off the grid
constexpr double BeatFollow = 0.5;       // share of an onset's deviation that moves the beat
constexpr double MaxGap = 6e4;           // grid units from one note to the next
constexpr double PruneMargin = 20;       // hypotheses this much above the best one are dropped
constexpr double PickupCost = 1.5;
constexpr double InfiniteCost = std::numeric_limits<double>::infinity();

// The cheapest way to have a note at one position of the bar at one tempo.
struct Hypothesis {
    double Cost = InfiniteCost;
    double Beat = 0; // seconds: the onset without its jitter
};

// How a note's hypothesis follows from one of the note before.
struct Step {
    std::uint16_t Source = 0; // state of the note before
    std::uint16_t Length = 0; // grid units between the two onsets
};

// Finds the cheapest path through a melody in one meter by Viterbi's algorithm. A state is a
// position in the bar at one of the tempos.
class Tracker {
public:
    Tracker(const Meter& meter, Melody melody, double given);
    double LeastCost() const { return Current[BestState()].Cost; }
    Rhythm Trace() const;

private:
    int State(int position, int tempo) const { return tempo * Meter.BarLength + position; }
    int Tempos() const { return static_cast<int>(UnitSeconds.size()); }
    void MakeTempos(double given);
    void AddFirstNote();
    void AddNote(std::size_t note);
    void Extend(std::size_t note, int state, int tempo);
    double SilenceCost(int position, int length) const;
    void AddEnd();
    std::size_t BestState() const;

    const score::Meter& Meter;
    const Melody Notes;
    std::vector<double> UnitSeconds;       // duration of a grid unit at each tempo
    std::array<double, 16> OnsetCost{};    // of an onset at each position of the bar
    std::array<double, 17> NoOnsetCosts{}; // of no onset at all positions before this one
    std::vector<Hypothesis> Current, Next; // by state
    std::vector<std::vector<Step>> Steps;  // for each note, by state
};

Tracker::Tracker(const score::Meter& meter, Melody melody, double given)
    : Meter(meter), Notes(melody), Steps(melody.size()) {
    for (int position = 0; position < Meter.BarLength; ++position) {
        const auto at = static_cast<std::size_t>(position);
        OnsetCost[at] = -std::log(Meter.OnsetProbability[at]);
        NoOnsetCosts[at + 1] = NoOnsetCosts[at] - std::log(1 - Meter.OnsetProbability[at]);
    }
    MakeTempos(given);
    AddFirstNote();
    for (std::size_t note = 1; note < Notes.size(); ++note) AddNote(note);
    AddEnd();
}

void Tracker::MakeTempos(double given) {
    const double first = given > 0 ? given * (1 - GivenTempoWidth) : MinTempo;
    const double last = given > 0 ? given * (1 + GivenTempoWidth) : MaxTempo;
    for (double tempo = first; tempo <= last; tempo *= 1 + TempoStep)
        UnitSeconds.push_back(60 / tempo / GridUnitsPerQuarter);
}

void Tracker::AddFirstNote() {
    Current.resize(UnitSeconds.size() * static_cast<std::size_t>(Meter.BarLength));
    for (int tempo = 0; tempo < Tempos(); ++tempo) {
        const double unit = UnitSeconds[static_cast<std::size_t>(tempo)];
        const double quarters = 60 / GridUnitsPerQuarter / unit; // per minute
        const double unusual = std::log(quarters / Meter.UsualTempo) / UsualTempoWidth;
        for (int position = 0; position < Meter.BarLength; ++position) {
            const double cost = Meter.PriorCost + unusual * unusual / 2 +
                                (position > 0 ? PickupCost : 0) +
                                OnsetCost[static_cast<std::size_t>(position)];
            Current[static_cast<std::size_t>(State(position, tempo))] = {cost, Notes[0].Onset};
        }
    }
}

// The cost of no onset at the positions between two notes. A pause counts as two bars at most.
double Tracker::SilenceCost(int position, int length) const {
    const int bar = Meter.BarLength;
    if (length > 2 * bar) length = bar + length % bar;
    const int end = position + length;
    const auto upTo = [&](int at) {
        return at / bar * NoOnsetCosts[static_cast<std::size_t>(bar)] +
               NoOnsetCosts[static_cast<std::size_t>(at % bar)];
    };
    return upTo(end) - upTo(position + 1);
}

void Tracker::Extend(std::size_t note, int state, int tempo) {
    const Hypothesis before = Current[static_cast<std::size_t>(state)];
    const double unit = UnitSeconds[static_cast<std::size_t>(tempo)];
    const double onset = Notes[note].Onset;
    const double jitter = std::hypot(OnsetJitter, TimingFreedom * (onset - Notes[note - 1].Onset));
    const int position = state % Meter.BarLength;
    const int nearest = static_cast<int>(std::min((onset - before.Beat) / unit, MaxGap) + 0.5);
    const int around = 2 + std::min(nearest / 8, Meter.BarLength);
    const double change = tempo == state / Meter.BarLength ? 0 : TempoStepCost;
    for (int length = std::max(1, nearest - around); length <= nearest + around; ++length) {
        const double beat = before.Beat + length * unit;
        const double off = (onset - beat) / jitter;
        const int next = (position + length) % Meter.BarLength;
        const double unfit = std::min(off * off / 2, MaxOnsetCost);
        const double cost = before.Cost + change + unfit + SilenceCost(position, length) +
                            OnsetCost[static_cast<std::size_t>(next)];
        const auto target = static_cast<std::size_t>(State(next, tempo));
        if (cost >= Next[target].Cost) continue;
        Next[target] = {cost, unfit < MaxOnsetCost ? beat + BeatFollow * (onset - beat) : onset};
        Steps[note][target] = {static_cast<std::uint16_t>(state),
                               static_cast<std::uint16_t>(length)};
    }
}

void Tracker::AddNote(std::size_t note) {
    Next.assign(Current.size(), {});
    Steps[note].resize(Current.size());
    const double most = LeastCost() + PruneMargin;
    for (int state = 0; state < static_cast<int>(Current.size()); ++state) {
        if (Current[static_cast<std::size_t>(state)].Cost > most) continue;
        const int tempo = state / Meter.BarLength;
        const int slowest = std::max(0, tempo - 1);
        for (int next = slowest; next <= std::min(tempo + 1, Tempos() - 1); ++next)
            Extend(note, state, next);
    }
    Current.swap(Next);
}

// A melody is likely to end where notes are likely to begin: the last position counts twice.
void Tracker::AddEnd() {
    for (std::size_t state = 0; state < Current.size(); ++state)
        Current[state].Cost += OnsetCost[state % static_cast<std::size_t>(Meter.BarLength)];
}

std::size_t Tracker::BestState() const {
    const auto best = std::ranges::min_element(Current, {}, &Hypothesis::Cost);
    return static_cast<std::size_t>(best - Current.begin());
}

Rhythm Tracker::Trace() const {
    Rhythm rhythm;
    rhythm.Meter = &Meter;
    rhythm.Onsets.resize(Notes.size());
    rhythm.UnitSeconds.resize(Notes.size());
    const auto bar = static_cast<std::size_t>(Meter.BarLength);
    std::size_t state = BestState();
    for (std::size_t note = Notes.size(); note-- > 0;) {
        rhythm.UnitSeconds[note] = UnitSeconds[state / bar];
        if (note == 0) break;
        rhythm.Onsets[note] = Steps[note][state].Length;
        state = Steps[note][state].Source;
    }
    rhythm.Onsets[0] = static_cast<int>(state % bar);
    for (std::size_t note = 1; note < Notes.size(); ++note)
        rhythm.Onsets[note] += rhythm.Onsets[note - 1];
    const int units = rhythm.Onsets.back() - rhythm.Onsets.front();
    const auto [least, most] = std::ranges::minmax(rhythm.UnitSeconds);
    const double seconds = (Notes.back().Onset - Notes.front().Onset) / std::max(1, units);
    rhythm.QuartersPerMinute = 60 / GridUnitsPerQuarter / std::clamp(seconds, least, most);
    return rhythm;
}

} // namespace

Rhythm FindRhythm(Melody melody, double quartersPerMinute) {
    Rhythm best;
    double least = InfiniteCost;
    for (const Meter& meter : Meters()) {
        const Tracker tracker(meter, melody, quartersPerMinute);
        if (tracker.LeastCost() >= least) continue;
        least = tracker.LeastCost();
        best = tracker.Trace();
    }
    if (quartersPerMinute > 0) best.QuartersPerMinute = quartersPerMinute;
    return best;
}

} // namespace score
