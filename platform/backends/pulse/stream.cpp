#include "platform/backends/pulse/stream.h"

#include "platform/backends/pulse/microphone.h"

#include <algorithm>
#include <cstring>

namespace machine {
namespace {

constexpr std::uint64_t KeptSeconds = 2;
constexpr std::uint64_t Second = 1'000'000;

pa_sample_spec ServersFormat(const PcmFormat& format) {
    return {format.Bits == 8 ? PA_SAMPLE_U8 : PA_SAMPLE_S16LE, format.Rate,
            static_cast<std::uint8_t>(format.Channels)};
}

// Those of a block of 23.2 ms, as the recogniser takes them.
std::uint32_t BlockFrames(unsigned rate) { return rate * 512 / 22050; }

} // namespace

NativeStream::NativeStream(NativeMicrophone& microphone, const PcmFormat& format,
                           CaptureOwner& owner)
    : Recording(microphone, ServersFormat(format), "Microphone", BlockFrames(format.Rate)),
      Owner(owner), FrameBytes(format.Channels * format.Bits / 8),
      Silence(format.Bits == 8 ? 128 : 0), Ring(KeptSeconds * format.Rate * FrameBytes) {
    StartLane(Lane::Audio); // now, rather than when the first sound comes
}

bool NativeStream::Start() {
    const Server::Lock server;
    {
        const std::scoped_lock lock(Own);
        Running = true;
        Received = Taken = CapturedAt = 0;
        WakeFrame = Forever;
    }
    Begin();
    return true;
}

void NativeStream::Stop() {
    {
        const std::scoped_lock lock(Own);
        Running = false;
    }
    {
        const Server::Lock server;
        End();
    }
    UnscheduleAll(this);
}

std::uint64_t NativeStream::Position() const {
    const std::scoped_lock lock(Own);
    return Received;
}

std::uint64_t NativeStream::DevicePosition() const {
    const std::scoped_lock lock(Own);
    if (!Running || Received == 0) return Received;
    const std::uint64_t now = Microseconds();
    const std::uint64_t age = now - std::min(now, CapturedAt);
    return Received + std::min(age, Second) * Format.rate / Second;
}

void NativeStream::WakeAt(std::uint64_t frame) {
    const std::scoped_lock lock(Own);
    if (Pending != 0) Unschedule(Pending);
    Pending = 0;
    WakeFrame = Running ? frame : Forever;
    WakeIfDue();
}

// A clock that has no room is asked again when more sound comes.
void NativeStream::WakeIfDue() {
    if (WakeFrame > Received) return;
    const Action wake = [](void* self, std::uintptr_t) {
        static_cast<NativeStream*>(self)->Owner.Captured();
    };
    Pending = Schedule(Lane::Audio, Microseconds(), wake, this);
    if (Pending != 0) WakeFrame = Forever;
}

// The server estimates the age, and on a busy machine its estimate jumps by more than a block at
// times. No device captures at twice its rate, so the time of the last frame moves on by half of
// what has come at least, and the time stamps of blocks never fall.
void NativeStream::Heard(const HeardSound& sound) {
    const std::scoped_lock lock(Own);
    if (!Running) return;
    Keep(sound);
    const std::uint64_t now = Microseconds();
    const std::uint64_t soonest = CapturedAt + sound.Frames * Second / Format.rate / 2;
    CapturedAt = std::max(now - std::min(now, sound.Age), soonest);
    WakeIfDue();
}

// Of more than the ring holds, the last frames stay.
void NativeStream::Keep(const HeardSound& sound) {
    const std::size_t room = Ring.size() / FrameBytes;
    for (std::size_t done = 0; done < sound.Frames;) {
        const std::size_t place = Received % room;
        const std::size_t frames = std::min(sound.Frames - done, room - place);
        std::uint8_t* const to = &Ring[place * FrameBytes];
        if (sound.Data)
            std::memcpy(to, static_cast<const std::uint8_t*>(sound.Data) + done * FrameBytes,
                        frames * FrameBytes);
        else
            std::memset(to, Silence, frames * FrameBytes);
        Received += frames;
        done += frames;
    }
}

// What was taken too late to be kept is silence.
void NativeStream::Read(void* pcm, std::uint64_t frames) {
    const std::scoped_lock lock(Own);
    auto* to = static_cast<std::uint8_t*>(pcm);
    const std::uint64_t room = Ring.size() / FrameBytes;
    for (const std::uint64_t end = Taken + frames; pcm && Taken < end;) {
        const bool kept = Taken < Received && Taken + room >= Received;
        const std::uint64_t place = Taken % room;
        const std::uint64_t run =
            kept ? std::min({end, Received, Taken + room - place}) - Taken : 1;
        const std::size_t bytes = run * FrameBytes;
        if (kept)
            std::memcpy(to, &Ring[place * FrameBytes], bytes);
        else
            std::memset(to, Silence, bytes);
        to += bytes;
        Taken += run;
    }
    if (!pcm) Taken += frames;
}

} // namespace machine
