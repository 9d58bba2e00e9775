// Melodies as they are played, early and late and slowing down, back into the bars that they are
// of.
#include "score/score.h"

#include <gtest/gtest.h>
#include <random>
#include <sstream>

namespace {

constexpr char Greensleeves[] = // MIDI numbers and quarters; 0 is a rest
    "69 1 72 2 74 1 76 1.5 77 .5 76 1 74 2 71 1 67 1.5 69 .5 71 1 72 2 69 1 69 1.5 68 .5 69 1 71 2 "
    "68 1 64 2 69 1 72 2 74 1 76 1.5 77 .5 76 1 74 2 71 1 67 1.5 69 .5 71 1 72 1.5 71 .5 69 1 68 "
    "1.5 66 .5 68 1 69 3";
const struct {
    const char* Tune;
    double Tempo, Touch, Given; // Touch: of its value that a note sounds
    const char* Reads;          // meter, key, tempo, bars
} Cases[] = {
    {Greensleeves, 108, 0.6, 0, "6/8, A minor, 5"},
    {Greensleeves, 108, 1, 108, "3/4, A minor, 108 quarter notes a minute, 16 bars"},
    {"67 1 0 1 67 1 0 1 69 2 71 2 72 1 71 .5 69 .5 67 2 0 4 64 1 65 1 67 2 60 4", 96, 0.95, 0,
     "4/4, C major, 9"},
};

TEST(Score, ReadsLikeTheTune) {
    for (const auto& c : Cases) {
        std::mt19937 random(7);
        std::normal_distribution<double> jitter(0, 0.015);
        std::vector<score::HeardNote> melody;
        std::vector<int> wanted; // in sixteenths of this tempo
        std::istringstream words(c.Tune);
        double at = 0.5, quarters = 0;
        for (int key = 0; words >> key >> quarters;) {
            const double length = quarters * 60 / c.Tempo * (1 + at / 300);
            if (key > 0) melody.push_back({at + jitter(random), at + length * c.Touch, key});
            if (key > 0) wanted.push_back(static_cast<int>(quarters * 4));
            at += length;
        }
        const score::Score score = score::MakeScore(melody, c.Given);
        EXPECT_EQ(score.Description().find(c.Reads), 0u) << score.Description();
        const int unit = score.Meter() == "6/8" ? 2 : 1; // an eighth stands for the quarter
        std::vector<int> found(melody.size());
        for (const score::Bar& bar : score.Bars)
            for (const score::Symbol& symbol : bar.Symbols)
                if (symbol.Note >= 0)
                    found[static_cast<std::size_t>(symbol.Note)] += symbol.Length * unit;
        EXPECT_EQ(found, wanted) << score.Description();
    }
}

} // namespace
