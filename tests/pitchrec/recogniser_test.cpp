// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Opening the recogniser again, and blocks that it drops.
#include "tests/pitchrec/player.h"

#include <gtest/gtest.h>

namespace {

TEST(Recogniser, ReopeningClearsStateButKeepsNotes) {
    Player player;
    Sonorel::PitchRecWaveIn& recogniser = player.Recogniser;
    recogniser.SetTrackingMode(true);
    for (const int set : {2, -1}) recogniser.SetPeakFactorSet(set);
    EXPECT_EQ(recogniser.PeakFactorSet, 0); // valid sets are 0 and 1
    player.Play(Sine(441, 100), 5);
    player.Input->FailOpen = true; // a failed opening changes nothing
    EXPECT_FALSE(recogniser.Open(22050));
    ASSERT_EQ(player.Now().ActiveNote, 69);
    ASSERT_NE(recogniser.FreqHistory[0], 0.0);
    EXPECT_EQ(recogniser.Enabled, 1);
    player.Input->FailOpen = false;
    EXPECT_TRUE(recogniser.Open(48000));
    EXPECT_FALSE(recogniser.IsRunning());
    EXPECT_EQ(recogniser.ValidSamples, 0);
    EXPECT_EQ(recogniser.FreqHistory, Sonorel::PitchRecWaveIn::History{});
    EXPECT_EQ(player.Now().ActiveNote, Sonorel::NoNote);
    EXPECT_EQ(recogniser.Last.ActiveNote, Sonorel::NoNote);
    EXPECT_EQ(player.PopMessages(), std::vector<std::uint32_t>{0x904564});
}

// A dropped block changes neither the window nor the last frame.
TEST(Recogniser, DropsBlocksThatDoNotFit) {
    Player player;
    player.Play(Sine(441, 100), 2);
    player.Feed(std::vector<std::uint8_t>(2049, 255));
    EXPECT_EQ(player.Now().Amplitude, 100);
    EXPECT_EQ(player.Recogniser.ValidSamples, 1024);
    player.Feed(std::vector<std::uint8_t>(2048, 255)); // as long as the store: accepted
    EXPECT_EQ(player.Now().Amplitude, 127);
    EXPECT_EQ(player.Recogniser.ValidSamples, 2048);

    Player slow(11025, 1, 8); // slower than the analysis
    slow.Feed(std::vector<std::uint8_t>(256, 255));
    EXPECT_EQ(slow.Now().Amplitude, 0);
}

} // namespace
