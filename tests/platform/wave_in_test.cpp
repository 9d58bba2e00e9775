// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The waveIn calls on a virtual microphone, in stepped time.
#include "tests/support/machine_test.h"

#include <algorithm>

namespace {

using Blocks = std::vector<std::pair<int, DWORD>>; // first sample and length of each

void CALLBACK OnBlock(HWAVEIN, UINT message, DWORD_PTR got, DWORD_PTR data, DWORD_PTR) {
    if (message != WIM_DATA) return;
    const auto& header = *reinterpret_cast<WAVEHDR*>(data);
    reinterpret_cast<Blocks*>(got)->emplace_back(*reinterpret_cast<std::int16_t*>(header.lpData),
                                                 header.dwBytesRecorded / 2);
}

TEST_F(MachineTest, StopGivesThePartAndSoundWithoutABufferIsLostAndDoesNotCount) {
    const machine::Microphone microphone = machine::AddMicrophone({.Name = "Studio"});
    machine::FeedGenerator(microphone, [](const machine::FeedRequest& request) {
        for (std::size_t i = 0; i < request.Samples.size(); ++i) // each frame's number
            request.Samples[i] = static_cast<float>(request.First + i) / 32768;
    });
    HWAVEIN handle = nullptr;
    Blocks got;
    const WAVEFORMATEX wave = {WAVE_FORMAT_PCM, 1, 22050, 44100, 2, 16, 0};
    ASSERT_EQ(waveInOpen(&handle, 0, &wave, reinterpret_cast<DWORD_PTR>(&OnBlock),
                         reinterpret_cast<DWORD_PTR>(&got), CALLBACK_FUNCTION),
              MMSYSERR_NOERROR);
    std::int16_t memory[4][512];
    WAVEHDR headers[4] = {};
    const auto recordInto = [&](int buffer, std::uint32_t milliseconds) {
        headers[buffer].lpData = reinterpret_cast<char*>(memory[buffer]);
        headers[buffer].dwBufferLength = sizeof memory[buffer];
        waveInPrepareHeader(handle, &headers[buffer], sizeof(WAVEHDR));
        waveInAddBuffer(handle, &headers[buffer], sizeof(WAVEHDR));
        waveInStart(handle);
        machine::Advance(milliseconds);
        MMTIME position{.wType = TIME_SAMPLES, .u = {}};
        waveInGetPosition(handle, &position, sizeof position);
        return position.u.sample;
    };
    EXPECT_EQ(recordInto(0, 10), 220u);
    EXPECT_EQ(recordInto(1, 20), 661u); // of 661.5
    EXPECT_EQ(waveInClose(handle), WAVERR_STILLPLAYING);
    waveInStop(handle);
    EXPECT_EQ(recordInto(2, 100), 661u + 512); // the feed starts again
    EXPECT_EQ(recordInto(3, 100), 661u + 1024);
    EXPECT_EQ(got, (Blocks{{0, 512}, {512, 149}, {0, 512}, {2205, 512}}));
    waveInStop(handle);
    machine::FeedGenerator(microphone, [](const machine::FeedRequest& request) {
        std::ranges::fill(request.Samples, 1.0f);
    });
    EXPECT_EQ(recordInto(0, 100), 661u + 1536);
    EXPECT_EQ(got.back(), (std::pair<int, DWORD>{32767, 512})); // clipped rather than wrapped
    machine::FallBehind(microphone, 9);
    EXPECT_EQ(recordInto(1, 100), 661u + 2048); // not beyond the buffer's end
    machine::Unplug(microphone);
    EXPECT_EQ(waveInStop(handle), MMSYSERR_NODRIVER);
    EXPECT_EQ(waveInReset(handle), MMSYSERR_NODRIVER); // but all buffers are returned
    for (WAVEHDR& header : headers) waveInUnprepareHeader(handle, &header, sizeof header);
    EXPECT_EQ(waveInClose(handle), MMSYSERR_NOERROR);
}

} // namespace
