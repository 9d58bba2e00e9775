// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "score/key.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>

namespace score {

namespace {

// Probability that a passage in a key contains each degree, in semitones above the tonic:
// D. Temperley, Music and Probability, 2007.
using Degrees = std::array<double, 12>;
constexpr Degrees Major = {.748, .060, .488, .082, .670, .460, .096, .715, .104, .366, .057, .400};
constexpr Degrees Minor = {.712, .084, .474, .618, .049, .460, .105, .747, .404, .067, .133, .330};
constexpr double FinalBonus = 2; // seconds: log-likelihood of a key whose tonic is the last note

constexpr char Letters[] = "FCGDAEB"; // along the line of fifths
constexpr int LetterCount = 7;

int FloorDiv(int number, int divisor) {
    return (number - ((number % divisor) + divisor) % divisor) / divisor;
}
int Modulo(int number, int divisor) { return number - FloorDiv(number, divisor) * divisor; }
int Alteration(int fifth) { return FloorDiv(fifth + 1, LetterCount); }
int PitchClass(int fifth) { return Modulo(fifth * 7, 12); }

// The position of a pitch class among the twelve from `first` upwards on the line of fifths.
int FifthFrom(int first, int pitchClass) { return first + Modulo(pitchClass * 7 - first, 12); }

// The logarithm of the likelihood of a key. seconds: sounding time of each pitch class; last: pitch
// class of the last note.
double Likelihood(const Key& key, const Degrees& seconds, int last) {
    const Degrees& profile = key.Minor ? Minor : Major;
    const int tonic = PitchClass(key.Tonic);
    double sum = 0;
    for (int degree = 0; degree < 12; ++degree) {
        const auto pitchClass = static_cast<std::size_t>(Modulo(tonic + degree, 12));
        sum += seconds[pitchClass] * std::log(profile[static_cast<std::size_t>(degree)]);
    }
    return sum + (last == tonic ? FinalBonus : 0);
}

std::string LetterName(int fifth) {
    const int sharps = Alteration(fifth);
    const std::string letter(1, Letters[Modulo(fifth + 1, LetterCount)]);
    return letter + (sharps > 0 ? " sharp" : sharps < 0 ? " flat" : "");
}

Spelling SpellAt(int fifth, int key) {
    const int alteration = Alteration(fifth);
    const int natural = key - alteration;
    return {Letters[Modulo(fifth + 1, LetterCount)], alteration, FloorDiv(natural, 12) - 1};
}

bool InScale(int fifth, const Key& key) {
    return fifth >= key.Signature() - 1 && fifth <= key.Signature() + 5;
}

} // namespace

std::string Key::Name() const { return LetterName(Tonic) + (Minor ? " minor" : " major"); }

Key FindKey(Melody melody) {
    Degrees seconds{};
    for (const HeardNote& note : melody)
        seconds[static_cast<std::size_t>(note.Key % 12)] += note.End - note.Onset;
    const int last = melody.back().Key % 12;
    Key best;
    double most = -INFINITY;
    for (const bool minor : {false, true}) {
        for (int signature = -6; signature <= 5; ++signature) {
            const Key key{signature + (minor ? 3 : 0), minor};
            const double likely = Likelihood(key, seconds, last);
            if (likely <= most) continue;
            most = likely;
            best = key;
        }
    }
    return best;
}

std::vector<Spelling> Spell(Melody melody, const Key& key) {
    std::vector<Spelling> spellings;
    for (std::size_t i = 0; i < melody.size(); ++i) {
        int fifth = FifthFrom(key.Tonic - 5, melody[i].Key % 12);
        const int step = i + 1 < melody.size() ? melody[i + 1].Key - melody[i].Key : 0;
        if (!InScale(fifth, key)) {
            if (step == 1 && fifth < key.Signature() - 1) fifth += 12;
            if (step == -1 && fifth > key.Signature() + 5) fifth -= 12;
            // A double accidental becomes its enharmonic equivalent, which is easier to read.
            if (std::abs(Alteration(fifth)) == 2) fifth -= 6 * Alteration(fifth);
        }
        spellings.push_back(SpellAt(fifth, melody[i].Key));
    }
    return spellings;
}

} // namespace score
