// Device lists, and going over to another device while capturing.
#include "tests/soundin/capture_fixture.h"

#include "support/text_string_array.h"

namespace {

machine::Generator Constant(float value) {
    return [value](const machine::FeedRequest& request) {
        for (float& sample : request.Samples) sample = value;
    };
}

std::vector<std::string> Names(Sonorel::SoundIn& input) {
    Sonorel::TextStringArray list;
    list.AppendText("left from before");
    const std::int32_t count = input.GetDeviceNames(list);
    std::vector<std::string> names;
    while (const auto* name = list.At(static_cast<std::int32_t>(names.size())))
        names.push_back(name->Text());
    EXPECT_EQ(count, list.Count);
    return names;
}

} // namespace

class DeviceTest : public BothCapturesTest {
protected:
    DeviceTest() {
        left = Add("Left microphone");
        right = Add("Right microphone");
        machine::FeedGenerator(left, Constant(0.5f));
        machine::FeedGenerator(right, Constant(-0.5f));
        input = Make(GetParam());
        listener.emplace(*input);
        // DirectSound lists the primary device before the others.
        rightDevice = GetParam() == Kind::Dx ? 2 : 1;
    }

    // What the microphone that is being heard is fed with, in units of 64: 1 or -1.
    int Heard() {
        AdvanceBlocks(4);
        const auto blocks = listener->Take();
        if (blocks.empty()) return 0;
        return static_cast<int>(std::lround((blocks.back().Bytes[0] - 128) / 64.0));
    }
    machine::Call OpeningCall() const {
        return GetParam() == Kind::Dx ? machine::Call::CreateCaptureBuffer
                                      : machine::Call::waveInOpen;
    }

    machine::Microphone left{};
    machine::Microphone right{};
    std::unique_ptr<Sonorel::SoundInSystem> input;
    std::optional<Listener> listener;
    std::int32_t rightDevice = 0;
};
INSTANTIATE_TEST_SUITE_P(Both, DeviceTest, testing::Values(Kind::Dx, Kind::Win), KindName);

TEST_P(DeviceTest, GoesOverAndCapturesIfItDidBefore) {
    ASSERT_TRUE(input->Open(22050));
    EXPECT_TRUE(input->SetDevice(rightDevice));
    EXPECT_EQ(0, input->Running);
    EXPECT_EQ(0, Heard());
    EXPECT_TRUE(input->SetDevice(0));
    input->Start();
    EXPECT_EQ(1, Heard());
    EXPECT_TRUE(input->SetDevice(rightDevice));
    EXPECT_EQ(rightDevice, input->GetDevice());
    EXPECT_NE(0, input->Running);
    EXPECT_EQ(-1, Heard());
    EXPECT_EQ(0, machine::StatsOf(left).Open);
    EXPECT_TRUE(input->SetDevice(0));
    EXPECT_EQ(1, Heard());
    input->Close();
}

TEST_P(DeviceTest, StaysClosedWhereTheOtherDeviceDoesNotOpen) {
    ASSERT_TRUE(input->Open(22050));
    input->Start();
    machine::FailCall(OpeningCall(), 1, GetParam() == Kind::Dx ? DSERR_GENERIC : 4);
    EXPECT_FALSE(input->SetDevice(rightDevice));
    EXPECT_EQ(0, input->Running);
    EXPECT_EQ(rightDevice, input->GetDevice());
    EXPECT_EQ(0, machine::StatsOf(left).Capturing + machine::StatsOf(right).Capturing);
    EXPECT_EQ(0, Heard());
    input->Close();
    ASSERT_TRUE(input->Open(22050));
    input->Start();
    EXPECT_EQ(-1, Heard());
    input->Close();
    machine::TakeBoxes();
}

// The other device's mixer has controls of the same numbers, and none of them is a microphone's.
TEST_P(DeviceTest, MovesNoControlThatIsNotTheMicrophones) {
    constexpr std::uint32_t synthesizer = machine::MicrophoneLine + 1;
    constexpr machine::ControlPlace volume{machine::RecordingLine, synthesizer,
                                           machine::VolumeControl};
    constexpr machine::ControlPlace mute{machine::SpeakersLine, synthesizer, machine::MuteControl};
    const auto card = Add("Synth card", {{volume}, {mute, 1, 1}});
    ASSERT_TRUE(machine::MoveControl(card, volume, 1000));
    input = Make(GetParam()); // lists the card
    ASSERT_TRUE(input->Open(22050));
    ASSERT_TRUE(input->SetDevice(rightDevice + 1));
    EXPECT_FALSE(input->SetLevel(1.5));
    EXPECT_EQ(0.0, input->GetLevel());
    EXPECT_FALSE(input->SetMicThru(1));
    EXPECT_EQ(0u, input->GetMicThru());
    EXPECT_EQ(1000u, machine::ControlValues(card, volume).at(0));
    EXPECT_EQ(1u, machine::ControlValues(card, mute).at(0));
    input->Close();
}

TEST_P(DeviceTest, OnlyStoresWhatChangesNothing) {
    EXPECT_TRUE(input->SetDevice(rightDevice));
    EXPECT_EQ(rightDevice, input->GetDevice());
    ASSERT_TRUE(input->Open(22050));
    machine::ResetCallCounts();
    EXPECT_TRUE(input->SetDevice(rightDevice));
    EXPECT_EQ(0u, machine::CallCount(OpeningCall()));
    input->Start();
    EXPECT_EQ(-1, Heard());
    input->Close();
}

TEST_P(DeviceTest, ListsTheDevices) {
    std::vector<std::string> expected = {"Left microphone", "Right microphone"};
    if (GetParam() == Kind::Dx) expected.insert(expected.begin(), "Primary Sound Capture Driver");
    EXPECT_EQ(expected, Names(*input));
    // DirectSound's list is the one that was made with the object.
    Add("Third microphone");
    if (GetParam() == Kind::Win) expected.push_back("Third microphone");
    EXPECT_EQ(expected, Names(*input));
}

TEST_F(CaptureTest, ADeviceThatCannotTellIsNotListed) {
    Add("One");
    Add("Two");
    Add("Three");
    Sonorel::SoundInWin input;
    machine::FailCall(machine::Call::waveInGetDevCapsA, 2, MMSYSERR_NODRIVER);
    EXPECT_EQ((std::vector<std::string>{"One", "Three"}), Names(input));
}

TEST_F(CaptureTest, DirectSoundListGrowsBeyondItsFirstRoom) {
    for (int number = 0; number < 20; ++number) Add("Microphone " + std::to_string(number));
    Sonorel::SoundInDx input;
    EXPECT_EQ(21, input.CaptureDevices.Count);
    ASSERT_NE(nullptr, input.CaptureDevices.Items);
    EXPECT_EQ(GUID{}, input.CaptureDevices.Items[0]->Guid);
    EXPECT_NE(GUID{}, input.CaptureDevices.Items[1]->Guid);
    EXPECT_EQ("Microphone 19", Names(input).back());
}

// An index that the list does not have is the system's default device, and has no mixer.
TEST_F(CaptureTest, DirectSoundOpensTheDefaultDeviceForAnIndexOutsideItsList) {
    const auto microphone = Add("Microphone");
    Sonorel::SoundInDx input;
    Listener listener(input);
    input.SetDevice(2);
    ASSERT_TRUE(input.Open(22050));
    EXPECT_EQ(nullptr, input.Mixer);
    EXPECT_EQ(0.0, input.GetLevel());
    EXPECT_FALSE(input.SetLevel(1.0));
    input.Start();
    AdvanceBlocks(4);
    EXPECT_EQ(3u, listener.Take().size());
    EXPECT_EQ(1, machine::StatsOf(microphone).Open);
    input.Close();
}
