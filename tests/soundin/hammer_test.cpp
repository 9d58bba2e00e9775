// The real clock, real threads: capture runs while its owner opens, starts, stops and closes.
#include "tests/soundin/capture_fixture.h"

#include <atomic>
#include <thread>

// A listener is destroyed right behind Stop: a callback still under way would be seen.
TEST_P(BothCapturesTest, NoCallbackOutlivesStop) {
    machine::UseRealClock();
    for (const char* name : {"One", "Two"}) Add(name);
    const auto input = Make(GetParam());
    std::size_t blocks = 0;
    for (unsigned round = 0; round < 40; ++round) {
        auto listener = std::make_unique<Listener>(*input);
        ASSERT_TRUE(input->Open(22050));
        input->Start();
        // Ends at every phase of a block.
        Sleep(round * 37 % 61);
        if (round % 4 == 3) {
            EXPECT_TRUE(input->SetDevice(1 - input->GetDevice()));
            Sleep(30);
        }
        round % 2 ? input->Stop() : input->Close();
        blocks += listener->Take().size();
        listener.reset();
        input->Close();
    }
    EXPECT_GT(blocks, 0u);
}

// Stop comes in the middle of a callback, which is let go only once delivery is off.
TEST_P(BothCapturesTest, StopWaitsForTheCallbackUnderWay) {
    machine::UseRealClock();
    Add("Microphone");
    std::atomic<bool> entered{false}, proceed{false}, ended{false};
    const auto input = Make(GetParam());
    Listener listener(*input);
    listener.AtBlock = [&] {
        entered = true;
        entered.notify_one();
        proceed.wait(false);
        ended = true;
    };
    ASSERT_TRUE(input->Open(22050));
    input->Start();
    entered.wait(false);
    std::thread opener([&] {
        while (input->Running) std::this_thread::yield();
        Sleep(30);
        // A device is not reset under its callback.
        EXPECT_EQ(0u, machine::CallCount(machine::Call::waveInReset));
        proceed = true;
        proceed.notify_one();
    });
    // The machine's own stop waits for the callback, which systems need not do: left out here.
    machine::FailCall(machine::Call::waveInStop, 1, MMSYSERR_NODRIVER);
    machine::FailCall(machine::Call::waveInReset, 1, MMSYSERR_NODRIVER);
    EXPECT_TRUE(input->Stop());
    EXPECT_TRUE(ended);
    // It went on through both; Stop waits until it has run out of buffers.
    EXPECT_EQ(0, machine::PreparedWaveHeaders());
    opener.join();
    input->Close();
}
