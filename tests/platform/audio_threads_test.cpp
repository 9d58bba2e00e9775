// Capture on the real clock: threads meet, nothing is torn, lost or stuck. Nothing here asks how
// long anything took.
#include "tests/platform/audio_support.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <thread>

namespace {

using namespace machine;

// Records from the microphone until it has had some blocks, checking each.
class Recorder {
public:
    explicit Recorder(unsigned blocks) : wanted_(blocks) {}

    void Run() {
        const WAVEFORMATEX wave = sound::Wave(44100, 2, 16);
        ASSERT_EQ(waveInOpen(&handle_, 0, &wave, reinterpret_cast<DWORD_PTR>(&Ready),
                             reinterpret_cast<DWORD_PTR>(this), CALLBACK_FUNCTION),
                  MMSYSERR_NOERROR);
        for (std::size_t i = 0; i < headers_.size(); ++i) {
            headers_[i] = {};
            headers_[i].lpData = data_[i].data();
            headers_[i].dwBufferLength = static_cast<DWORD>(data_[i].size());
            waveInPrepareHeader(handle_, &headers_[i], sizeof(WAVEHDR));
            waveInAddBuffer(handle_, &headers_[i], sizeof(WAVEHDR));
        }
        running_ = true;
        waveInStart(handle_);
        while (taken_ < wanted_) std::this_thread::yield();
        running_ = false;
        waveInReset(handle_);
        inside_ = 0; // a callback after the reset would be seen by the sanitizer
        EXPECT_EQ(waveInClose(handle_), MMSYSERR_NOERROR);
        EXPECT_EQ(wrong_, 0);
    }

private:
    static void CALLBACK Ready(HWAVEIN handle, UINT message, DWORD_PTR self, DWORD_PTR header,
                               DWORD_PTR) {
        if (message == WIM_DATA)
            reinterpret_cast<Recorder*>(self)->Take(handle, *reinterpret_cast<WAVEHDR*>(header));
    }
    void Take(HWAVEIN handle, WAVEHDR& header) {
        ++inside_;
        waveInUnprepareHeader(handle, &header, sizeof header);
        if (!running_) return;
        const auto words = sound::Words(header.lpData, header.dwBytesRecorded);
        const auto step = static_cast<std::int16_t>(words[2] - words[0]);
        for (std::size_t i = 2; i < words.size(); i += 2)
            if (static_cast<std::int16_t>(words[i] - words[i - 2]) != step) ++wrong_;
        ++taken_;
        waveInPrepareHeader(handle, &header, sizeof header);
        waveInAddBuffer(handle, &header, sizeof header);
    }

    const unsigned wanted_;
    HWAVEIN handle_ = nullptr;
    std::array<WAVEHDR, 8> headers_{};
    std::array<std::array<char, 256>, 8> data_{};
    std::atomic<bool> running_{false};
    std::atomic<unsigned> taken_{0};
    std::atomic<int> wrong_{0};
    int inside_ = 0;
};

TEST(AudioThreads, TwoRecordersStartAndStopWhileTheMicrophoneIsSteered) {
    PowerOn();
    const Microphone mic = AddMicrophone({.Name = "Studio"});
    FeedGenerator(mic, sound::Ramp());
    std::atomic<bool> over{false};
    std::thread steering([&] {
        std::uint64_t next = 5;
        while (!over) {
            if (StatsOf(mic).Notifications >= next) {
                FallBehind(mic, 2);
                next += 5;
            }
            StopNotifying(mic, false);
            MoveControl(MixerOf(mic), MicrophoneVolume, 32767);
            std::this_thread::yield();
        }
    });
    const auto record = [] {
        for (int i = 0; i < 5; ++i) Recorder(20).Run();
    };
    std::thread other(record);
    record();
    other.join();
    over = true;
    steering.join();
    EXPECT_EQ(StatsOf(mic).Open, 0);
    EXPECT_EQ(PreparedWaveHeaders(), 0);
    PowerOn();
}

TEST(AudioThreads, UnpluggingUnderARecordingEndsIt) {
    PowerOn();
    const Microphone mic = AddMicrophone({.Name = "Studio"});
    FeedGenerator(mic, sound::Ramp());
    const WAVEFORMATEX wave = sound::Wave(44100, 1, 8);
    HWAVEIN handle = nullptr;
    ASSERT_EQ(waveInOpen(&handle, 0, &wave, 0, 0, CALLBACK_NULL), MMSYSERR_NOERROR);
    std::vector<std::array<char, 64>> data(200);
    std::vector<WAVEHDR> headers(data.size());
    for (std::size_t i = 0; i < data.size(); ++i) {
        headers[i].lpData = data[i].data();
        headers[i].dwBufferLength = 64;
        waveInPrepareHeader(handle, &headers[i], sizeof(WAVEHDR));
        waveInAddBuffer(handle, &headers[i], sizeof(WAVEHDR));
    }
    waveInStart(handle);
    while (StatsOf(mic).Notifications < 10) std::this_thread::yield();
    Unplug(mic);
    EXPECT_EQ(waveInReset(handle), MMSYSERR_NODRIVER);
    for (WAVEHDR& header : headers) waveInUnprepareHeader(handle, &header, sizeof header);
    EXPECT_EQ(waveInClose(handle), MMSYSERR_NOERROR);
    EXPECT_EQ(PreparedWaveHeaders(), 0);
    PowerOn();
}

} // namespace
