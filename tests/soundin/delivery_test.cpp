// Blocks as they come: complete, in order, and stamped by when they sounded.
#include "tests/soundin/capture_fixture.h"

namespace {

// Checks that blocks follow each other without a gap and that each is stamped with the time at
// which its last frame sounded, to within a millisecond or two. Gives the frame behind the last
// one.
std::uint64_t SoundInTime(const std::vector<Block>& blocks, std::uint64_t firstFrame,
                          std::uint64_t originMicroseconds, std::uint32_t rate) {
    std::uint64_t frame = firstFrame;
    for (const Block& block : blocks) {
        for (std::size_t at = 0; at < block.Bytes.size(); at += 2, ++frame)
            if (frame % place_feed::Period != place_feed::Of(&block.Bytes[at]))
                return ADD_FAILURE() << "at frame " << frame, 0;
        const double sounded = static_cast<double>(originMicroseconds) / 1000 +
                               static_cast<double>(frame) * 1000 / rate;
        const auto whole = static_cast<std::uint32_t>(std::llround(sounded));
        EXPECT_LE(std::abs(static_cast<std::int32_t>(block.Time - whole)), 2);
    }
    return frame;
}

} // namespace

TEST_P(BothCapturesTest, GivesEveryBlockAtItsTimeInEachRun) {
    const auto microphone = Add("Microphone");
    machine::FeedGenerator(microphone, place_feed::Generator());
    const auto input = Make(GetParam());
    Listener listener(*input);
    ASSERT_TRUE(input->Open(22050));
    machine::Advance(17);
    for (unsigned run = 0; run < 3; ++run) {
        SCOPED_TRACE(run);
        input->Start();
        input->Start();
        // Steps that have nothing to do with a block; the clock wraps on the way.
        for (int step = 0; step < 200; ++step) machine::Advance(7);
        machine::FallBehind(microphone, 5); // stamped by what this run has delivered
        machine::Advance(300 + 11 * run);
        input->Stop();
        input->Stop();
        const auto blocks = listener.Take();
        ASSERT_FALSE(blocks.empty());
        // DirectSound spends the first notification on finding its place. Its ring goes on from
        // where it stood, so the first whole block can begin anywhere in the second 512 frames.
        const std::uint64_t first = place_feed::Of(blocks[0].Bytes.data());
        EXPECT_EQ(GetParam() == DirectSound::Absent, first == 0);
        const auto origin = machine::StatsOf(microphone).OriginMicroseconds;
        const std::uint64_t captured = (1700 + 11 * run) * 22050 / 1000;
        EXPECT_GT(SoundInTime(blocks, first, origin, 22050) + 512, captured);
        machine::Advance(333);
        EXPECT_TRUE(listener.Take().empty());
    }
    input->Close();
}

// Silence of the device, not of the room: nothing comes, and stopping does not wait for it.
TEST_P(BothCapturesTest, EndsQuietlyWhenTheDeviceHasFallenSilentOrIsUnplugged) {
    const auto microphone = Add("Microphone");
    const auto input = Make(GetParam());
    Listener listener(*input);
    ASSERT_TRUE(input->Open(22050));
    input->Start();
    AdvanceBlocks(4);
    machine::FallBehind(microphone, ~0u);
    listener.Take();
    machine::Advance(25000);
    EXPECT_TRUE(listener.Take().empty());
    input->Stop(); // no time passes here, so waiting would never end
    machine::FallBehind(microphone, 0);
    input->Start();
    AdvanceBlocks(4);
    EXPECT_GE(listener.Take().size(), 3u);
    machine::Unplug(microphone);
    AdvanceBlocks(40);
    // What had been captured may still come.
    EXPECT_LE(listener.Take().size(), 1u);
    EXPECT_TRUE(input->Stop());
    EXPECT_TRUE(input->Start());
    AdvanceBlocks(4);
    EXPECT_TRUE(listener.Take().empty());
    EXPECT_TRUE(input->Close());
    EXPECT_FALSE(input->Open(22050));
    EXPECT_EQ(GetParam() == DirectSound::Absent ? 1u : 0u, machine::DrainBoxes().size());
}

// A block that comes late is stamped with when it sounded, not with when it came, in whatever unit
// the device tells its position. In one that says nothing of it, with when it came.
TEST_F(CaptureTest, WaveInStampsHeldBackBlocksEachByItsOwnEnd) {
    struct {
        unsigned Unit;
        std::uint32_t Formats;
        bool Known;
    } const cases[] = {{TIME_SAMPLES, 0xFFF, true},
                       {TIME_BYTES, 0xFFF, true},
                       {TIME_MS, 0xF00, true},
                       {TIME_SMPTE, 0xFFF, false}};
    for (const auto& each : cases) {
        SCOPED_TRACE(testing::Message() << "unit " << each.Unit);
        Restart();
        machine::AnswerPositionsIn(each.Unit);
        const auto microphone = Add("Microphone", each.Formats);
        machine::FeedGenerator(microphone, place_feed::Generator());
        Sonorel::SoundInWin input;
        Listener listener(input);
        ASSERT_TRUE(input.Open(22050));
        input.Start();
        AdvanceBlocks(3);
        machine::FallBehind(microphone, 20);
        AdvanceBlocks(20);
        EXPECT_EQ(3u, listener.Take().size());
        AdvanceBlocks(1);
        const auto blocks = listener.Take();
        ASSERT_EQ(21u, blocks.size());
        if (each.Known)
            SoundInTime(blocks, 3u * static_cast<unsigned>(input.FramesPerBlock),
                        machine::StatsOf(microphone).OriginMicroseconds, input.GetSampleRate());
        else
            EXPECT_EQ(blocks.front().Time, blocks.back().Time);
        input.Close();
    }
}
