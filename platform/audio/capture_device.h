// The seam below waveIn and DirectSound capture: what a capture device of any kind has to be. The
// virtual microphone is one; a device of the real machine's sound server is to be another.
#pragma once

#include "platform/virtual/capture.h"

#include <memory>
#include <optional>
#include <string>

namespace machine {

// Nothing for a record that contradicts itself or is no PCM of 8 or 16 bits, mono or stereo.
std::optional<PcmFormat> PcmFormatOf(const WAVEFORMATEX& wave);

// Whoever takes the sound of a stream.
class CaptureOwner {
public:
    // The frame asked for by WakeAt has been captured. Thread: the capturing one (of virtual
    // microphones the audio lane). May call everything of the stream but its destructor.
    virtual void Captured() = 0;

protected:
    ~CaptureOwner() = default;
};

// A capture under way in one format. Frames count from 0 at Start. But for Position and Gone, which
// any thread may call, the owner calls one function at a time, and Stop without holding anything
// that Captured waits for.
class CaptureStream {
public:
    virtual ~CaptureStream() = default; // after Stop

    // Frame 0 is captured now. False if the device is gone. Only when stopped, and then anew; a
    // Captured that led to the stop may still be under way.
    virtual bool Start() = 0;
    // No Captured is under way or comes any more, unless called from within it. What was captured
    // until now can still be read.
    virtual void Stop() = 0;
    // Frames captured until now; stands still when stopped or gone.
    virtual std::uint64_t Position() const = 0;
    // Wakes the owner once as soon as Position has come to frame, also if it has already. A later
    // call replaces an earlier one. Nothing while stopped or gone.
    virtual void WakeAt(std::uint64_t frame) = 0;
    // Takes the next frames, which must have been captured, as PCM of the stream's format; with
    // null they are let go.
    virtual void Read(void* pcm, std::uint64_t frames) = 0;
    // Asked before each notification of the application: false if this one is to be left out, as a
    // device in trouble does.
    virtual bool MayNotify() = 0;
    virtual bool Gone() const = 0;
    // Frames that were let go because the application had no room.
    virtual void Lost(std::uint64_t) {}
};

class CaptureDevice {
public:
    virtual ~CaptureDevice() = default;

    virtual const std::string& Name() const = 0;
    virtual std::uint32_t Formats() const = 0;          // dwFormats
    virtual unsigned Channels() const = 0;              // wChannels
    virtual unsigned PositionUnit() const { return 0; } // see MicrophoneModel
    virtual bool Supports(const PcmFormat& format) const = 0;
    virtual bool Gone() const = 0;

    // An application opens the device: false if another has it for itself. Each Claim that gave
    // true is paired by a Release after its streams have gone.
    virtual bool Claim() = 0;
    virtual void Release() = 0;
    virtual std::unique_ptr<CaptureStream> NewStream(const PcmFormat& format,
                                                     CaptureOwner& owner) = 0;
};

// A claim that is released by itself.
class DeviceClaim {
public:
    // Holds nothing if the claim was refused.
    explicit DeviceClaim(std::shared_ptr<CaptureDevice> device) {
        if (device->Claim()) device_ = std::move(device);
    }
    ~DeviceClaim() {
        if (device_) device_->Release();
    }
    DeviceClaim(const DeviceClaim&) = delete;
    DeviceClaim& operator=(const DeviceClaim&) = delete;

    explicit operator bool() const { return device_ != nullptr; }
    CaptureDevice& Device() const { return *device_; }

private:
    std::shared_ptr<CaptureDevice> device_;
};

} // namespace machine
