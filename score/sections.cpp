// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "score/sections.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace score {

namespace {

constexpr double ChangeCost = 2.25;         // of a change of meter
constexpr std::size_t ShortestSection = 24; // notes
constexpr std::size_t LongestPiece = 1000;  // notes: in longer ones the search would take too long
constexpr std::size_t MostAround = 200;     // notes before and behind a change that are looked at
constexpr std::size_t MostSpacing = 24;     // notes between places that are tried first
constexpr std::size_t FewestTried = 16;     // of these places
constexpr std::size_t FewAround = 100;      // notes before and behind them

// 2/4 and 4/4, or 6/8 and 12/8, differ in where some bar lines are, not in how the music goes.
bool SameKind(const TimeSignature& a, const TimeSignature& b) {
    const auto beats = [](const TimeSignature& meter) {
        const int felt = meter.IsCompound() ? meter.Beats / 3 : meter.Beats;
        return felt == 4 ? 2 : felt;
    };
    return a.IsCompound() == b.IsCompound() && beats(a) == beats(b);
}

bool SameScale(const BarLines& a, const BarLines& b) {
    return a.Numerator * b.Denominator == b.Numerator * a.Denominator;
}

// The first bar line that is not before a tick of the pulse, in written ticks without phase.
int FirstBarLine(int tick, const BarLines& lines) {
    const int written = Written(tick, lines);
    return written - lines.Phase + Modulo(-written, lines.Meter.BarTicks());
}

// Those of the ascending numbers that are at least first and at most last.
std::span<const std::size_t> Between(std::span<const std::size_t> numbers, std::size_t first,
                                     std::size_t last) {
    const auto begin = std::lower_bound(numbers.begin(), numbers.end(), first);
    const auto end = std::upper_bound(begin, numbers.end(), last);
    return numbers.subspan(static_cast<std::size_t>(begin - numbers.begin()),
                           static_cast<std::size_t>(end - begin));
}

// Those of the accompaniment of some notes.
std::vector<Stress> StressesOf(std::span<const GridNote> notes, const BarLineHints& hints) {
    return ItemsBetween(hints.Stresses, notes.front().Tick, notes.back().Tick + 1);
}

class SectionFinder {
public:
    SectionFinder(const std::vector<GridNote>& notes, double pulsesPerMinute,
                  const BarLineHints& hints, const BarLines& whole)
        : Notes(notes), PulsesPerMinute(pulsesPerMinute), Hints(hints),
          Splits(FindLongNotes(TicksOf(notes))) {
        for (const BarLines& lines : ListBarLines(hints, pulsesPerMinute))
            if (SameScale(lines, whole)) Candidates.push_back(lines);
    }

    // Adds the first notes of the sections behind the first one. Places are tried at some distance
    // first, then around those where a change is likely.
    void FindBegins(std::size_t begin, std::size_t end) {
        if (end - begin < 2 * ShortestSection) return;
        const auto places = Between(Splits, begin + ShortestSection, end - ShortestSection);
        const std::size_t spacing = std::min(MostSpacing, 1 + (end - begin) / FewestTried);
        std::size_t best = 0;
        double most = ChangeCost;
        std::size_t next = 0;     // place to be tried
        std::size_t searched = 0; // places before this one have been looked at closely
        for (const std::size_t split : places) {
            if (split < next) continue;
            next = split + spacing;
            if (Gain(begin, split, end, FewAround) <= 0) continue;
            const std::size_t first = std::max(searched, split + 1 - spacing);
            for (const std::size_t place : Between(places, first, next - 1)) {
                const double gain = Gain(begin, place, end, MostAround);
                if (gain > most) {
                    most = gain;
                    best = place;
                }
            }
            searched = next;
        }
        if (best == 0) return;
        FindBegins(begin, best);
        Begins.push_back(best);
        FindBegins(best, end);
    }

    std::vector<Section> Choose() const;
    std::vector<std::size_t> Begins;

private:
    std::vector<double> Scores(std::size_t begin, std::size_t end) const {
        const std::span<const GridNote> notes = Notes.subspan(begin, end - begin);
        const MeasuredPiece piece(notes);
        const auto stresses = StressesOf(notes, Hints);
        std::vector<double> scores;
        for (const BarLines& lines : Candidates)
            scores.push_back(ScoreOf(piece, lines, PulsesPerMinute, Hints, stresses));
        return scores;
    }
    bool MayFollow(const BarLines& before, const BarLines& after, std::size_t split) const {
        return !SameKind(before.Meter, after.Meter) &&
               (FirstBarLine(Notes[split].Tick, after) + before.Phase) % before.Meter.BarTicks() ==
                   0;
    }
    // How much likelier the notes are with another meter from split on than with the same. around:
    // how many notes before and behind are looked at.
    double Gain(std::size_t begin, std::size_t split, std::size_t end, std::size_t around) const {
        const auto a = Scores(std::max(begin, split - std::min(split, around)), split);
        const auto b = Scores(split, std::min(end, split + around));
        double same = -INFINITY, other = -INFINITY;
        for (std::size_t i = 0; i < a.size(); ++i) same = std::max(same, a[i] + b[i]);
        for (std::size_t i = 0; i < a.size(); ++i)
            for (std::size_t k = 0; k < b.size(); ++k)
                if (a[i] + b[k] > other && MayFollow(Candidates[i], Candidates[k], split))
                    other = a[i] + b[k];
        return other - same;
    }

    std::span<const GridNote> Notes;
    double PulsesPerMinute;
    const BarLineHints& Hints;
    std::vector<std::size_t> Splits;
    std::vector<BarLines> Candidates;
};

// The likeliest bar lines of all sections together.
std::vector<Section> SectionFinder::Choose() const {
    std::vector<std::vector<double>> best;
    std::vector<std::vector<std::size_t>> sources;
    for (std::size_t n = 0; n <= Begins.size(); ++n) {
        const std::size_t begin = n == 0 ? 0 : Begins[n - 1];
        best.push_back(Scores(begin, n < Begins.size() ? Begins[n] : Notes.size()));
        sources.emplace_back(Candidates.size(), 0);
        for (std::size_t k = 0; n > 0 && k < Candidates.size(); ++k) {
            double most = -INFINITY;
            for (std::size_t i = 0; i < Candidates.size(); ++i)
                if (best[n - 1][i] > most && MayFollow(Candidates[i], Candidates[k], begin)) {
                    most = best[n - 1][i];
                    sources[n][k] = i;
                }
            best[n][k] += most;
        }
    }
    std::vector<Section> sections(best.size());
    auto at = static_cast<std::size_t>(std::max_element(best.back().begin(), best.back().end()) -
                                       best.back().begin());
    for (std::size_t n = best.size(); n-- > 0;) {
        sections[n].Lines = Candidates[at];
        at = sources[n][at];
    }
    for (std::size_t n = 1; n < sections.size(); ++n) {
        sections[n].Note = Begins[n - 1];
        sections[n].Begin = FirstBarLine(Notes[sections[n].Note].Tick, sections[n].Lines);
    }
    return sections;
}

// whole: the likeliest bar lines if the meter does not change.
std::vector<Section> Divide(const std::vector<GridNote>& notes, double pulsesPerMinute,
                            const BarLineHints& hints, const BarLines& whole) {
    SectionFinder finder(notes, pulsesPerMinute, hints, whole);
    finder.FindBegins(0, notes.size());
    if (finder.Begins.empty()) return {{0, 0, whole}};
    std::vector<Section> sections = finder.Choose();
    int begin = Written(notes.front().Tick, whole) - whole.Phase;
    for (std::size_t n = 1; n < sections.size(); ++n) {
        // A section has at least one bar.
        if (sections[n].Begin - begin < sections[n - 1].Lines.Meter.BarTicks())
            return {{0, 0, whole}};
        begin = sections[n].Begin;
    }
    return sections;
}

double ScoreOf(std::span<const GridNote> notes, std::span<const Section> sections,
               double pulsesPerMinute, const BarLineHints& hints) {
    double score = 0;
    for (std::size_t n = 0; n < sections.size(); ++n) {
        const std::size_t end = n + 1 < sections.size() ? sections[n + 1].Note : notes.size();
        const auto own = notes.subspan(sections[n].Note, end - sections[n].Note);
        score += ScoreOf(MeasuredPiece(own), sections[n].Lines, pulsesPerMinute, hints,
                         StressesOf(own, hints));
    }
    return score;
}

} // namespace

FoundSections FindSections(const std::vector<GridNote>& notes, double pulsesPerMinute,
                           const BarLineHints& hints, const FoundBarLines& found) {
    if (hints.Meter || hints.PickupTicks || notes.size() > LongestPiece)
        return {{{0, 0, found.Lines}}, found.Holds};
    const std::vector<GridNote> shortened = RemoveHolds(notes, found.Holds);
    BarLineHints shortenedHints = hints;
    shortenedHints.Stresses = RemoveHolds(hints.Stresses, found.Holds);
    if (!found.Holds.empty()) {
        std::vector<Section> sections = Divide(notes, pulsesPerMinute, hints, found.WithoutHolds);
        std::vector<Section> same = sections;
        for (Section& section : same) section.Lines = found.Lines;
        const double changes = ChangeCost * static_cast<double>(sections.size() - 1);
        if (sections.size() > 1 &&
            ScoreOf(notes, sections, pulsesPerMinute, hints) - changes >
                ScoreOf(shortened, same, pulsesPerMinute, shortenedHints) - CostOf(found.Holds))
            return {std::move(sections), {}};
    }
    return {Divide(shortened, pulsesPerMinute, shortenedHints, found.Lines), found.Holds};
}

} // namespace score
