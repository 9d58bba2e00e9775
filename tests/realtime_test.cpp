// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Real-time paths do not allocate memory.
#include "mme/ports.h"
#include "soundin/sound_in_dx.h"
#include "soundin/sound_in_win.h"
#include "tests/support/allocations.h"
#include "tests/support/direct_sound.h"
#include "tests/support/machine_test.h"

#include <memory>

namespace {

class RealTime : public MachineTest {
protected:
    RealTime() {
        machine::RecordSentMidi(false);
        machine::AddMidiOutput("Strings", MIDICAPS_CACHE);
        machine::AddMidiInput("Keys");
        WriteIni("[MMEDRVR]\nOutName1=Strings\nInName1=Keys\n");
        OpenLibrary();
        for (std::int16_t queue = 0; queue < 3; ++queue) EXPECT_TRUE(ZorAllocMIDI(queue, 64));
        EXPECT_TRUE(ZorStartMIDI(1));
    }
};

// The counter counts allocations of the platform layer and of the C++ library.
TEST_F(RealTime, CountsAllocations) {
    EXPECT_GE(Allocations([] { ZorAllocMIDI(1, 100); }), 1);
    EXPECT_GE(Allocations([] { std::string(100, 'x').swap(*std::make_unique<std::string>()); }), 1);
}

// All status bytes, queued, immediate and received, while queues overflow.
TEST_F(RealTime, MessagesDoNotAllocate) {
    ZorEchoMIDI(1, nullptr);
    int received = 0;
    WatchAllocations();
    for (int i = 0; i < 400; ++i) {
        const auto status = static_cast<std::uint8_t>(0x80 | i);
        const auto key = static_cast<std::uint8_t>(i & 127);
        const auto channel = static_cast<std::int16_t>(i % 18 - 1);
        const MIDIEvent events[] = {{ZorTimeMIDI(0) + 5, i, channel, 2, status, key, 64},
                                    {ZorTimeMIDI(0) + 7, i, -1, 1, 0xC0, key, 0},
                                    {ZorTimeMIDI(0) + 7, i, 0, 0, 0, 0, 0}};
        ZorXmit(1, &events[0]);
        ZorXmit(2, &events[1]);
        ZorXmit(2, &events[2]);
        ZorXmit(ZOR_IMMEDIATE, &events[0]);
        machine::ReceiveMidi(0, 0x403C00u | status);
        machine::CallBackMidi(0, MIM_DATA, 0xF8, 1);
        machine::Advance(10); // the timer's and the input's callbacks
        ZorMIDIPlay();
        MIDIEvent event;
        for (; ZorRcv(&event, 0); ++received) {
        }
        std::uint16_t size, count;
        ZorReportMQ(1, &size, &count);
        ZorEtimeMIDI(1, &size);
        ZorXmitEmpty(0);
        ZorErrorMIDI(nullptr);
        ZorFilterMIDI(0, 0);
        ZorZeroQueue(0);
        ZorSetMIDITimer(i);
        if (i % 50 == 0) ZorKillMIDI();
    }
    EXPECT_EQ(StopWatching(), 0);
    EXPECT_GT(received, 400);
}

TEST_F(RealTime, SoundBlocksDoNotAllocate) {
    machine::AddMicrophone({"Microphone"});
    SetDirectSound(DirectSound::Present);
    Sonorel::SoundInDx direct;
    Sonorel::SoundInWin wave;
    for (Sonorel::SoundIn* input : std::initializer_list<Sonorel::SoundIn*>{&direct, &wave}) {
        std::atomic<int> blocks{0};
        input->SetCallback([](std::uint32_t, const std::uint8_t*, std::int32_t,
                              void* context) { ++*static_cast<std::atomic<int>*>(context); },
                           &blocks);
        ASSERT_TRUE(input->Open(22050));
        input->Start();
        machine::Advance(50);
        const int before = blocks;
        EXPECT_EQ(0, Allocations([] { machine::Advance(2322); }));
        EXPECT_EQ(100, blocks - before);
        input->Close();
    }
    SetDirectSound(DirectSound::Absent);
}

} // namespace
