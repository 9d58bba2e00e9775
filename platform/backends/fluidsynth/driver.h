// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// A sound driver of libfluidsynth, on a thread of its own: opening and closing one may take as long
// as the sound server hangs.
#pragma once

#include "platform/machine/synthesizer.h"

#include <atomic>
#include <chrono>
#include <future>
#include <memory>
#include <mutex>
#include <string>

namespace device {

using Clock = std::chrono::steady_clock;

// What is played. Drivers keep a reference until they are closed.
struct SoundSource {
    virtual ~SoundSource() = default;
    // Adds the next frames to silence. Thread: the library's.
    virtual void Render(float* left, float* right, std::size_t frames) = 0;

    std::atomic<Clock::time_point> LastBlock{}; // when a driver was opened or rendered last
    std::mutex Driven;                          // held by the thread that has a driver
};

class SoundDriver {
public:
    // Begins to open the driver of the settings, once the source's previous one is closed.
    SoundDriver(const machine::SynthesizerSettings& wanted, double rate,
                const std::shared_ptr<SoundSource>& source);

    bool IsOpening() const;
    bool HasFailed() const { return !IsOpening() && !Problem.get().empty(); }
    // Waits until it is open, 1.9 s at most after its beginning. Returns the reason, as a sentence,
    // if it is not; empty otherwise.
    std::string AwaitOpening() const;

    const Clock::time_point Begin = Clock::now();

private:
    const machine::SynthesizerSettings Wanted;
    std::shared_future<std::string> Problem; // why it cannot be opened; ready after the attempt
    std::promise<void> Owned;                // broken by the destructor: the thread closes it then
};

// Runs on a new thread, which nothing waits for. Returns the reason, as a sentence, if there can be
// none; empty otherwise.
std::string StartThread(std::function<void()> run);

// As machine::PlayStereo.
bool PlayStereo(const machine::SynthesizerSettings& settings, double rate,
                const machine::StereoSource& source, const std::function<bool()>& goOn,
                std::string& reason);

} // namespace device
