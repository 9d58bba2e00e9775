// Random use of the library against the model.
#include "tests/engine/model.h"
#include "tests/engine/rig.h"

#include "engine/queues.h"

#include <cstring>
#include <random>

namespace {

class AgainstModel : public EngineTest, public testing::WithParamInterface<unsigned> {
protected:
    // Some of the runs cross the end of the millisecond clock.
    static std::uint32_t StartClock() { return GetParam() % 3 == 0 ? 0xFFFFF800u : 70000u; }
    AgainstModel() : EngineTest(StartClock()) { ZorStartMIDI(0), ZorSetMIDITimer(0); }

    int Pick(int low, int high) { return std::uniform_int_distribution<int>(low, high)(random); }
    MIDIEvent RandomRecord() {
        static constexpr std::uint8_t statuses[] = {0x90, 0x80, 0xB0, 0xE3, 0, 0, 0xF8, 0xF8};
        return {model.Time() + Pick(-15, 60),
                Pick(-100000, 100000),
                static_cast<std::int16_t>(Pick(-1, 20)),
                static_cast<std::uint8_t>(Pick(0, 2)),
                statuses[Pick(0, 7)],
                static_cast<std::uint8_t>(Pick(0, 2)),
                static_cast<std::uint8_t>(Pick(0, 127))};
    }
    static bool Same(const MIDIEvent& a, const MIDIEvent& b) {
        return std::memcmp(&a, &b, sizeof a) == 0;
    }

    void Send() {
        const int queue = Pick(1, 2);
        const MIDIEvent event = RandomRecord();
        EXPECT_EQ(ZorXmit(static_cast<std::uint16_t>(queue), &event) != 0,
                  model.Push(model.Queues[queue], event));
    }
    void Advance() {
        const auto milliseconds = static_cast<std::uint32_t>(Pick(0, 30));
        machine::Advance(milliseconds);
        model.Advance(milliseconds);
    }
    void Empty() {
        const int queue = Pick(1, 2);
        ZorZeroQueue(static_cast<std::int16_t>(queue));
        model.Queues[queue].Records.clear();
    }
    void Allocate() {
        const int queue = Pick(1, 2), slots = Pick(0, 3) == 0 ? Pick(0, 3) : 16;
        ZorAllocMIDI(static_cast<std::int16_t>(queue), static_cast<std::int16_t>(slots));
        model.Queues[queue] = {static_cast<std::size_t>(slots), {}, 0, 0};
    }
    void SetTime() {
        const std::int32_t time = Pick(0, 3) == 0 ? 0 : model.Time() + Pick(-50, 50);
        ZorSetMIDITimer(time);
        model.Origin = model.Now - static_cast<std::uint32_t>(time);
    }
    void Transport() {
        switch (Pick(0, 5)) {
        case 0:
            return Empty();
        case 1:
            return Allocate();
        case 2:
            return SetTime();
        case 3:
            ZorStopMIDI(), ZorStartMIDI(0);
            model.StopTimer();
            for (auto& queue : model.Queues) queue.Records.clear();
            break;
        default:
            ZorStartTimer();
            model.StartTimer();
        }
    }
    void Step() {
        const int choice = Pick(0, 99);
        if (choice < 60) return Send();
        if (choice < 85) return Advance();
        if (choice >= 93) return Transport();
        ZorMIDIPlay();
        model.Play();
    }
    void Compare() {
        EXPECT_EQ(ZorTimeMIDI(0), model.Time());
        for (int index : {1, 2}) {
            const auto& expected = model.Queues[index];
            EXPECT_EQ(CountOf(index), static_cast<int>(expected.Records.size()));
            std::uint16_t marker = 0;
            EXPECT_EQ(ZorEtimeMIDI(static_cast<std::int16_t>(index), &marker), expected.Etime);
            EXPECT_EQ(marker, expected.Marker);
        }
        const auto sent = drivers.TakeSent();
        ASSERT_EQ(sent.size(), model.Sent.size());
        for (std::size_t i = 0; i < sent.size(); ++i) {
            EXPECT_TRUE(Same(sent[i].Event, model.Sent[i].Event));
            EXPECT_EQ(sent[i].At, model.Sent[i].At);
        }
        model.Sent.clear();
        EXPECT_EQ(machine::PendingTimers().size(), model.Expiry ? 1u : 0u);
        for (const std::uint32_t due : machine::PendingTimers()) EXPECT_EQ(due, model.Expiry);
    }

    EngineModel model{StartClock()};
    std::mt19937 random{GetParam()};
};

TEST_P(AgainstModel, PlaysTheSame) {
    for (int step = 0; step < 6000 && !HasFailure(); ++step) {
        SCOPED_TRACE(step);
        Step();
        Compare();
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, AgainstModel, testing::Range(1u, 25u));

} // namespace
