// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Base class of audio capture: one object captures from one device and passes PCM blocks to one
// registered function.
#pragma once

#include "platform/platform.h"

#include <atomic>
#include <cstdint>

namespace Sonorel {

class TextStringArray;

// Receives one block. time: when its last frame was captured, in milliseconds on the timeGetTime
// clock. data: interleaved PCM, 8 bits unsigned with silence at 128 or 16 bits signed
// little-endian, valid during the call only. Thread: the delivering one. Must not block or
// allocate.
using SoundInCallback = void (*)(std::uint32_t time, const std::uint8_t* data,
                                 std::int32_t byteCount, void* context);

// The default implementations only store their arguments. All functions run on the owner's thread.
// The callback runs on the delivering thread, between Start and the return of Stop, and may call
// GetSampleRate. Call Stop and Close before destruction. Functions that return bool return true for
// success.
class SoundIn {
public:
    SoundIn() = default;
    SoundIn(const SoundIn&) = delete;
    SoundIn& operator=(const SoundIn&) = delete;
    virtual ~SoundIn() = default;

    // Must be called before the first Start.
    virtual void SetCallback(SoundInCallback callback, void* context);
    // rate: requested frames per second; GetSampleRate returns the actual rate. Only while closed.
    virtual bool Open(std::uint32_t rate);
    virtual bool Close();
    virtual bool Start();
    virtual bool Stop();
    virtual std::uint32_t GetSampleRate();
    virtual bool SetSampleRate(std::uint32_t rate);
    // Recording level: 1.0 is half of the mixer control's range.
    virtual double GetLevel();
    virtual bool SetLevel(double level);
    // Nonzero: the speakers play the microphone.
    virtual std::uint32_t GetMicThru();
    virtual bool SetMicThru(std::uint32_t on);
    // Index of the capture device. While open, a change reopens and restarts the capture.
    virtual std::int32_t GetDevice();
    virtual bool SetDevice(std::int32_t device);
    // Replaces the list by the devices' names and returns their number.
    virtual std::int32_t GetDeviceNames(TextStringArray& names);

    std::atomic<std::uint8_t> Running{0}; // blocks are delivered
    double Level = 1.0;                   // set by Open
    std::uint32_t SampleRate = 0;         // Hz, of the open capture
    std::uint32_t MicThru = 0;
    std::int32_t Device = 0;
    SoundInCallback Callback = nullptr;
    void* CallbackContext = nullptr;
    std::int32_t Channels = 2;
    std::int32_t BitsPerSample = 8;
    std::int32_t BytesPerFrame = 2;
    std::int32_t FramesPerBlock = 0;
    std::int32_t BytesPerBlock = 0;
};

} // namespace Sonorel
