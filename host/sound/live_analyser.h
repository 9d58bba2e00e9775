// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Analyses the microphone live. It runs a recogniser beside the library's, on the same microphone,
// to get the level and the exact pitch of each frame, which the library does not report.
#pragma once

#include "host/sound/frame_analyser.h"
#include "soundin/sound_in_win.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace zorhost {

struct LiveFrame {
    hearing::Frame Frame; // after filter and gain
    int InputLevel = 0;   // of the microphone's own signal, 0 to 128
};

class LiveAnalyser {
public:
    // Opens the first microphone and starts it. Throws HostError if that fails.
    LiveAnalyser();
    ~LiveAnalyser();
    LiveAnalyser(const LiveAnalyser&) = delete;
    LiveAnalyser& operator=(const LiveAnalyser&) = delete;

    // Appends the frames since the last call. The buffer holds about 20 seconds; later frames are
    // dropped while it is full. If the microphone was interrupted, the times of the frames skip the
    // interruption. Thread: one consumer.
    void Drain(std::vector<LiveFrame>& frames);
    // The beginning of the first frame in milliseconds of the system's clock. Valid once Drain has
    // returned a frame.
    std::uint32_t StartTime() const { return BeginTime.load(std::memory_order_relaxed); }

private:
    static void OnBlock(std::uint32_t time, const std::uint8_t* data, std::int32_t bytes,
                        void* self);
    void AddBlock(std::uint32_t time, const std::uint8_t* data, std::int32_t bytes);
    void AnalyseCollected(std::uint32_t time);

    // Used by the sound delivery thread only.
    ToneFilter Filter;
    LiveGain Gain{LeastLivePeak};
    FrameAnalyser Analyser;
    std::array<float, FrameSamples> Samples{}; // of the next frame
    std::size_t SampleCount = 0;
    float InputPeak = 0;
    std::uint32_t PreviousTime = 0; // of the frame before, milliseconds

    // A ring buffer with one producer, the delivery thread, and one consumer. Each side writes its
    // own count.
    std::array<LiveFrame, 1024> Ring{};
    std::atomic<std::size_t> WriteCount{0};  // released after the frame is stored
    std::atomic<std::size_t> ReadCount{0};   // released after the frame is copied
    std::atomic<std::uint32_t> BeginTime{0}; // stored before the first frame is released

    Sonorel::SoundInWin Capture; // last, so that it stops before the buffers are destroyed
};

// "A4 +12", with the deviation in cents; empty for 0 Hz and pitches outside the MIDI range.
std::string PitchText(double frequency);

} // namespace zorhost
