// Capture through the waveIn functions.
#pragma once

#include "platform/platform.h"
#include "soundin/sound_in_system.h"
#include "soundin/wave_buffers.h"

#include <cstdint>
#include <memory>

namespace Sonorel {

// Steps rate, channels and bits to what the device offers, so GetSampleRate, Channels and
// BitsPerSample tell the truth after Open. Blocks are delivered in place, on the system's thread.
// Where Open gives false the user has seen a box, and nothing stays open. A device that still has a
// buffer after Close keeps it (WaveBuffers).
class SoundInWin : public SoundInSystem {
public:
    bool Open(std::uint32_t rate) override;
    bool Close() override;
    bool Start() override;
    // On return no callback is running or will run, except that it may be called from within one.
    bool Stop() override;
    // Leaves out a device that does not tell its name, so a place in the list is no device number.
    std::int32_t GetDeviceNames(TextStringArray& names) override;
    // The number of the device at a place of that list; -1 if another one stands there by now.
    static std::int32_t NumberOf(const TextStringArray& names, std::int32_t place);

    HWAVEIN WaveIn = nullptr;          // from Open to Close
    std::uint32_t FramesDelivered = 0; // since Start, without the block being delivered
    MMRESULT LastResult = 0;           // of the last waveIn call of note

protected:
    bool IsOpen() const override { return WaveIn != nullptr; }
    void ForgetDevice() override;

private:
    friend class WaveBuffers;

    bool ReportWaveInError(MMRESULT code);
    bool ChooseFormat(const WAVEINCAPSA& caps, std::uint32_t& rate);
    MMRESULT OpenDevice();
    void CloseDevice();
    void OpenMixerOfDevice();

    static void CALLBACK WaveInReady(HWAVEIN handle, UINT message, DWORD_PTR instance,
                                     DWORD_PTR parameter, DWORD_PTR);
    static void Unprepare(HWAVEIN device, WAVEHDR& header);
    void Deliver(WAVEHDR& header);
    std::uint32_t TimeOfLastFrame(std::uint32_t now, std::uint32_t frames) const;

    std::unique_ptr<WaveBuffers> Buffers; // while WaveIn is open
};

} // namespace Sonorel
