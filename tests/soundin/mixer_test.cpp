// Recording level and microphone-through on mixers of every shape.
#include "soundin/mixer.h"
#include "tests/soundin/capture_fixture.h"

namespace {

using machine::MixerControl;
using machine::MixerLine;

constexpr std::uint32_t Speakers = MIXERLINE_COMPONENTTYPE_DST_SPEAKERS;
constexpr std::uint32_t WaveIn = MIXERLINE_COMPONENTTYPE_DST_WAVEIN;
constexpr std::uint32_t Mic = MIXERLINE_COMPONENTTYPE_SRC_MICROPHONE;
constexpr std::uint32_t LineIn = MIXERLINE_COMPONENTTYPE_SRC_LINE;
constexpr std::uint32_t Volume = MIXERCONTROL_CONTROLTYPE_VOLUME;
constexpr std::uint32_t Mute = MIXERCONTROL_CONTROLTYPE_MUTE;

MixerControl VolumeUpTo(std::uint32_t maximum) {
    MixerControl control{.Type = Volume};
    control.Maximum = maximum;
    return control;
}

MixerControl MuteControl() {
    MixerControl control{.Type = Mute};
    control.Maximum = 1;
    control.Value = 1;
    return control;
}

MixerLine Line(std::uint32_t type, std::vector<MixerControl> controls,
               std::vector<MixerLine> sources = {}, unsigned channels = 2) {
    return {type, channels, std::move(controls), std::move(sources)};
}

class MixerTest : public CaptureTest {
protected:
    // An open capture on a microphone whose only mixer has these destinations.
    void OpenWith(const std::vector<MixerLine>& destinations) {
        mixer = machine::AddMixer({"Mixer", destinations});
        machine::SetMixerOf(AddWithoutMixer("Microphone"), mixer);
        ASSERT_TRUE(input.Open(22050));
    }
    ~MixerTest() override { input.Close(); }
    std::vector<std::uint32_t> Values(const machine::ControlPlace& place) const {
        return machine::ControlValues(mixer, place);
    }

    Sonorel::SoundInWin input;
    machine::Mixer mixer = machine::Mixer::None;
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
        OpenWith({Line(WaveIn, {}, {Line(Mic, {VolumeUpTo(each.Maximum)})})});
        machine::MoveControl(mixer, machine::MicrophoneVolume, each.Maximum);
        EXPECT_TRUE(input.SetLevel(each.Level));
        // Every channel gets the same.
        EXPECT_EQ((std::vector{each.Written, each.Written}), Values(machine::MicrophoneVolume));
        EXPECT_EQ(each.Read, input.GetLevel());
    }
}

TEST_F(MixerTest, ReadsWhatTheUserMovedAndThroughIsTheMuteTurnedRound) {
    OpenWith(machine::MicrophoneMixer("Mixer").Destinations);
    ASSERT_TRUE(machine::MoveControl(mixer, machine::MicrophoneVolume, 65535));
    EXPECT_EQ(65535.0 / 32767, input.GetLevel());
    for (const std::uint32_t on : {1u, 7u, 0x80000000u}) {
        EXPECT_TRUE(input.SetMicThru(on));
        EXPECT_EQ(0u, Values(machine::MicrophoneMute).at(0));
        EXPECT_EQ(7u, input.GetMicThru());
        EXPECT_TRUE(input.SetMicThru(0));
        EXPECT_EQ(1u, Values(machine::MicrophoneMute).at(0));
        EXPECT_EQ(0u, input.GetMicThru());
    }
}

TEST_F(MixerTest, AUniformControlAndAMonoLineTakeOneValue) {
    MixerControl uniform = VolumeUpTo(1000);
    uniform.Uniform = true;
    for (const MixerLine& line : {Line(Mic, {uniform}), Line(Mic, {VolumeUpTo(1000)}, {}, 1)}) {
        input.Close();
        Restart();
        OpenWith({Line(WaveIn, {}, {line})});
        EXPECT_EQ(std::vector{500u}, Values(machine::MicrophoneVolume));
        EXPECT_EQ(1.0, input.GetLevel());
    }
}

// A destination without sources is taken itself; a line of another instrument is not the
// microphone's, and left alone; the two controls are found each on its own.
TEST_F(MixerTest, FindsTheMicrophonesControls) {
    struct {
        const char* Name;
        std::vector<MixerLine> Destinations;
        bool Level, Through;
        machine::ControlPlace Volume, Mute;
    } const cases[] = {
        {"no sources",
         {Line(Speakers, {MuteControl()}), Line(WaveIn, {VolumeUpTo(100)})},
         true,
         true,
         {WaveIn, 0, Volume},
         {Speakers, 0, Mute}},
        {"no microphone",
         {Line(Speakers, {MuteControl()}, {Line(LineIn, {MuteControl()})}),
          Line(WaveIn, {VolumeUpTo(100)}, {Line(LineIn, {VolumeUpTo(100)})})},
         false,
         false,
         {WaveIn, LineIn, Volume},
         {Speakers, LineIn, Mute}},
        {"one of two",
         {Line(WaveIn, {VolumeUpTo(100)}, {Line(LineIn, {})}),
          Line(Speakers, {}, {Line(LineIn, {}), Line(Mic, {MuteControl()})})},
         false,
         true,
         {WaveIn, 0, Volume},
         {Speakers, Mic, Mute}},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.Name);
        input.Close();
        Restart();
        OpenWith(each.Destinations);
        EXPECT_EQ(each.Level, input.SetLevel(1.5));
        EXPECT_EQ(each.Level ? 1.5 : 0.0, input.GetLevel());
        EXPECT_EQ(each.Level ? 75u : 0u, Values(each.Volume).at(0));
        EXPECT_EQ(0u, input.GetMicThru());
        EXPECT_EQ(each.Through, input.SetMicThru(1));
        EXPECT_EQ(each.Through ? 0u : 1u, Values(each.Mute).at(0));
        EXPECT_EQ(each.Through ? 7u : 0u, input.GetMicThru());
    }
}

TEST_F(MixerTest, WithoutAnyMixer) {
    AddWithoutMixer("Microphone");
    ASSERT_TRUE(input.Open(22050));
    EXPECT_EQ(nullptr, input.Mixer);
    EXPECT_EQ(0.0, input.GetLevel());
    EXPECT_FALSE(input.SetLevel(1.0));
    EXPECT_EQ(7u, input.GetMicThru());
    EXPECT_FALSE(input.SetMicThru(1));
}

TEST_F(MixerTest, Refusals) {
    OpenWith(machine::MicrophoneMixer("Mixer").Destinations);
    ASSERT_TRUE(machine::RefuseControl(mixer, machine::MicrophoneVolume, true, true));
    ASSERT_TRUE(machine::RefuseControl(mixer, machine::MicrophoneMute, true, true));
    EXPECT_EQ(0.0, input.GetLevel());
    EXPECT_FALSE(input.SetLevel(1.5));
    EXPECT_EQ(7u, input.GetMicThru());
    EXPECT_FALSE(input.SetMicThru(1));
    machine::RemoveMixer(mixer);
    EXPECT_EQ(0.0, input.GetLevel());
    EXPECT_FALSE(input.SetMicThru(0));
}

// A source that cannot be read is no reason to give up those behind it.
TEST_F(MixerTest, LooksOnBehindASourceThatCannotBeRead) {
    machine::FailCall(machine::Call::mixerGetLineInfoA, 2, MMSYSERR_NODRIVER);
    OpenWith({Line(WaveIn, {}, {Line(LineIn, {}), Line(Mic, {VolumeUpTo(100)})})});
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
        std::vector<machine::Mixer> mixers;
        for (const std::string& name : each.Mixers)
            mixers.push_back(machine::AddMixer(machine::MicrophoneMixer(name)));
        AddWithoutMixer(each.Microphone);
        Sonorel::SoundInDx input;
        input.SetDevice(1);
        if (each.Unopened)
            machine::FailCall(machine::Call::mixerOpen, each.Unopened, MMSYSERR_ALLOCATED);
        ASSERT_TRUE(input.Open(22050));
        EXPECT_TRUE(input.SetLevel(0.25));
        for (std::size_t place = 0; place < mixers.size(); ++place) {
            const bool moved =
                machine::ControlValues(mixers[place], machine::MicrophoneVolume).at(0) == 8191;
            EXPECT_EQ(each.Expected == static_cast<int>(place), moved) << place;
        }
        input.Close();
    }
}

TEST_F(CaptureTest, WaveInFallsBackOnTheFirstMixer) {
    const auto first = machine::AddMixer(machine::MicrophoneMixer("First"));
    AddWithoutMixer("Microphone");
    Sonorel::SoundInWin input;
    ASSERT_TRUE(input.Open(22050));
    EXPECT_TRUE(input.SetLevel(0.25));
    EXPECT_EQ(8191u, machine::ControlValues(first, machine::MicrophoneVolume).at(0));
    input.Close();
}
