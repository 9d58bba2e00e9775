// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "platform/backends/pulse/stream.h"

#include "platform/backends/pulse/microphone.h"

#include <algorithm>
#include <cstring>

namespace device {
namespace {

constexpr std::uint64_t RingSeconds = 2;
constexpr std::uint64_t Second = 1'000'000; // microseconds

pa_sample_spec SampleSpec(const PcmFormat& format) {
    return {format.Bits == 8 ? PA_SAMPLE_U8 : PA_SAMPLE_S16LE, format.Rate,
            static_cast<std::uint8_t>(format.Channels)};
}

// Frames of 23.2 ms, the block of the recogniser.
std::uint32_t BlockFrames(unsigned rate) { return rate * 512 / 22050; }

} // namespace

PulseStream::PulseStream(PulseMicrophone& microphone, const PcmFormat& format, CaptureOwner& owner)
    : SourceConnection(microphone, SampleSpec(format), "Microphone", BlockFrames(format.Rate)),
      Owner(owner), FrameBytes(format.Channels * format.Bits / 8),
      Silence(format.Bits == 8 ? 128 : 0), Ring(RingSeconds * format.Rate * FrameBytes) {
    StartLane(Lane::Audio); // now, rather than when the first sound comes
}

bool PulseStream::Start() {
    const PulseClient::Lock client;
    {
        const std::scoped_lock lock(Lock);
        Running = true;
        Received = ReadFrames = LastFrameTime = 0;
        WakeFrame = Forever;
    }
    Begin();
    return true;
}

void PulseStream::Stop() {
    {
        const std::scoped_lock lock(Lock);
        Running = false;
    }
    {
        const PulseClient::Lock client;
        End();
    }
    UnscheduleAll(this);
}

std::uint64_t PulseStream::Position() const {
    const std::scoped_lock lock(Lock);
    return Received;
}

std::uint64_t PulseStream::DevicePosition() const {
    const std::scoped_lock lock(Lock);
    if (!Running || Received == 0) return Received;
    const std::uint64_t now = machine::Microseconds();
    const std::uint64_t age = now - std::min(now, LastFrameTime);
    return Received + std::min(age, Second) * Format.rate / Second;
}

void PulseStream::WakeAt(std::uint64_t frame) {
    const std::scoped_lock lock(Lock);
    if (PendingWake != 0) Unschedule(PendingWake);
    PendingWake = 0;
    WakeFrame = Running ? frame : Forever;
    WakeIfDue();
}

// If the lane is full, tries again with the next block.
void PulseStream::WakeIfDue() {
    if (WakeFrame > Received) return;
    const Action wake = [](void* self, std::uintptr_t) {
        static_cast<PulseStream*>(self)->Owner.OnFramesCaptured();
    };
    PendingWake = Schedule(Lane::Audio, machine::Microseconds(), wake, this);
    if (PendingWake != 0) WakeFrame = Forever;
}

// The server estimates the age; on a busy computer the estimate may jump by more than a block. No
// device captures at twice its rate, so the time of the last frame increases by half the length of
// the block at least, and time stamps never decrease.
void PulseStream::OnSound(const CapturedSound& sound) {
    const std::scoped_lock lock(Lock);
    if (!Running) return;
    Push(sound);
    const std::uint64_t now = machine::Microseconds();
    const std::uint64_t earliest = LastFrameTime + sound.Frames * Second / Format.rate / 2;
    LastFrameTime = std::max(now - std::min(now, sound.Age), earliest);
    WakeIfDue();
}

// The latest frames overwrite the oldest.
void PulseStream::Push(const CapturedSound& sound) {
    const std::size_t room = Ring.size() / FrameBytes;
    for (std::size_t done = 0; done < sound.Frames;) {
        const std::size_t place = Received % room;
        const std::size_t frames = std::min(sound.Frames - done, room - place);
        std::uint8_t* const target = &Ring[place * FrameBytes];
        if (sound.Data)
            std::memcpy(target, static_cast<const std::uint8_t*>(sound.Data) + done * FrameBytes,
                        frames * FrameBytes);
        else
            std::memset(target, Silence, frames * FrameBytes);
        Received += frames;
        done += frames;
    }
}

// Frames that have been overwritten are read as silence.
void PulseStream::Read(void* pcm, std::uint64_t frames) {
    const std::scoped_lock lock(Lock);
    auto* target = static_cast<std::uint8_t*>(pcm);
    const std::uint64_t room = Ring.size() / FrameBytes;
    for (const std::uint64_t end = ReadFrames + frames; pcm && ReadFrames < end;) {
        const bool stored = ReadFrames < Received && ReadFrames + room >= Received;
        const std::uint64_t place = ReadFrames % room;
        const std::uint64_t run =
            stored ? std::min({end, Received, ReadFrames + room - place}) - ReadFrames : 1;
        const std::size_t bytes = run * FrameBytes;
        if (stored)
            std::memcpy(target, &Ring[place * FrameBytes], bytes);
        else
            std::memset(target, Silence, bytes);
        target += bytes;
        ReadFrames += run;
    }
    if (!pcm) ReadFrames += frames;
}

} // namespace device
