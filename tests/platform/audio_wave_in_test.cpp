// waveIn on virtual microphones, on the stepped clock.
#include "tests/platform/audio_support.h"

#include <gtest/gtest.h>

#include <deque>

namespace {

using namespace machine;
constexpr std::uint32_t Begin = 5000;

// A recorder as an application would write it.
class WaveInTest : public testing::Test {
protected:
    struct Block {
        std::uint32_t Time;
        std::vector<std::int16_t> Samples;
        DWORD Position; // in samples, asked inside the callback
    };

    void SetUp() override {
        PowerOn();
        UseSteppedClock(Begin);
        Mic = AddMicrophone({.Name = "Studio"});
        FeedGenerator(Mic, Ramp);
    }
    void TearDown() override {
        EXPECT_EQ(PreparedWaveHeaders(), 0);
        PowerOn();
    }

    static void CALLBACK Ready(HWAVEIN handle, UINT message, DWORD_PTR self, DWORD_PTR header,
                               DWORD_PTR) {
        auto* test = reinterpret_cast<WaveInTest*>(self);
        test->Messages.push_back(message);
        if (message == WIM_DATA) test->Take(handle, *reinterpret_cast<WAVEHDR*>(header));
    }
    void Take(HWAVEIN handle, WAVEHDR& header) {
        MMTIME position{.wType = TIME_SAMPLES, .u = {}};
        waveInGetPosition(handle, &position, sizeof position);
        EXPECT_EQ(header.dwFlags & (WHDR_DONE | WHDR_INQUEUE), WHDR_DONE);
        Got.push_back({timeGetTime(), sound::Words(header.lpData, header.dwBytesRecorded),
                       position.u.sample});
        waveInUnprepareHeader(handle, &header, sizeof header);
        if (!Requeue) return;
        waveInPrepareHeader(handle, &header, sizeof header);
        waveInAddBuffer(handle, &header, sizeof header);
    }

    MMRESULT Open(UINT device = 0, unsigned rate = 22050, unsigned channels = 2) {
        const WAVEFORMATEX wave = sound::Wave(rate, channels, 16);
        return waveInOpen(&Handle, device, &wave, reinterpret_cast<DWORD_PTR>(&Ready),
                          reinterpret_cast<DWORD_PTR>(this), CALLBACK_FUNCTION);
    }
    WAVEHDR& Queue(std::uint32_t bytes = 2048) {
        Data.emplace_back(bytes);
        WAVEHDR& header = Headers.emplace_back();
        header.lpData = Data.back().data();
        header.dwBufferLength = bytes;
        EXPECT_EQ(waveInPrepareHeader(Handle, &header, sizeof header), MMSYSERR_NOERROR);
        EXPECT_EQ(waveInAddBuffer(Handle, &header, sizeof header), MMSYSERR_NOERROR);
        return header;
    }
    void ResetAndClose() {
        Requeue = false;
        waveInReset(Handle);
        EXPECT_EQ(waveInClose(Handle), MMSYSERR_NOERROR);
        EXPECT_EQ(OpenWaveIns(), 0);
    }
    DWORD Position(UINT unit = TIME_SAMPLES) {
        MMTIME position{.wType = unit, .u = {}};
        EXPECT_EQ(waveInGetPosition(Handle, &position, sizeof position), MMSYSERR_NOERROR);
        EXPECT_EQ(position.wType, unit);
        return position.u.sample;
    }
    // Blocks from the given one on hold the ramp without a gap, from the given frame of the feed.
    void ExpectRamp(std::size_t block, std::uint64_t frame) {
        for (; block < Got.size(); ++block) {
            const auto& samples = Got[block].Samples;
            for (std::size_t i = 0; i < samples.size(); ++i)
                ASSERT_EQ(samples[i], sound::RampSample(frame + i / 2, i % 2)) << block << ' ' << i;
            frame += samples.size() / 2;
        }
    }

    Generator Ramp = sound::Ramp();
    Microphone Mic{};
    HWAVEIN Handle = nullptr;
    bool Requeue = true;
    std::deque<std::vector<char>> Data;
    std::deque<WAVEHDR> Headers;
    std::vector<Block> Got;
    std::vector<UINT> Messages;
};

TEST_F(WaveInTest, BuffersComeFullInOrderAndExactlyInTime) {
    ASSERT_EQ(Open(), MMSYSERR_NOERROR);
    for (int i = 0; i < 4; ++i) Queue();
    Advance(40); // nothing runs before the start
    EXPECT_EQ(Position(), 0u);
    ASSERT_EQ(waveInStart(Handle), MMSYSERR_NOERROR);
    Advance(1000);
    ASSERT_EQ(Got.size(), 43u);
    for (std::size_t i = 0; i < Got.size(); ++i) {
        EXPECT_EQ(Got[i].Time, sound::MillisecondOf(Begin + 40, (i + 1) * 512, 22050));
        EXPECT_EQ(Got[i].Position, (i + 1) * 512);
        EXPECT_EQ(Got[i].Samples.size(), 1024u);
    }
    ExpectRamp(0, 0);
    EXPECT_EQ(Position(), 22050u);
    EXPECT_EQ(Position(TIME_MS), 1000u);
    EXPECT_EQ(Position(TIME_BYTES), 22050u * 4);
    const CaptureStats stats = StatsOf(Mic);
    EXPECT_EQ(stats.OriginMicroseconds, (Begin + 40) * 1000u);
    EXPECT_EQ(stats.Frames, 43u * 512);
    EXPECT_EQ(stats.Notifications, 43u);
    EXPECT_EQ(stats.Open, 1);
    EXPECT_EQ(stats.Capturing, 1);
    ResetAndClose();
    EXPECT_EQ(StatsOf(Mic).Capturing + StatsOf(Mic).Open, 0);
    EXPECT_EQ(Messages.front(), WIM_OPEN);
    EXPECT_EQ(Messages.back(), WIM_CLOSE);
}

TEST_F(WaveInTest, StopGivesThePartAndResetTheRest) {
    ASSERT_EQ(Open(), MMSYSERR_NOERROR);
    for (int i = 0; i < 3; ++i) Queue();
    Requeue = false;
    waveInStart(Handle);
    Advance(30);
    EXPECT_EQ(waveInClose(Handle), WAVERR_STILLPLAYING);
    EXPECT_EQ(waveInStop(Handle), MMSYSERR_NOERROR);
    ASSERT_EQ(Got.size(), 2u);
    EXPECT_EQ(Got[1].Samples.size() / 2, 661u - 512); // 30 ms are 661.5 frames
    ExpectRamp(0, 0);
    EXPECT_EQ(Position(), 661u);
    Advance(50);
    EXPECT_EQ(Position(), 661u);
    EXPECT_EQ(waveInStop(Handle), MMSYSERR_NOERROR);
    EXPECT_EQ(Got.size(), 2u);

    waveInStart(Handle); // goes on counting; the feed has begun anew
    Advance(10);
    EXPECT_EQ(Position(), 661u + 220);
    EXPECT_EQ(waveInReset(Handle), MMSYSERR_NOERROR);
    ASSERT_EQ(Got.size(), 3u);
    ExpectRamp(2, 0);
    EXPECT_EQ(Position(), 0u);
    ResetAndClose();
}

TEST_F(WaveInTest, ResetOfAnIdleHandleGivesAllBackEmptyAndTheyCanBeQueuedAgain) {
    ASSERT_EQ(Open(), MMSYSERR_NOERROR);
    for (int i = 0; i < 32; ++i) Queue();
    for (int round = 0; round < 2; ++round) {
        waveInStart(Handle);
        Advance(100);
        Requeue = false;
        const std::size_t before = Got.size();
        waveInReset(Handle);
        EXPECT_EQ(Got.size(), before + 32);
        EXPECT_TRUE(Got.back().Samples.empty());
        Requeue = true;
        for (WAVEHDR& header : Headers) {
            EXPECT_EQ(header.dwFlags & (WHDR_PREPARED | WHDR_INQUEUE), 0u);
            header.dwFlags = 0;
            EXPECT_EQ(waveInPrepareHeader(Handle, &header, sizeof header), MMSYSERR_NOERROR);
            EXPECT_EQ(waveInAddBuffer(Handle, &header, sizeof header), MMSYSERR_NOERROR);
        }
    }
    ResetAndClose();
}

TEST_F(WaveInTest, SoundWithoutABufferIsLostAndDoesNotCount) {
    ASSERT_EQ(Open(), MMSYSERR_NOERROR);
    Queue();
    Requeue = false;
    waveInStart(Handle);
    Advance(100);
    ASSERT_EQ(Got.size(), 1u);
    EXPECT_EQ(Position(), 512u);
    Queue();
    EXPECT_EQ(Position(), 512u);
    Advance(100);
    ASSERT_EQ(Got.size(), 2u);
    EXPECT_EQ(Got[1].Time, sound::MillisecondOf(Begin, 2205 + 512, 22050));
    ExpectRamp(1, 2205);
    EXPECT_EQ(Got[1].Position, 1024u);
    EXPECT_EQ(StatsOf(Mic).FramesLost, 2205u - 512);
    ResetAndClose();
}

TEST_F(WaveInTest, ADeviceInTroubleHoldsBuffersBack) {
    ASSERT_EQ(Open(), MMSYSERR_NOERROR);
    for (int i = 0; i < 16; ++i) Queue();
    FallBehind(Mic, 3);
    waveInStart(Handle);
    Advance(80);
    EXPECT_EQ(Got.size(), 0u);
    Advance(20);
    ASSERT_EQ(Got.size(), 4u);
    EXPECT_EQ(Got[0].Time, Got[3].Time);
    Advance(60);
    EXPECT_EQ(Got.size(), 6u);
    StopNotifying(Mic);
    Advance(200);
    EXPECT_EQ(Got.size(), 6u);
    EXPECT_EQ(Position(), 7938u);
    StopNotifying(Mic, false);
    Advance(24);
    EXPECT_GT(Got.size(), 14u);
    ExpectRamp(0, 0);
    StopNotifying(Mic);
    Advance(50);
    const std::size_t before = Got.size();
    Requeue = false;
    waveInReset(Handle); // what was held comes back all the same
    EXPECT_EQ(Got.size(), before + 16);
    ResetAndClose();
}

TEST_F(WaveInTest, UnpluggedItLeavesTheListAndFailsButGivesEverythingBack) {
    const Microphone other = AddMicrophone({.Name = "Other"});
    ASSERT_EQ(Open(), MMSYSERR_NOERROR);
    for (int i = 0; i < 4; ++i) Queue();
    waveInStart(Handle);
    Advance(100);
    EXPECT_EQ(DeviceNumber(other), 1);
    Unplug(Mic);
    EXPECT_EQ(DeviceNumber(Mic), -1);
    EXPECT_EQ(DeviceNumber(other), 0);
    EXPECT_EQ(waveInGetNumDevs(), 1u);
    const std::size_t before = Got.size();
    Advance(1000);
    EXPECT_EQ(Got.size(), before);
    MMTIME position{.wType = TIME_SAMPLES, .u = {}};
    EXPECT_EQ(waveInGetPosition(Handle, &position, sizeof position), MMSYSERR_NODRIVER);
    EXPECT_EQ(waveInStart(Handle), MMSYSERR_NOERROR); // started it is
    EXPECT_EQ(waveInStop(Handle), MMSYSERR_NODRIVER);
    Requeue = false;
    EXPECT_EQ(waveInReset(Handle), MMSYSERR_NODRIVER);
    EXPECT_EQ(Got.size(), before + 4);
    EXPECT_EQ(waveInStart(Handle), MMSYSERR_NODRIVER);
    EXPECT_EQ(waveInClose(Handle), MMSYSERR_NOERROR);
}

TEST_F(WaveInTest, OpensWhatTheDeviceCanDo) {
    AddMicrophone({.Name = "Mono", .Formats = WAVE_FORMAT_4M16, .Channels = 1});
    AddMicrophone({.Name = "Wide", .Formats = 0, .MoreFormats = {{48000, 2, 16}}});
    AddMicrophone({.Name = "Says", .Formats = 0xFFF, .Channels = 1});
    struct Case {
        UINT Device;
        unsigned Rate, Channels, Bits;
        MMRESULT Result;
    };
    const Case cases[] = {
        {0, 22050, 2, 8, MMSYSERR_NOERROR},           {0, 11025, 1, 16, MMSYSERR_NOERROR},
        {0, 48000, 2, 16, WAVERR_BADFORMAT},          {1, 44100, 1, 16, MMSYSERR_NOERROR},
        {1, 44100, 1, 8, WAVERR_BADFORMAT},           {1, 44100, 2, 16, WAVERR_BADFORMAT},
        {1, 22050, 1, 16, WAVERR_BADFORMAT},          {2, 48000, 2, 16, MMSYSERR_NOERROR},
        {2, 48000, 1, 16, WAVERR_BADFORMAT},          {3, 22050, 2, 8, WAVERR_BADFORMAT},
        {4, 22050, 2, 8, MMSYSERR_BADDEVICEID},       {WAVE_MAPPER, 48000, 2, 16, MMSYSERR_NOERROR},
        {WAVE_MAPPER, 96000, 2, 16, WAVERR_BADFORMAT}};
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << c.Device << ": " << c.Rate << ' ' << c.Channels);
        const WAVEFORMATEX wave = sound::Wave(c.Rate, c.Channels, c.Bits);
        EXPECT_EQ(waveInOpen(nullptr, c.Device, &wave, 0, 0, WAVE_FORMAT_QUERY), c.Result);
        EXPECT_EQ(waveInOpen(&Handle, c.Device, &wave, 0, 0, CALLBACK_NULL), c.Result);
        if (c.Result == MMSYSERR_NOERROR) waveInClose(Handle);
    }
    WAVEINCAPSA caps{};
    ASSERT_EQ(waveInGetDevCapsA(1, &caps, sizeof caps), MMSYSERR_NOERROR);
    EXPECT_STREQ(caps.szPname, "Mono");
    EXPECT_EQ(caps.dwFormats, WAVE_FORMAT_4M16);
    EXPECT_EQ(caps.wChannels, 1);
    EXPECT_EQ(waveInGetDevCapsA(4, &caps, sizeof caps), MMSYSERR_BADDEVICEID);
    AddMicrophone({.Name = "A microphone with a name of more than 31 characters"});
    ASSERT_EQ(waveInGetDevCapsA(4, &caps, sizeof caps), MMSYSERR_NOERROR);
    EXPECT_STREQ(caps.szPname, "A microphone with a name of mor");
}

TEST_F(WaveInTest, AnExclusiveMicrophoneIsForOne) {
    const Microphone own = AddMicrophone({.Name = "Own", .Exclusive = true});
    const auto number = static_cast<UINT>(DeviceNumber(own));
    ASSERT_EQ(Open(number), MMSYSERR_NOERROR);
    const HWAVEIN first = Handle;
    EXPECT_EQ(Open(number), MMSYSERR_ALLOCATED);
    EXPECT_EQ(waveInClose(first), MMSYSERR_NOERROR);
    ASSERT_EQ(Open(number), MMSYSERR_NOERROR);
    ResetAndClose();
}

TEST_F(WaveInTest, TheVolumeScalesWhatIsCapturedWhenAsked) {
    FeedGenerator(Mic,
                  [](const FeedRequest& request) { std::ranges::fill(request.Samples, 0.25f); });
    LetVolumeScale(Mic, true);
    ASSERT_EQ(Open(), MMSYSERR_NOERROR);
    for (int i = 0; i < 4; ++i) Queue();
    waveInStart(Handle);
    Advance(24);
    EXPECT_EQ(Got.back().Samples.front(), 8192);
    MoveControl(MixerOf(Mic), MicrophoneVolume, 65535);
    Advance(24);
    EXPECT_NEAR(Got.back().Samples.front(), 16384, 1);
    MoveControl(MixerOf(Mic), MicrophoneVolume, 0);
    Advance(24);
    EXPECT_EQ(Got.back().Samples.front(), 0);
    ResetAndClose();
}

} // namespace
