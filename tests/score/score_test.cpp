// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Turns melodies with jitter and changes of tempo back into the bars that they were played from.
#include "score/score.h"

#include <gtest/gtest.h>
#include <random>
#include <regex>
#include <sstream>

namespace {

constexpr char Greensleeves[] = // MIDI numbers and quarters; 0 is a rest
    "69 1 72 2 74 1 76 1.5 77 .5 76 1 74 2 71 1 67 1.5 69 .5 71 1 72 2 69 1 69 1.5 68 .5 69 1 71 2 "
    "68 1 64 2 69 1 72 2 74 1 76 1.5 77 .5 76 1 74 2 71 1 67 1.5 69 .5 71 1 72 1.5 71 .5 69 1 68 "
    "1.5 66 .5 68 1 69 3";
const struct {
    const char* Tune;
    double Tempo, Touch, Given; // Touch: sounding share of a note's value
    double Slowing;             // seconds after which the player is at half the tempo
    const char* Reads;          // meter, key, tempo, bars, clef
} Cases[] = {
    {Greensleeves, 108, 0.6, 0, 300, "^6/8, A minor, 5"},
    {Greensleeves, 108, 1, 108, 300, "^3/4, A minor, 108 quarter notes per minute, 16 bars"},
    {"67 1 0 1 67 1 0 1 69 2 71 2 72 1 71 .5 69 .5 67 2 0 4 64 1 65 1 67 2 60 4", 96, 0.95, 0, 300,
     "^4/4, C major, 9"},
    {"62 .5 60 .5 60 .5 64 .5 60 2 60 2 60 1 60 1 60 2 60 2 0 20 62 1 60 1 64 2 67 2 65 2 67 1 64 "
     "1 65 2 60 4",
     108, 0.9, 0, 1000, "^4/4, C major, 106 quarter notes per minute, 11 bars"},
    {"65 1.5 67 .5 64 1 67 1.5 65 .5 67 1 69 1 67 1 71 1 72 1 69 1 72 1 71 1 67 .5 69 .5 71 1 69 2 "
     "65 1 60 3",
     108, 0.9, 0, 30, "^3/4, C major, 90"},
    {"65 2 67 1 71 1 72 1 72 1 72 1.5 72 .5 72 1 71 1 67 1 69 1 71 2 69 1 71 1.5 69 .5 71 1 60 3",
     108, 0.9, 0, -60, "^3/4, C major, 117"},
    {"65 1 64 .5 62 .5 60 1 60 1 64 .5 67 .5 65 1 67 2 65 1 67 1.5 65 .5 69 1 67 1 65 .5 67 .5 64 "
     "1 62 1 65 1 67 1 60 3",
     120, 0.9, 60, 1000, "^6/8, C major, 60"},
    {"60 2 62 2 64 2 65 2 67 4 60 2 62 2 64 2 62 2 60 4", 100, 0.5, 100, 1000,
     "^4/4, C major, 100"},
    {"60 1", 90, 1, 90, 1000, "C major, 90 quarter notes per minute, 1 bar, F 0"},
    {"60 1", 100, 1, 0, 1000, "C major, 105 quarter notes per minute, 1 bar, F 0"},
    // The last note decides between a key and its relative minor.
    {"60 1 62 1 64 1 65 1 67 1 69 1 71 1 72 1 69 1 72 1", 100, 1, 100, 1000, "C major.*G 0"},
    {"60 1 62 1 64 1 65 1 67 1 69 1 71 1 72 1 72 1 69 1", 100, 1, 100, 1000, "A minor.*G 0"},
    // Key detection weighs notes by their duration.
    {"48 4 52 4 55 4 54 .5 56 .5 58 .5 61 .5 58 .5 56 .5 54 .5 61 .5 53 2 50 2 48 4", 80, 1, 80,
     1000, "C major.*F 0"},
    {"61 1 63 1 64 1 66 1 68 2 69 1 60 1 61 2", 100, 1, 100, 1000, "C sharp minor.*G 0"},
    {"66 1 68 1 70 1 71 1 73 2 75 1 77 1 78 2", 100, 1, 100, 1000, "G flat major.*G 0"},
    {"96 1 98 1 100 1 101 1 103 1 101 1 98 1 96 2", 100, 1, 100, 1000, "C major.*G 1"},
    {"28 1 30 1 32 1 33 1 35 2 28 1", 100, 1, 100, 1000, "E major.*F -1"},
    {"40 1 42 1 44 1 45 1 35 2 40 1", 100, 1, 100, 1000, "E major.*F 0"},
};

TEST(Score, ReadsLikeTheTune) {
    for (const auto& c : Cases) {
        std::mt19937 random(7);
        std::normal_distribution<double> jitter(0, 0.015);
        std::vector<score::HeardNote> melody;
        std::vector<int> wanted; // grid units at this tempo
        std::istringstream words(c.Tune);
        double at = 0.5, quarters = 0;
        for (int key = 0; words >> key >> quarters;) {
            const double length = quarters * 60 / c.Tempo * (1 + at / c.Slowing);
            if (key > 0) melody.push_back({at + jitter(random), at + length * c.Touch, key});
            if (key > 0) wanted.push_back(static_cast<int>(quarters * 4));
            at += length;
        }
        const score::Score score = score::MakeScore(melody, c.Given);
        const std::string text =
            score.Description() + ", " + score.Clef.Sign + " " + std::to_string(score.Clef.Octave);
        EXPECT_TRUE(std::regex_search(text, std::regex(c.Reads))) << text;
        // An eighth may stand for the quarter.
        const int unit = score.TimeSignature() == "6/8" || c.Given == c.Tempo / 2 ? 2 : 1;
        std::vector<int> found(melody.size());
        for (const score::Bar& bar : score.Bars)
            for (const score::Symbol& symbol : bar.Symbols)
                if (symbol.Note >= 0)
                    found[static_cast<std::size_t>(symbol.Note)] += symbol.Length * unit;
        EXPECT_EQ(found, wanted) << text;
    }
}

} // namespace
