// The recogniser's life, its parameters, what it forwards, and the blocks that it refuses.
#include "pitchrec/pitch_arithmetic.h"
#include "tests/pitchrec/player.h"

#include <gtest/gtest.h>

namespace {

using Sonorel::PitchRecWaveIn;

TEST(Recogniser, OpenedAgainStartsAfreshButKeepsItsNotes) {
    Player player;
    player.Recogniser.SetTrackingMode(true);
    player.Play(Sine(441, 100), 5);
    player.Input->FailOpen = true; // which changes nothing
    EXPECT_FALSE(player.Recogniser.Open(22050));
    EXPECT_EQ(player.Recogniser.ValidSamples, 2048);
    ASSERT_EQ(player.Now().ActiveNote, 69);
    ASSERT_NE(player.Recogniser.FreqHistory[0], 0.0);
    EXPECT_EQ(player.Recogniser.Enabled, 1);
    player.Input->FailOpen = false;
    EXPECT_TRUE(player.Recogniser.Open(48000)); // asked for, but analysed at its own rate
    EXPECT_EQ(player.Input->AskedRate, 48000u);
    EXPECT_EQ(player.Recogniser.SampleRate, 22050);
    EXPECT_FALSE(player.Recogniser.IsRunning());
    EXPECT_EQ(player.Recogniser.ValidSamples, 0);
    EXPECT_EQ(player.Recogniser.FreqHistory, Sonorel::PitchRecWaveIn::History{});
    EXPECT_EQ(player.Recogniser.JumpHistory, Sonorel::PitchRecWaveIn::History{});
    EXPECT_EQ(player.Recogniser.GetSignalLevel(), 0);
    EXPECT_EQ(player.Now().ActiveNote, Sonorel::NoNote);
    EXPECT_EQ(player.Recogniser.Last.ActiveNote, Sonorel::NoNote);
    EXPECT_EQ(player.TakeMessages(), std::vector<std::uint32_t>{0x904564});
}

TEST(Recogniser, SettersCheckAndScale) {
    Player player;
    PitchRecWaveIn& recogniser = player.Recogniser;
    recogniser.SetAttackDetect(true, 50);
    EXPECT_EQ(recogniser.AttackThreshold, 50);
    recogniser.SetAttackDetect(false, 50);
    EXPECT_EQ(recogniser.AttackThreshold, 0);
    recogniser.SetPeakFactorSet(1);
    recogniser.SetPeakFactorSet(2);
    recogniser.SetPeakFactorSet(-1);
    EXPECT_EQ(recogniser.PeakFactorSet, 1);
    EXPECT_TRUE(recogniser.SetMicLevel(64));
    EXPECT_EQ(player.Input->Level, 0.5);
    player.Input->Level = 1.0;
    EXPECT_EQ(recogniser.GetMicLevel(), 128);
    player.Input->Level = 0.999;
    EXPECT_EQ(recogniser.GetMicLevel(), 127); // truncated
    EXPECT_TRUE(recogniser.SetMicThru(7));
    EXPECT_EQ(recogniser.GetMicThru(), 7u);
    EXPECT_TRUE(recogniser.SetDevice(3));
    EXPECT_EQ(recogniser.GetDevice(), 3);
}

TEST(Recogniser, WithoutACaptureIsHarmless) {
    PitchRecWaveIn recogniser(nullptr);
    std::int32_t time = 0, status = 0, data1 = 0, data2 = 0;
    EXPECT_FALSE(recogniser.IsRunning());
    EXPECT_FALSE(recogniser.Enable(true));
    EXPECT_FALSE(recogniser.Open(22050));
    EXPECT_FALSE(recogniser.GetNote(&time, &status, &data1, &data2));
    EXPECT_EQ(recogniser.GetMicLevel(), 0);
    EXPECT_FALSE(recogniser.SetMicLevel(1));
    EXPECT_EQ(recogniser.GetMicThru(), 0u);
    EXPECT_FALSE(recogniser.SetMicThru(1));
    EXPECT_EQ(recogniser.GetDevice(), 0);
    EXPECT_FALSE(recogniser.SetDevice(1));
    const std::uint8_t block[512] = {};
    PitchRecWaveIn::ProcessChunk(0, block, 512, &recogniser);
    PitchRecWaveIn::ProcessChunk(0, block, 512, nullptr);
}

// Nothing of a refused block shows: the window and the last frame stay.
TEST(Recogniser, RefusesBlocksItCannotStore) {
    auto* unopened = new FedSound(22050, 1, 8);
    PitchRecWaveIn recogniser(unopened);
    unopened->Feed(0, std::vector<std::uint8_t>(512, 200));
    EXPECT_EQ(recogniser.Now.Amplitude, 0);

    Player player;
    player.Play(Sine(441, 100), 2);
    player.Feed(std::vector<std::uint8_t>(2049, 255));
    EXPECT_EQ(player.Now().Amplitude, 100);
    EXPECT_EQ(player.Recogniser.ValidSamples, 1024);
    player.Feed(std::vector<std::uint8_t>(2048, 255)); // as long as the store: taken
    EXPECT_EQ(player.Now().Amplitude, 127);
    EXPECT_EQ(player.Recogniser.ValidSamples, 2048);

    Player slow(11025, 1, 8); // slower than the analysis
    slow.Feed(std::vector<std::uint8_t>(256, 255));
    EXPECT_EQ(slow.Now().Amplitude, 0);
}

TEST(Recogniser, TurnsFrequenciesIntoCents) {
    EXPECT_EQ(std::log(2.0), Sonorel::LogOf2);
    EXPECT_EQ(Sonorel::FrequencyToCents(440.0, 440.0, 6900.0), 6900.0);
    EXPECT_EQ(Sonorel::FrequencyToCents(880.0, 440.0, 6900.0), 8100.0);
    EXPECT_EQ(Sonorel::FrequencyToCents(220.0, 440.0, 6900.0), 5700.0);
    // An absurd reference pitch harms nothing.
    Player player;
    player.Recogniser.SetReferencePitch(0);
    player.Play(Sine(441, 100), 4);
    player.Recogniser.SetReferencePitch(-440);
    player.Play(Sine(441, 100), 4);
}

} // namespace
