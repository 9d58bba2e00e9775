// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "score/key.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cmath>
#include <cstdlib>
#include <cstring>

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

namespace {

constexpr int KeyCount = 24;       // major and minor, each from six flats to five sharps
constexpr double ChangeCost = 12;  // seconds: of a change of key
constexpr int ShortestSection = 8; // bars in one key

Key KeyAt(int index) {
    const bool minor = index >= KeyCount / 2;
    return {index % (KeyCount / 2) - 6 + (minor ? 3 : 0), minor};
}

// The first of the most likely keys of a passage.
int BestKey(const Degrees& seconds, int last) {
    int best = 0;
    for (int key = 1; key < KeyCount; ++key)
        if (Likelihood(KeyAt(key), seconds, last) > Likelihood(KeyAt(best), seconds, last))
            best = key;
    return best;
}

} // namespace

// The cheapest sequence of keys by Viterbi's algorithm over sections of some bars. A piece in one
// key, as nearly all are, has the key that fits the whole of it.
std::vector<KeyChange> FindKeys(Melody notes, const std::vector<int>& bars) {
    const int sections = bars.back() / ShortestSection + 1;
    std::vector<Degrees> seconds(static_cast<std::size_t>(sections), Degrees{});
    Degrees all{};
    for (std::size_t i = 0; i < notes.size(); ++i) {
        const auto pitch = static_cast<std::size_t>(notes[i].Key % 12);
        seconds[static_cast<std::size_t>(bars[i] / ShortestSection)][pitch] +=
            notes[i].End - notes[i].Onset;
        all[pitch] += notes[i].End - notes[i].Onset;
    }
    const int last = notes.back().Key % 12;
    std::array<double, KeyCount> likely{};
    std::vector<std::array<int, KeyCount>> sources;
    for (std::size_t section = 0; section < seconds.size(); ++section) {
        std::array<double, KeyCount> next{};
        sources.emplace_back();
        const auto most = std::max_element(likely.begin(), likely.end()) - likely.begin();
        for (int key = 0; key < KeyCount; ++key) {
            const auto at = static_cast<std::size_t>(key);
            const bool changes = likely[static_cast<std::size_t>(most)] - ChangeCost > likely[at];
            sources.back()[at] = changes ? static_cast<int>(most) : key;
            const int end = section + 1 == seconds.size() ? last : -1;
            next[at] = likely[static_cast<std::size_t>(sources.back()[at])] -
                       (changes ? ChangeCost : 0) + Likelihood(KeyAt(key), seconds[section], end);
        }
        likely = next;
    }
    auto key = static_cast<int>(std::max_element(likely.begin(), likely.end()) - likely.begin());
    std::vector<KeyChange> changes;
    for (int section = sections; section-- > 0;) {
        const int before =
            sources[static_cast<std::size_t>(section)][static_cast<std::size_t>(key)];
        if (section > 0 && before == key) continue;
        changes.push_back({section * ShortestSection, KeyAt(key)});
        key = before;
    }
    std::reverse(changes.begin(), changes.end());
    if (changes.size() == 1) changes.front().Key = KeyAt(BestKey(all, last));
    return changes;
}

std::optional<Key> ParseKey(const std::string& text) {
    if (text.empty()) return std::nullopt;
    std::string rest = text.substr(1);
    std::transform(rest.begin(), rest.end(), rest.begin(),
                   [](unsigned char c) { return std::tolower(c); });
    std::erase(rest, ' ');
    const char* const letter =
        std::strchr(Letters, std::toupper(static_cast<unsigned char>(text[0])));
    if (!letter || !*letter) return std::nullopt;
    Key key{static_cast<int>(letter - Letters) - 1, false};
    for (const auto& [name, fifths] : {std::pair("sharp", 7), {"flat", -7}, {"#", 7}, {"b", -7}}) {
        if (!rest.starts_with(name)) continue;
        key.Tonic += fifths;
        rest.erase(0, std::strlen(name));
        break;
    }
    key.Minor = rest == "minor" || rest == "min";
    if (!key.Minor && !rest.empty() && rest != "major" && rest != "maj") return std::nullopt;
    if (key.Signature() < -7 || key.Signature() > 7) return std::nullopt;
    return key;
}

Spelling Spell(int note, int step, const Key& key) {
    int fifth = FifthFrom(key.Tonic - 5, note % 12);
    if (!InScale(fifth, key)) {
        if (step == 1 && fifth < key.Signature() - 1) fifth += 12;
        if (step == -1 && fifth > key.Signature() + 5) fifth -= 12;
        // A double accidental becomes its enharmonic equivalent, which is easier to read.
        if (std::abs(Alteration(fifth)) == 2) fifth -= 6 * Alteration(fifth);
    }
    return SpellAt(fifth, note);
}

} // namespace score
