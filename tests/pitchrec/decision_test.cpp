// From measured notes to held ones, and the messages that tell of them. Tones high enough for a
// block of their own to hold all the cycles that are looked at.
#include "tests/pitchrec/player.h"

#include <gtest/gtest.h>

namespace {

using Messages = std::vector<std::uint32_t>;
using Sonorel::NoNote;

// Whole samples a period, and a sample on each peak: notes and amplitudes are exact.
constexpr double Low = 22050.0 / 24;  // note 82, 26 cents below it
constexpr double High = 22050.0 / 20; // note 85

// A block of each tone.
void PlayTones(Player& player, const std::vector<std::pair<double, double>>& tones) {
    for (const auto& [hertz, peak] : tones) player.Play(Sine(hertz, peak));
}

TEST(Steady, TwoFramesChangeTheNoteUnderOneStamp) {
    Player player;
    PlayTones(player, {{Low, 100}, {Low, 100}, {High, 100}, {High, 100}});
    const auto entries = player.TakeEntries();
    ASSERT_EQ(entries.size(), 3u);
    EXPECT_EQ(entries[1].Message, 0x805240u);
    EXPECT_EQ(entries[2].Message, 0x905564u);
    EXPECT_EQ(entries[1].Time, entries[2].Time);
}

// A fall by more than a third at the change: the old note ends, nothing starts, and the count of
// two begins anew.
TEST(Steady, AChangeInAFallingLevelIsARelease) {
    Player player;
    PlayTones(player, {{Low, 100}, {Low, 100}, {High, 90}, {High, 50}});
    EXPECT_EQ(player.Frames[3].ActiveNote, NoNote);
    EXPECT_EQ(player.Frames[3].DetectedNote, NoNote);
    PlayTones(player, {{High, 50}});
    EXPECT_EQ(player.Frames[4].ActiveNote, NoNote);
    PlayTones(player, {{High, 50}});
    EXPECT_EQ(player.Frames[5].ActiveNote, 85);

    Player exact; // two thirds exactly is no fall
    PlayTones(exact, {{Low, 100}, {Low, 100}, {High, 90}, {High, 60}});
    EXPECT_EQ(exact.Frames[3].ActiveNote, 85);
}

TEST(Sliding, TheFirstNoteWaitsForThreeFramesAndLaterOnesForNone) {
    Player player;
    player.Recogniser.SetTrackingMode(true);
    PlayTones(player, {{Low, 100}, {Low, 100}});
    EXPECT_EQ(player.Now().HoldFrames, 1);
    EXPECT_TRUE(player.TakeEntries().empty());
    PlayTones(player, {{Low, 100}});
    EXPECT_EQ(player.TakeMessages(), Messages{0x905264});
    PlayTones(player, {{Low, 100}, {Low, 0}, {Low, 0}, {High, 100}});
    EXPECT_EQ(player.TakeMessages(), (Messages{0x805240, 0x905564}));
}

TEST(Sliding, ASemitoneStaysAndAFifthChanges) {
    Player player;
    player.Recogniser.SetTrackingMode(true);
    player.Play(Sine(440, 100), 6);
    player.Play(Sine(466.2, 100), 6);
    EXPECT_EQ(player.Now().ActiveNote, 69);
    EXPECT_NEAR(player.Now().CentsOffset, 100, 12);
    player.Play(Sine(660, 100), 8);
    EXPECT_EQ(player.Now().ActiveNote, 76);
    EXPECT_EQ(player.TakeMessages(), (Messages{0x904564, 0x804540, 0x904C64}));
}

TEST(Sliding, AGlideStaysOnItsFirstNote) {
    Player player;
    player.Recogniser.SetTrackingMode(true);
    player.Play(Sine(440, 100), 4);
    double phase = 0;
    double hertz = 440;
    player.Play(
        [&](int) {
            phase += hertz / 22050;
            hertz *= std::pow(2.0, 0.5 / 11025); // half an octave in half a second
            return 100 * std::sin(2 * M_PI * phase);
        },
        22);
    EXPECT_EQ(player.Now().ActiveNote, 69);
    EXPECT_GT(player.Now().CentsOffset, 300);
    EXPECT_EQ(player.TakeMessages().size(), 1u);
}

TEST(Messages, BendsFollowTheirNoteAndOnlyChanges) {
    Player player;
    player.Recogniser.SetPitchBendOutput(true);
    player.Play(Sine(441, 100), 2);
    // 3 cents since the first frame, so that the second, which starts the note, brings no change.
    EXPECT_EQ(player.TakeMessages(), (Messages{0x904564}));
    player.Play(Sine(22050.0 / 51, 100), 3); // 432 Hz, 31 cents below
    EXPECT_EQ(player.Now().CentsOffset, -31);
    EXPECT_EQ(player.TakeMessages().back(), 0xE0613Fu); // 8,161
    player.Play(Sine(22050.0 / 51, 100), 1);
    EXPECT_TRUE(player.TakeMessages().empty());
    player.Play(Silence());
    EXPECT_EQ(player.TakeMessages(), Messages{0x804540}); // no bend with the end
}

TEST(Messages, RawNotesComeOneFrameEarlierOnTheirOwnChannel) {
    Player player;
    player.Recogniser.SetRawNoteOutput(true);
    player.Recogniser.SetPitchBendOutput(true);
    player.Play(Sine(Low, 100));
    EXPECT_EQ(player.TakeMessages(), (Messages{0x915264, 0xE1663F}));
    player.Play(Sine(Low, 100));
    EXPECT_EQ(player.TakeMessages(), (Messages{0x905264}));
    player.Play(Sine(High, 90));
    const auto change = player.TakeMessages();
    ASSERT_GE(change.size(), 2u);
    EXPECT_EQ(change[0], 0x815240u);
    EXPECT_EQ(change[1], 0x91555Au);
    player.Play(Silence());
    EXPECT_EQ(player.TakeMessages(), (Messages{0x815540, 0x805240}));
}

} // namespace
