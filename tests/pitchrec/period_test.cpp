// The pitch detector on sounds whose pitch is known.
#include "pitchrec/period_vote.h"
#include "tests/pitchrec/player.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

namespace {

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

// Lengths that all differ open a cluster for nearly every sum: there must be room.
TEST(Period, HasRoomForEverySum) {
    Sonorel::CycleTable cycles;
    int peak = 10000;
    for (int k = 0; k < 20; ++k) cycles.Add(peak -= 11 + 13 * k + k * k);
    EXPECT_LT(Sonorel::VotePeriod(cycles).Votes, 20);
}

TEST(Period, MeasuresA441HzSine) {
    Player player;
    player.Play(Sine(441, 100), 5);
    EXPECT_EQ(player.Now().Frequency, 441.0);
    EXPECT_EQ(player.Now().DetectedNote, 69);
    EXPECT_EQ(player.Now().CentsOffset, 3); // truncated before it is rounded to a note
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
