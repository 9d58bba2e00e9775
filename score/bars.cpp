// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "score/bars.h"

#include <algorithm>

namespace score {

namespace {

constexpr int Duplet = 3 * SixteenthTicks; // half of a dotted quarter

// What sounds in a voice from one tick of a bar to another.
struct Piece {
    const std::vector<int>* Notes; // null for a rest
    int Begin, End;                // ticks from the beginning of the bar
    bool TieStop, TieStart;
};

// A part of a bar whose notes are written as a tuplet.
struct Tuplet {
    int Begin, End;
    int Actual, Normal;
};

// Whether one symbol shows a length. The shortest value has no dot, and neither has a whole note.
bool IsWritable(int length) {
    return std::any_of(std::begin(NoteTypes), std::end(NoteTypes), [&](const NoteType& type) {
        const bool dots = type.Ticks != WholeTicks && type.Ticks != ShortestTicks;
        return length == type.Ticks || (dots && length == type.Ticks * 3 / 2);
    });
}

// The beat that symbols must leave visible: a half note's two quarters are seen as well.
int VisibleBeat(const TimeSignature& meter) {
    return meter.IsCompound() ? meter.BeatTicks() : TicksPerQuarter;
}

// Whether a symbol at that position leaves the beats visible. A symbol on a beat may fill whole
// beats or end within its beat; one between beats must not cross the next beat, except a quarter
// note on an off-beat.
bool IsReadable(int position, int length, const TimeSignature& meter, bool rest) {
    const int beat = VisibleBeat(meter);
    const bool quarterBeat = beat == TicksPerQuarter;
    const int toNext = beat - position % beat;
    if (!IsWritable(length)) return false;
    // Off the grid of sixteenths, a symbol must not cross the next eighth, and so on.
    for (int grid = EighthTicks; grid > 2 * ShortestTicks; grid /= 2)
        if (position % (grid / 2) != 0 && length > grid - position % grid) return false;
    if (length <= toNext)
        return quarterBeat || position % EighthTicks == 0 || length <= SixteenthTicks;
    const int half = meter.BarTicks() == WholeTicks ? HalfTicks : meter.BarTicks();
    if (rest) return position % beat == 0 && length % beat == 0 && position % length == 0;
    if (position % beat == 0)
        return length % beat == 0 || (quarterBeat && length == 3 * EighthTicks);
    const bool syncopation =
        quarterBeat && position % EighthTicks == 0 && length == TicksPerQuarter;
    return syncopation && position / half == (position + length - 1) / half;
}

NoteValue ValueOf(int length) {
    for (const NoteType& type : NoteTypes)
        if (length >= type.Ticks) return {type.Ticks, length == type.Ticks * 3 / 2, 1, 1};
    return {};
}

// Whether some boundary lies strictly between two ticks and fulfils a condition.
template <class Condition>
bool AnyInside(const std::vector<int>& boundaries, int begin, int end, Condition condition) {
    return std::any_of(boundaries.begin(), boundaries.end(),
                       [&](int at) { return at > begin && at < end && condition(at - begin); });
}

// Tuplets are seen in the boundaries between pieces. Triplets of quarters fill a half note, those
// of eighths a quarter; in compound meters, those of sixteenths fill an eighth, and duplets a beat.
std::vector<Tuplet> FindTuplets(const std::vector<int>& boundaries, const TimeSignature& meter) {
    std::vector<Tuplet> tuplets;
    const auto third = [](int at) { return at % ShortestTicks != 0; };
    const int bar = meter.BarTicks();
    if (meter.IsCompound()) {
        for (int beat = 0; beat < bar; beat += meter.BeatTicks()) {
            const int end = beat + meter.BeatTicks();
            if (AnyInside(boundaries, beat, end, [](int at) { return at == Duplet; }) &&
                !AnyInside(boundaries, beat, end, [](int at) { return at != Duplet; })) {
                tuplets.push_back({beat, end, 2, 3});
                continue;
            }
            for (int at = beat; at < end; at += EighthTicks)
                if (AnyInside(boundaries, at, at + EighthTicks, third))
                    tuplets.push_back({at, at + EighthTicks, 3, 2});
        }
        return tuplets;
    }
    for (int beat = 0; beat < bar;) {
        const int half = beat + HalfTicks;
        const auto quarters = [](int at) { return at == HalfTicks / 3 || at == HalfTicks * 2 / 3; };
        const auto others = [&](int at) { return !quarters(at); };
        if (beat % HalfTicks == 0 && half <= bar && AnyInside(boundaries, beat, half, quarters) &&
            !AnyInside(boundaries, beat, half, others)) {
            tuplets.push_back({beat, half, 3, 2});
            beat = half;
            continue;
        }
        if (AnyInside(boundaries, beat, beat + TicksPerQuarter, third))
            tuplets.push_back({beat, beat + TicksPerQuarter, 3, 2});
        beat += TicksPerQuarter;
    }
    return tuplets;
}

// Adds rests where a secondary voice has gaps within a tuplet.
std::vector<Piece> FillTuplets(const std::vector<Piece>& pieces,
                               const std::vector<Tuplet>& tuplets) {
    std::vector<Piece> filled;
    int at = 0;
    const auto fill = [&](int end) {
        for (const Tuplet& tuplet : tuplets) {
            const int first = std::max(at, tuplet.Begin), last = std::min(end, tuplet.End);
            if (first < last) filled.push_back({nullptr, first, last, false, false});
        }
    };
    for (const Piece& piece : pieces) {
        fill(piece.Begin);
        filled.push_back(piece);
        at = piece.End;
    }
    if (!pieces.empty() && !tuplets.empty()) fill(tuplets.back().End);
    return filled;
}

// Writes the pieces of a voice in one bar as symbols.
class SymbolWriter {
public:
    SymbolWriter(const TimeSignature& meter, std::vector<Symbol>& symbols)
        : Meter(meter), Symbols(symbols) {}
    void Write(const std::vector<Piece>& pieces) {
        std::vector<int> boundaries;
        boundaries.reserve(2 * pieces.size());
        for (const Piece& piece : pieces) boundaries.push_back(piece.Begin);
        for (const Piece& piece : pieces) boundaries.push_back(piece.End);
        const std::vector<Tuplet> tuplets = FindTuplets(boundaries, Meter);
        for (const Piece& piece : FillTuplets(pieces, tuplets)) {
            int at = piece.Begin;
            for (const Tuplet& tuplet : tuplets) {
                if (tuplet.End <= at || tuplet.Begin >= piece.End) continue;
                WritePlain(piece, at, tuplet.Begin);
                at = std::max(at, tuplet.Begin);
                WriteInTuplet(piece, at, std::min(piece.End, tuplet.End), tuplet);
                at = std::min(piece.End, tuplet.End);
            }
            WritePlain(piece, at, piece.End);
        }
    }

private:
    void Add(const Piece& piece, int at, int length, const NoteValue& value) {
        Symbol symbol{{}, at, length, value};
        if (piece.Notes) {
            symbol.Notes = *piece.Notes;
            symbol.TieStop = at > piece.Begin || piece.TieStop;
            symbol.TieStart = at + length < piece.End || piece.TieStart;
        }
        Symbols.push_back(std::move(symbol));
    }
    void WritePlain(const Piece& piece, int at, int end) {
        while (at < end) {
            int length = end - at;
            while (length > ShortestTicks && !IsReadable(at, length, Meter, !piece.Notes)) --length;
            length = std::min(length, end - at);
            Add(piece, at, length, ValueOf(length));
            at += length;
        }
    }
    void WriteInTuplet(const Piece& piece, int at, int end, const Tuplet& tuplet) {
        while (at < end) {
            int nominal = (end - at) * tuplet.Actual / tuplet.Normal;
            while (nominal > ShortestTicks && !IsWritable(nominal)) --nominal;
            NoteValue value = ValueOf(nominal);
            value.Actual = tuplet.Actual;
            value.Normal = tuplet.Normal;
            const int length = std::max(1, nominal * tuplet.Normal / tuplet.Actual);
            Add(piece, at, length, value);
            Symbols.back().TupletBegin = at == tuplet.Begin;
            at += length;
            Symbols.back().TupletEnd = at == tuplet.End;
        }
    }

    const TimeSignature& Meter;
    std::vector<Symbol>& Symbols;
};

// Cuts a voice at bar lines.
class BarCutter {
public:
    BarCutter(std::vector<Bar>& bars, const std::vector<int>& begins, std::size_t voice)
        : Bars(bars), Begins(begins), Voice(voice) {}
    void Add(const std::vector<int>* notes, int begin, int end) {
        for (int at = begin; at < end;) {
            while (Current + 1 < Begins.size() && at >= Begins[Current + 1]) Flush();
            const int barEnd = Begins[Current] + Bars[Current].Meter.BarTicks();
            const int until = std::min(end, barEnd);
            Pieces.push_back(
                {notes, at - Begins[Current], until - Begins[Current], at > begin, until < end});
            at = until;
        }
    }
    void Flush() {
        SymbolWriter(Bars[Current].Meter, Bars[Current].Voices[Voice]).Write(Pieces);
        Pieces.clear();
        ++Current;
    }

private:
    std::vector<Bar>& Bars;
    const std::vector<int>& Begins;
    std::size_t Voice;
    std::size_t Current = 0; // index of the bar that is being filled
    std::vector<Piece> Pieces;
};

} // namespace

std::vector<Bar> MakeBars(const Rhythm& rhythm, const std::vector<Voice>& voices) {
    int end = 1;
    for (const Voice& voice : voices)
        for (const Chord& chord : voice.Chords) end = std::max(end, chord.Onset + chord.Length);
    std::vector<Bar> bars;
    std::vector<int> begins;
    auto change = rhythm.Meters.begin();
    for (int begin = 0; begin < end; begin += bars.back().Meter.BarTicks()) {
        if (change + 1 != rhythm.Meters.end() && static_cast<int>(bars.size()) >= (change + 1)->Bar)
            ++change;
        bars.push_back({change->Meter, 0, std::vector<std::vector<Symbol>>(voices.size())});
        begins.push_back(begin);
    }
    const int last = begins.back() + bars.back().Meter.BarTicks();
    bars.front().Offset = rhythm.Onsets.front();
    for (std::size_t i = 0; i < voices.size(); ++i) {
        BarCutter cutter(bars, begins, i);
        const bool rests = !voices[i].Secondary;
        int at = rhythm.Onsets.front();
        for (const Chord& chord : voices[i].Chords) {
            if (rests) cutter.Add(nullptr, at, chord.Onset);
            at = chord.Onset + chord.Length;
            cutter.Add(&chord.Notes, chord.Onset, at);
        }
        if (rests) cutter.Add(nullptr, at, last);
        cutter.Flush();
    }
    return bars;
}

} // namespace score
