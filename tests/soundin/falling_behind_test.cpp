// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// A capture thread behind its ring: up to half of the ring is delivered late, more is skipped.
#include "tests/soundin/capture_fixture.h"

namespace {

class FallingBehindTest : public CaptureTest {
protected:
    FallingBehindTest() : microphone(Add("Microphone")) {
        machine::FeedGenerator(microphone, position_feed::Generator());
    }

    // The number of each block since the origin, computed from its stamp. Checks that its content
    // is that of the same time.
    std::vector<std::int64_t> Numbers(const std::vector<Block>& blocks) const {
        const auto origin =
            static_cast<std::uint32_t>(machine::StatsOf(microphone).OriginMicroseconds / 1000);
        std::vector<std::int64_t> numbers;
        for (const Block& block : blocks) {
            const auto age = static_cast<std::int32_t>(block.Time - origin);
            numbers.push_back(std::llround(age * 22050.0 / 1000 / 512) - 1);
            EXPECT_EQ(numbers.back() * 512 % position_feed::Period,
                      position_feed::PositionOf(block.Bytes.data()));
        }
        return numbers;
    }

    machine::Microphone microphone;
};

} // namespace

TEST_F(FallingBehindTest, DeliversSixteenLateBlocksButNotSeventeen) {
    struct {
        unsigned LeftOut;
        std::size_t AtOnce; // delivered at the first notification after the gap
        std::int64_t Next;  // first block delivered after the gap, counted from its beginning
    } const cases[] = {
        {15, 16, 0}, {16, 0, 32}, // the ring returns to the block after the last delivered one
    };
    for (const auto& each : cases) {
        for (const unsigned before : {5u, 20u, 31u}) {
            SCOPED_TRACE(testing::Message() << each.LeftOut << " left out after " << before);
            Sonorel::SoundInDx input;
            Listener listener(input);
            ASSERT_TRUE(input.Open(22050));
            input.Start();
            AdvanceBlocks(before);
            ASSERT_EQ(before - 1, listener.Drain().size());
            machine::FallBehind(microphone, each.LeftOut);
            AdvanceBlocks(each.LeftOut);
            EXPECT_TRUE(listener.Drain().empty());
            AdvanceBlocks(1);
            auto numbers = Numbers(listener.Drain());
            EXPECT_EQ(each.AtOnce, numbers.size());
            AdvanceBlocks(40);
            for (const auto number : Numbers(listener.Drain())) numbers.push_back(number);
            ASSERT_FALSE(numbers.empty());
            EXPECT_EQ(each.Next + before, numbers.front());
            for (std::size_t i = 1; i < numbers.size(); ++i)
                EXPECT_EQ(numbers[i - 1] + 1, numbers[i]);
            input.Close();
        }
    }
}

// A slow callback: notifications accumulate around the end of the ring. No block may be delivered
// twice, and none be lost up to 16.
TEST_F(FallingBehindTest, SlowCallbacksGetNoBlockTwice) {
    for (const unsigned before : {3u, 16u, 20u, 28u, 31u}) {
        for (const unsigned stalled : {5u, 16u, 17u, 30u}) {
            SCOPED_TRACE(testing::Message() << stalled << " stalled after " << before);
            Sonorel::SoundInDx input;
            Listener listener(input);
            const HANDLE proceed = CreateEventA(nullptr, FALSE, FALSE, nullptr);
            std::atomic<int> untilStall{static_cast<int>(before) - 1};
            listener.OnBlock = [&] {
                if (untilStall.fetch_sub(1) == 1) WaitForSingleObject(proceed, INFINITE);
            };
            ASSERT_TRUE(input.Open(22050));
            input.Start();
            AdvanceBlocks(before + stalled);
            SetEvent(proceed);
            AdvanceBlocks(40);
            const auto numbers = Numbers(listener.Drain());
            std::int64_t previous = 0;
            for (const std::int64_t number : numbers) {
                EXPECT_TRUE(number == previous + 1 || (stalled > 16 && number > previous));
                previous = number;
            }
            EXPECT_GE(numbers.size(), 30u);
            input.Close();
            CloseHandle(proceed);
        }
    }
}
