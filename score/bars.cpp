// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "score/bars.h"

#include <algorithm>
#include <cmath>

namespace score {

namespace {

constexpr double MinArticulation = 0.4; // sounding share of a note's written length
constexpr double MinRest =
    0.75 * GridUnitsPerQuarter; // a shorter gap belongs to the note before it

// The sounding share of a note's written length, as this player articulates: the median of all
// notes.
double ArticulationOf(Melody melody) {
    std::vector<double> shares;
    for (std::size_t i = 0; i + 1 < melody.size(); ++i)
        shares.push_back((melody[i].End - melody[i].Onset) /
                         (melody[i + 1].Onset - melody[i].Onset));
    if (shares.empty()) return 1;
    const auto middle = shares.begin() + static_cast<std::ptrdiff_t>(shares.size() / 2);
    std::ranges::nth_element(shares, middle);
    return std::clamp(*middle, MinArticulation, 1.0);
}

// Rounds a note's end to a grid that is coarser for longer notes. The last note of the melody ends
// on a beat if it is longer than half a beat.
int RoundEnd(int onset, double length, const Meter& meter, bool last) {
    const bool dottedBeat = meter.BeatLength != GridUnitsPerQuarter;
    const int fine = length < 2 ? 1 : length < 3 || dottedBeat ? 2 : GridUnitsPerQuarter;
    const int grid = last && length > meter.BeatLength / 2 ? meter.BeatLength : fine;
    const int end = static_cast<int>(std::lround((onset + length) / grid)) * grid;
    return std::max(end, onset + 1);
}

bool IsWritable(int length) {
    constexpr int values[] = {1, 2, 3, 4, 6, 8, 12, 16};
    return std::ranges::find(values, length) != std::end(values);
}

// Whether a symbol at that position leaves the beats visible. A symbol on a beat may fill whole
// beats or end within its beat; one between beats must not cross the next beat, except a quarter
// note on an off-beat.
bool IsReadable(int position, int length, const Meter& meter, bool rest) {
    const int beat = meter.BeatLength;
    const bool quarterBeat = beat == GridUnitsPerQuarter;
    const int toNext = beat - position % beat;
    if (!IsWritable(length)) return false;
    if (length <= toNext) return quarterBeat || position % 2 == 0 || length == 1;
    const int half = meter.BarLength == 16 ? 8 : meter.BarLength;
    if (rest) return position % beat == 0 && length % beat == 0 && position % length == 0;
    if (position % beat == 0) return length % beat == 0 || (quarterBeat && length == 6);
    const bool syncopation = quarterBeat && position % 2 == 0 && length == GridUnitsPerQuarter;
    return syncopation && position / half == (position + length - 1) / half;
}

int LongestReadable(int position, int most, const Meter& meter, bool rest) {
    int length = most;
    while (length > 1 && !IsReadable(position, length, meter, rest)) --length;
    return length;
}

class BarWriter {
public:
    explicit BarWriter(const Meter& meter, int pickup) : Meter(meter), Position(pickup) {
        Bars.push_back({pickup, {}});
    }
    void Add(int note, int length) {
        const int whole = length;
        while (length > 0) {
            const int left = Meter.BarLength - Position;
            const int part = LongestReadable(Position, std::min(length, left), Meter, note < 0);
            const bool tie = note >= 0;
            Bars.back().Symbols.push_back(
                {note, Position, part, tie && length < whole, tie && part < length});
            length -= part;
            Position += part;
            if (Position < Meter.BarLength) continue;
            Bars.push_back({});
            Position = 0;
        }
    }
    std::vector<Bar> Finish() {
        if (Position > 0) Add(-1, Meter.BarLength - Position);
        Bars.pop_back(); // the empty bar that Add opened behind the last full one
        return std::move(Bars);
    }

private:
    const score::Meter& Meter;
    int Position; // grid units from the beginning of the last bar
    std::vector<Bar> Bars;
};

} // namespace

std::vector<int> FindLengths(Melody melody, const Rhythm& rhythm) {
    const double articulation = ArticulationOf(melody);
    std::vector<int> lengths;
    for (std::size_t i = 0; i < melody.size(); ++i) {
        const int onset = rhythm.Onsets[i];
        const double intended =
            (melody[i].End - melody[i].Onset) / articulation / rhythm.UnitSeconds[i];
        const bool last = i + 1 == melody.size();
        int end = RoundEnd(onset, intended, *rhythm.Meter, last);
        if (!last && rhythm.Onsets[i + 1] - onset - intended < MinRest) end = rhythm.Onsets[i + 1];
        lengths.push_back(end - onset);
    }
    return lengths;
}

std::vector<Bar> MakeBars(const Rhythm& rhythm, const std::vector<int>& lengths) {
    BarWriter writer(*rhythm.Meter, rhythm.Onsets[0]);
    for (std::size_t i = 0; i < lengths.size(); ++i) {
        writer.Add(static_cast<int>(i), lengths[i]);
        if (i + 1 < lengths.size())
            writer.Add(-1, rhythm.Onsets[i + 1] - rhythm.Onsets[i] - lengths[i]);
    }
    return writer.Finish();
}

} // namespace score
