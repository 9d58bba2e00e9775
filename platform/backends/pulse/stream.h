// The sound of a microphone for one owner, who asks for it frame by frame.
#pragma once

#include "platform/api/capture.h"
#include "platform/api/clock.h"
#include "platform/backends/pulse/connection.h"

#include <cstdint>
#include <mutex>
#include <vector>

namespace machine {

// The server sends what it likes when it likes: it is put into a ring here, on the connection's
// thread, and the owner is told on the clock's audio lane, with nothing locked. So an owner who
// takes his time holds up nobody, and the clock, which lets actions end before code goes, knows of
// him.
//
// Locks: the server's, then the stream's own, which is held for a copy.
class NativeStream : public CaptureStream, private Recording {
public:
    NativeStream(NativeMicrophone& microphone, const PcmFormat& format, CaptureOwner& owner);
    ~NativeStream() override { Stop(); }

    bool Start() override;
    void Stop() override;
    std::uint64_t Position() const override;
    // After an interruption it may be less than it was.
    std::uint64_t DevicePosition() const override;
    void WakeAt(std::uint64_t frame) override;
    void Read(void* pcm, std::uint64_t frames) override;
    bool Gone() const override { return false; }

private:
    void Heard(const HeardSound& sound) override;
    void Keep(const HeardSound& sound);
    void WakeIfDue();

    CaptureOwner& Owner;
    const std::size_t FrameBytes;
    const int Silence; // a byte of it

    mutable std::mutex Own; // of all below
    bool Running = false;
    std::vector<std::uint8_t> Ring; // frame n lies at place n, modulo its size
    std::uint64_t Received = 0;     // frames since Start
    std::uint64_t Taken = 0;        // of them
    std::uint64_t CapturedAt = 0; // when the last of them was, microseconds on the machine's clock
    std::uint64_t WakeFrame = Forever;
    Token Pending = 0;
};

} // namespace machine
