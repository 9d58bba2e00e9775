// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// A capture stream of a microphone for one owner.
#pragma once

#include "platform/api/capture.h"
#include "platform/api/clock.h"
#include "platform/backends/pulse/connection.h"

#include <cstdint>
#include <mutex>
#include <vector>

namespace device {

// The server sends blocks of any size at any time. They go into a ring on the client's thread, and
// the owner is called on the audio lane with no lock held: a slow owner blocks no other thread, and
// WaitForActions covers its calls.
//
// Locks: the client's, then the stream's own, which is held for a copy.
class PulseStream : public CaptureStream, private SourceConnection {
public:
    PulseStream(PulseMicrophone& microphone, const PcmFormat& format, CaptureOwner& owner);
    ~PulseStream() override { Stop(); }

    bool Start() override;
    void Stop() override;
    std::uint64_t Position() const override;
    // May decrease after an interruption.
    std::uint64_t DevicePosition() const override;
    void WakeAt(std::uint64_t frame) override;
    void Read(void* pcm, std::uint64_t frames) override;
    bool IsGone() const override { return false; } // a source may always return

private:
    void OnSound(const CapturedSound& sound) override;
    void Push(const CapturedSound& sound);
    void WakeIfDue();

    CaptureOwner& Owner;
    const std::size_t FrameBytes;
    const int Silence; // value of a byte

    mutable std::mutex Lock; // of all below
    bool Running = false;
    std::vector<std::uint8_t> Ring;  // frame n is at place n modulo the ring's number of frames
    std::uint64_t Received = 0;      // frames since Start
    std::uint64_t ReadFrames = 0;    // of those
    std::uint64_t LastFrameTime = 0; // of capture, microseconds on the machine's clock
    std::uint64_t WakeFrame = Forever;
    Token PendingWake = 0; // 0 for none
};

} // namespace device
