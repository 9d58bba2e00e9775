// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Recording level and mic-through on different mixers.
#include "soundin/mixer.h"
#include "tests/soundin/capture_fixture.h"

namespace {

using namespace machine;
using Controls = std::vector<machine::MixerControl>;

class MixerTest : public CaptureTest {
protected:
    // Opens the only microphone of a new machine, with these controls; optionally one query of the
    // mixer's lines fails.
    void OpenWith(const Controls& controls, int unreadable = 0) {
        input.Close();
        Restart();
        if (unreadable) FailCall(Call::mixerGetLineInfoA, unreadable, MMSYSERR_NODRIVER);
        microphone = AddMicrophone({.Name = "Microphone", .Mixer = controls});
        ASSERT_TRUE(input.Open(22050));
    }
    ~MixerTest() override { input.Close(); }

    Sonorel::SoundInWin input;
    machine::Microphone microphone{};
};

} // namespace

TEST_F(MixerTest, LevelOneIsHalfTheRange) {
    const machine::MixerControl beside{{RecordingLine, MicrophoneLine, MuteControl}, 1};
    struct {
        Controls MixerControls;             // the volume first
        std::vector<std::uint32_t> Written; // the same for every channel
        double Read;
    } const cases[] = {
        {{{MicrophoneVolume, 255}}, {127, 127}, 1.0},
        {{{MicrophoneVolume, 1}}, {0, 0}, 0.0}, // half the range is 0
        {{{MicrophoneVolume, 1000, 0, 1}, beside}, {500}, 1.0},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.MixerControls[0].Maximum);
        OpenWith(each.MixerControls);
        machine::MoveControl(microphone, MicrophoneVolume, each.MixerControls[0].Maximum);
        EXPECT_TRUE(input.SetLevel(1.0));
        EXPECT_EQ(each.Written, ControlValues(microphone, MicrophoneVolume));
        EXPECT_EQ(each.Read, input.GetLevel());
    }
}

// A destination without sources is used itself; each control is found independently.
TEST_F(MixerTest, FindsTheMicrophonesControls) {
    struct {
        const char* Name;
        Controls MixerControls; // the mute first, then the volume
        bool Level;
    } const cases[] = {
        {"no sources",
         {{{SpeakersLine, 0, MuteControl}, 1, 1}, {{RecordingLine, 0, VolumeControl}, 100}},
         true},
        {"one of two",
         {{MicrophoneMute, 1, 1},
          {{RecordingLine, 0, VolumeControl}, 100},
          {{RecordingLine, LineInLine, 0}},
          {{SpeakersLine, LineInLine, 0}}},
         false},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.Name);
        OpenWith(each.MixerControls);
        EXPECT_EQ(each.Level, input.SetLevel(1.5));
        EXPECT_EQ(each.Level ? 1.5 : 0.0, input.GetLevel());
        EXPECT_EQ(each.Level ? 75u : 0u,
                  ControlValues(microphone, each.MixerControls[1].Place).at(0));
        EXPECT_EQ(0u, input.GetMicThru());
        EXPECT_TRUE(input.SetMicThru(1));
        EXPECT_EQ(0u, ControlValues(microphone, each.MixerControls[0].Place).at(0));
        EXPECT_EQ(7u, input.GetMicThru());
    }
}

TEST_F(MixerTest, WithoutAMixerOrWithOneThatRefuses) {
    for (const Controls& controls : {Controls(), machine::MicrophoneMixer()}) {
        OpenWith(controls);
        machine::FailCall(machine::Call::mixerGetControlDetailsA, 1, MMSYSERR_NOTSUPPORTED, 0);
        machine::FailCall(machine::Call::mixerSetControlDetails, 1, MMSYSERR_NOTSUPPORTED, 0);
        EXPECT_EQ(0.0, input.GetLevel());
        EXPECT_FALSE(input.SetLevel(1.5));
        EXPECT_EQ(7u, input.GetMicThru());
        EXPECT_FALSE(input.SetMicThru(1));
    }
}

// The search continues after a source that cannot be read.
TEST_F(MixerTest, SkipsUnreadableSources) {
    OpenWith({{{RecordingLine, LineInLine, 0}}, {MicrophoneVolume, 100}}, 2);
    EXPECT_EQ(1.0, input.GetLevel());
}

// SoundInDx uses the mixer whose whole name is a prefix of the device's description.
TEST_F(CaptureTest, DirectSoundFindsItsMixerByName) {
    struct {
        const char* Microphone;
        std::vector<std::string> Mixers;
        std::size_t Expected; // index in Mixers
        int Unopened;         // number of the mixerOpen call that fails; 0 for none
    } const cases[] = {
        {"USB Audio (front)", {"Onboard", "USB Audio", "USB"}, 1, 0},
        {"USB Audio", {"Onboard", "USB Audio (front)"}, 0, 0},
        {"USB Audio (front)", {"Onboard", "USB Audio", "Other"}, 0, 1},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(testing::Message() << each.Microphone << " at " << each.Mixers[0]);
        Restart();
        std::vector<machine::Microphone> mixers;
        for (const std::string& name : each.Mixers) mixers.push_back(Add(name));
        AddMicrophone({.Name = each.Microphone, .Mixer = {}});
        Sonorel::SoundInDx input;
        input.SetDevice(static_cast<std::int32_t>(mixers.size()) + 1);
        if (each.Unopened)
            machine::FailCall(machine::Call::mixerOpen, each.Unopened, MMSYSERR_ALLOCATED);
        ASSERT_TRUE(input.Open(22050));
        EXPECT_TRUE(input.SetLevel(0.25));
        EXPECT_EQ(8191u, machine::ControlValues(mixers[each.Expected], MicrophoneVolume).at(0));
        input.Close();
    }
}
