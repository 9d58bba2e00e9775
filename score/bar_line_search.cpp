// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "score/bar_line_search.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace score {

namespace {

constexpr double ShortestShare = 0.24;   // of a held note's length, that is written
constexpr double LongestHold = 2.5;      // bars: a longer pause is meant
constexpr std::size_t SearchedKinds = 4; // meters and scales with which holds are looked for
constexpr std::size_t MostHypotheses = 8;
constexpr int MostOfPhase = 2;          // hypotheses whose last bar lines are at the same place
constexpr std::size_t MostOnsets = 128; // that are looked at together

// Follows the bar lines of one meter and scale through a piece. Each long note may be held; what is
// played so far is scored without the holds of each hypothesis.
class HoldSearch {
public:
    HoldSearch(const std::vector<GridNote>& notes, double pulsesPerMinute,
               const BarLineHints& hints)
        : Notes(notes), Onsets(hints.Stresses.empty() ? TicksOf(notes) : TicksOf(hints.Stresses)),
          AfterLong(FindLongNotes(Onsets)), PulsesPerMinute(pulsesPerMinute), Hints(hints) {}

    // Without holds if there is no long note.
    FoundBarLines Find(std::span<const BarLines> phases) {
        Nodes.clear();
        Begin = 0;
        Current.clear();
        for (const BarLines& lines : phases) Current.push_back({lines});
        for (std::size_t k = 0; k < AfterLong.size(); ++k) {
            End = k + 1 < AfterLong.size() ? AfterLong[k + 1] : Onsets.size();
            Extend(AfterLong[k]);
            Prune();
            if (End - Begin > MostOnsets) Forget(End - MostOnsets / 2);
        }
        FoundBarLines found{Current.front().Lines, {}, {}};
        for (int at = Current.front().Last; at >= 0; at = BeforeOf(at))
            found.Holds.push_back(HoldAt(at));
        std::reverse(found.Holds.begin(), found.Holds.end());
        return found;
    }

private:
    struct Hypothesis {
        BarLines Lines;
        double Score = 0;
        double Base = 0; // part of Score that the notes from Begin on do not give
        int Excess = 0;  // ticks of the pulse, of all holds
        int Last = -1;   // index in Nodes
    };
    struct Node {
        score::Hold Hold;
        int Before; // index of the hold before, or -1
    };

    // Those behind the onset at Begin, and one there for all before.
    std::vector<Hold> RecentHolds(const Hypothesis& hypothesis) const {
        std::vector<Hold> holds;
        int excess = hypothesis.Excess;
        for (int at = hypothesis.Last; at >= 0 && HoldAt(at).Tick > Onsets[Begin];
             at = BeforeOf(at)) {
            holds.push_back(HoldAt(at));
            excess -= HoldAt(at).Excess;
        }
        holds.push_back({Onsets[Begin], excess});
        std::reverse(holds.begin(), holds.end());
        return holds;
    }

    // Of the onsets from Begin to End, without the holds of a hypothesis.
    double ScoreOfRecent(const Hypothesis& hypothesis) const {
        const int first = Onsets[Begin];
        const int end = End < Onsets.size() ? Onsets[End] : Onsets.back() + 1;
        const std::vector<Hold> holds = RecentHolds(hypothesis);
        const auto notes = RemoveHolds(ItemsBetween(Notes, first, end), holds);
        if (notes.empty()) return 0;
        const auto stresses = RemoveHolds(ItemsBetween(Hints.Stresses, first, end), holds);
        return ScoreOf(MeasuredPiece(notes, End == Onsets.size()), hypothesis.Lines,
                       PulsesPerMinute, Hints, stresses);
    }

    // Adds the notes from a long note's end on, with each excess length that it may have.
    void Extend(std::size_t next) {
        const BarLines& lines = Current.front().Lines;
        const int bar = lines.Meter.BarTicks();
        const int tick = Onsets[next];
        const int length = tick - Onsets[next - 1];
        const bool pause = length * lines.Numerator > LongestHold * bar * lines.Denominator;
        const int most = pause ? 0 : static_cast<int>(length * (1 - ShortestShare));
        for (int written = 0; written * lines.Denominator <= most * lines.Numerator;
             written += EighthTicks) {
            if (written * lines.Denominator % lines.Numerator != 0) continue;
            const int excess = written * lines.Denominator / lines.Numerator;
            for (Hypothesis one : Current) {
                if (excess > 0) {
                    if (one.Last >= 0 &&
                        (tick - HoldAt(one.Last).Tick) * lines.Numerator < bar * lines.Denominator)
                        continue; // two holds within a bar
                    Nodes.push_back({{tick, excess}, one.Last});
                    one.Last = static_cast<int>(Nodes.size()) - 1;
                    one.Excess += excess;
                    one.Base -= HoldCost;
                }
                one.Score = one.Base + ScoreOfRecent(one);
                Next.push_back(one);
            }
        }
    }

    // Makes the best ones of Next the current ones.
    void Prune() {
        std::stable_sort(Next.begin(), Next.end(), [](const Hypothesis& a, const Hypothesis& b) {
            return a.Score > b.Score;
        });
        const int bar = Current.front().Lines.Meter.BarTicks();
        std::vector<int> ofPhase(static_cast<std::size_t>(bar / EighthTicks), 0);
        Current.clear();
        for (const Hypothesis& one : Next) {
            const int phase = Modulo(Written(-one.Excess, one.Lines), bar);
            if (++ofPhase[static_cast<std::size_t>(phase / EighthTicks)] > MostOfPhase) continue;
            Current.push_back(one);
            if (Current.size() == MostHypotheses) break;
        }
        Next.clear();
    }

    // Leaves the notes before begin as they are.
    void Forget(std::size_t begin) {
        Begin = begin;
        for (Hypothesis& one : Current) one.Base = one.Score - ScoreOfRecent(one);
    }

    const Hold& HoldAt(int at) const { return Nodes[static_cast<std::size_t>(at)].Hold; }
    int BeforeOf(int at) const { return Nodes[static_cast<std::size_t>(at)].Before; }

    const std::vector<GridNote>& Notes;
    const std::vector<int> Onsets; // ticks of the pulse; of all voices
    const std::vector<std::size_t> AfterLong;
    double PulsesPerMinute;
    const BarLineHints& Hints;
    std::vector<Node> Nodes;
    std::vector<Hypothesis> Current, Next;
    std::size_t Begin = 0, End = 0; // of the onsets that are looked at
};

// Bar lines of one meter and scale.
struct Kind {
    std::span<const BarLines> Phases;
    double Score;
};

} // namespace

FoundBarLines FindBarLines(const std::vector<GridNote>& notes, double pulsesPerMinute,
                           const BarLineHints& hints) {
    const MeasuredPiece piece(notes);
    const std::vector<BarLines> all = ListBarLines(hints, pulsesPerMinute);
    FoundBarLines best;
    double most = -INFINITY;
    std::vector<Kind> kinds;
    for (std::size_t i = 0; i < all.size();) {
        const auto phases = static_cast<std::size_t>(all[i].Meter.BarTicks() / EighthTicks);
        Kind kind{std::span(all).subspan(i, phases), -INFINITY};
        for (const BarLines& lines : kind.Phases) {
            const double score = ScoreOf(piece, lines, pulsesPerMinute, hints, hints.Stresses);
            kind.Score = std::max(kind.Score, score);
            if (score <= most) continue;
            most = score;
            best = {lines, {}, lines};
        }
        kinds.push_back(kind);
        i += phases;
    }
    std::stable_sort(kinds.begin(), kinds.end(),
                     [](const Kind& a, const Kind& b) { return a.Score > b.Score; });
    if (kinds.size() > SearchedKinds) kinds.erase(kinds.begin() + SearchedKinds, kinds.end());
    HoldSearch search(notes, pulsesPerMinute, hints);
    for (const Kind& kind : kinds) {
        FoundBarLines found = search.Find(kind.Phases);
        if (found.Holds.empty()) continue;
        const std::vector<GridNote> shortened = RemoveHolds(notes, found.Holds);
        const double score = ScoreOf(MeasuredPiece(shortened), found.Lines, pulsesPerMinute, hints,
                                     RemoveHolds(hints.Stresses, found.Holds)) -
                             CostOf(found.Holds);
        if (score <= most) continue;
        most = score;
        best.Lines = found.Lines;
        best.Holds = std::move(found.Holds);
    }
    return best;
}

} // namespace score
