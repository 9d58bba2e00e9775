// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "engine/time_base.h"

#include "engine/sections.h"
#include "tests/engine/engine_fixture.h"

#include <random>
#include <thread>

namespace {

// The plain quotient, in 128-bit arithmetic.
std::int32_t PlainClocksToTime(std::int32_t clocks, std::int32_t gap, std::int32_t elapsed) {
    __extension__ using Wide = __int128;
    const Wide value =
        gap == 0 ? Wide{clocks} * 128 / 3 : (Wide{clocks} * gap + elapsed) * 128 / (Wide{gap} * 3);
    return static_cast<std::int32_t>(value);
}

TEST(ClockArithmetic, EqualsThePlainQuotient) {
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
}

class Time : public EngineTest {};

// The last clock is longer ago than a signed 32-bit difference can express.
TEST_F(Time, StopsLongAfterTheLastClock) {
    ZorSyncMIDI(ZOR_SYNC_EXTERNAL);
    ZorStartMIDI(1);
    for (const std::uint8_t status : {0xFA, 0xF8, 0xF8}) {
        machine::Advance(20);
        Receive(status);
    }
    ZorKillMIDI(); // no expiry any more
    for (const std::uint32_t later : {0u, 0x80000000u}) {
        machine::Advance(later);
        EXPECT_EQ(ZorTimeMIDI(0), 85);
    }
}

// A thread that reads the time base during changes reads a consistent copy: here all members follow
// from one number.
TEST_F(Time, IsReadConsistently) {
    const auto baseOf = [](std::uint32_t number) {
        const auto count = static_cast<std::int32_t>(number);
        return TimeBase{number, count, number, count, number % 2 == 0, number % 2 == 0};
    };
    WriteTimeBase(baseOf(0));
    std::atomic<int> reads{0}, torn{0};
    std::thread reader([&] {
        for (; reads < 300000; ++reads) {
            const TimeBase read = ReadTimeBase(), expected = baseOf(read.TimeOrigin);
            torn += read.ClockCount != expected.ClockCount ||
                    read.LastClockTime != expected.LastClockTime ||
                    read.LastClockGap != expected.LastClockGap ||
                    read.ClockRunning != expected.ClockRunning ||
                    read.ClockPending != expected.ClockPending;
        }
    });
    for (std::uint32_t number = 1; reads < 300000; ++number) {
        QueueSection section;
        WriteTimeBase(baseOf(number));
    }
    reader.join();
    EXPECT_EQ(torn, 0);
    WriteTimeBase({});
}

} // namespace
