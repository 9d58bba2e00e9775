// Opening, starting, stopping and closing in every order, with each system call failing in turn.
#include "tests/soundin/capture_fixture.h"

namespace {

enum Step { OpenStep, StartStep, StopStep, CloseStep, StepKinds };

using machine::Call;

struct FailingCall {
    Call Which;
    std::intptr_t Result;
};

} // namespace

class LifecycleTest : public BothCapturesTest {};
INSTANTIATE_TEST_SUITE_P(Both, LifecycleTest, testing::Values(Kind::Dx, Kind::Win), KindName);

// Every sequence of five steps, against a model of two flags.
TEST_P(LifecycleTest, TakesItsStepsInAnyOrder) {
    Add("Microphone");
    for (unsigned sequence = 0; sequence < 4 * 4 * 4 * 4 * 4; ++sequence) {
        const auto input = Make(GetParam());
        Listener listener(*input);
        bool open = false;
        bool running = false;
        std::string told;
        for (unsigned rest = sequence, step = 0; step < 5; ++step, rest /= StepKinds) {
            switch (rest % StepKinds) {
            case OpenStep:
                told += " Open";
                ASSERT_EQ(!open, input->Open(22050)) << told;
                open = true;
                break;
            case StartStep:
                told += " Start";
                ASSERT_TRUE(input->Start()) << told;
                running = open;
                break;
            case StopStep:
                told += " Stop";
                ASSERT_TRUE(input->Stop()) << told;
                running = false;
                break;
            default:
                told += " Close";
                ASSERT_TRUE(input->Close()) << told;
                open = running = false;
                break;
            }
            ASSERT_EQ(running, input->Running != 0) << told;
        }
        AdvanceBlocks(2);
        ASSERT_EQ(running, !listener.Take().empty()) << told;
        input->Stop();
        ASSERT_EQ(0, machine::PreparedWaveHeaders()) << told;
        AdvanceBlocks(2);
        ASSERT_TRUE(listener.Take().empty()) << told;
        input->Close();
        ASSERT_EQ(0, machine::OpenWaveIns() + OpenCaptureObjects() + machine::OpenMixers()) << told;
    }
    EXPECT_TRUE(machine::TakeBoxes().empty());
}

// A run with the nth call of a kind failing; then the same object once more with all well.
TEST_P(LifecycleTest, LosesNothingToAFailingCall) {
    const std::vector<FailingCall> dx = {
        {Call::LoadLibraryA, 0},
        {Call::GetProcAddress, 0},
        {Call::CreateEventA, 0},
        {Call::DirectSoundCaptureEnumerateA, DSERR_GENERIC},
        {Call::DirectSoundCaptureCreate, DSERR_ALLOCATED},
        {Call::CreateCaptureBuffer, DSERR_GENERIC},
        {Call::CaptureBufferQueryInterface, E_NOINTERFACE},
        {Call::SetNotificationPositions, DSERR_GENERIC},
        {Call::_beginthreadex, 0},
        {Call::CaptureBufferStart, DSERR_GENERIC},
        {Call::CaptureBufferStop, DSERR_GENERIC},
        {Call::CaptureBufferGetCurrentPosition, DSERR_GENERIC},
        {Call::CaptureBufferLock, DSERR_GENERIC},
    };
    const std::vector<FailingCall> win = {
        {Call::GlobalAlloc, 0},
        {Call::GlobalLock, 0},
        {Call::waveInGetDevCapsA, MMSYSERR_BADDEVICEID},
        {Call::waveInOpen, MMSYSERR_ALLOCATED},
        {Call::waveInPrepareHeader, MMSYSERR_NOMEM},
        {Call::waveInUnprepareHeader, MMSYSERR_INVALHANDLE},
        {Call::waveInAddBuffer, MMSYSERR_NOMEM},
        {Call::waveInStart, MMSYSERR_NODRIVER},
        {Call::waveInStop, MMSYSERR_NODRIVER},
        {Call::waveInReset, MMSYSERR_NODRIVER},
        {Call::waveInClose, WAVERR_STILLPLAYING},
        {Call::waveInGetPosition, MMSYSERR_ERROR},
    };
    std::vector<FailingCall> failing = GetParam() == Kind::Dx ? dx : win;
    for (const FailingCall both : {FailingCall{Call::mixerGetDevCapsA, MMSYSERR_BADDEVICEID},
                                   {Call::mixerOpen, MMSYSERR_NODRIVER},
                                   {Call::mixerGetLineInfoA, MIXERR_INVALLINE},
                                   {Call::mixerGetLineControlsA, MIXERR_INVALCONTROL},
                                   {Call::mixerSetControlDetails, MMSYSERR_NOTSUPPORTED}})
        failing.push_back(both);

    for (const FailingCall& each : failing) {
        for (int nth = 1; nth <= 70; ++nth) {
            SCOPED_TRACE(testing::Message()
                         << "call " << static_cast<int>(each.Which) << " the " << nth << "th time");
            Restart();
            Add("Microphone");
            machine::ResetCallCounts();
            machine::FailCall(each.Which, nth, each.Result);
            {
                const auto input = Make(GetParam());
                Listener listener(*input);
                if (input->Open(22050)) {
                    input->Start();
                    AdvanceBlocks(4);
                }
                input->Close();
                EXPECT_EQ(0, machine::PreparedWaveHeaders());
                const bool reached = machine::CallCount(each.Which) >= static_cast<unsigned>(nth);
                machine::ClearFaults();
                listener.Take();
                const bool forGood = GetParam() == Kind::Dx &&
                                     each.Which < Call::waveInGetDevCapsA &&
                                     each.Which != Call::_beginthreadex && reached;
                if (!forGood) {
                    EXPECT_TRUE(input->Open(22050));
                    input->Start();
                    AdvanceBlocks(4);
                    EXPECT_GE(listener.Take().size(), 3u);
                    input->Close();
                }
                if (!reached) nth = 71; // it is not called more often
            }
        }
    }
}

TEST_F(CaptureTest, SecondDirectSoundOpenLeavesTheFirst) {
    Add("Microphone");
    Sonorel::SoundInDx input;
    Listener listener(input);
    ASSERT_TRUE(input.Open(22050));
    auto* buffer = input.CaptureBuffer;
    EXPECT_FALSE(input.Open(22050));
    EXPECT_EQ(buffer, input.CaptureBuffer);
    input.Start();
    AdvanceBlocks(3);
    EXPECT_EQ(2u, listener.Take().size());
    input.Close();
}

TEST_F(CaptureTest, DirectSoundTellsWhatIsMissingToNobody) {
    struct {
        const char* Reason;
        std::function<void()> Break;
        bool HoldsCapture;
    } const cases[] = {
        {"DirectX Not Installed", [] { SetDirectSound(DirectSound::Absent); }, false},
        {"DirectX 5 Not Installed", [] { SetDirectSound(DirectSound::WithoutCapture); }, false},
        {"Device Allocated",
         [] { machine::FailCall(Call::DirectSoundCaptureCreate, 1, DSERR_ALLOCATED); }, false},
        {"No Capture Buffer",
         [] { machine::FailCall(Call::CreateCaptureBuffer, 1, DSERR_GENERIC); }, true},
        {"No DS Notify",
         [] { machine::FailCall(Call::CaptureBufferQueryInterface, 1, E_NOINTERFACE); }, true},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.Reason);
        Restart();
        Add("Microphone");
        each.Break();
        Sonorel::SoundInDx input;
        EXPECT_FALSE(input.Open(22050));
        ASSERT_TRUE(input.OpenFailure);
        EXPECT_EQ("Can't Open DirectSound Capture:\n\n" + std::string(each.Reason),
                  input.OpenFailure->Text());
        EXPECT_TRUE(machine::TakeBoxes().empty());
        EXPECT_EQ(each.HoldsCapture, input.Capture != nullptr);
        input.Close();
    }
}

// A thread that ended by itself leaves the request to end behind it; the next run must not see it.
TEST_F(CaptureTest, RunsAgainAfterAThreadThatEndedByItself) {
    Add("Microphone");
    Sonorel::SoundInDx input;
    Listener listener(input);
    ASSERT_TRUE(input.Open(22050));
    machine::FailCall(Call::CaptureBufferStart, 1, DSERR_GENERIC);
    input.Start();
    AdvanceBlocks(3);
    EXPECT_NE(0, input.Running);
    EXPECT_TRUE(listener.Take().empty());
    for (const HANDLE event : input.NotifyEvents) SetEvent(event); // what else is left behind
    input.Stop();
    input.Start();
    AdvanceBlocks(3);
    EXPECT_EQ(2u, listener.Take().size());
    input.Close();
}

TEST_F(CaptureTest, WaveInCanBeStoppedFromWithinItsCallback) {
    Add("Microphone");
    Sonorel::SoundInWin input;
    Listener listener(input);
    listener.AtBlock = [&] { input.Stop(); };
    ASSERT_TRUE(input.Open(22050));
    input.Start();
    AdvanceBlocks(3);
    EXPECT_EQ(1u, listener.Take().size());
    EXPECT_EQ(0, machine::PreparedWaveHeaders());
    listener.AtBlock = nullptr;
    input.Start();
    AdvanceBlocks(3);
    EXPECT_EQ(3u, listener.Take().size());
    input.Close();
}

TEST_F(CaptureTest, WaveInWithoutAListenerRunsDry) {
    Add("Microphone");
    Sonorel::SoundInWin input;
    ASSERT_TRUE(input.Open(22050));
    machine::ResetCallCounts();
    input.Start();
    AdvanceBlocks(100);
    EXPECT_EQ(32u, machine::CallCount(Call::waveInAddBuffer));
    EXPECT_EQ(0, machine::PreparedWaveHeaders());
    input.Close();
}

// A device that neither resets nor closes tells of the buffers that it was lent when the object has
// long gone.
TEST_F(CaptureTest, WaveInLeavesADeviceItsBuffers) {
    const auto microphone = Add("Microphone");
    machine::FallBehind(microphone, ~0u);
    auto input = std::make_unique<Sonorel::SoundInWin>();
    auto listener = std::make_unique<Listener>(*input);
    ASSERT_TRUE(input->Open(22050));
    input->Start();
    const HWAVEIN handle = input->WaveIn;
    machine::FailCall(Call::waveInReset, 1, MMSYSERR_NODRIVER, 0);
    EXPECT_TRUE(input->Close());
    EXPECT_EQ(1, machine::OpenWaveIns());
    input.reset();
    listener.reset();
    machine::ClearFaults();
    EXPECT_EQ(MMSYSERR_NOERROR, waveInReset(handle)); // they come
    EXPECT_EQ(MMSYSERR_NOERROR, waveInClose(handle));
    Sonorel::SoundInWin next; // frees them
    ASSERT_TRUE(next.Open(22050));
    next.Close();
    machine::PowerOn(); // nobody unprepares them any more
}
