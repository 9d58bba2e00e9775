// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Changes of the device while capturing.
#include "tests/soundin/capture_fixture.h"

class DeviceTest : public BothCapturesTest {
protected:
    DeviceTest() {
        for (const auto& [microphone, value] : {std::pair(left, 0.5f), {right, -0.5f}})
            machine::FeedGenerator(microphone,
                                   [value = value](const machine::FeedRequest& request) {
                                       std::ranges::fill(request.Samples, value);
                                   });
        input = Make(GetParam());
        listener.emplace(*input);
        // DirectSound lists the primary device before the others.
        rightDevice = GetParam() == DirectSound::Present ? 2 : 1;
    }

    // Sample value of the microphone that is captured, in units of 64: 1 or -1.
    int CapturedValue() {
        AdvanceBlocks(4);
        const auto blocks = listener->Drain();
        if (blocks.empty()) return 0;
        return static_cast<int>(std::lround((blocks.back().Bytes[0] - 128) / 64.0));
    }
    machine::Call OpeningCall() const {
        return GetParam() == DirectSound::Present ? machine::Call::CreateCaptureBuffer
                                                  : machine::Call::waveInOpen;
    }

    const machine::Microphone left = Add("Left microphone");
    const machine::Microphone right = Add("Right microphone");
    std::unique_ptr<Sonorel::SoundInSystem> input;
    std::optional<Listener> listener;
    std::int32_t rightDevice = 0;
};
INSTANTIATE_TEST_SUITE_P(Both, DeviceTest,
                         testing::Values(DirectSound::Present, DirectSound::Absent));
INSTANTIATE_TEST_SUITE_P(Both, BothCapturesTest,
                         testing::Values(DirectSound::Present, DirectSound::Absent));

TEST_P(DeviceTest, ReopensAndContinuesCapture) {
    ASSERT_TRUE(input->Open(22050));
    EXPECT_TRUE(input->SetDevice(rightDevice));
    EXPECT_EQ(0, input->Running);
    EXPECT_EQ(0, CapturedValue());
    input->Start();
    EXPECT_EQ(-1, CapturedValue());
    machine::ResetCallCounts();
    EXPECT_TRUE(input->SetDevice(rightDevice)); // no effect
    EXPECT_EQ(0u, machine::CallCount(OpeningCall()));
    EXPECT_TRUE(input->SetDevice(0));
    EXPECT_EQ(1, CapturedValue());
    EXPECT_EQ(0, machine::StatsOf(right).Open);
    // Stays closed if the other device does not open.
    machine::FailCall(OpeningCall(), 1, GetParam() == DirectSound::Present ? DSERR_GENERIC : 4);
    EXPECT_FALSE(input->SetDevice(rightDevice));
    EXPECT_EQ(0, input->Running);
    EXPECT_EQ(rightDevice, input->GetDevice());
    EXPECT_EQ(0, machine::StatsOf(left).Capturing + machine::StatsOf(right).Capturing);
    EXPECT_EQ(0, CapturedValue());
    input->Close();
    ASSERT_TRUE(input->Open(22050));
    input->Start();
    EXPECT_EQ(-1, CapturedValue());
    input->Close();
    machine::DrainBoxes();
}

// The other device's mixer has controls with the same ids, but none of a microphone.
TEST_P(DeviceTest, SetsNoOtherControls) {
    using machine::ControlPlace;
    constexpr std::uint32_t synthesizer = machine::MicrophoneLine + 1;
    constexpr ControlPlace volume{machine::RecordingLine, synthesizer, machine::VolumeControl};
    constexpr ControlPlace mute{machine::SpeakersLine, synthesizer, machine::MuteControl};
    constexpr ControlPlace whole{machine::RecordingLine, 0, machine::VolumeControl};
    const auto card = machine::AddMicrophone(
        {.Name = "Synth card",
         .Mixer = {{volume, 65535, 1000}, {mute, 1, 1}, {whole, 65535, 1000}}});
    input = Make(GetParam()); // lists the card
    ASSERT_TRUE(input->Open(22050));
    ASSERT_TRUE(input->SetDevice(rightDevice + 1));
    EXPECT_FALSE(input->SetLevel(1.5));
    EXPECT_FALSE(input->SetMicThru(1));
    EXPECT_EQ(0u, input->GetMicThru());
    for (const ControlPlace& place : {volume, whole})
        EXPECT_EQ(1000u, machine::ControlValues(card, place).at(0));
    EXPECT_EQ(1u, machine::ControlValues(card, mute).at(0));
    input->Close();
}
