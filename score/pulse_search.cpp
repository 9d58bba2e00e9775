// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "score/pulse_search.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <utility>

namespace score {

namespace {

// Costs are negative logarithms of probabilities.
constexpr double Jitter = 0.018;         // seconds, standard deviation of a played onset
constexpr double TempoDrift = 0.02;      // relative standard deviation of the tempo per pulse
constexpr double FirstTempoWidth = 0.04; // relative, of a tempo that the search starts with
constexpr double TempoStep = 0.04;       // ratio between two of these
constexpr double UsualPulse = 105;       // per minute
constexpr double UsualPulseWidth = 0.4;  // standard deviation as a logarithm
constexpr double Freedom = 8;      // degrees of freedom of Student's distribution of deviations
constexpr double MaxOnsetCost = 9; // of an onset that is off the grid
constexpr double LongestGap = 96;  // pulses
constexpr int CountedPulses = 4;   // of a long gap, for the cost of their silence
constexpr double PruneMargin = 16; // hypotheses this much above the best one are dropped
constexpr std::size_t MostHypotheses = 100;
constexpr double TempoJump = 8;        // cost of a sudden change of tempo
constexpr double LeastTempoJump = .15; // as a logarithm, as the next two
constexpr double MostTempoJump = .3;
constexpr double TempoJumpWidth = .35; // standard deviation
constexpr double RitardandoCost = 5;   // of its beginning
constexpr double MostCostBefore = 2;   // one begins only in hypotheses that are this likely
constexpr double ReturnCost = 2;       // of its end, where the tempo before returns
constexpr double Slowing = 0.12;       // relative, per pulse of a ritardando
constexpr double SlowingWidth = 0.07;  // standard deviation of that
constexpr double MostSlowing = 2.3;    // times the pulse before
constexpr std::size_t FreeOnsets = 6;  // the first ones, without MostHypotheses

// An onset at a tick of a pulse, with the pulse's tempo as a Kalman filter estimates it.
struct Hypothesis {
    double Cost = INFINITY;
    double Time = 0;   // seconds: the onset without its jitter
    double Period = 0; // seconds of a pulse
    double TimeVariance = 0, Covariance = 0, PeriodVariance = 0;
    double SteadyPeriod = 0; // in a ritardando: Period before it; 0 elsewhere
    std::uint8_t Tick = 0;
    std::uint8_t Division = 0; // 0 in two, 1 in three
    std::int32_t Source = -1;  // index among those of the onset before
    std::int32_t Gap = 0;      // ticks since the onset before

    // Begins anew at an onset, with a pulse that is known but for FirstTempoWidth.
    void BeginAt(double onset, double period) {
        Time = onset;
        Period = period;
        TimeVariance = Jitter * Jitter;
        Covariance = 0;
        PeriodVariance = std::pow(FirstTempoWidth * period, 2);
    }
};

constexpr auto Cheaper = [](const Hypothesis& a, const Hypothesis& b) { return a.Cost < b.Cost; };

struct Step {
    std::int32_t Source, Gap;
    float Period;
    std::uint8_t Division;
};

class Tracker {
public:
    Tracker(std::span<const double> onsets, const PulseOptions& options, const PulseManner& manner);
    double Cost() const { return Base; }
    PulseTrack Trace() const;

private:
    void AddFirst();
    void AddOnset(std::size_t index);
    void Extend(const Hypothesis& from, std::int32_t source, double onset);
    void Move(const Hypothesis& from, std::int32_t source, int division, int gap, double onset);
    double TimeOf(int tick, int division) const;
    double SilenceBetween(const Hypothesis& from, int division, int gap) const;
    void Offer(const Hypothesis& hypothesis);
    void AddTempoJumps(double onset);
    void AddReturns(double onset);
    static std::size_t SlotOf(const Hypothesis& hypothesis);
    void Prune(bool limited);

    std::span<const double> Onsets;
    PulseOptions Options;
    const PulseManner& Style;
    const PulseDivision (&Divisions)[2];
    std::vector<Hypothesis> Current, Next;
    std::vector<std::int32_t> Slots; // indices in Next
    std::vector<std::vector<Step>> Steps;
    double Least = INFINITY; // cost of the best one in Next
    double Base = 0;         // what has been subtracted from all costs
};

constexpr double SlotTempo = 0.03; // relative width of the tempos that share a slot
constexpr double ShortestPeriod = 0.2, LongestPeriod = 2.5;

std::size_t TempoSlot(double period) {
    return static_cast<std::size_t>(
        std::log(std::clamp(period, ShortestPeriod, LongestPeriod) / ShortestPeriod) / SlotTempo);
}

Tracker::Tracker(std::span<const double> onsets, const PulseOptions& options,
                 const PulseManner& manner)
    : Onsets(onsets), Options(options), Style(manner), Divisions(manner.Divisions),
      Slots((TempoSlot(LongestPeriod) + 1) * TicksPerPulse * 4, -1) {
    AddFirst();
    for (std::size_t index = 1; index < onsets.size(); ++index) AddOnset(index);
}

void Tracker::AddFirst() {
    const double slowest = 60 / Options.MinPulsesPerMinute;
    const double fastest = 60 / Options.MaxPulsesPerMinute;
    const int tempos = 1 + static_cast<int>(std::log(slowest / fastest) / TempoStep);
    for (int i = 0; i < tempos; ++i) {
        Hypothesis first;
        first.BeginAt(Onsets[0], fastest * std::exp(i * TempoStep));
        const double unusual = std::log(60 / first.Period / UsualPulse) / UsualPulseWidth;
        for (int division = Options.Binary ? 0 : 1; division < (Options.Ternary ? 2 : 1);
             ++division) {
            first.Division = static_cast<std::uint8_t>(division);
            for (std::uint8_t tick = 0; tick < TicksPerPulse; ++tick) {
                first.Tick = tick;
                first.Cost = unusual * unusual / 2 + Divisions[division].OnsetCost[tick];
                Offer(first);
            }
        }
    }
    Prune(false);
}

void Tracker::AddOnset(std::size_t index) {
    for (std::size_t i = 0; i < Current.size(); ++i) {
        const auto source = static_cast<std::int32_t>(i);
        Extend(Current[i], source, Onsets[index]);
        if (Current[i].SteadyPeriod > 0 || Current[i].Cost > MostCostBefore) continue;
        Hypothesis slowing = Current[i];
        slowing.SteadyPeriod = slowing.Period;
        slowing.Cost += RitardandoCost;
        Extend(slowing, source, Onsets[index]);
    }
    AddReturns(Onsets[index]);
    if (Options.TempoJumps) AddTempoJumps(Onsets[index]);
    Prune(index >= FreeOnsets);
}

void Tracker::Extend(const Hypothesis& from, std::int32_t source, double onset) {
    const double pulses = std::min((onset - from.Time) / from.Period, LongestGap);
    const double gap = pulses * TicksPerPulse;
    const double width = (7.0 / 24 + 0.15 * std::clamp(pulses, 0.0, 4.0)) * TicksPerPulse;
    const int first = std::max(1, static_cast<int>(gap - width));
    const int last = std::max(first + TicksPerPulse / 2, static_cast<int>(gap + width + 1));
    for (int division = Options.Binary ? 0 : 1; division < (Options.Ternary ? 2 : 1); ++division) {
        for (int to = first; to <= last; ++to) {
            const int end = from.Tick + to;
            if (division != from.Division && end < TicksPerPulse) continue;
            if (Divisions[division].OnsetCost[static_cast<std::size_t>(end % TicksPerPulse)] <
                INFINITY)
                Move(from, source, division, to, onset);
        }
    }
}

double Tracker::SilenceBetween(const Hypothesis& from, int division, int gap) const {
    const PulseDivision& before = Divisions[from.Division];
    const PulseDivision& after = Divisions[division];
    const auto begin = static_cast<std::size_t>(from.Tick + 1);
    const int end = from.Tick + gap;
    const auto tick = static_cast<std::size_t>(end % TicksPerPulse);
    if (end < TicksPerPulse) return before.SilenceCost[tick] - before.SilenceCost[begin];
    const int whole = std::min(end / TicksPerPulse - 1, CountedPulses);
    return before.SilenceCost[TicksPerPulse] - before.SilenceCost[begin] +
           whole * before.SilenceCost[TicksPerPulse] + after.SilenceCost[tick];
}

// The time of a tick in its pulse, as a share of the pulse.
double Tracker::TimeOf(int tick, int division) const {
    constexpr int half = TicksPerPulse / 2;
    if (division == 1) return static_cast<double>(tick) / TicksPerPulse;
    const double before = static_cast<double>(std::min(tick, half)) / half;
    const double behind = static_cast<double>(std::max(tick - half, 0)) / half;
    return before * Style.OffBeat + behind * (1 - Style.OffBeat);
}

// Predicts the onset at that gap, compares it with the one played, and corrects time and tempo.
void Tracker::Move(const Hypothesis& from, std::int32_t source, int division, int gap,
                   double onset) {
    const int end = from.Tick + gap;
    const auto tick = static_cast<std::size_t>(end % TicksPerPulse);
    const double cost = from.Cost + (division == from.Division ? 0 : Style.DivisionChange) +
                        SilenceBetween(from, division, gap) + Divisions[division].OnsetCost[tick];
    if (cost > Least + PruneMargin) return;
    Hypothesis to = from;
    const int whole = end / TicksPerPulse;
    const double length =
        whole + TimeOf(static_cast<int>(tick), division) - TimeOf(from.Tick, from.Division);
    const double counted = std::min(length, 4.0);
    const bool slows = from.SteadyPeriod > 0;
    if (slows && from.Period > MostSlowing * from.SteadyPeriod) return;
    const double slowed = slows ? Slowing * counted : 0;
    const double expected = from.Time + length * from.Period * (1 + slowed / 2);
    to.Period *= 1 + slowed;
    to.PeriodVariance += std::pow((slows ? SlowingWidth : TempoDrift) * from.Period, 2) * counted;
    to.TimeVariance += 2 * counted * from.Covariance + counted * counted * to.PeriodVariance +
                       std::pow(Style.LocalStretch * counted * from.Period, 2);
    to.Covariance += counted * to.PeriodVariance;
    const double innovation = to.TimeVariance + Jitter * Jitter;
    const double off = onset - expected;
    const double unfit = (Freedom + 1) / 2 * std::log1p(off * off / innovation / Freedom);
    to.Tick = static_cast<std::uint8_t>(tick);
    to.Division = static_cast<std::uint8_t>(division);
    to.Source = source;
    to.Gap = gap;
    to.Cost = cost + std::min(unfit, MaxOnsetCost) + std::log(innovation / Jitter / Jitter) / 2;
    if (to.Cost > Least + PruneMargin) return;
    if (unfit >= MaxOnsetCost) { // an uncounted pause: the pulse begins anew
        to.Time = onset;
        to.TimeVariance = Jitter * Jitter;
        to.PeriodVariance = from.PeriodVariance;
        to.Covariance = 0;
    } else {
        const double gain = to.TimeVariance / innovation;
        const double tempoGain = to.Covariance / innovation;
        to.Time = expected + gain * off;
        to.Period = std::clamp(to.Period + tempoGain * off, ShortestPeriod, LongestPeriod);
        to.PeriodVariance -= tempoGain * to.Covariance;
        to.Covariance *= 1 - gain;
        to.TimeVariance *= 1 - gain;
    }
    Offer(to);
}

// Behind a long note, lets the likeliest hypothesis at each tick go on in other tempos too.
void Tracker::AddTempoJumps(double onset) {
    std::array<Hypothesis, TicksPerPulse * 2> likeliest{};
    for (const Hypothesis& one : Next) {
        Hypothesis& best = likeliest[static_cast<std::size_t>(one.Tick * 2 + one.Division)];
        const bool isLong = one.SteadyPeriod == 0 && one.Gap >= TicksPerPulse;
        if (isLong && one.Cost < best.Cost) best = one;
    }
    for (Hypothesis other : likeliest) {
        if (other.Cost + TempoJump > Least + PruneMargin) continue;
        const double cost = other.Cost, period = other.Period;
        for (double jump = LeastTempoJump; jump <= MostTempoJump; jump += TempoStep) {
            other.Cost = cost + TempoJump + std::pow(jump / TempoJumpWidth, 2) / 2;
            for (const double ratio : {std::exp(jump), std::exp(-jump)}) {
                other.BeginAt(onset, period * ratio);
                const double perMinute = 60 / other.Period;
                if (perMinute >= Options.MinPulsesPerMinute &&
                    perMinute <= Options.MaxPulsesPerMinute)
                    Offer(other);
            }
        }
    }
}

// Lets each ritardando end here, and the tempo before it return.
void Tracker::AddReturns(double onset) {
    for (std::size_t i = 0, count = Next.size(); i < count; ++i) {
        Hypothesis one = Next[i];
        if (one.SteadyPeriod == 0) continue;
        one.Cost += ReturnCost;
        if (one.Cost > Least + PruneMargin) continue;
        one.BeginAt(onset, std::exchange(one.SteadyPeriod, 0));
        Offer(one);
    }
}

// Hypotheses share a slot if tempo, tick and division are the same, and both or none slow down.
std::size_t Tracker::SlotOf(const Hypothesis& hypothesis) {
    const std::size_t place = TempoSlot(hypothesis.Period) * TicksPerPulse + hypothesis.Tick;
    return (place * 2 + hypothesis.Division) * 2 + (hypothesis.SteadyPeriod > 0 ? 1 : 0);
}

// Keeps the cheapest hypothesis of each slot.
void Tracker::Offer(const Hypothesis& hypothesis) {
    if (hypothesis.Cost == INFINITY) return;
    std::int32_t& slot = Slots[SlotOf(hypothesis)];
    if (slot < 0) {
        slot = static_cast<std::int32_t>(Next.size());
        Next.push_back(hypothesis);
    } else if (hypothesis.Cost < Next[static_cast<std::size_t>(slot)].Cost) {
        Next[static_cast<std::size_t>(slot)] = hypothesis;
    }
    Least = std::min(Least, hypothesis.Cost);
}

// Makes the best ones of Next the current ones. Costs are kept relative to the least.
void Tracker::Prune(bool limited) {
    for (const Hypothesis& one : Next) Slots[SlotOf(one)] = -1;
    Current.clear();
    double least = INFINITY;
    for (const Hypothesis& one : Next) least = std::min(least, one.Cost);
    for (const Hypothesis& one : Next)
        if (one.Cost <= least + PruneMargin) Current.push_back(one);
    if (limited && Current.size() > MostHypotheses) {
        const auto end = Current.begin() + MostHypotheses;
        std::nth_element(Current.begin(), end, Current.end(), Cheaper);
        Current.erase(end, Current.end());
    }
    std::vector<Step>& steps = Steps.emplace_back();
    steps.reserve(Current.size());
    for (Hypothesis& one : Current) {
        steps.push_back({one.Source, one.Gap, static_cast<float>(one.Period), one.Division});
        one.Cost -= least;
    }
    Base += least;
    Next.clear();
    Least = INFINITY;
}

PulseTrack Tracker::Trace() const {
    PulseTrack track;
    const std::size_t count = Steps.size();
    track.Ticks = std::vector<int>(count);
    track.PulseSeconds = std::vector<double>(count);
    track.InThree.resize(count);
    const auto best = std::min_element(Current.begin(), Current.end(), Cheaper);
    auto at = static_cast<std::size_t>(best - Current.begin());
    int end = 0;
    for (std::size_t index = count; index-- > 0;) {
        const Step& step = Steps[index][at];
        track.Ticks[index] = end;
        track.InThree[index] = step.Division == 1;
        track.PulseSeconds[index] = static_cast<double>(step.Period);
        end -= step.Gap;
        if (index > 0) at = static_cast<std::size_t>(step.Source);
    }
    const int first = Modulo(track.Ticks[0] + best->Tick, TicksPerPulse);
    const int shift = first - track.Ticks[0];
    track.Cost = Base;
    for (int& tick : track.Ticks) tick += shift;
    return track;
}

} // namespace

PulseTrack SearchPulse(std::span<const double> onsets, const PulseOptions& options,
                       const PulseManner& manner) {
    return Tracker(onsets, options, manner).Trace();
}

} // namespace score
