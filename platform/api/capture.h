// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// What a capture back end offers. Above this interface waveIn queues the application's buffers;
// below it a back end turns one kind of device into frames of PCM. docs/new-back-end.md lists the
// steps to add one; this header is the contract. Levels of a device: api/level.h.
//
// Identity. A CaptureDevice is known by its Id, which the system never reassigns; Name is for
// people to read, the same when the device is plugged in again (UniqueCaptureName in api/names.h).
// A back end may keep one object for a device for the life of the process, or make a new one each
// time; streams of the old one are then gone for good.
//
// Leaving and returning. A device that is unplugged is not listed. A stream on it captures nothing
// more: for good if the stream is gone, else until the device is back, which the back end
// reconnects to by itself. If that takes time, a moment of silence is delivered first, so that no
// note is held meanwhile.
//
// Threads. A stream has one owner, which makes one call at a time except for Position and IsGone;
// and a capturing thread of the back end's choice, which calls OnFramesCaptured. The audio lane of
// api/clock.h is the thread to use: the library waits for its actions before code is unloaded.
// Devices are called by any thread.
// Locks. No lock of the back end is held while OnFramesCaptured runs.
// Real time. WakeAt, Read, Position and IsGone are called from within OnFramesCaptured: they
// allocate nothing, and wait for nothing but a lock of the back end that is held for a copy. Open,
// Start and Stop may block.
// Failure. No function throws. A device that cannot be opened returns a null stream; a stream that
// cannot run returns false from Start.
#pragma once

#include "platform/api/level.h"
#include "platform/machine/pcm_format.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace device {

using machine::PcmFormat;

using LevelList = std::vector<std::shared_ptr<Level>>;

// The user of a stream.
class CaptureOwner {
public:
    // The frame given to WakeAt has been captured, now or some time ago. May call everything of the
    // stream but its destructor.
    virtual void OnFramesCaptured() = 0;

protected:
    ~CaptureOwner() = default;
};

// A capture in one format. Frames count from 0 at each Start.
class CaptureStream {
public:
    virtual ~CaptureStream() = default; // after Stop

    // Frame 0 is captured now, or as soon as the device can. False if the stream is gone. Called
    // only while stopped; an OnFramesCaptured that led to the stop may still be running.
    virtual bool Start() = 0;
    // On return OnFramesCaptured is not running and is not called any more, unless Stop is called
    // from within it. Frames captured until now can still be read. The caller holds no lock that
    // OnFramesCaptured waits for.
    virtual void Stop() = 0;
    // Frames captured since Start that can be read. Never decreases; constant while stopped or
    // gone.
    virtual std::uint64_t Position() const = 0;
    // Position plus the frames that the device has captured and that have not arrived here yet.
    virtual std::uint64_t DevicePosition() const { return Position(); }
    // Calls OnFramesCaptured once as soon as Position reaches frame, also if it already has. A
    // later call replaces an earlier one. No effect while stopped or gone. Does not call
    // OnFramesCaptured from within: the owner holds its lock.
    virtual void WakeAt(std::uint64_t frame) = 0;
    // Copies the next frames, which must have been captured, in order; null discards them. pcm:
    // interleaved, 8 bits unsigned or 16 bits signed little-endian. The back end keeps unread
    // frames for one second at least.
    virtual void Read(void* pcm, std::uint64_t frames) = 0;
    virtual bool IsGone() const = 0; // for good
};

class CaptureDevice {
public:
    virtual ~CaptureDevice() = default;

    virtual std::string Name() const = 0; // UTF-8; applications get 31 bytes
    virtual std::string Id() const { return Name(); }
    virtual bool IsMonitor() const { return false; }    // captures what is played: no microphone
    virtual unsigned ConnectionId() const { return 0; } // differs each time it is plugged in
    virtual unsigned Channels() const = 0;              // 1 or 2
    virtual bool Supports(const PcmFormat& format) const = 0;
    virtual bool IsGone() const = 0; // unplugged
    // A stopped stream that holds the device until it is destroyed. Null if another program has
    // exclusive use of it, or it is gone. owner outlives the stream.
    virtual std::unique_ptr<CaptureStream> Open(const PcmFormat& format, CaptureOwner& owner) = 0;
    // Its volume and mutes, the same while it is plugged in; empty if it has none.
    virtual const LevelList& Levels() const = 0;
};

using CaptureDeviceList = std::vector<std::shared_ptr<CaptureDevice>>;

// The devices that are plugged in; their places are their numbers, and the first is the default
// one. Those added by AddMicrophone if there are any, else the computer's own. Given by the
// registry. Thread: any.
CaptureDeviceList CaptureDevices();

// All that AddMicrophone has added since PowerOn, those that are gone included. Given by the memory
// back end. Thread: any.
CaptureDeviceList AddedCaptureDevices();

} // namespace device
