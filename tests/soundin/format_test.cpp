// What a device offers against what SoundInWin makes of it.
#include "tests/soundin/capture_fixture.h"

namespace {

struct FormatCase {
    const char* Name;
    std::uint32_t Asked;
    std::uint32_t Formats;
    unsigned Channels;
    std::vector<machine::PcmFormat> More;
    bool Opens;
    // What the object then holds, also after it could not open.
    std::int32_t GotChannels;
    std::int32_t GotBits;
    // Of an open one.
    std::uint32_t GotRate;
    std::int32_t GotFrames;
};

class FormatTest : public CaptureTest {};

} // namespace

TEST_F(FormatTest, StepsToWhatTheDeviceOffers) {
    const FormatCase cases[] = {
        {"everything", 22050, 0xFFF, 2, {}, true, 2, 8, 22050, 512},
        {"lowest rate as asked", 11025, 0xFFF, 2, {}, true, 2, 8, 11025, 256},
        {"from 11 to 22 kHz", 11025, 0xFF0, 2, {}, true, 2, 8, 22050, 512},
        {"from 11 to 44 kHz", 11025, 0xF00, 2, {}, true, 2, 8, 44100, 1024},
        {"from 22 to 44 kHz", 22050, 0xF0F, 2, {}, true, 2, 8, 44100, 1024},
        {"never down", 22050, 0x00F, 2, {}, false, 2, 8, 0, 0},
        {"none of 44 kHz", 44100, 0x0FF, 2, {}, false, 2, 8, 0, 0},
        {"none at all", 11025, 0, 2, {}, false, 2, 8, 0, 0},
        {"mono", 22050, 0x555, 1, {}, true, 1, 8, 22050, 512},
        {"16 bits only", 22050, 0xCCC, 2, {}, true, 2, 16, 22050, 512},
        {"44 kHz mono of 16 bits only", 22050, 0x400, 1, {}, true, 1, 16, 44100, 1024},
        {"rate kept, bits of another rate", 22050, 0x240, 2, {}, false, 2, 8, 0, 0},
        {"a rate of its own", 48000, 0x333, 2, {{48000, 2, 8}}, true, 2, 8, 48000, 1114},
        {"a rate of its own, mono of 16",
         48000,
         0x444,
         1,
         {{48000, 1, 16}},
         true,
         1,
         16,
         48000,
         1114},
        {"neither bits", 8000, 0, 2, {{8000, 2, 8}}, true, 2, 8, 8000, 185},
        {"a rate it does not have", 8000, 0xFFF, 2, {}, false, 2, 8, 0, 0},
    };
    for (const FormatCase& each : cases) {
        SCOPED_TRACE(each.Name);
        Restart();
        machine::AddMicrophone({"Microphone", each.Formats, each.Channels, each.More});
        Sonorel::SoundInWin input;
        Listener listener(input);
        EXPECT_EQ(each.Opens, input.Open(each.Asked));
        EXPECT_EQ(each.GotChannels, input.Channels);
        EXPECT_EQ(each.GotBits, input.BitsPerSample);
        if (each.Opens) {
            EXPECT_EQ(each.GotRate, input.GetSampleRate());
            EXPECT_EQ(each.GotFrames, input.FramesPerBlock);
            EXPECT_EQ(each.GotChannels * each.GotBits / 8, input.BytesPerFrame);
            EXPECT_EQ(each.GotFrames * input.BytesPerFrame, input.BytesPerBlock);
            input.Start();
            machine::Advance(100);
            const auto blocks = listener.Take();
            ASSERT_EQ(4u, blocks.size());
            EXPECT_EQ(static_cast<std::size_t>(input.BytesPerBlock), blocks[0].Bytes.size());
            EXPECT_EQ(each.GotBits == 8 ? 128 : 0, blocks[0].Bytes[0]);
        }
        EXPECT_EQ(each.Opens ? 0u : 1u, machine::TakeBoxes().size());
        EXPECT_TRUE(input.Close());
    }
}

TEST_F(FormatTest, ChannelsAndBitsStaySteppedUntilAnotherDevice) {
    Add("Headset", 0x400, 1);
    Add("Studio");
    Sonorel::SoundInWin input;
    ASSERT_TRUE(input.Open(22050));
    ASSERT_TRUE(input.Close());
    ASSERT_TRUE(input.Open(22050));
    EXPECT_EQ(1, input.Channels);
    EXPECT_EQ(16, input.BitsPerSample);
    // The other device is opened at the rate in use, with channels and bits asked for afresh.
    ASSERT_TRUE(input.SetDevice(1));
    EXPECT_EQ(2, input.Channels);
    EXPECT_EQ(8, input.BitsPerSample);
    EXPECT_EQ(44100u, input.GetSampleRate());
    EXPECT_EQ(1024, input.FramesPerBlock);
    input.Close();
}

TEST_F(FormatTest, TellsTheUserWhyItCannotOpen) {
    using machine::Call;
    const struct {
        Call Refused;
        int Nth;
        std::intptr_t Result;
        std::uint32_t Formats;
        const char* Caption;
    } cases[] = {
        {Call::waveInGetDevCapsA, 1, MMSYSERR_BADDEVICEID, 0xFFF, "waveInOpen Error 2"},
        {Call::waveInOpen, 1, MMSYSERR_ALLOCATED, 0x00F, "waveInOpen Error 32"}, // no format
        {Call::waveInOpen, 1, MMSYSERR_BADDEVICEID, 0xFFF, "waveInOpen Error 2"},
        {Call::GlobalAlloc, 40, 0, 0xFFF, "waveInOpen Error 7"},
    };
    for (const auto& each : cases) {
        Restart();
        Add("Microphone", each.Formats);
        Sonorel::SoundInWin input;
        machine::FailCall(each.Refused, each.Nth, each.Result);
        EXPECT_FALSE(input.Open(22050));
        const auto boxes = machine::TakeBoxes();
        ASSERT_EQ(1u, boxes.size());
        EXPECT_EQ(each.Caption, boxes[0].Caption);
        EXPECT_EQ("Could not open waveIn device.\nThe is a problem with the record device.\n"
                  "It is either in use by another application or this soundcard does not support "
                  "simultaneous record/playback.\n",
                  boxes[0].Text);
        EXPECT_EQ(nullptr, boxes[0].Owner);
        EXPECT_EQ(0x52010u, boxes[0].Flags);
    }
}

// DirectSound is asked for one format, and no step is taken towards a device without it.
TEST_F(FormatTest, DirectSoundIsAskedForTwoChannelsOfEightBits) {
    Add("Headset", 0x400, 1);
    Add("Studio");
    Sonorel::SoundInDx input;
    input.SetDevice(1);
    EXPECT_FALSE(input.Open(22050));
    input.Close();
    input.SetDevice(2);
    EXPECT_TRUE(input.Open(22050));
    EXPECT_EQ(1024, input.BytesPerBlock);
    EXPECT_EQ(32768u, input.BufferDesc.dwBufferBytes);
    input.Close();
}
