#include "tests/engine/rig.h"

#include "engine/time_base.h"

#include <random>

namespace {

constexpr std::uint8_t Clock = 0xF8, Start = 0xFA, Continue = 0xFB, Stop = 0xFC;

class Time : public EngineTest {
protected:
    Time() : EngineTest(100000) {}
    static void External() {
        ZorSyncMIDI(ZOR_SYNC_EXTERNAL);
        ZorStartMIDI(1);
    }
    // So many clocks, gap milliseconds apart, the first one gap from now.
    static void Clocks(int count, std::uint32_t gap) {
        for (int i = 0; i < count; ++i) {
            machine::Advance(gap);
            Receive(Clock);
        }
    }
    static std::int32_t Now() { return ZorTimeMIDI(0); }
};

// The plain quotient, in arithmetic that nothing can exceed.
std::int32_t PlainClocksToTime(std::int32_t clocks, std::int32_t gap, std::int32_t elapsed) {
    __extension__ using Wide = __int128;
    const Wide value =
        gap == 0 ? Wide{clocks} * 128 / 3 : (Wide{clocks} * gap + elapsed) * 128 / (Wide{gap} * 3);
    return static_cast<std::int32_t>(value);
}

TEST(ClockArithmetic, IsThePlainQuotientInEveryCorner) {
    constexpr std::int32_t low = INT32_MIN, high = INT32_MAX;
    std::mt19937 random(5);
    std::vector<std::int32_t> corners = {low, low + 1, -1024, -25, -24, -3,       -1,  0,
                                         1,   2,       3,     20,  24,  high - 1, high};
    for (int i = 0; i < 40; ++i)
        corners.push_back(static_cast<std::int32_t>(random()) >> random() % 31);
    for (const std::int32_t clocks : corners)
        for (const std::int32_t gap : corners)
            for (const std::int32_t elapsed : corners)
                ASSERT_EQ(ClocksToTime(clocks, gap, elapsed),
                          PlainClocksToTime(clocks, gap, elapsed))
                    << clocks << ' ' << gap << ' ' << elapsed;
    EXPECT_EQ(ClocksToTime(24, 20, 10), 1045);
    EXPECT_EQ(ClocksToTime(24, 20, 20), ClocksToTime(25, 0, 0));
}

TEST_F(Time, CountsMillisecondsFromWhereItWasSet) {
    EXPECT_EQ(Now(), 0);  // stands while the timer is stopped
    ZorSetMIDITimer(700); // and the start sets it to 0
    machine::Advance(10);
    EXPECT_EQ(Now(), 0);
    EXPECT_EQ(ZorTimeMIDI(1), 0);
    ZorStartTimer();
    machine::Advance(30);
    EXPECT_EQ(Now(), 30);
    for (const std::int32_t set : {0, 1024, -500, INT32_MAX - 5, INT32_MIN}) {
        ZorSetMIDITimer(set);
        EXPECT_EQ(Now(), set);
        machine::Advance(10);
        EXPECT_EQ(Now(), static_cast<std::int32_t>(static_cast<std::uint32_t>(set) + 10));
    }
    EXPECT_EQ(ZorTimeMIDI(1), 0);
    machine::Advance(7);
    EXPECT_EQ(Now(), 7);
    ZorSyncMIDI(1); // no mode but 2 means anything, and none resets the time
    EXPECT_EQ(Now(), 7);
    EXPECT_EQ(ZorResoMIDI(), 1000u);
    ZorStopMIDI();
    EXPECT_EQ(Now(), 0);
}

TEST_F(Time, FollowsTheClockAndFillsTheGaps) {
    External();
    EXPECT_EQ(Now(), 0);
    Clocks(3, 20); // nobody has started
    EXPECT_EQ(Now(), 0);
    Receive(Start);
    Clocks(1, 20); // the first gap is not known: the time hardly moves
    EXPECT_EQ(Now(), 42);
    machine::Advance(10);
    EXPECT_EQ(Now(), 42);
    machine::Advance(10);
    Receive(Clock);
    EXPECT_EQ(Now(), 85);
    machine::Advance(10);
    EXPECT_EQ(Now(), ClocksToTime(2, 20, 10));
    machine::Advance(300); // never past the clock that is expected
    EXPECT_EQ(Now(), 128);
    Clocks(22, 20);
    EXPECT_EQ(Now(), 1024);
    machine::Advance(10);
    EXPECT_EQ(Now(), 1045);
    EXPECT_EQ(ZorEtimeMIDI(1, nullptr), 1045); // the position is the clock's too
    Receive(Stop);                             // stands at the last clock
    machine::Advance(10);
    EXPECT_EQ(Now(), 1024);
    Clocks(5, 20);
    EXPECT_EQ(Now(), 1024);
    Receive(Continue);
    EXPECT_EQ(Now(), 1024);
    Clocks(1, 20); // the gap is the whole pause
    EXPECT_EQ(Now(), 1066);
    Clocks(1, 20);
    machine::Advance(5);
    EXPECT_EQ(Now(), ClocksToTime(26, 20, 5));
}

// From each of the four conditions of the external clock, what each message makes of it.
TEST_F(Time, MovesTheClockByTheTable) {
    struct Case {
        const char* name;
        std::vector<std::uint8_t> before;
        std::uint8_t message;
        std::int32_t count; // clocks afterwards
        bool running, pending;
    };
    const std::uint8_t Song = 0xF2, Note = 0x90, Tune = 0xF6;
    const Case cases[] = {
        {"stopped", {}, Clock, 48, false, false},
        {"stopped", {}, Start, 48, false, true},
        {"stopped", {}, Continue, 48, false, true},
        {"stopped", {}, Stop, 48, false, false},
        {"stopped", {}, Song, 48 + 6 * 259, false, false},
        {"armed", {Start}, Clock, 49, true, false},
        {"armed", {Start}, Stop, 48, false, false},
        {"armed", {Start}, Song, 48 + 6 * 259, false, true},
        {"counting", {Start, Clock, Clock}, Clock, 51, true, false},
        {"counting", {Start, Clock, Clock}, Start, 48, true, true},
        {"counting", {Start, Clock, Clock}, Continue, 50, true, true},
        {"counting", {Start, Clock, Clock}, Stop, 50, false, false},
        {"counting", {Start, Clock, Clock}, Song, 48 + 6 * 259, true, false},
        {"restarting", {Start, Clock, Continue}, Clock, 50, true, false},
        {"restarting", {Start, Clock, Continue}, Stop, 49, false, false},
        {"counting", {Start, Clock}, Note, 49, true, false},
        {"counting", {Start, Clock}, Tune, 49, true, false},
        {"counting", {Start, Clock}, 0xFE, 49, true, false},
    };
    for (const std::int16_t mode : {ZOR_SYNC_EXTERNAL, ZOR_SYNC_INTERNAL}) {
        for (const Case& c : cases) {
            SCOPED_TRACE(std::string(c.name) + " gets " + std::to_string(c.message));
            Receive(Stop);
            ZorSyncMIDI(ZOR_SYNC_EXTERNAL);
            ZorSetMIDITimer(2048);
            for (const std::uint8_t message : c.before) {
                machine::Advance(20);
                Receive(message, 3, 2);
            }
            ZorSyncMIDI(mode); // the clock counts in every mode
            machine::Advance(20);
            const TimeBase before = ReadTimeBase();
            Receive(c.message, 3 | 0x80, 2 | 0x80); // song position 2 * 128 + 3
            const TimeBase base = ReadTimeBase();
            EXPECT_EQ(base.ClockCount, c.count);
            EXPECT_EQ(base.ClockRunning, c.running);
            EXPECT_EQ(base.ClockPending, c.pending);
            const bool counted = c.message == Clock && !c.before.empty();
            const bool located = c.message == Start || c.message == Song;
            EXPECT_EQ(base.LastClockTime, counted   ? timeGetTime()
                                          : located ? 0u
                                                    : before.LastClockTime);
            const auto gap = static_cast<std::int32_t>(timeGetTime() - before.LastClockTime);
            EXPECT_EQ(base.LastClockGap, counted ? gap : located ? 0 : before.LastClockGap);
        }
    }
    ZorSyncMIDI(ZOR_SYNC_INTERNAL);
}

// Positions are whole clocks, cut towards zero, and Start returns to them.
TEST_F(Time, StartsFromThePositionThatWasSet) {
    External();
    struct Case {
        std::int32_t time, clocks;
    };
    for (const Case& c :
         {Case{1024, 24}, Case{1023, 23}, Case{-1, 0}, Case{-1024, -24}, Case{43, 1}, Case{42, 0},
          Case{INT32_MAX, 50331647}, Case{INT32_MIN, -50331648}}) {
        ZorSetMIDITimer(c.time);
        EXPECT_EQ(ReadTimeBase().ClockCount, c.clocks);
        Receive(Start);
        Clocks(2, 20);
        EXPECT_EQ(ReadTimeBase().ClockCount, c.clocks + 2);
        Receive(Start);
        EXPECT_EQ(ReadTimeBase().ClockCount, c.clocks);
        Receive(Stop);
    }
    EXPECT_EQ(ZorTimeMIDI(1), 0); // a reset forgets the position too
    Receive(Start);
    Clocks(1, 20);
    EXPECT_EQ(ReadTimeBase().ClockCount, 1);
}

// The gap is taken with sign: over the sign change of the millisecond clock it is unknown once.
TEST_F(Time, MeasuresGapsOverBothWraps) {
    struct Case {
        std::uint32_t start;
        std::int32_t gap;
    };
    for (const Case& c : {Case{0xFFFFFFF0u, 20}, Case{0x7FFFFFF0u, 0}, Case{0x80000000u, 20}}) {
        machine::UseSteppedClock(c.start);
        External();
        Receive(Start);
        Receive(Clock);
        Clocks(1, 20);
        EXPECT_EQ(ReadTimeBase().LastClockGap, c.gap);
        EXPECT_EQ(Now(), 85);
        machine::Advance(10);
        EXPECT_EQ(Now(), ClocksToTime(2, c.gap, c.gap ? 10 : 0));
        ZorKillMIDI();                // so that nothing expires
        machine::Advance(0x80000000); // longer than a difference of two moments can be
        EXPECT_EQ(Now(), 85);
        Receive(Stop);
        ZorStopMIDI();
    }
}

TEST_F(Time, OpeningStopsTheExternalClock) {
    External();
    Receive(Start);
    Clocks(5, 20);
    Receive(Start); // armed as well: that stays
    ZorRestoreMIDI();
    ZorStartMIDI(0);
    const TimeBase base = ReadTimeBase();
    EXPECT_EQ(base.ClockCount, 0);
    EXPECT_EQ(base.LastClockTime, 0u);
    EXPECT_EQ(base.LastClockGap, 0);
    EXPECT_FALSE(base.ClockRunning);
    EXPECT_TRUE(base.ClockPending);
}

TEST_F(Time, TellsTheDriversTheMode) {
    FakeDrivers::TakeTrace();
    for (const std::int16_t mode : {2, 0, -1}) ZorSyncMIDI(mode);
    EXPECT_EQ(FakeDrivers::TakeTrace(), "Sync0:2 Sync1:0 Sync0:0 Sync1:0 Sync0:-1 Sync1:0");
}

} // namespace
