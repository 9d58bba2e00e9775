#include "tests/engine/rig.h"

#include "engine/queues.h"

namespace {

class Queues : public EngineTest {};

bool Put(std::uint16_t queue, int number) {
    const MIDIEvent event = Note(1000000, static_cast<std::uint8_t>(number), number);
    return ZorXmit(queue, &event) != 0;
}

// The fill of a ring after so many records, pushed the way of either side.
TEST_F(Queues, HoldOneRecordLessThanTheirSlots) {
    struct Case {
        std::int16_t slots;
        int pushed, held, accepted;
    };
    for (const Case& c : {Case{1, 2, 0, 0}, Case{2, 1, 1, 1}, Case{4, 3, 3, 3}, Case{4, 5, 3, 3},
                          Case{256, 300, 255, 255}, Case{32767, 32766, 32766, 32766}}) {
        SCOPED_TRACE(c.slots);
        ASSERT_TRUE(ZorAllocMIDI(ZOR_QUEUE_OUTPUT, c.slots));
        int accepted = 0;
        for (int i = 0; i < c.pushed; ++i) accepted += Put(ZOR_QUEUE_OUTPUT, i & 127);
        std::uint16_t size = 0, count = 0;
        EXPECT_TRUE(ZorReportMQ(ZOR_QUEUE_OUTPUT, &size, &count));
        EXPECT_EQ(size, c.slots);
        EXPECT_EQ(count, c.held);
        EXPECT_EQ(accepted, c.accepted);
    }
}

TEST_F(Queues, ReceivedRecordsReplaceTheOldest) {
    ZorAllocMIDI(ZOR_QUEUE_INPUT, 4);
    for (std::uint8_t i = 1; i <= 9; ++i) {
        Receive(0x90, i, 1);
        EXPECT_EQ(CountOf(0), std::min<int>(i, 3));
    }
    EXPECT_FALSE(Put(ZOR_QUEUE_INPUT, 10)); // the host's own replace none
    MIDIEvent event;
    for (int expected : {7, 8, 9}) {
        EXPECT_TRUE(ZorRcv(&event, 1)); // a look changes nothing
        EXPECT_EQ(event.Data1, expected);
        EXPECT_TRUE(ZorRcv(&event, 0));
        EXPECT_EQ(event.Data1, expected);
    }
    event.Data1 = 77;
    EXPECT_FALSE(ZorRcv(&event, 0));
    EXPECT_EQ(event.Data1, 77);
    ZorAllocMIDI(ZOR_QUEUE_INPUT, 1);
    Receive(0x90, 1, 1); // no room for even one
    EXPECT_EQ(CountOf(0), 0);
    EXPECT_TRUE(PushMQ(Note(0, 1), MIDIQueues[0], true));
    EXPECT_EQ(CountOf(0), 0);
}

TEST_F(Queues, GiveUpTheirBlockInEveryWay) {
    machine::ResetCallCounts();
    std::uint16_t size = 9, count = 9;
    const auto gone = [&] {
        size = count = 9;
        return !ZorReportMQ(1, &size, &count) && size == 0 && count == 0 && !Put(1, 0) &&
               CountOf(1) == 0;
    };
    EXPECT_TRUE(ZorFreeMIDI(1));
    EXPECT_TRUE(gone());
    EXPECT_TRUE(ZorFreeMIDI(1));
    EXPECT_TRUE(ZorAllocMIDI(1, 8));
    EXPECT_TRUE(Put(1, 1));
    EXPECT_TRUE(ZorAllocMIDI(1, 0));
    EXPECT_TRUE(gone());
    EXPECT_TRUE(ZorAllocMIDI(1, 8));
    EXPECT_FALSE(ZorAllocMIDI(1, -1));
    EXPECT_TRUE(gone());
    for (const machine::Call call : {machine::Call::GlobalAlloc, machine::Call::GlobalLock}) {
        EXPECT_TRUE(ZorAllocMIDI(1, 8));
        machine::FailCall(call, 1, 0);
        EXPECT_FALSE(ZorAllocMIDI(1, 8));
        EXPECT_TRUE(gone());
    }
}

TEST_F(Queues, RefuseWhatIsNoQueueAndNoRecord) {
    const MIDIEvent event = Note(0, 60);
    std::uint16_t size, count;
    for (const std::int16_t queue : {-32768, -2, 3, 32767}) {
        SCOPED_TRACE(queue);
        size = count = 7;
        EXPECT_FALSE(ZorAllocMIDI(queue, 4));
        EXPECT_FALSE(ZorFreeMIDI(queue));
        EXPECT_FALSE(ZorXmit(static_cast<std::uint16_t>(queue), &event));
        EXPECT_FALSE(ZorReportMQ(queue, &size, &count));
        EXPECT_EQ(size + count, 0);
        size = 7;
        EXPECT_EQ(ZorEtimeMIDI(queue, &size), 0);
        EXPECT_EQ(size, 0);
        ZorZeroQueue(queue);
    }
    EXPECT_FALSE(ZorXmit(1, nullptr));
    EXPECT_FALSE(ZorXmit(ZOR_IMMEDIATE, nullptr));
    EXPECT_FALSE(ZorRcv(nullptr, 0));
    EXPECT_FALSE(ZorReportMQ(1, nullptr, &count));
    EXPECT_EQ(count, 0);
}

} // namespace
