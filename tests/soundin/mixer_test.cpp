// Recording level and microphone-through on mixers of every shape.
#include "soundin/mixer.h"
#include "tests/soundin/capture_fixture.h"

namespace {

using machine::LineInLine;
using machine::MicrophoneLine;
using machine::MicrophoneMute;
using machine::MicrophoneVolume;
using machine::MuteControl;
using machine::RecordingLine;
using machine::SpeakersLine;
using machine::VolumeControl;
using Controls = std::vector<machine::MixerControl>;

class MixerTest : public CaptureTest {
protected:
    // An open capture on the only microphone, which has these controls.
    void OpenWith(const Controls& controls) {
        microphone = Add("Microphone", controls);
        ASSERT_TRUE(input.Open(22050));
    }
    ~MixerTest() override { input.Close(); }
    std::vector<std::uint32_t> Values(const machine::ControlPlace& place) const {
        return machine::ControlValues(microphone, place);
    }

    Sonorel::SoundInWin input;
    machine::Microphone microphone{};
};

} // namespace

TEST_F(MixerTest, LevelOneIsHalfTheRange) {
    struct {
        std::uint32_t Maximum;
        double Level;
        std::uint32_t Written;
        double Read;
    } const cases[] = {
        {65535, 1.0, 32767, 1.0},
        {65535, 0.0, 0, 0.0},
        {65535, 255 * 0.0078125, 65278, 65278.0 / 32767},
        {65535, 0.5, 16383, 16383.0 / 32767},
        {255, 1.0, 127, 1.0},
        {2, 1.0, 1, 1.0},
        // Half of it is nothing, and nothing is divided by it.
        {1, 1.0, 0, 0.0},
        {0, 1.0, 0, 0.0},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(testing::Message() << each.Level << " of " << each.Maximum);
        input.Close();
        Restart();
        OpenWith({{MicrophoneVolume, each.Maximum}});
        machine::MoveControl(microphone, MicrophoneVolume, each.Maximum);
        EXPECT_TRUE(input.SetLevel(each.Level));
        // Every channel gets the same.
        EXPECT_EQ((std::vector{each.Written, each.Written}), Values(MicrophoneVolume));
        EXPECT_EQ(each.Read, input.GetLevel());
    }
}

TEST_F(MixerTest, ReadsWhatTheUserMovedAndThroughIsTheMuteTurnedRound) {
    OpenWith(machine::MicrophoneMixer());
    ASSERT_TRUE(machine::MoveControl(microphone, MicrophoneVolume, 65535));
    EXPECT_EQ(65535.0 / 32767, input.GetLevel());
    for (const std::uint32_t on : {1u, 7u, 0x80000000u}) {
        EXPECT_TRUE(input.SetMicThru(on));
        EXPECT_EQ(0u, Values(MicrophoneMute).at(0));
        EXPECT_EQ(7u, input.GetMicThru());
        EXPECT_TRUE(input.SetMicThru(0));
        EXPECT_EQ(1u, Values(MicrophoneMute).at(0));
        EXPECT_EQ(0u, input.GetMicThru());
    }
}

TEST_F(MixerTest, AUniformControlAndAMonoLineTakeOneValue) {
    const machine::MixerControl one{MicrophoneVolume, 1000, 0, 1};
    const machine::MixerControl beside{{RecordingLine, MicrophoneLine, MuteControl}, 1};
    for (const Controls& controls : {Controls{beside, one}, Controls{one}}) {
        input.Close();
        Restart();
        OpenWith(controls);
        EXPECT_EQ(std::vector{500u}, Values(MicrophoneVolume));
        EXPECT_EQ(1.0, input.GetLevel());
    }
}

// A destination without sources is taken itself; a line of another instrument is not the
// microphone's, and left alone; the two controls are found each on its own.
TEST_F(MixerTest, FindsTheMicrophonesControls) {
    struct {
        const char* Name;
        Controls Have; // the mute first, then the volume
        bool Level, Through;
    } const cases[] = {
        {"no sources",
         {{{SpeakersLine, 0, MuteControl}, 1, 1}, {{RecordingLine, 0, VolumeControl}, 100}},
         true,
         true},
        {"no microphone",
         {{{SpeakersLine, LineInLine, MuteControl}, 1, 1},
          {{RecordingLine, LineInLine, VolumeControl}, 100},
          {{SpeakersLine, 0, MuteControl}, 1, 1},
          {{RecordingLine, 0, VolumeControl}, 100}},
         false,
         false},
        {"one of two",
         {{MicrophoneMute, 1, 1},
          {{RecordingLine, 0, VolumeControl}, 100},
          {{RecordingLine, LineInLine, 0}},
          {{SpeakersLine, LineInLine, 0}}},
         false,
         true},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.Name);
        input.Close();
        Restart();
        OpenWith(each.Have);
        EXPECT_EQ(each.Level, input.SetLevel(1.5));
        EXPECT_EQ(each.Level ? 1.5 : 0.0, input.GetLevel());
        EXPECT_EQ(each.Level ? 75u : 0u, Values(each.Have[1].Place).at(0));
        EXPECT_EQ(0u, input.GetMicThru());
        EXPECT_EQ(each.Through, input.SetMicThru(1));
        EXPECT_EQ(each.Through ? 0u : 1u, Values(each.Have[0].Place).at(0));
        EXPECT_EQ(each.Through ? 7u : 0u, input.GetMicThru());
    }
}

TEST_F(MixerTest, WithoutAnyMixer) {
    OpenWith({});
    EXPECT_EQ(nullptr, input.Mixer);
    EXPECT_EQ(0.0, input.GetLevel());
    EXPECT_FALSE(input.SetLevel(1.0));
    EXPECT_EQ(7u, input.GetMicThru());
    EXPECT_FALSE(input.SetMicThru(1));
}

TEST_F(MixerTest, Refusals) {
    OpenWith(machine::MicrophoneMixer());
    machine::FailCall(machine::Call::mixerGetControlDetailsA, 1, MMSYSERR_NOTSUPPORTED, 0);
    machine::FailCall(machine::Call::mixerSetControlDetails, 1, MMSYSERR_NOTSUPPORTED, 0);
    EXPECT_EQ(0.0, input.GetLevel());
    EXPECT_FALSE(input.SetLevel(1.5));
    EXPECT_EQ(7u, input.GetMicThru());
    EXPECT_FALSE(input.SetMicThru(1));
    machine::ClearFaults();
    machine::Unplug(microphone);
    EXPECT_EQ(0.0, input.GetLevel());
    EXPECT_FALSE(input.SetMicThru(0));
}

// A source that cannot be read is no reason to give up those behind it.
TEST_F(MixerTest, LooksOnBehindASourceThatCannotBeRead) {
    machine::FailCall(machine::Call::mixerGetLineInfoA, 2, MMSYSERR_NODRIVER);
    OpenWith({{{RecordingLine, LineInLine, 0}}, {MicrophoneVolume, 100}});
    EXPECT_EQ(1.0, input.GetLevel());
}

// DirectSound tells nothing of mixers: the one whose whole name begins the description is taken.
TEST_F(CaptureTest, DirectSoundFindsItsMixerByName) {
    struct {
        const char* Microphone;
        std::vector<std::string> Mixers;
        int Expected; // place in Mixers
        int Unopened; // the nth opening fails, 0 for none
    } const cases[] = {
        {"USB Audio (front)", {"Onboard", "USB Audio", "USB"}, 1, 0},
        {"USB Audio (front)", {"USB", "USB Audio"}, 0, 0},
        {"USB Audio", {"Onboard", "USB Audio (front)"}, 0, 0},
        {"USB Audio (front)", {"Onboard", "USB Audio", "USB"}, 2, 1},
        {"USB Audio (front)", {"Onboard", "USB Audio", "Other"}, 0, 1},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(testing::Message() << each.Microphone << " at " << each.Mixers[0]);
        Restart();
        std::vector<machine::Microphone> mixers;
        for (const std::string& name : each.Mixers) mixers.push_back(Add(name));
        Add(each.Microphone, Controls{});
        Sonorel::SoundInDx input;
        input.SetDevice(static_cast<std::int32_t>(mixers.size()) + 1);
        if (each.Unopened)
            machine::FailCall(machine::Call::mixerOpen, each.Unopened, MMSYSERR_ALLOCATED);
        ASSERT_TRUE(input.Open(22050));
        EXPECT_TRUE(input.SetLevel(0.25));
        for (std::size_t place = 0; place < mixers.size(); ++place) {
            const bool moved =
                machine::ControlValues(mixers[place], MicrophoneVolume).at(0) == 8191;
            EXPECT_EQ(each.Expected == static_cast<int>(place), moved) << place;
        }
        input.Close();
    }
}

TEST_F(CaptureTest, WaveInFallsBackOnTheFirstMixer) {
    Add("Without", Controls{});
    const auto first = Add("First");
    Sonorel::SoundInWin input;
    ASSERT_TRUE(input.Open(22050));
    EXPECT_TRUE(input.SetLevel(0.25));
    EXPECT_EQ(8191u, machine::ControlValues(first, MicrophoneVolume).at(0));
    input.Close();
}
