// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "score/voices.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <set>

namespace score {

namespace {

constexpr double MinArticulation = 0.4;     // sounding share of a note's written length
constexpr int MinRest = 3 * SixteenthTicks; // a shorter gap belongs to the note before it
constexpr int MiddleC = 60;

// Limits of the split between the hands: notes from this key upwards are the right hand's.
constexpr int LowestSplit = 43, HighestSplit = 77;
constexpr int Splits = HighestSplit - LowestSplit + 1;
constexpr double SplitMoveCost = 0.15; // per semitone
constexpr double LedgerCost = 0.25;    // per semitone beyond the middle of the two staves
constexpr double HeldCost = 0.5;       // of a key struck by a hand that holds another
constexpr std::size_t MaxHeld = 10;    // keys that are considered
constexpr double UsualArticulation = 0.8;
constexpr double SpanCost = 3;     // per semitone that one hand cannot reach
constexpr int HandSpan = 14;       // semitones
constexpr int LedgerFree = 3;      // semitones beyond middle C that cost nothing
constexpr int OneStaffRange = 30;  // semitones that one staff shows of a line
constexpr int OneHandRange = 19;   // and of chords
constexpr double ChordShare = 0.1; // of the onsets: more of them are a keyboard's

// Chords of one staff, each to the next one, and what the keys were really held.
struct KeyGroup {
    int Onset;
    std::vector<int> Notes;
};

double TicksOf(double seconds, const Rhythm& rhythm, int note) {
    return seconds / rhythm.TickSeconds[static_cast<std::size_t>(note)];
}

double SoundingTicks(Melody notes, const Rhythm& rhythm, int note) {
    const HeardNote& heard = notes[static_cast<std::size_t>(note)];
    return TicksOf(heard.End - heard.Onset, rhythm, note);
}

std::vector<KeyGroup> ChordsOf(const std::vector<int>& notes, const Rhythm& rhythm, Melody heard) {
    std::vector<KeyGroup> chords;
    for (const int note : notes) {
        const int onset = rhythm.Onsets[static_cast<std::size_t>(note)];
        if (chords.empty() || chords.back().Onset != onset) chords.push_back({onset, {}});
        chords.back().Notes.push_back(note);
    }
    for (KeyGroup& chord : chords)
        std::sort(chord.Notes.begin(), chord.Notes.end(), [&](int a, int b) {
            return heard[static_cast<std::size_t>(a)].Key < heard[static_cast<std::size_t>(b)].Key;
        });
    return chords;
}

// The sounding share of a chord's written length, as this player articulates long chords or short
// ones: the median over those of the voice that are followed by another.
class Articulation {
public:
    Articulation(Melody notes, const Rhythm& rhythm, const std::vector<KeyGroup>& chords) {
        std::vector<double> all, shares[2];
        for (std::size_t i = 0; i + 1 < chords.size(); ++i) {
            const int length = chords[i + 1].Onset - chords[i].Onset;
            const double share = SoundingTicks(notes, rhythm, chords[i].Notes.back()) / length;
            shares[length >= Long].push_back(share);
            all.push_back(share);
        }
        for (const bool isLong : {false, true})
            Share[isLong] = Median(shares[isLong].size() < Enough ? all : shares[isLong]);
    }
    // ticks: how long a chord sounds.
    double Intended(double ticks) const {
        const double asShort = ticks / Share[0];
        return asShort < Long ? asShort : std::max<double>(Long, ticks / Share[1]);
    }

private:
    static double Median(std::vector<double>& shares) {
        if (shares.empty()) return 1;
        const auto middle = shares.begin() + static_cast<std::ptrdiff_t>(shares.size() / 2);
        std::nth_element(shares.begin(), middle, shares.end());
        return std::clamp(*middle, MinArticulation, 1.0);
    }
    static constexpr int Long = 3 * EighthTicks;
    static constexpr std::size_t Enough = 3;

    double Share[2] = {1, 1}; // of short chords and of long ones
};

// The written end of notes by what they sound.
class Ends {
public:
    explicit Ends(const Rhythm& rhythm) : Rhythm(rhythm) {
        for (const int onset : rhythm.Onsets)
            if (onset % ShortestTicks != 0) Triplets.insert(onset / TicksPerQuarter);
        auto meter = rhythm.Meters.begin();
        for (int bar = 0; LastBarEnd <= rhythm.Onsets.back(); ++bar) {
            if (meter + 1 != rhythm.Meters.end() && (meter + 1)->Bar <= bar) ++meter;
            LastBarEnd += meter->Meter.BarTicks();
        }
    }
    // A note of the last bar ends with it unless it sounds on for a quarter.
    int Limit(int onset, double sounding, int end) const {
        return onset + sounding < LastBarEnd + TicksPerQuarter ? std::min(end, LastBarEnd) : end;
    }
    // Rounds a note's end to a grid that is coarser for longer notes. The last note ends on a beat
    // if it is longer than half a beat.
    int Round(int onset, double length, bool last) const {
        const TimeSignature& meter = Rhythm.Meter();
        const int fine = length < EighthTicks                                ? SixteenthTicks
                         : length < 3 * SixteenthTicks || meter.IsCompound() ? EighthTicks
                                                                             : TicksPerQuarter;
        int grid = last && length > meter.BeatTicks() / 2.0 ? meter.BeatTicks() : fine;
        const int rough = onset + static_cast<int>(length);
        if (grid < TicksPerQuarter && Triplets.contains(rough / TicksPerQuarter))
            grid = TripletTicks;
        const int end = static_cast<int>(std::lround((onset + length) / grid)) * grid;
        if (end > onset) return end;
        return onset + (onset % ShortestTicks != 0 ? TripletTicks : SixteenthTicks);
    }

private:
    const score::Rhythm& Rhythm;
    std::set<int> Triplets; // quarters in three parts
    int LastBarEnd = 0;     // ticks, of the bar in which the last note begins
};

// Notes that are held while others of the staff move go to a second voice.
void Separate(Melody notes, const Rhythm& rhythm, const std::vector<KeyGroup>& chords,
              std::vector<KeyGroup>& moving, std::vector<KeyGroup>& held) {
    for (std::size_t i = 0; i < chords.size(); ++i) {
        KeyGroup stays{chords[i].Onset, {}}, goes{chords[i].Onset, {}};
        const KeyGroup& next = chords[std::min(i + 1, chords.size() - 1)];
        const int gap = next.Onset - chords[i].Onset; // 0 behind the last one
        const double end = notes[static_cast<std::size_t>(next.Notes.front())].Onset;
        for (const int note : chords[i].Notes) {
            const double beyond = notes[static_cast<std::size_t>(note)].End - end;
            const bool isHeld = gap > 0 && TicksOf(beyond, rhythm, note) > TripletTicks + gap / 3.0;
            (isHeld ? goes : stays).Notes.push_back(note);
        }
        if (!stays.Notes.empty()) moving.push_back(stays);
        if (!goes.Notes.empty()) held.push_back(goes);
    }
}

Voice MakeVoice(Melody notes, const Rhythm& rhythm, const std::vector<KeyGroup>& chords, int staff,
                const Ends& ends) {
    const Articulation articulation(notes, rhythm, chords);
    Voice voice{staff, false, {}};
    for (std::size_t i = 0; i < chords.size(); ++i) {
        const KeyGroup& chord = chords[i];
        double sounding = 0;
        for (const int note : chord.Notes)
            sounding = std::max(sounding, SoundingTicks(notes, rhythm, note));
        const double intended = articulation.Intended(sounding);
        const bool last = i + 1 == chords.size();
        int end = ends.Round(chord.Onset, intended, last);
        if (!last && chords[i + 1].Onset - chord.Onset - intended < MinRest)
            end = chords[i + 1].Onset;
        end = ends.Limit(chord.Onset, sounding, end);
        voice.Chords.push_back({chord.Onset, end - chord.Onset, chord.Notes});
    }
    return voice;
}

double MeanKey(Melody notes, const Voice& voice) {
    double sum = 0, count = 0;
    for (const Chord& chord : voice.Chords)
        for (const int note : chord.Notes) {
            sum += notes[static_cast<std::size_t>(note)].Key;
            ++count;
        }
    return sum / std::max(1.0, count);
}

bool FitOneStaff(Melody notes, const Rhythm& rhythm) {
    int together = 0;
    for (std::size_t i = 1; i < notes.size(); ++i)
        together += rhythm.Onsets[i] == rhythm.Onsets[i - 1];
    const bool chords = together > ChordShare * static_cast<double>(notes.size());
    const auto [lowest, highest] =
        std::minmax_element(notes.begin(), notes.end(),
                            [](const HeardNote& a, const HeardNote& b) { return a.Key < b.Key; });
    return highest->Key - lowest->Key <= (chords ? OneHandRange : OneStaffRange);
}

// The cost of a split for the keys of one chord, in ascending order. held: keys that were struck
// before and still sound.
double SplitCost(const std::vector<int>& keys, const std::vector<int>& held, int split) {
    double cost = 0;
    for (const int key : keys)
        for (const int other : held)
            if ((key < split) == (other < split)) cost += HeldCost;
    const auto right = std::lower_bound(keys.begin(), keys.end(), split);
    for (auto key = keys.begin(); key != keys.end(); ++key)
        cost +=
            LedgerCost * std::max(0, (key < right ? *key - MiddleC : MiddleC - *key) - LedgerFree);
    if (right != keys.begin())
        cost += SpanCost * std::max(0, *(right - 1) - keys.front() - HandSpan);
    if (right != keys.end()) cost += SpanCost * std::max(0, keys.back() - *right - HandSpan);
    // The hands part where the keys lie far apart.
    if (right != keys.begin() && right != keys.end())
        cost += std::max(0, 7 - (*right - *(right - 1))) * 0.1;
    return cost;
}

} // namespace

std::vector<int> FindStaves(Melody notes, const Rhythm& rhythm, int staves) {
    std::vector<int> result(notes.size(), 0);
    if (staves == 1 || (staves == 0 && FitOneStaff(notes, rhythm))) return result;
    // The split of each onset, by Viterbi's algorithm.
    std::vector<std::array<std::uint8_t, Splits>> sources;
    std::array<double, Splits> costs{};
    std::size_t end = 0;
    std::vector<std::size_t> begins;
    std::vector<int> sounding; // notes
    for (std::size_t begin = 0; begin < notes.size(); begin = end) {
        while (end < notes.size() && rhythm.Onsets[end] == rhythm.Onsets[begin]) ++end;
        std::vector<int> keys;
        for (std::size_t i = begin; i < end; ++i) keys.push_back(notes[i].Key);
        std::sort(keys.begin(), keys.end());
        std::erase_if(sounding, [&](int note) {
            const HeardNote& one = notes[static_cast<std::size_t>(note)];
            return one.Onset + (one.End - one.Onset) / UsualArticulation < notes[begin].Onset;
        });
        std::vector<int> held;
        held.reserve(sounding.size());
        for (const int note : sounding) held.push_back(notes[static_cast<std::size_t>(note)].Key);
        if (held.size() > MaxHeld) held.resize(MaxHeld);
        for (std::size_t i = begin; i < end; ++i) sounding.push_back(static_cast<int>(i));
        std::array<double, Splits> next;
        sources.emplace_back();
        for (int split = 0; split < Splits; ++split) {
            int best = split;
            for (int from = 0; from < Splits; ++from)
                if (costs[static_cast<std::size_t>(from)] + SplitMoveCost * std::abs(from - split) <
                    costs[static_cast<std::size_t>(best)] + SplitMoveCost * std::abs(best - split))
                    best = from;
            const auto at = static_cast<std::size_t>(split);
            sources.back()[at] = static_cast<std::uint8_t>(best);
            next[at] = costs[static_cast<std::size_t>(best)] +
                       SplitMoveCost * std::abs(best - split) +
                       SplitCost(keys, held, LowestSplit + split);
        }
        costs = next;
        begins.push_back(begin);
    }
    auto split =
        static_cast<std::size_t>(std::min_element(costs.begin(), costs.end()) - costs.begin());
    end = notes.size();
    for (std::size_t group = begins.size(); group-- > 0;) {
        for (std::size_t i = begins[group]; i < end; ++i)
            result[i] = notes[i].Key < LowestSplit + static_cast<int>(split) ? 1 : 0;
        end = begins[group];
        split = sources[group][split];
    }
    return result;
}

std::vector<Voice> FindVoices(Melody notes, const Rhythm& rhythm, const std::vector<int>& staves,
                              int count) {
    const Ends ends(rhythm);
    std::vector<Voice> voices;
    for (int staff = 0; staff < count; ++staff) {
        std::vector<int> own;
        for (std::size_t i = 0; i < notes.size(); ++i)
            if (staves[i] == staff) own.push_back(static_cast<int>(i));
        const std::vector<KeyGroup> chords = ChordsOf(own, rhythm, notes);
        std::vector<KeyGroup> moving, held;
        Separate(notes, rhythm, chords, moving, held);
        if (moving.empty()) std::swap(moving, held);
        Voice first = MakeVoice(notes, rhythm, moving, staff, ends);
        Voice second = MakeVoice(notes, rhythm, held, staff, ends);
        second.Secondary = true;
        const bool above = MeanKey(notes, second) > MeanKey(notes, first);
        voices.push_back(std::move(first));
        if (held.empty()) continue;
        voices.push_back(std::move(second));
        // The upper voice has upward stems.
        if (above) std::swap(voices[voices.size() - 2], voices.back());
    }
    return voices;
}

} // namespace score
