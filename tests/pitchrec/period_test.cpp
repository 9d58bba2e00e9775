// The pitch detector on sounds whose pitch is known.
#include "pitchrec/cycle_scan.h"
#include "pitchrec/period_vote.h"
#include "tests/pitchrec/player.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

namespace {

using Sonorel::CycleTable;
using Sonorel::NoNote;

double Hertz(int note) { return 440.0 * std::pow(2.0, (note - 69) / 12.0); }

Sound Harmonics(double hertz, std::vector<double> gains) {
    return [=](int i) {
        double sum = 0;
        for (std::size_t h = 0; h < gains.size(); ++h)
            sum += gains[h] * std::sin(2 * M_PI * hertz * static_cast<double>(h + 1) * i / 22050);
        return sum;
    };
}

std::vector<int> LengthsOf(const CycleTable& cycles) {
    std::vector<int> lengths;
    for (std::size_t k = 0; k < static_cast<std::size_t>(cycles.Count); ++k)
        lengths.push_back(cycles.Entries[k].Length);
    return lengths;
}

TEST(Period, CutsATonesCyclesAndStopsPastTheNewSamples) {
    std::vector<std::int16_t> window;
    const Sound sine = Sine(441, 100);
    for (int i = 0; i < 2048; ++i)
        window.push_back(static_cast<std::int16_t>(std::lround(sine(i))));
    const CycleTable cycles = Sonorel::ScanCycles(window.data(), 2048, 1536, {50, -66, false});
    std::vector<int> lengths(11, 50);
    lengths[0] = 0;
    EXPECT_EQ(LengthsOf(cycles), lengths);
    const Sonorel::PeriodCluster best = Sonorel::VotePeriod(cycles);
    EXPECT_EQ(best.Mean, 50);
    EXPECT_EQ(best.Votes, 10);
    EXPECT_EQ(best.Total, 500);
}

CycleTable CyclesOf(const std::vector<int>& lengths) {
    CycleTable cycles;
    int peak = 2000;
    cycles.Add(peak);
    for (int length : lengths) cycles.Add(peak -= length);
    return cycles;
}

// Single distances are no period here; their sums are.
TEST(Period, SumsOfTwoAndThreeOutvoteUnequalCycles) {
    const auto two = Sonorel::VotePeriod(CyclesOf({30, 70, 30, 70, 30, 70, 30, 70, 30, 70}));
    EXPECT_EQ(two.Mean, 100);
    EXPECT_EQ(two.Votes, 9);
    const auto three = Sonorel::VotePeriod(CyclesOf({20, 35, 45, 20, 35, 45, 20, 35, 45, 20}));
    EXPECT_EQ(three.Mean, 100);
    EXPECT_EQ(three.Votes, 8);
}

TEST(Period, VotesAtTheEdges) {
    struct Case {
        std::vector<int> Lengths;
        int Votes, Mean, Total;
    };
    const Case cases[] = {
        {{}, 0, 0, 0},
        {{50}, 1, 50, 50},      // one lone measurement
        {{50, 55}, 2, 52, 105}, // five apart agree, and the mean is truncated
        {{50, 56}, 1, 50, 50},  // six do not; of equal votes the shorter wins
    };
    for (const Case& c : cases) {
        const auto best = Sonorel::VotePeriod(CyclesOf(c.Lengths));
        EXPECT_EQ(best.Votes, c.Votes) << testing::PrintToString(c.Lengths);
        EXPECT_EQ(best.Mean, c.Mean) << testing::PrintToString(c.Lengths);
        EXPECT_EQ(best.Total, c.Total) << testing::PrintToString(c.Lengths);
    }
}

// Lengths that all differ open a cluster for nearly every sum: there must be room.
TEST(Period, HasRoomForEverySum) {
    std::vector<int> lengths;
    for (int k = 0; k < 19; ++k) lengths.push_back(11 + 13 * k + k * k);
    EXPECT_LT(Sonorel::VotePeriod(CyclesOf(lengths)).Votes, 20);
}

TEST(Period, MeasuresA441HzSine) {
    Player player;
    player.Play(Sine(441, 100), 5);
    EXPECT_EQ(player.Now().Frequency, 441.0);
    EXPECT_EQ(player.Now().DetectedNote, 69);
    EXPECT_EQ(player.Now().CentsOffset, 3); // truncated before it is rounded to a note
}

TEST(Period, FollowsTheReferencePitch) {
    Player player;
    player.Recogniser.SetReferencePitch(441);
    player.Play(Sine(441, 100), 5);
    EXPECT_EQ(player.Now().DetectedNote, 69);
    EXPECT_EQ(player.Now().CentsOffset, 0);
    player.Recogniser.SetReferencePitch(466);
    player.Play(Sine(441, 100), 5);
    EXPECT_EQ(player.Now().DetectedNote, 68);
}

// Every semitone from C2 to C7 in three voices.
TEST(Period, HearsEverySemitone) {
    const auto formant = [](double hertz) {
        std::vector<double> gains;
        for (int h = 1; h <= 10 && h * hertz < 9000; ++h) {
            const double f = h * hertz;
            gains.push_back(25 / (1 + std::pow((f - 700) / 250, 2)) +
                            12 / (1 + std::pow((f - 1200) / 300, 2)) + 40.0 / h);
        }
        return gains;
    };
    const auto saw = [](double hertz) {
        std::vector<double> gains;
        for (int h = 1; h <= 40 && h * hertz < 10000; ++h) gains.push_back(55.0 / h);
        return gains;
    };
    for (int note = 36; note <= 96; ++note) {
        const double hertz = Hertz(note);
        const std::pair<const char*, Sound> voices[] = {
            {"sine", Sine(hertz, 100)},
            {"saw", Harmonics(hertz, saw(hertz))},
            {"formant", Harmonics(hertz, formant(hertz))}};
        for (const auto& [name, sound] : voices) {
            SCOPED_TRACE(testing::Message() << name << " " << note);
            Player player;
            player.Play(sound, 24);
            // The few cycles of a low voice can disagree: it may start on a harmonic or break up.
            const bool steady = note >= 45 || name == std::string("sine");
            if (steady) {
                EXPECT_EQ(player.TakeMessages().size(), 1u);
            }
            int held = 0;
            for (std::size_t block = 4; block < player.Frames.size(); ++block) {
                const Sonorel::FrameState& frame = player.Frames[block];
                if (frame.ActiveNote == NoNote) continue;
                ++held;
                EXPECT_EQ(frame.ActiveNote, note);
                EXPECT_NEAR(frame.CentsOffset, 0, 25);
            }
            EXPECT_GE(held, steady ? 20 : 12);
        }
    }
}

TEST(Period, KeepsTheOctaveOfStrongHarmonics) {
    for (const Sound& sound :
         {Harmonics(220, {50, 50}), Harmonics(220, {33, 0, 66}), Harmonics(220, {50, 30, 20})}) {
        Player player;
        player.Play(sound, 6);
        EXPECT_EQ(player.Now().ActiveNote, 57);
    }
}

TEST(Period, NeedsTwoAgreeingDistances) {
    Player low;
    low.Play(Sine(110, 100), 2);
    EXPECT_EQ(low.Frames[0].DetectedNote, NoNote); // two periods and a half
    EXPECT_EQ(low.Recogniser.ValidSamples, 1024);  // a search that fails keeps the window
    EXPECT_EQ(low.Frames[1].DetectedNote, 45);
    Player rumble;
    rumble.Play(Sine(29, 100), 60);
    EXPECT_TRUE(rumble.TakeEntries().empty());
}

TEST(Period, ReadsHighTonesInWholeSamples) {
    Player fair;
    fair.Play(Sine(2000, 100), 20);
    for (int block = 4; block < 20; ++block) {
        // 19 periods of 11.025 samples, give or take a sample at either end.
        const double read = fair.Frames[static_cast<std::size_t>(block)].Frequency;
        EXPECT_NEAR(19 * 22050 / read, 19 * 11.025, 1.5);
    }
    Player wrong; // one, two and three cycles fall into one cluster
    wrong.Play(Sine(5000, 100), 6);
    EXPECT_NEAR(wrong.Now().Frequency, 3350, 60);
    Player none;
    none.Play(Sine(10000, 100), 10);
    EXPECT_TRUE(none.TakeEntries().empty());
}

// An offset that leaves the wave nearly all above zero still has its crossings; one that lifts it
// off has none.
TEST(Period, MeetsOffsets) {
    Player low;
    low.Play([](int i) { return 60 + 62 * std::sin(2 * M_PI * 441 * i / 22050.0); }, 5);
    EXPECT_EQ(low.Now().DetectedNote, 69);
    Player lifted;
    lifted.Play([](int i) { return 60 + 50 * std::sin(2 * M_PI * 441 * i / 22050.0); }, 5);
    EXPECT_EQ(lifted.Now().DetectedNote, NoNote);
    EXPECT_EQ(lifted.Recogniser.ValidSamples, 2048);
}

TEST(Period, HearsThroughClipping) {
    Player player;
    player.Play(Sine(220, 500), 6); // ToByte clips
    EXPECT_EQ(player.Now().ActiveNote, 57);
    EXPECT_EQ(player.Now().Amplitude, 128);
    EXPECT_EQ(player.TakeMessages(), std::vector<std::uint32_t>{0x903980}); // velocity not clamped
}

// What is no tone gives few notes or none.
TEST(Period, DoesNotInventMelodies) {
    Player clicks;
    clicks.Play([](int i) { return i % 9973 == 700 ? 120.0 : 0.0; }, 80);
    EXPECT_TRUE(clicks.TakeEntries().empty());
    Player steps;
    steps.Play([](int i) { return i / 4000 % 2 ? 90.0 : -90.0; }, 80);
    EXPECT_TRUE(steps.TakeEntries().empty());
    Player noise;
    std::mt19937 random(3);
    noise.Play([&](int) { return static_cast<double>(random() % 201) - 100; }, 43 * 4);
    EXPECT_LT(noise.TakeEntries().size(), 4u * 2 * 8);
}

} // namespace
