// The real clock, real threads: capture runs while its owner opens, starts, stops and closes.
#include "tests/soundin/capture_fixture.h"

#include <atomic>
#include <thread>

namespace {

// Owned by the test, destroyed right behind Stop: a callback still under way would be seen.
struct Heard {
    std::int64_t Bytes = 0; // plain on purpose
    static void Receive(std::uint32_t, const std::uint8_t* data, std::int32_t byteCount,
                        void* context) {
        auto& self = *static_cast<Heard*>(context);
        self.Bytes += byteCount + data[0] - data[0];
    }
};

class HammerTest : public BothCapturesTest {
protected:
    HammerTest() {
        machine::UseRealClock();
        for (const char* name : {"One", "Two"}) Add(name);
    }
};

} // namespace

INSTANTIATE_TEST_SUITE_P(Both, HammerTest, testing::Values(Kind::Dx, Kind::Win), KindName);

TEST_P(HammerTest, NoCallbackOutlivesStop) {
    const auto input = Make(GetParam());
    std::int64_t bytes = 0;
    for (unsigned round = 0; round < 40; ++round) {
        auto heard = std::make_unique<Heard>();
        input->SetCallback(&Heard::Receive, heard.get());
        ASSERT_TRUE(input->Open(22050));
        input->Start();
        // Ends at every phase of a block.
        Sleep(round * 37 % 61);
        if (round % 4 == 3) {
            EXPECT_TRUE(input->SetDevice(1 - input->GetDevice()));
            Sleep(30);
        }
        if (round % 2) {
            input->Stop();
        } else {
            input->Close();
        }
        bytes += heard->Bytes;
        heard.reset();
        input->Close();
    }
    EXPECT_GT(bytes, 0);
}

// Stop comes in the middle of a callback, which is let go only once delivery is off.
TEST_P(HammerTest, StopWaitsForTheCallbackUnderWay) {
    struct Gate {
        HANDLE Entered = CreateEventA(nullptr, TRUE, FALSE, nullptr);
        HANDLE Proceed = CreateEventA(nullptr, TRUE, FALSE, nullptr);
        std::atomic<bool> Ended{false};
        static void Receive(std::uint32_t, const std::uint8_t*, std::int32_t, void* context) {
            auto& self = *static_cast<Gate*>(context);
            SetEvent(self.Entered);
            WaitForSingleObject(self.Proceed, INFINITE);
            self.Ended = true;
        }
        ~Gate() {
            CloseHandle(Entered);
            CloseHandle(Proceed);
        }
    } gate;
    const auto input = Make(GetParam());
    input->SetCallback(&Gate::Receive, &gate);
    ASSERT_TRUE(input->Open(22050));
    input->Start();
    WaitForSingleObject(gate.Entered, INFINITE);
    std::thread opener([&] {
        while (input->Running) std::this_thread::yield();
        Sleep(30);
        // A device is not reset under its callback.
        EXPECT_EQ(0u, machine::CallCount(machine::Call::waveInReset));
        SetEvent(gate.Proceed);
    });
    // The machine's own stop waits for the callback, which systems need not do: left out here.
    machine::FailCall(machine::Call::waveInStop, 1, MMSYSERR_NODRIVER);
    machine::FailCall(machine::Call::waveInReset, 1, MMSYSERR_NODRIVER);
    EXPECT_TRUE(input->Stop());
    EXPECT_TRUE(gate.Ended);
    // It went on through both; Stop waits until it has run out of buffers.
    EXPECT_EQ(0, machine::PreparedWaveHeaders());
    opener.join();
    input->Close();
}
