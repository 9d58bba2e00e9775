// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Blocks are complete, in order, and stamped with the time of their last frame.
#include "tests/soundin/capture_fixture.h"

namespace {

// Checks that blocks have no gaps and that each is stamped with the time of its last frame, within
// 2 ms. Returns the frame after the last one.
std::uint64_t CheckBlocks(const std::vector<Block>& blocks, std::uint64_t firstFrame,
                          std::uint64_t originMicroseconds, std::uint32_t rate) {
    std::uint64_t frame = firstFrame;
    for (const Block& block : blocks) {
        for (std::size_t byte = 0; byte < block.Bytes.size(); byte += 2, ++frame)
            if (frame % position_feed::Period != position_feed::PositionOf(&block.Bytes[byte]))
                return ADD_FAILURE() << "at frame " << frame, 0;
        const double captured = static_cast<double>(originMicroseconds) / 1000 +
                                static_cast<double>(frame) * 1000 / rate;
        const auto expected = static_cast<std::uint32_t>(std::llround(captured));
        EXPECT_LE(std::abs(static_cast<std::int32_t>(block.Time - expected)), 2);
    }
    return frame;
}

} // namespace

TEST_P(BothCapturesTest, DeliversEveryBlockInEachRun) {
    const auto microphone = Add("Microphone");
    machine::FeedGenerator(microphone, position_feed::Generator());
    const auto input = Make(GetParam());
    Listener listener(*input);
    ASSERT_TRUE(input->Open(22050));
    machine::Advance(17);
    for (unsigned run = 0; run < 3; ++run) {
        SCOPED_TRACE(run);
        input->Start();
        input->Start();
        // Steps unrelated to the length of a block; the clock wraps.
        for (int step = 0; step < 200; ++step) machine::Advance(7);
        machine::FallBehind(microphone, 5); // its stamps depend on the frames of this run only
        machine::Advance(300 + 11 * run);
        input->Stop();
        input->Stop();
        const auto blocks = listener.Drain();
        ASSERT_FALSE(blocks.empty());
        // SoundInDx uses the first notification to find the position in the ring, which continues
        // from the last run, so the first block can begin anywhere in the second 512 frames.
        const std::uint64_t first = position_feed::PositionOf(blocks[0].Bytes.data());
        EXPECT_EQ(GetParam() == DirectSound::Absent, first == 0);
        const auto origin = machine::StatsOf(microphone).OriginMicroseconds;
        const std::uint64_t captured = (1700 + 11 * run) * 22050 / 1000;
        EXPECT_GT(CheckBlocks(blocks, first, origin, 22050) + 512, captured);
        machine::Advance(333);
        EXPECT_TRUE(listener.Drain().empty());
    }
    input->Close();
}

// The device delivers no more blocks, or is unplugged: Stop does not wait for it.
TEST_P(BothCapturesTest, StopsADeviceThatDeliversNothing) {
    const auto microphone = Add("Microphone");
    const auto input = Make(GetParam());
    Listener listener(*input);
    ASSERT_TRUE(input->Open(22050));
    input->Start();
    AdvanceBlocks(4);
    machine::FallBehind(microphone, ~0u);
    listener.Drain();
    machine::Advance(25000);
    EXPECT_TRUE(listener.Drain().empty());
    input->Stop(); // the clock does not advance here, so waiting would never end
    machine::FallBehind(microphone, 0);
    input->Start();
    AdvanceBlocks(4);
    EXPECT_GE(listener.Drain().size(), 3u);
    machine::Unplug(microphone);
    AdvanceBlocks(40);
    // A block captured before may still be delivered.
    EXPECT_LE(listener.Drain().size(), 1u);
    EXPECT_TRUE(input->Stop());
    EXPECT_TRUE(input->Start());
    AdvanceBlocks(4);
    EXPECT_TRUE(listener.Drain().empty());
    EXPECT_TRUE(input->Close());
    EXPECT_FALSE(input->Open(22050));
    EXPECT_EQ(GetParam() == DirectSound::Absent ? 1u : 0u, machine::DrainBoxes().size());
}

// A late block is stamped with the time of its last frame, if the unit of the device's position
// allows it, otherwise with the time of delivery.
TEST_F(CaptureTest, WaveInStampsLateBlocksWithTheirEnd) {
    struct {
        unsigned Unit;
        std::uint32_t Formats;
        bool Converts;
    } const cases[] = {{TIME_SAMPLES, 0xFFF, true},
                       {TIME_BYTES, 0xFFF, true},
                       {TIME_MS, 0xF00, true},
                       {TIME_SMPTE, 0xFFF, false}};
    for (const auto& each : cases) {
        SCOPED_TRACE(testing::Message() << "unit " << each.Unit);
        Restart();
        machine::AnswerPositionsIn(each.Unit);
        const auto microphone = Add("Microphone", each.Formats);
        machine::FeedGenerator(microphone, position_feed::Generator());
        Sonorel::SoundInWin input;
        Listener listener(input);
        ASSERT_TRUE(input.Open(22050));
        input.Start();
        AdvanceBlocks(3);
        machine::FallBehind(microphone, 20);
        AdvanceBlocks(20);
        EXPECT_EQ(3u, listener.Drain().size());
        AdvanceBlocks(1);
        const auto blocks = listener.Drain();
        ASSERT_EQ(21u, blocks.size());
        if (each.Converts)
            CheckBlocks(blocks, 3u * static_cast<unsigned>(input.FramesPerBlock),
                        machine::StatsOf(microphone).OriginMicroseconds, input.GetSampleRate());
        else
            EXPECT_EQ(blocks.front().Time, blocks.back().Time);
        input.Close();
    }
}
