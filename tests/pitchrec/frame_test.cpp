// Intake and measurement: which samples count, the gate, the stamps, the attack detector.
#include "tests/pitchrec/player.h"

#include <gtest/gtest.h>

namespace {

using Sonorel::NoNote;

TEST(Frame, SilenceHalvesTheLevelAndSaysNothing) {
    Player player;
    player.Play(Square(64, 100));
    std::vector<int> levels;
    for (int block = 0; block < 7; ++block) {
        levels.push_back(player.Recogniser.GetSignalLevel());
        player.Play(Silence());
    }
    EXPECT_EQ(levels, (std::vector<int>{50, 25, 12, 6, 3, 1, 0}));
    EXPECT_EQ(player.Now().Amplitude, 0);
    EXPECT_EQ(player.Recogniser.ValidSamples, 0);
    EXPECT_TRUE(player.TakeEntries().empty());
}

TEST(Frame, SixteenBitsKeepTheirRange) {
    Player player(22050, 1, 16);
    std::vector<std::uint8_t> block(1024);
    for (std::size_t k = 0; k < 512; ++k) block[2 * k + 1] = k / 25 % 2 ? 0x80 : 0x7F;
    player.Feed(block);
    player.Feed(block);
    EXPECT_EQ(player.Now().MinSample, -32768);
    EXPECT_EQ(player.Now().MaxSample, 0x7F00);
    EXPECT_EQ(player.Now().Amplitude, 32768);
    const auto messages = player.TakeMessages();
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_EQ(messages[0] & 0xFF, 0u); // the low 8 bits of the amplitude
}

// The gate closes the window, and its level depends on the note of two frames ago.
TEST(Frame, GateOpensAt20AndHoldsAt10) {
    Player quiet;
    quiet.Play(Square(25, 19), 4);
    EXPECT_EQ(quiet.Recogniser.ValidSamples, 0);
    EXPECT_EQ(quiet.Now().Frequency, 0.0);
    quiet.Play(Square(25, 20));
    EXPECT_EQ(quiet.Recogniser.ValidSamples, 512);
    EXPECT_EQ(quiet.Now().DetectedNote, 69);

    Player held;
    held.Play(Square(25, 100), 2);
    ASSERT_EQ(held.Now().ActiveNote, 69);
    held.Play(Square(25, 15)); // the note has just started: still gated at 20
    EXPECT_EQ(held.Now().ActiveNote, NoNote);

    Player longer;
    longer.Play(Square(25, 100), 3);
    longer.Play(Square(25, 15), 4);
    EXPECT_EQ(longer.Now().ActiveNote, 69);
    longer.Play(Square(25, 10));
    EXPECT_EQ(longer.Now().ActiveNote, 69);
    longer.Play(Square(25, 9));
    EXPECT_EQ(longer.Now().ActiveNote, NoNote);
    EXPECT_EQ(longer.Recogniser.ValidSamples, 0);
}

TEST(Frame, StampsTheFirstLoudSample) {
    struct Case {
        std::vector<int> Loud; // sample indices at 20
        int Before;            // milliseconds before the block's end
    };
    // (index - 512) * 1000 / 22050, toward zero.
    const Case cases[] = {{{1}, 23},     {{100}, 18}, {{400, 450}, 5}, {{490}, 0},
                          {{511}, 0},    {{0}, 23}, // index 0 counts as none: the oldest sample
                          {{0, 300}, 9},            // so a later one is taken
                          {{}, 23}};                // none at all: the oldest sample
    for (const Case& c : cases) {
        Player player;
        player.Play([&](int i) {
            return std::find(c.Loud.begin(), c.Loud.end(), i) != c.Loud.end() ? 20 : 0;
        });
        EXPECT_EQ(player.Now().OnsetTime, 1023 - c.Before) << testing::PrintToString(c.Loud);
    }
}

TEST(Frame, AnEmptyBlockStopsAtTheGate) {
    Player player;
    player.Play(Square(25, 100), 3);
    player.Feed({});
    EXPECT_EQ(player.Now().Amplitude, 0);
    EXPECT_EQ(player.Now().ActiveNote, NoNote);
    EXPECT_EQ(player.Recogniser.ValidSamples, 0);
}

TEST(Attack, ReportsTheRiseAndTheFirstFallOnce) {
    Player player;
    player.Recogniser.SetAttackDetect(true, 40);
    // Peaks of the half-block blocks: 10 10 | 100 120 | 120 119 | 50 0.
    const int peaks[] = {10, 10, 100, 120, 120, 119, 50, 0};
    player.Play([&](int i) { return i % 256 == 128 ? peaks[i / 256] : 0; }, 4);
    std::vector<NoteEntry> attacks;
    for (const NoteEntry& entry : player.TakeEntries())
        if (entry.Message >> 16 == 0xB0) attacks.push_back(entry);
    // The stamps are those of the block before: sample 384 of block 0, sample 128 of block 2.
    const NoteEntry expected[] = {{1023 - 5, 0xB00C7F}, {1069 - 17, 0xB00C00}};
    ASSERT_EQ(attacks.size(), 2u);
    EXPECT_EQ(attacks[0], expected[0]);
    EXPECT_EQ(attacks[1], expected[1]);
}

} // namespace
