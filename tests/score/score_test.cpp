// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Turns melodies with jitter and changes of tempo back into the bars that they were played from.
#include "score/placement.h"
#include "score/score.h"

#include <algorithm>
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
    {Greensleeves, 108, 0.6, 0, 300, "^3/4, A minor, 1"},
    {Greensleeves, 108, 1, 108, 300, "^3/4, A minor, 108 quarter notes per minute, 16 bars"},
    {"67 1 0 1 67 1 0 1 69 2 71 2 72 1 71 .5 69 .5 67 2 0 4 64 1 65 1 67 2 60 4", 96, 0.95, 0, 300,
     "^4/4, C major, 9"},
    {"62 .5 60 .5 60 .5 64 .5 60 2 60 2 60 1 60 1 60 2 60 2 0 20 62 1 60 1 64 2 67 2 65 2 67 1 64 "
     "1 65 2 60 4",
     108, 0.9, 0, 1000, "^2/4, C major, 106 quarter notes per minute, 21 bars"},
    {"65 1.5 67 .5 64 1 67 1.5 65 .5 67 1 69 1 67 1 71 1 72 1 69 1 72 1 71 1 67 .5 69 .5 71 1 69 2 "
     "65 1 60 3",
     108, 0.9, 0, 30, "^3/4, C major, 90"},
    {"65 2 67 1 71 1 72 1 72 1 72 1.5 72 .5 72 1 71 1 67 1 69 1 71 2 69 1 71 1.5 69 .5 71 1 60 3",
     108, 0.9, 0, -60, "^3/4, C major, 117"},
    {"65 1 64 .5 62 .5 60 1 60 1 64 .5 67 .5 65 1 67 2 65 1 67 1.5 65 .5 69 1 67 1 65 .5 67 .5 64 "
     "1 62 1 65 1 67 1 60 3",
     120, 0.9, 120, 1000, "^3/4, C major, 120"},
    {"60 2 62 2 64 2 65 2 67 4 60 2 62 2 64 2 62 2 60 4", 100, 0.5, 100, 1000,
     "^4/4, C major, 100"},
    {"60 1", 90, 1, 90, 1000, "C major, 90 quarter notes per minute, 1 bar, F 0"},
    {"60 1", 100, 1, 0, 1000, "C major, 104 quarter notes per minute, 1 bar, F 0"},
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
        const std::string text = score.Description() + ", " + score.Clefs[0].Sign + " " +
                                 std::to_string(score.Clefs[0].Octave);
        EXPECT_TRUE(std::regex_search(text, std::regex(c.Reads))) << text;
        std::vector<int> found(melody.size());
        for (const score::Bar& bar : score.Bars)
            for (const score::Symbol& symbol : bar.Voices.front())
                for (const int note : symbol.Notes)
                    found[static_cast<std::size_t>(note)] += symbol.Length / score::SixteenthTicks;
        EXPECT_EQ(found, wanted) << text;
    }
}

// Fermatas and breaths at the ends of phrases do not move the bar lines behind them, of a single
// line or with chords.
TEST(Score, BeginsBarsAnewBehindHeldNotes) {
    constexpr int keys[] = {64, 64, 65, 67, 67, 65, 64, 62, 60, 60, 62, 64, 64, 62, 62,
                            64, 64, 65, 67, 67, 65, 64, 62, 60, 60, 62, 64, 62, 60, 60};
    constexpr double quarters[] = {1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1.5, .5, 2,
                                   1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1.5, .5, 2};
    for (const bool chords : {false, true}) {
        std::mt19937 random(5);
        std::normal_distribution<double> jitter(0, 0.01);
        std::vector<score::HeardNote> melody;
        std::vector<int> places, expected; // in their bars, in ticks
        double at = 1;
        int written = 0; // ticks
        for (int i = 0; i < 6 * 30; ++i) {
            const double held = i % 15 == 14 ? 0.5 * (1 + i / 30 % 3) : 0; // quarters
            const double length = (quarters[i % 30] + held) * 60 / 100;
            const double onset = at + jitter(random);
            const bool begins = chords && written % score::WholeTicks == 0;
            const int root = i % 2 == 0 ? 48 : 43;
            for (const int key : {root, root + 7, keys[i % 30]}) {
                if (key != keys[i % 30] && !begins) continue;
                melody.push_back({onset, at + length * 0.9, key});
                expected.push_back(written % score::HalfTicks);
            }
            at += length;
            written += static_cast<int>(quarters[i % 30] * score::TicksPerQuarter);
        }
        const score::Rhythm rhythm = score::FindRhythm(melody);
        for (const int onset : rhythm.Onsets) places.push_back(onset % score::HalfTicks);
        EXPECT_EQ(places, expected) << chords;
        score::ScoreOptions options;
        options.Staves = 1;
        EXPECT_EQ(score::MakeScore(melody, options).Voices.size(), 1u) << chords;
    }
}

// Keys of a chord that are struck one after the other are one onset.
TEST(Score, HearsRolledChordsAsChords) {
    std::vector<score::HeardNote> notes;
    std::vector<int> expected;
    for (int beat = 0; beat < 24; ++beat)
        for (const double late : {0.0, 0.02, 0.06}) {
            notes.push_back({1 + beat * 0.5 + late, 1.4 + beat * 0.5, 60 + beat % 5 + beat % 3});
            expected.push_back(beat * score::TicksPerQuarter);
        }
    score::RhythmHints hints;
    hints.QuartersPerMinute = 120;
    std::vector<int> onsets = score::FindRhythm(notes, hints).Onsets;
    for (const int first = onsets.front(); int& onset : onsets) onset -= first;
    EXPECT_EQ(onsets, expected);
}

// Played at 120 quarters per minute to a click whose beats are known.
TEST(Score, PlacesNotesOnKnownBeatsFromTheirFirstBar) {
    score::KnownBeats beats{{}, {{0, {4, 4}}, {1, {3, 4}}}, {{0, 120}, {2, 100}}};
    std::vector<score::HeardNote> notes;
    std::vector<int> expected;
    const auto play = [&](double ticks, int expectedTicks) {
        const double quarters =
            7 + ticks / score::TicksPerQuarter; // after a bar of 4/4 and one of 3/4
        beats.Quarters.push_back(quarters);
        notes.push_back({quarters / 2, quarters / 2 + 0.05, 60});
        expected.push_back(expectedTicks);
    };
    using score::ShortestTicks, score::TripletTicks;
    constexpr int quarter = score::TicksPerQuarter;
    for (int ticks = 0; ticks <= 6 * ShortestTicks; ticks += ShortestTicks) play(ticks, ticks);
    play(quarter - 0.57 * ShortestTicks, quarter); // early for its beat
    play(quarter + 1.15 * TripletTicks, quarter + TripletTicks);
    play(quarter + 2.15 * TripletTicks, quarter + 2 * TripletTicks);
    play(2 * quarter, 2 * quarter);
    const score::Rhythm rhythm = score::PlaceOnBeats(notes, beats, score::RhythmHints::Grid::Any);
    EXPECT_EQ(rhythm.Onsets, expected);
    EXPECT_EQ(rhythm.Meter().Beats, 3);
    EXPECT_EQ(rhythm.QuartersPerMinute(), 100);
}

TEST(Score, TakesAKeyByItsName) {
    for (const char* name : {"F sharp minor", "B flat major", "C minor"}) {
        const std::optional<score::Key> key = score::ParseKey(name);
        EXPECT_EQ(key ? key->Name() : "none", name);
    }
    EXPECT_FALSE(score::ParseKey("H minor"));
}

// By its melody and heavy chords alone, this piece would begin on the last beat of a bar.
TEST(Score, BeginsBarsWhereHarmoniesChange) {
    constexpr int tune[] = {72, 72, 79, 79, 81, 81, 79, 0, 77, 77, 76, 76, 74, 74, 72, 0,
                            79, 79, 77, 77, 76, 76, 74, 0, 79, 79, 77, 77, 76, 76, 74, 0,
                            72, 72, 79, 79, 81, 81, 79, 0, 77, 77, 76, 76, 74, 74, 72, 0};
    constexpr int roots[] = {48, 53, 53, 43, 48, 48, 43, 43, 48, 53, 53, 48}; // of each bar
    std::mt19937 random(1);
    std::normal_distribution<double> jitter(0, 0.01);
    std::vector<score::HeardNote> notes;
    std::vector<int> places, expected; // in a bar of 4/4, in ticks; 2/4 is as good
    for (int beat = 0; beat < 48; ++beat) {
        const int root = roots[beat / 4];
        std::vector<int> keys = {root - 5};
        if (beat % 4 > 0) keys = {root + 4, root + 7};
        if (tune[beat] > 0) keys.push_back(tune[beat]);
        const double onset = 1 + beat * 0.6 + jitter(random);
        for (const int key : keys) {
            notes.push_back({onset, onset + 0.45, key});
            expected.push_back(beat % 4 * score::TicksPerQuarter);
        }
    }
    const score::Rhythm rhythm = score::FindRhythm(notes);
    for (const int onset : rhythm.Onsets) places.push_back(onset % (4 * score::TicksPerQuarter));
    EXPECT_EQ(places, expected);
}

// A dance in 4/4 and its second part in 3/4.
TEST(Score, ChangesTheMeterWithTheMusic) {
    constexpr int four[] = {60, 67, 64, 67, 65, 69, 67, 0, 62, 65, 64, 62, 60, 64, 67, 0};
    constexpr int three[] = {72, 0, 67, 71, 0, 67, 69, 65, 67, 64, 0, 60};
    std::mt19937 random(7);
    std::normal_distribution<double> jitter(0, 0.01);
    std::vector<score::HeardNote> melody;
    for (int beat = 0; beat < 96; ++beat) {
        const int key = beat < 48 ? four[beat % 16] : three[beat % 12];
        const double onset = 1 + beat * 0.55 + jitter(random);
        if (key > 0) melody.push_back({onset, onset + 0.45, key});
    }
    const std::vector<score::MeterChange> meters = score::FindRhythm(melody).Meters;
    ASSERT_EQ(meters.size(), 2u);
    EXPECT_EQ(meters[0].Meter.Beats % 2, 0);
    EXPECT_EQ(meters[1].Bar * meters[0].Meter.BarTicks(), 48 * score::TicksPerQuarter);
    EXPECT_EQ(meters[1].Meter, (score::TimeSignature{3, 4}));
}

// A dance, and its second part suddenly slower or quicker. A tempo that slows down at the end of
// each part and comes back is the same one.
TEST(Score, ChangesTheTempoWithTheMusic) {
    constexpr int keys[] = {60, 67, 64, 67, 65, 69, 67, 0, 62, 65, 64, 62, 60, 64, 67, 0};
    for (const double tempo : {100.0, 73.0, 134.0}) {
        std::mt19937 random(3);
        std::normal_distribution<double> jitter(0, 0.01);
        std::vector<score::HeardNote> melody;
        std::vector<int> lengths; // to the next note
        double at = 1;
        for (int beat = 0; beat < 96; ++beat) {
            const int easing = tempo == 100 ? std::max(0, beat % 48 - 40) : 0; // beats
            const double length = 60 / (beat < 48 ? 100 : tempo) * (1 + 0.1 * easing);
            const double held = keys[(beat + 1) % 16] == 0 ? 1.9 : 0.9;
            if (const int key = keys[beat % 16]) {
                melody.push_back({at + jitter(random), at + length * held, key});
                lengths.push_back(score::TicksPerQuarter);
            } else {
                lengths.back() += score::TicksPerQuarter;
            }
            at += length;
        }
        const score::Rhythm rhythm = score::FindRhythm(melody);
        for (std::size_t i = 0; i + 1 < lengths.size(); ++i)
            EXPECT_EQ(rhythm.Onsets[i + 1] - rhythm.Onsets[i], lengths[i]) << tempo << " " << i;
        ASSERT_EQ(rhythm.Tempos.size(), tempo == 100 ? 1u : 2u) << tempo;
        if (tempo == 100) continue;
        EXPECT_NEAR(rhythm.Tempos[0].QuartersPerMinute, 100, 3);
        EXPECT_NEAR(rhythm.Tempos[1].QuartersPerMinute, tempo, 3);
        EXPECT_EQ(rhythm.Tempos[1].Bar * rhythm.Meter().BarTicks(), 48 * score::TicksPerQuarter);
    }
}

// Long and short eighths are a feel: they are written straight, and not as triplets. A jig's
// quarter and eighth are no swing.
TEST(Score, DistinguishesSwingFromTripletsAndJigs) {
    const struct {
        double OffBeat, Tempo; // time of a second half in its beat; beats per minute
        bool Swing;
    } cases[] = {{0.5, 120, false}, {0.6, 132, true}, {0.64, 144, true}, {2 / 3.0, 70, false}};
    for (const auto& c : cases) {
        std::mt19937 random(3);
        std::normal_distribution<double> jitter(0, 0.01);
        std::vector<score::HeardNote> melody;
        for (int beat = 0; beat < 48; ++beat)
            for (const double at : {0.0, c.OffBeat})
                if (at == 0 || beat % 4 != 3) {
                    const double onset = 1 + (beat + at) * 60 / c.Tempo + jitter(random);
                    melody.push_back({onset, onset + 0.2, 60 + beat % 4 * 2 + (at > 0 ? 3 : 0)});
                }
        const score::Rhythm rhythm = score::FindRhythm(melody);
        EXPECT_EQ(rhythm.Swing, c.Swing) << c.OffBeat;
        if (c.Swing) {
            EXPECT_TRUE(std::ranges::all_of(rhythm.Onsets, [](int tick) { return tick % 6 == 0; }));
        }
    }
}

} // namespace
