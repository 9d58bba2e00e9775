// The mixer calls on virtual mixers.
#include "tests/platform/audio_support.h"

#include <gtest/gtest.h>

namespace {

using namespace machine;

class MixerTest : public testing::Test {
protected:
    void SetUp() override {
        PowerOn();
        First = AddMixer(MicrophoneMixer("Sound card"));
        Mic = AddMicrophone({.Name = "Studio"});
        ASSERT_EQ(mixerOpen(&Handle, 0, 0, 0, 0), MMSYSERR_NOERROR);
    }
    void TearDown() override {
        mixerClose(Handle);
        EXPECT_EQ(OpenMixers(), 0);
        PowerOn();
    }
    HMIXEROBJ Object() const { return reinterpret_cast<HMIXEROBJ>(Handle); }

    MMRESULT Line(MIXERLINEA& line, DWORD flags) {
        line.cbStruct = sizeof line;
        return mixerGetLineInfoA(Object(), &line, flags);
    }
    // The source line of this type below the destination of that one.
    MIXERLINEA Source(DWORD destination, DWORD type) {
        MIXERLINEA line = {};
        line.dwComponentType = destination;
        EXPECT_EQ(Line(line, MIXER_GETLINEINFOF_COMPONENTTYPE), MMSYSERR_NOERROR);
        const DWORD sources = line.cConnections;
        for (DWORD i = 0; i < sources; ++i) {
            line.dwSource = i;
            EXPECT_EQ(Line(line, MIXER_GETLINEINFOF_SOURCE), MMSYSERR_NOERROR);
            if (line.dwComponentType == type) return line;
        }
        ADD_FAILURE() << "no such source";
        return line;
    }
    MMRESULT Control(const MIXERLINEA& line, DWORD type, MIXERCONTROLA& control) {
        MIXERLINECONTROLSA controls = {};
        controls.cbStruct = sizeof controls;
        controls.dwLineID = line.dwLineID;
        controls.dwControlType = type;
        controls.cControls = 1;
        controls.cbmxctrl = sizeof control;
        controls.pamxctrl = &control;
        return mixerGetLineControlsA(Object(), &controls, MIXER_GETLINECONTROLSF_ONEBYTYPE);
    }
    static MIXERCONTROLDETAILS Details(DWORD control, std::vector<DWORD>& values) {
        MIXERCONTROLDETAILS details = {};
        details.cbStruct = sizeof details;
        details.dwControlID = control;
        details.cChannels = static_cast<DWORD>(values.size());
        details.cbDetails = sizeof(DWORD);
        details.paDetails = values.data();
        return details;
    }
    MMRESULT Set(DWORD control, std::vector<DWORD> values) {
        MIXERCONTROLDETAILS details = Details(control, values);
        return mixerSetControlDetails(Object(), &details, 0);
    }
    MMRESULT Get(DWORD control, std::vector<DWORD>& values) {
        MIXERCONTROLDETAILS details = Details(control, values);
        return mixerGetControlDetailsA(Object(), &details, 0);
    }

    Mixer First = Mixer::None;
    Microphone Mic{};
    HMIXER Handle = nullptr;
};

TEST_F(MixerTest, FindsTheMicrophoneAndItsControls) {
    const MIXERLINEA recording =
        Source(MIXERLINE_COMPONENTTYPE_DST_WAVEIN, MIXERLINE_COMPONENTTYPE_SRC_MICROPHONE);
    MIXERCONTROLA volume = {};
    ASSERT_EQ(Control(recording, MIXERCONTROL_CONTROLTYPE_VOLUME, volume), MMSYSERR_NOERROR);
    EXPECT_EQ(volume.Bounds.dwMinimum, 0u);
    EXPECT_EQ(volume.Bounds.dwMaximum, 65535u);
    EXPECT_NE(volume.dwControlID, 0u);
    MIXERCONTROLA mute = {};
    EXPECT_EQ(Control(recording, MIXERCONTROL_CONTROLTYPE_MUTE, mute), MIXERR_INVALCONTROL);
    const MIXERLINEA heard =
        Source(MIXERLINE_COMPONENTTYPE_DST_SPEAKERS, MIXERLINE_COMPONENTTYPE_SRC_MICROPHONE);
    ASSERT_EQ(Control(heard, MIXERCONTROL_CONTROLTYPE_MUTE, mute), MMSYSERR_NOERROR);
    EXPECT_EQ(mute.fdwControl & MIXERCONTROL_CONTROLF_UNIFORM, MIXERCONTROL_CONTROLF_UNIFORM);

    std::vector<DWORD> values(2);
    ASSERT_EQ(Set(volume.dwControlID, {100, 200}), MMSYSERR_NOERROR);
    EXPECT_EQ(ControlValues(First, MicrophoneVolume), (std::vector<std::uint32_t>{100, 200}));
    ASSERT_EQ(Set(volume.dwControlID, {300}), MMSYSERR_NOERROR); // one for all channels
    ASSERT_EQ(Get(volume.dwControlID, values), MMSYSERR_NOERROR);
    EXPECT_EQ(values, (std::vector<DWORD>{300, 300}));
    EXPECT_EQ(ControlValues(First, MicrophoneMute), (std::vector<std::uint32_t>{1}));
    ASSERT_EQ(Set(mute.dwControlID, {0}), MMSYSERR_NOERROR);
    EXPECT_EQ(ControlValues(First, MicrophoneMute), (std::vector<std::uint32_t>{0}));
    // The other volumes of the same mixer are controls of their own.
    EXPECT_EQ(
        ControlValues(First, {MIXERLINE_COMPONENTTYPE_DST_WAVEIN, MIXERLINE_COMPONENTTYPE_SRC_LINE,
                              MIXERCONTROL_CONTROLTYPE_VOLUME}),
        (std::vector<std::uint32_t>{32767, 32767}));

    MoveControl(First, MicrophoneVolume, 99999); // the user's hand stops at the end
    ASSERT_EQ(Get(volume.dwControlID, values), MMSYSERR_NOERROR);
    EXPECT_EQ(values, (std::vector<DWORD>{65535, 65535}));
}

TEST_F(MixerTest, RefusesWhatTheSystemRefuses) {
    const MIXERLINEA recording =
        Source(MIXERLINE_COMPONENTTYPE_DST_WAVEIN, MIXERLINE_COMPONENTTYPE_SRC_MICROPHONE);
    MIXERCONTROLA volume = {};
    ASSERT_EQ(Control(recording, MIXERCONTROL_CONTROLTYPE_VOLUME, volume), MMSYSERR_NOERROR);
    const DWORD id = volume.dwControlID;
    std::vector<DWORD> values(2, 7);
    EXPECT_EQ(Get(0, values), MIXERR_INVALCONTROL);
    EXPECT_EQ(Set(0, {0}), MIXERR_INVALCONTROL);
    EXPECT_EQ(Set(id, {65536}), MMSYSERR_INVALPARAM);
    EXPECT_EQ(Set(id, {1, 2, 3}), MMSYSERR_INVALPARAM);
    RefuseControl(First, MicrophoneVolume, true, false);
    EXPECT_EQ(Get(id, values), MMSYSERR_NOTSUPPORTED);
    EXPECT_EQ(values.front(), 7u);
    EXPECT_EQ(Set(id, {5}), MMSYSERR_NOERROR);
    RefuseControl(First, MicrophoneVolume, false, true);
    EXPECT_EQ(Set(id, {6}), MMSYSERR_NOTSUPPORTED);
    EXPECT_EQ(Get(id, values), MMSYSERR_NOERROR);
    EXPECT_EQ(values.front(), 5u);
    FailCall(Call::mixerGetControlDetailsA, 1, static_cast<std::intptr_t>(MMSYSERR_ERROR));
    EXPECT_EQ(Get(id, values), MMSYSERR_ERROR);

    MIXERLINEA line = {};
    line.dwComponentType = 99;
    EXPECT_EQ(Line(line, MIXER_GETLINEINFOF_COMPONENTTYPE), MIXERR_INVALLINE);
    line.dwSource = 9;
    EXPECT_EQ(Line(line, MIXER_GETLINEINFOF_SOURCE), MIXERR_INVALLINE);
    line.dwDestination = 9;
    EXPECT_EQ(Line(line, MIXER_GETLINEINFOF_DESTINATION), MIXERR_INVALLINE);
    EXPECT_EQ(mixerGetLineInfoA(Object(), nullptr, 0), MMSYSERR_INVALPARAM);
    EXPECT_EQ(mixerClose(nullptr), MMSYSERR_INVALHANDLE);
}

TEST_F(MixerTest, IsFoundByNumberHandleAndMicrophone) {
    MIXERCAPSA caps = {};
    EXPECT_EQ(mixerGetNumDevs(), 2u);
    ASSERT_EQ(mixerGetDevCapsA(1, &caps, sizeof caps), MMSYSERR_NOERROR);
    EXPECT_STREQ(caps.szPname, "Studio");
    EXPECT_EQ(caps.cDestinations, 2u);
    EXPECT_EQ(mixerGetDevCapsA(2, &caps, sizeof caps), MMSYSERR_BADDEVICEID);
    HMIXER second = nullptr;
    ASSERT_EQ(mixerOpen(&second, 0, 0, 0, MIXER_OBJECTF_WAVEIN), MMSYSERR_NOERROR);
    MIXERLINEA line = {};
    line.cbStruct = sizeof line;
    line.dwComponentType = MIXERLINE_COMPONENTTYPE_DST_WAVEIN;
    ASSERT_EQ(mixerGetLineInfoA(reinterpret_cast<HMIXEROBJ>(second), &line,
                                MIXER_GETLINEINFOF_COMPONENTTYPE),
              MMSYSERR_NOERROR);
    EXPECT_STREQ(line.Target.szPname, "Studio");

    RemoveMixer(MixerOf(Mic));
    EXPECT_EQ(MixerNumber(MixerOf(Mic)), -1);
    EXPECT_EQ(mixerGetNumDevs(), 1u);
    EXPECT_EQ(mixerGetLineInfoA(reinterpret_cast<HMIXEROBJ>(second), &line, 0), MMSYSERR_NODRIVER);
    EXPECT_EQ(mixerClose(second), MMSYSERR_NOERROR);
    EXPECT_EQ(mixerOpen(&second, 0, 0, 0, MIXER_OBJECTF_WAVEIN), MMSYSERR_NODRIVER);
    EXPECT_EQ(mixerOpen(&second, 1, 0, 0, MIXER_OBJECTF_WAVEIN), MMSYSERR_BADDEVICEID);
    EXPECT_EQ(mixerOpen(&second, 5, 0, 0, 0), MMSYSERR_BADDEVICEID);
    SetMixerOf(Mic, First);
    ASSERT_EQ(mixerOpen(&second, 0, 0, 0, MIXER_OBJECTF_WAVEIN), MMSYSERR_NOERROR);
    EXPECT_EQ(mixerClose(second), MMSYSERR_NOERROR);
}

TEST_F(MixerTest, ControlsOfADestinationWithoutSources) {
    mixerClose(Handle);
    const MixerModel bare{"Bare",
                          {{MIXERLINE_COMPONENTTYPE_DST_WAVEIN,
                            "Recording",
                            1,
                            {{MIXERCONTROL_CONTROLTYPE_VOLUME, 0, 1000, 10}}}}};
    const Mixer mixer = AddMixer(bare);
    ASSERT_EQ(mixerOpen(&Handle, static_cast<UINT>(MixerNumber(mixer)), 0, 0, 0), MMSYSERR_NOERROR);
    MIXERLINEA line = {};
    line.dwComponentType = MIXERLINE_COMPONENTTYPE_DST_WAVEIN;
    ASSERT_EQ(Line(line, MIXER_GETLINEINFOF_COMPONENTTYPE), MMSYSERR_NOERROR);
    EXPECT_EQ(line.cConnections, 0u);
    MIXERCONTROLA control = {};
    ASSERT_EQ(Control(line, MIXERCONTROL_CONTROLTYPE_VOLUME, control), MMSYSERR_NOERROR);
    EXPECT_EQ(control.Bounds.dwMaximum, 1000u);
    const ControlPlace place = {MIXERLINE_COMPONENTTYPE_DST_WAVEIN, 0,
                                MIXERCONTROL_CONTROLTYPE_VOLUME};
    EXPECT_EQ(ControlValues(mixer, place), (std::vector<std::uint32_t>{10}));
}

} // namespace
