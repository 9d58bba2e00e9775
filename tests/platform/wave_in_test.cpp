// The waveIn calls on virtual microphones, on the stepped clock.
#include "tests/platform/ramp.h"
#include "tests/support/machine_test.h"

#include <deque>

namespace {

using namespace machine;

WAVEFORMATEX Wave(unsigned rate, unsigned channels, unsigned bits) {
    const auto frame = static_cast<WORD>(channels * bits / 8);
    return {WAVE_FORMAT_PCM, static_cast<WORD>(channels), rate, rate * frame,
            frame,           static_cast<WORD>(bits),     0};
}

// A recorder as an application would write it.
class WaveInTest : public MachineTest {
protected:
    struct Block {
        std::vector<std::int16_t> Samples;
        DWORD Position; // in samples, asked inside the callback
    };

    void SetUp() override {
        Mic = AddMicrophone({.Name = "Studio"});
        FeedGenerator(Mic, Ramp());
        const WAVEFORMATEX wave = Wave(22050, 2, 16);
        ASSERT_EQ(waveInOpen(&Handle, 0, &wave, reinterpret_cast<DWORD_PTR>(&Ready),
                             reinterpret_cast<DWORD_PTR>(this), CALLBACK_FUNCTION),
                  MMSYSERR_NOERROR);
    }
    void TearDown() override {
        waveInReset(Handle);
        EXPECT_EQ(waveInClose(Handle), MMSYSERR_NOERROR);
        EXPECT_EQ(Messages.front(), WIM_OPEN);
        EXPECT_EQ(Messages.back(), WIM_CLOSE);
        EXPECT_EQ(PreparedWaveHeaders() + OpenWaveIns(), 0);
        machine::PowerOn(); // this recorder, unlike the library's, works on headers in a reset
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
        Got.push_back({Words(header.lpData, header.dwBytesRecorded), position.u.sample});
        waveInUnprepareHeader(handle, &header, sizeof header);
    }
    WAVEHDR& Queue() {
        Data.emplace_back(2048);
        WAVEHDR& header = Headers.emplace_back();
        header.lpData = Data.back().data();
        header.dwBufferLength = 2048;
        EXPECT_EQ(waveInPrepareHeader(Handle, &header, sizeof header), MMSYSERR_NOERROR);
        EXPECT_EQ(waveInAddBuffer(Handle, &header, sizeof header), MMSYSERR_NOERROR);
        return header;
    }
    DWORD Position() {
        MMTIME position{.wType = TIME_SAMPLES, .u = {}};
        EXPECT_EQ(waveInGetPosition(Handle, &position, sizeof position), MMSYSERR_NOERROR);
        return position.u.sample;
    }
    // Blocks from the given one on hold the ramp without a gap, from the given frame of the feed.
    void ExpectRamp(std::size_t block, std::uint64_t frame) {
        for (; block < Got.size(); ++block) {
            const auto& samples = Got[block].Samples;
            for (std::size_t i = 0; i < samples.size(); ++i)
                ASSERT_EQ(samples[i], RampSample(frame + i / 2, i % 2)) << block << ' ' << i;
            frame += samples.size() / 2;
        }
    }

    Microphone Mic{};
    HWAVEIN Handle = nullptr;
    std::deque<std::vector<char>> Data;
    std::deque<WAVEHDR> Headers;
    std::vector<Block> Got;
    std::vector<UINT> Messages;
};

TEST_F(WaveInTest, StopGivesThePartAndResetTheRest) {
    for (int i = 0; i < 3; ++i) Queue();
    waveInStart(Handle);
    Advance(30);
    EXPECT_EQ(waveInClose(Handle), WAVERR_STILLPLAYING);
    EXPECT_EQ(waveInStop(Handle), MMSYSERR_NOERROR);
    ASSERT_EQ(Got.size(), 2u);
    EXPECT_EQ(Got[1].Samples.size() / 2, 661u - 512); // 30 ms are 661.5 frames
    ExpectRamp(0, 0);
    Advance(50);
    EXPECT_EQ(Position(), 661u);
    EXPECT_EQ(waveInStop(Handle), MMSYSERR_NOERROR);
    EXPECT_EQ(Got.size(), 2u);

    waveInStart(Handle); // goes on counting; the feed has begun anew
    Advance(10);
    EXPECT_EQ(Position(), 661u + 220);
    Queue();
    EXPECT_EQ(waveInReset(Handle), MMSYSERR_NOERROR);
    ASSERT_EQ(Got.size(), 4u);
    ExpectRamp(2, 0);
    EXPECT_TRUE(Got[3].Samples.empty());
    EXPECT_EQ(Position(), 0u);
}

TEST_F(WaveInTest, SoundWithoutABufferIsLostAndDoesNotCount) {
    Queue();
    waveInStart(Handle);
    Advance(100);
    ASSERT_EQ(Got.size(), 1u);
    EXPECT_EQ(Position(), 512u);
    Queue();
    EXPECT_EQ(Position(), 512u);
    Advance(100);
    ASSERT_EQ(Got.size(), 2u);
    ExpectRamp(1, 2205);
    EXPECT_EQ(Got[1].Position, 1024u);
}

} // namespace
