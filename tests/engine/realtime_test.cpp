// Nothing on a real-time path allocates.
#include "tests/allocations.h"
#include "tests/support/machine_test.h"

#include <memory>

namespace {

class RealTime : public MachineTest {
protected:
    RealTime() {
        machine::RecordSentMidi(false);
        machine::AddMidiOutput("Strings");
        machine::AddMidiInput("Keys");
        BringUp();
        for (std::int16_t queue = 0; queue < 3; ++queue) EXPECT_TRUE(ZorAllocMIDI(queue, 64));
        EXPECT_TRUE(ZorStartMIDI(1));
        EXPECT_EQ(machine::OpenMidiOutputs(), 1);
        EXPECT_EQ(machine::OpenMidiInputs(), 1);
    }
};

// A counter that counts nothing would find nothing. The stand-in and the C++ library both count.
TEST_F(RealTime, TheCounterCounts) {
    EXPECT_GE(Allocations([] { ZorAllocMIDI(1, 100); }), 1);
    EXPECT_GE(Allocations([] { std::string(100, 'x').swap(*std::make_unique<std::string>()); }), 1);
}

TEST_F(RealTime, NothingAllocates) {
    ZorEchoMIDI(1, nullptr);
    ZorSyncMIDI(ZOR_SYNC_INTERNAL);
    int received = 0;
    WatchAllocations();
    for (int i = 0; i < 400; ++i) {
        const auto key = static_cast<std::uint8_t>(i & 127);
        const MIDIEvent events[] = {{ZorTimeMIDI(0) + 5, i, 0, 2, 0x90, key, 64},
                                    {ZorTimeMIDI(0) + 7, i, -1, 1, 0xC0, key, 0},
                                    {ZorTimeMIDI(0) + 7, i, 0, 0, 0, 0, 0}};
        ZorXmit(1, &events[0]);
        ZorXmit(2, &events[1]);
        ZorXmit(2, &events[2]);
        ZorXmit(ZOR_IMMEDIATE, &events[0]);
        machine::ReceiveMidi(0, 0x403C90);
        machine::ReceiveMidi(0, 0xF8);
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
    }
    EXPECT_EQ(AllocationsSeen(), 0);
    EXPECT_GT(received, 400);
}

} // namespace
