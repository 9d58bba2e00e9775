// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Open, Start, Stop and Close in all orders, and runs that end by themselves.
#include "tests/soundin/capture_fixture.h"

// Every sequence of five steps, against a model of two flags.
TEST_P(BothCapturesTest, AllowsAllOrdersOfCalls) {
    Add("Microphone");
    for (unsigned sequence = 0; sequence < 4 * 4 * 4 * 4 * 4; ++sequence) {
        const auto input = Make(GetParam());
        Listener listener(*input);
        bool open = false;
        bool running = false;
        std::string notified;
        for (unsigned rest = sequence, count = 0; count < 5; ++count, rest /= 4) {
            const char step = "OSTC"[rest % 4]; // open, start, stop, close
            notified += step;
            if (step == 'O') {
                ASSERT_EQ(!open, input->Open(22050)) << notified;
                open = true;
            } else if (step == 'S') {
                ASSERT_TRUE(input->Start()) << notified;
                running = open;
            } else {
                ASSERT_TRUE(step == 'T' ? input->Stop() : input->Close()) << notified;
                running = false;
                open = open && step == 'T';
            }
            ASSERT_EQ(running, input->Running != 0) << notified;
        }
        AdvanceBlocks(2);
        ASSERT_EQ(running, !listener.Drain().empty()) << notified;
        input->Stop();
        ASSERT_EQ(0, machine::PreparedWaveHeaders()) << notified;
        AdvanceBlocks(2);
        ASSERT_TRUE(listener.Drain().empty()) << notified;
        input->Close();
        ASSERT_EQ(0, machine::OpenWaveIns() + OpenCaptureObjects() + machine::OpenMixers())
            << notified;
    }
    EXPECT_TRUE(machine::DrainBoxes().empty());
}

// A thread that ended by itself leaves StopEvent signalled; the next run must reset it.
TEST_F(CaptureTest, RunsAgainAfterAThreadThatEndedByItself) {
    Add("Microphone");
    Sonorel::SoundInDx input;
    Listener listener(input);
    ASSERT_TRUE(input.Open(22050));
    machine::FailCall(machine::Call::CaptureBufferStart, 1, DSERR_GENERIC);
    input.Start();
    AdvanceBlocks(3);
    EXPECT_NE(0, input.Running);
    EXPECT_TRUE(listener.Drain().empty());
    for (const HANDLE event : input.NotifyEvents) SetEvent(event); // also left signalled
    input.Stop();
    input.Start();
    AdvanceBlocks(3);
    EXPECT_EQ(2u, listener.Drain().size());
    input.Close();
}

TEST_F(CaptureTest, WaveInCanBeStoppedInItsCallback) {
    Add("Microphone");
    Sonorel::SoundInWin input;
    Listener listener(input);
    listener.OnBlock = [&] { input.Stop(); };
    ASSERT_TRUE(input.Open(22050));
    input.Start();
    AdvanceBlocks(3);
    EXPECT_EQ(1u, listener.Drain().size());
    EXPECT_EQ(0, machine::PreparedWaveHeaders());
    input.Close();
}

// A device that neither resets nor closes returns its buffers after the object was destroyed.
TEST_F(CaptureTest, WaveInLeaksBuffersThatAreNotReturned) {
    const auto microphone = Add("Microphone");
    machine::FallBehind(microphone, ~0u);
    auto input = std::make_unique<Sonorel::SoundInWin>();
    auto listener = std::make_unique<Listener>(*input);
    ASSERT_TRUE(input->Open(22050));
    input->Start();
    const HWAVEIN handle = input->WaveIn;
    machine::FailCall(machine::Call::waveInReset, 1, MMSYSERR_NODRIVER, 0);
    EXPECT_TRUE(input->Close());
    EXPECT_EQ(1, machine::OpenWaveIns());
    input.reset();
    listener.reset();
    machine::ClearFaults();
    EXPECT_EQ(MMSYSERR_NOERROR, waveInReset(handle)); // returns them
    EXPECT_EQ(MMSYSERR_NOERROR, waveInClose(handle));
    Sonorel::SoundInWin next; // frees them
    ASSERT_TRUE(next.Open(22050));
    next.Close();
    machine::PowerOn(); // they stay prepared
}
