// The seam between audio capture and whoever listens: one capture object that hands PCM blocks to
// one registered function.
#pragma once

#include "platform/platform.h"

#include <atomic>
#include <cstdint>

namespace Sonorel {

class TextStringArray;

// Receives one block. time: milliseconds on the timeGetTime clock, of the block's last frame.
// data: interleaved PCM, 8 bits unsigned with silence at 128 or 16 bits signed little-endian, valid
// during the call only. Thread: the delivering one. Must not block or allocate.
using SoundInCallback = void (*)(std::uint32_t time, const std::uint8_t* data,
                                 std::int32_t byteCount, void* context);

// Base of the capture classes, with the defaults that they share. Operations run on the owner's
// thread; the callback runs on the delivering thread between Start and the return of Stop, and may
// call GetSampleRate. Call Stop and Close before destruction. Booleans are true for success.
class SoundIn {
public:
    SoundIn() = default;
    SoundIn(const SoundIn&) = delete;
    SoundIn& operator=(const SoundIn&) = delete;
    virtual ~SoundIn() = default;

    // Before the first Start.
    virtual void SetCallback(SoundInCallback callback, void* context);
    // rate: frames a second wished for; GetSampleRate tells what was got. Only on a closed object.
    virtual bool Open(std::uint32_t rate);
    virtual bool Close();
    virtual bool Start();
    virtual bool Stop();
    virtual std::uint32_t GetSampleRate();
    virtual bool SetSampleRate(std::uint32_t rate);
    // Recording level: 1.0 is half of the mixer control's range.
    virtual double GetLevel();
    virtual bool SetLevel(double level);
    // Nonzero: the microphone is heard through the speakers.
    virtual std::uint32_t GetMicThru();
    virtual bool SetMicThru(std::uint32_t on);
    // Index of the capture device. Reopens, and goes on capturing, when it changes while open.
    virtual std::int32_t GetDevice();
    virtual bool SetDevice(std::int32_t device);
    // Empties the list and fills it with the devices' names; gives their number.
    virtual std::int32_t GetDeviceNames(TextStringArray& names);

    std::atomic<std::uint8_t> Running{0}; // delivery is on
    double Level = 1.0;                   // what Open applies
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
