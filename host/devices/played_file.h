// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// A sound file as the signal of a virtual microphone: it starts with each capture and is followed
// by silence.
#pragma once

#include "host/sound/resampled_file.h"
#include "platform/machine.h"

#include <mutex>

namespace zorhost {

class PlayedFile {
public:
    // Throws HostError if the file cannot be read as sound.
    explicit PlayedFile(std::string path);

    // Fills the request with the requested frames of the file, at AnalysisRate. Captures that run
    // at the same time must be within six seconds of each other. Thread: any capture thread. Not
    // real time: it locks a mutex and reads the disk.
    void Fill(const machine::FeedRequest& request);

    // Thread: any.
    double Seconds() const { return Length; }
    double SecondsCaptured() const;
    bool Ended() const;
    bool BrokeOff() const; // true if the file could not be read to its end
    // A warning about the file for the user, empty if there is none. Call before the first Fill.
    std::string Remark() const { return File->Remark(); }

private:
    static constexpr std::size_t RingFrames = 1u << 17; // six seconds

    // Call these three with Lock held, except in the constructor.
    void Rewind();
    void RewindIfReadable();
    void DecodeTo(std::uint64_t end);

    const std::string Path;
    double Length = 0;       // seconds
    Mixing FileMixing;       // found by the constructor, used by every later pass
    mutable std::mutex Lock; // guards the members below
    std::unique_ptr<SoundFile> File;
    std::unique_ptr<ResampledFile> Source; // null after the end of the file
    std::vector<float> Ring;               // frame n is at n modulo its size
    std::uint64_t Decoded = 0;             // frames
    std::uint64_t Captured = 0;            // frames delivered by Fill
    bool Truncated = false;
};

} // namespace zorhost
