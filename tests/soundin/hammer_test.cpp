// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Real clock and threads: the owner opens, starts, stops and closes a running capture.
#include "tests/soundin/capture_fixture.h"

#include <atomic>
#include <thread>

// The listener is destroyed after Stop: a callback still in progress would access it.
TEST_P(BothCapturesTest, NoCallbackOutlivesStop) {
    machine::UseRealClock();
    for (const char* name : {"One", "Two"}) Add(name);
    const auto input = Make(GetParam());
    std::size_t blocks = 0;
    for (unsigned round = 0; round < 40; ++round) {
        auto listener = std::make_unique<Listener>(*input);
        ASSERT_TRUE(input->Open(22050));
        input->Start();
        // Stops at all phases of a block.
        Sleep(round * 37 % 61);
        if (round % 4 == 3) {
            EXPECT_TRUE(input->SetDevice(1 - input->GetDevice()));
            Sleep(30);
        }
        round % 2 ? input->Stop() : input->Close();
        blocks += listener->Drain().size();
        listener.reset();
        input->Close();
    }
    EXPECT_GT(blocks, 0u);
}

// Stop is called during a callback, which returns only after delivery is off.
TEST_P(BothCapturesTest, StopWaitsForTheCallback) {
    machine::UseRealClock();
    Add("Microphone");
    std::atomic<bool> entered{false}, proceed{false}, ended{false};
    const auto input = Make(GetParam());
    Listener listener(*input);
    listener.OnBlock = [&] {
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
        // The device is not reset during its callback.
        EXPECT_EQ(0u, machine::CallCount(machine::Call::waveInReset));
        proceed = true;
        proceed.notify_one();
    });
    // Skips the machine's waveInStop, which waits for the callback; systems need not do so.
    machine::FailCall(machine::Call::waveInStop, 1, MMSYSERR_NODRIVER);
    machine::FailCall(machine::Call::waveInReset, 1, MMSYSERR_NODRIVER);
    EXPECT_TRUE(input->Stop());
    EXPECT_TRUE(ended);
    // The device keeps running; Stop waits until it has filled all buffers.
    EXPECT_EQ(0, machine::PreparedWaveHeaders());
    opener.join();
    input->Close();
}
