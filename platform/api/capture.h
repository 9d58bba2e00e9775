// The seam of sound capture. Above it waveIn queues the application's buffers; below it a back end
// turns one kind of device into frames of PCM.
//
// To write the next back end: derive a CaptureDevice and a CaptureStream, give the devices to
// CaptureDevices, and let Gone say when one has left. Nothing else is asked. The suite in
// tests/platform/capture_contract_test.cpp is what it has to pass. The virtual microphone
// (backends/memory/capture.cpp) paces itself by the machine's clock; backends/pulse/ has the
// hardware's.
//
// Leaving. A device that is pulled out is not listed. A stream on it stands still: for good where
// the stream is Gone, else until the device is back, which it then joins by itself and goes on. If
// that is not at once, a moment of silence comes before, so that no note is held meanwhile.
//
// Threads. A stream has one owner, which makes one call at a time but for Position and Gone, and a
// capturing thread of the back end's choice, which calls Captured. Devices are asked by any thread.
// Real time. WakeAt, Read, Position and Gone are called from within Captured: they allocate
// nothing, and wait for nothing but the back end's own short lock. Open, Start and Stop may take
// their time.
// Failure. None is thrown. A device that cannot be had gives no stream, and a stream that cannot
// run does not start.
#pragma once

#include "platform/api/level.h"
#include "platform/machine/pcm_format.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace machine {

using LevelList = std::vector<std::shared_ptr<Level>>;

// Whoever takes the sound of a stream.
class CaptureOwner {
public:
    // The frame asked for by WakeAt has been captured. May come late, and may call everything of
    // the stream but its destructor.
    virtual void Captured() = 0;

protected:
    ~CaptureOwner() = default;
};

// A capture in one format. Frames count from 0 at each Start.
class CaptureStream {
public:
    virtual ~CaptureStream() = default; // after Stop

    // Frame 0 is captured now, or as soon as the device can. False if the stream is gone. Only
    // while stopped; a Captured that led to the stop may still be under way.
    virtual bool Start() = 0;
    // On return no Captured is under way or comes any more, unless called from within it. What was
    // captured until now can still be read. The caller holds nothing that Captured waits for.
    virtual void Stop() = 0;
    // Frames captured until now that can be read; never falls, and stands still when stopped or
    // gone.
    virtual std::uint64_t Position() const = 0;
    // The same with those that the device has captured and that are still on their way.
    virtual std::uint64_t DevicePosition() const { return Position(); }
    // Calls Captured once as soon as Position has come to frame, also if it already has. A later
    // call replaces an earlier one. Nothing while stopped or gone. Captured is not called from
    // within this function: the owner holds its lock.
    virtual void WakeAt(std::uint64_t frame) = 0;
    // Takes the next frames, which must have been captured, in order; with null they are let go.
    // pcm: interleaved, 8 bits unsigned or 16 bits signed little-endian. The back end keeps what
    // has not been taken for a second at least.
    virtual void Read(void* pcm, std::uint64_t frames) = 0;
    virtual bool Gone() const = 0; // for good
};

class CaptureDevice {
public:
    virtual ~CaptureDevice() = default;

    // What people see: UTF-8, the same when the device is plugged in again.
    virtual std::string Name() const = 0;
    // By what the system knows it, always.
    virtual std::string Id() const { return Name(); }
    virtual bool IsMonitor() const { return false; } // of what is played, no microphone
    virtual unsigned Visit() const { return 0; }     // another one each time that it is plugged in
    virtual unsigned Channels() const = 0;           // 1 or 2
    virtual bool Supports(const PcmFormat& format) const = 0;
    // It is not there. Plugged in again it is this device, or a new one if its streams are gone.
    virtual bool Gone() const = 0;
    // A stopped stream that holds the device until it is destroyed. Null if somebody else has it
    // for himself, or it is gone. owner outlives the stream.
    virtual std::unique_ptr<CaptureStream> Open(const PcmFormat& format, CaptureOwner& owner) = 0;
    // Its volume and the like, which do not change while it is there; empty if it has none.
    virtual const LevelList& Levels() const = 0;
};

// Those that are there; their places are their numbers, and the first is the default one: those
// that whoever steers has added, else the computer's own. Thread: any.
std::vector<std::shared_ptr<CaptureDevice>> CaptureDevices();

// The computer's own, if the machine is to have them. Given by native/.
std::vector<std::shared_ptr<CaptureDevice>> NativeCaptureDevices();

} // namespace machine
