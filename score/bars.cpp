#include "score/bars.h"

#include <algorithm>
#include <cmath>

namespace score {

namespace {

constexpr double ShortestTouch = 0.4; // of its value that a note sounds
constexpr double Rest = 0.75 * Quarter;

// The share of its value that a note sounds, as this player parts notes: the middle one of all.
double TouchOf(Melody melody) {
    std::vector<double> shares;
    for (std::size_t i = 0; i + 1 < melody.size(); ++i)
        shares.push_back((melody[i].End - melody[i].Onset) /
                         (melody[i + 1].Onset - melody[i].Onset));
    if (shares.empty()) return 1;
    const auto middle = shares.begin() + static_cast<std::ptrdiff_t>(shares.size() / 2);
    std::ranges::nth_element(shares, middle);
    return std::clamp(*middle, ShortestTouch, 1.0);
}

// The nearest place to end at: on a beat, if it is as long as that. The melody's last note ends on
// a beat anyway.
int EndNear(int onset, double length, const Meter& meter, bool last) {
    const int fine = length < 2 ? 1 : length < 3 || meter.BeatLength != Quarter ? 2 : Quarter;
    const int grid = last && length > meter.BeatLength / 2 ? meter.BeatLength : fine;
    const int end = static_cast<int>(std::lround((onset + length) / grid)) * grid;
    return std::max(end, onset + 1);
}

bool Writable(int length) {
    constexpr int values[] = {1, 2, 3, 4, 6, 8, 12, 16};
    return std::ranges::find(values, length) != std::end(values);
}

// Whether a symbol there shows where the beats are. From a beat, anything that fills beats or ends
// in its own; from between, not over the next beat, but for a quarter on an off-beat.
bool Readable(int place, int length, const Meter& meter, bool rest) {
    const int beat = meter.BeatLength;
    const int toNext = beat - place % beat;
    if (!Writable(length)) return false;
    if (length <= toNext) return beat == Quarter || place % 2 == 0 || length == 1;
    const int half = meter.BarLength == 16 ? 8 : meter.BarLength;
    if (rest) return place % beat == 0 && length % beat == 0 && place % length == 0;
    if (place % beat == 0) return length % beat == 0 || (beat == Quarter && length == 6);
    const bool syncopation = beat == Quarter && place % 2 == 0 && length == Quarter;
    return syncopation && place / half == (place + length - 1) / half;
}

int LongestReadable(int place, int most, const Meter& meter, bool rest) {
    int length = most;
    while (length > 1 && !Readable(place, length, meter, rest)) --length;
    return length;
}

class BarWriter {
public:
    explicit BarWriter(const Meter& meter, int pickup) : In(meter), At(pickup) {
        Bars.push_back({pickup, {}});
    }
    void Add(int note, int length) {
        const int whole = length;
        while (length > 0) {
            const int left = In.BarLength - At;
            const int part = LongestReadable(At, std::min(length, left), In, note < 0);
            const bool tie = note >= 0;
            Bars.back().Symbols.push_back(
                {note, At, part, tie && length < whole, tie && part < length});
            length -= part;
            At += part;
            if (At < In.BarLength) continue;
            Bars.push_back({});
            At = 0;
        }
    }
    std::vector<Bar> Finish() {
        if (At > 0) Add(-1, In.BarLength - At);
        Bars.pop_back(); // the one that is begun
        return std::move(Bars);
    }

private:
    const Meter& In;
    int At;
    std::vector<Bar> Bars;
};

} // namespace

std::vector<int> Lengths(Melody melody, const Rhythm& rhythm) {
    const double touch = TouchOf(melody);
    std::vector<int> lengths;
    for (std::size_t i = 0; i < melody.size(); ++i) {
        const int onset = rhythm.Onsets[i];
        const double meant = (melody[i].End - melody[i].Onset) / touch / rhythm.Sixteenth[i];
        const bool last = i + 1 == melody.size();
        int end = EndNear(onset, meant, *rhythm.In, last);
        if (!last && rhythm.Onsets[i + 1] - onset - meant < Rest) end = rhythm.Onsets[i + 1];
        lengths.push_back(end - onset);
    }
    return lengths;
}

std::vector<Bar> MakeBars(const Rhythm& rhythm, const std::vector<int>& lengths) {
    BarWriter writer(*rhythm.In, rhythm.Onsets[0]);
    for (std::size_t i = 0; i < lengths.size(); ++i) {
        writer.Add(static_cast<int>(i), lengths[i]);
        if (i + 1 < lengths.size())
            writer.Add(-1, rhythm.Onsets[i + 1] - rhythm.Onsets[i] - lengths[i]);
    }
    return writer.Finish();
}

} // namespace score
