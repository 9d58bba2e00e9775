// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Listens to the microphone live. It runs a recogniser beside the library's, on the same
// microphone, to get the level and the exact pitch of each frame, which the library does not
// report.
#pragma once

#include "soundin/sound_in_win.h"
#include "zorhearing/listener.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace zorhost {

class LiveAnalyser {
public:
    // Opens the first microphone and starts it. Throws HostError if that fails.
    LiveAnalyser();
    ~LiveAnalyser();
    LiveAnalyser(const LiveAnalyser&) = delete;
    LiveAnalyser& operator=(const LiveAnalyser&) = delete;

    // Analyses what was captured since the last call. The buffer holds about 20 seconds; later
    // sound is dropped while it is full. If the microphone was interrupted, the times skip the
    // interruption. Thread: one consumer, as the next two.
    void Analyse();
    // As zorhearing::Listener.
    std::optional<hearing::Note> NextNote() { return Listener.NextNote(); }
    std::optional<zorhearing::HeardFrame> NextFrame() { return Listener.NextFrame(); }
    // Ends an open note.
    void Finish() { Listener.Finish(); }
    // The beginning of the sound in milliseconds of the system's clock. Valid once there is a
    // frame.
    std::uint32_t StartTime() const { return BeginTime.load(std::memory_order_relaxed); }

private:
    static void OnBlock(std::uint32_t time, const std::uint8_t* data, std::int32_t bytes,
                        void* self);
    void AddBlock(std::uint32_t time, const std::uint8_t* data, std::int32_t bytes);
    void StoreCollected(std::uint32_t time);

    struct TimedBlock {
        zorhearing::Block Samples;
        std::int64_t SkippedFrames; // before it, by an interruption
    };

    // Used by the sound delivery thread only.
    zorhearing::Block Samples{}; // of the next block
    std::size_t SampleCount = 0;
    std::uint32_t PreviousTime = 0; // of the block before, milliseconds

    // A ring buffer with one producer, the delivery thread, and one consumer. Each side writes its
    // own count.
    std::vector<TimedBlock> Ring{1024};
    std::atomic<std::size_t> WriteCount{0};  // released after the block is stored
    std::atomic<std::size_t> ReadCount{0};   // released after the block is analysed
    std::atomic<std::uint32_t> BeginTime{0}; // stored before the first block is released

    zorhearing::Listener Listener{{}, zorhearing::Mode::Live}; // of the consumer

    Sonorel::SoundInWin Capture; // last, so that it stops before the buffers are destroyed
};

// "A4 +12", with the deviation in cents; empty for 0 Hz and pitches outside the MIDI range.
std::string PitchText(double frequency);

} // namespace zorhost
