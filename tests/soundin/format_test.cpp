// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The format that SoundInWin chooses from those of the device.
#include "tests/soundin/capture_fixture.h"

using machine::PcmFormat;

TEST_F(CaptureTest, WaveInChoosesASupportedFormat) {
    const struct {
        const char* Name;
        std::uint32_t Asked;
        std::uint32_t Formats;
        unsigned Channels;
        std::vector<PcmFormat> More;
        PcmFormat Opened; // rate 0: does not open
        std::int32_t GotFrames = 0;
    } cases[] = {
        {"lowest rate as asked", 11025, 0xFFF, 2, {}, {11025, 2, 8}, 256},
        {"from 11 to 44 kHz", 11025, 0xF00, 2, {}, {44100, 2, 8}, 1024},
        {"never down", 22050, 0x00F, 2, {}, {0, 2, 8}},
        {"44 kHz mono of 16 bits only", 22050, 0x400, 1, {}, {44100, 1, 16}, 1024},
        {"rate kept, bits of another rate", 22050, 0x240, 2, {}, {0, 2, 8}},
        {"a rate of its own", 48000, 0x444, 1, {{48000, 1, 16}}, {48000, 1, 16}, 1114},
        {"neither bits", 8000, 0, 2, {{8000, 2, 8}}, {8000, 2, 8}, 185},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.Name);
        Restart();
        machine::AddMicrophone({"Microphone", each.Formats, each.Channels, each.More});
        Sonorel::SoundInWin input;
        Listener listener(input);
        const bool opens = each.Opened.Rate != 0;
        EXPECT_EQ(opens, input.Open(each.Asked));
        EXPECT_EQ(opens ? 0u : 1u, machine::DrainBoxes().size());
        EXPECT_EQ(each.Opened.Channels, static_cast<unsigned>(input.Channels));
        EXPECT_EQ(each.Opened.Bits, static_cast<unsigned>(input.BitsPerSample));
        if (!opens) continue;
        EXPECT_EQ(each.Opened.Rate, input.GetSampleRate());
        EXPECT_EQ(each.GotFrames, input.FramesPerBlock);
        input.Start();
        machine::Advance(100);
        const auto blocks = listener.Drain();
        ASSERT_EQ(4u, blocks.size());
        EXPECT_EQ(static_cast<unsigned>(each.GotFrames) * each.Opened.Channels * each.Opened.Bits /
                      8,
                  blocks[0].Bytes.size());
        EXPECT_EQ(each.Opened.Bits == 8 ? 128 : 0, blocks[0].Bytes[0]);
        EXPECT_TRUE(input.Close());
    }
}

TEST_F(CaptureTest, ChannelsAndBitsStayUntilAnotherDevice) {
    Add("Headset", 0x400, 1);
    Add("Studio");
    Sonorel::SoundInWin input;
    ASSERT_TRUE(input.Open(22050));
    ASSERT_TRUE(input.Close());
    ASSERT_TRUE(input.Open(22050));
    EXPECT_EQ(1, input.Channels);
    EXPECT_EQ(16, input.BitsPerSample);
    // The other device is opened at the current rate, with the default channels and bits.
    ASSERT_TRUE(input.SetDevice(1));
    EXPECT_EQ(2, input.Channels);
    EXPECT_EQ(8, input.BitsPerSample);
    EXPECT_EQ(44100u, input.GetSampleRate());
    input.Close();
}
