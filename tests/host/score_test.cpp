// Melodies as they are played, early and late and slowing down, back into the bars that they are
// of.
#include "score/score.h"

#include <gtest/gtest.h>
#include <random>
#include <sstream>

namespace {

struct Tune {
    const char* Text;  // MIDI numbers and quarters; 0 is a rest
    double Quarters;   // a minute
    double Touch;      // of its value that a note sounds
    double Given;      // tempo
    double Scale;      // of the values on paper
    const char* Reads; // meter, key, tempo, bars
};

constexpr char Greensleeves[] =
    "69 1 72 2 74 1 76 1.5 77 .5 76 1 74 2 71 1 67 1.5 69 .5 71 1 72 2 69 1 69 1.5 68 .5 69 1 71 2 "
    "68 1 64 2 69 1 72 2 74 1 76 1.5 77 .5 76 1 74 2 71 1 67 1.5 69 .5 71 1 72 1.5 71 .5 69 1 68 "
    "1.5 66 .5 68 1 69 3";
const Tune Tunes[] = {
    {Greensleeves, 108, 0.6, 0, 0.5, "6/8, A minor, 5"},
    {Greensleeves, 108, 1, 108, 1, "3/4, A minor, 108 quarter notes a minute, 16 bars"},
    {"67 1 0 1 67 1 0 1 69 2 71 2 72 1 71 .5 69 .5 67 2 0 4 64 1 65 1 67 2 60 4", 96, 0.95, 0, 1,
     "4/4, C major, 9"},
    {"74 1.5 76 .5 74 1 71 3 74 1.5 76 .5 74 1 71 3 81 2 81 1 78 3 79 2 79 1 74 3", 90, 0.8, 0, 1,
     "3/4, "},
};

TEST(Score, ReadsLikeTheTune) {
    for (const Tune& tune : Tunes) {
        std::mt19937 random(7);
        std::normal_distribution<double> jitter(0, 0.015);
        std::vector<score::HeardNote> melody;
        std::vector<int> wanted;
        std::istringstream words(tune.Text);
        double at = 0.5;
        double quarters = 0;
        for (int key = 0; words >> key >> quarters;) {
            const double length = quarters * 60 / tune.Quarters * (1 + at / 300); // it slows down
            if (key > 0) melody.push_back({at + jitter(random), at + length * tune.Touch, key});
            if (key > 0) wanted.push_back(static_cast<int>(quarters * 4 * tune.Scale));
            at += length;
        }
        const score::Score score = score::MakeScore(melody, tune.Given);
        EXPECT_EQ(score.Description().find(tune.Reads), 0u) << score.Description();
        std::vector<int> found(melody.size());
        for (const score::Bar& bar : score.Bars) {
            int place = bar.Place;
            for (const score::Symbol& symbol : bar.Symbols) {
                EXPECT_EQ(symbol.Place, place);
                place += symbol.Length;
                if (symbol.Note >= 0) found[static_cast<std::size_t>(symbol.Note)] += symbol.Length;
            }
            EXPECT_EQ(place, score.Of.In->BarLength);
        }
        EXPECT_EQ(found, wanted) << score.Description();
    }
}

} // namespace
