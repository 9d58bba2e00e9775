// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Capture through the waveIn functions.
#pragma once

#include "platform/platform.h"
#include "soundin/sound_in_system.h"
#include "soundin/wave_buffers.h"

#include <cstdint>
#include <memory>

namespace Sonorel {

// Open changes rate, channels and bits to a format that the device supports; GetSampleRate,
// Channels and BitsPerSample then hold the actual values. Blocks are delivered in place, on the
// system's thread. If Open returns false the user has seen a message box, and nothing stays open. A
// buffer that the device does not return by Close is leaked (WaveBuffers).
class SoundInWin : public SoundInSystem {
public:
    bool Open(std::uint32_t rate) override;
    bool Close() override;
    bool Start() override;
    // On return no callback is running and none will run. May be called inside the callback.
    bool Stop() override;
    // Omits devices whose name cannot be read, so an index of the list is no device number.
    std::int32_t GetDeviceNames(TextStringArray& names) override;
    // Returns the device number of the name at that index; -1 if the devices have changed since.
    static std::int32_t DeviceNumber(const TextStringArray& names, std::int32_t index);

    HWAVEIN WaveIn = nullptr;          // from Open to Close
    std::uint32_t FramesDelivered = 0; // since Start, excluding the block being delivered
    MMRESULT LastResult = 0;           // of the last waveIn call

protected:
    bool IsOpen() const override { return WaveIn != nullptr; }
    void ResetDevice() override;

private:
    bool ReportWaveInError(MMRESULT code);
    bool ChooseFormat(const WAVEINCAPSA& caps, std::uint32_t& rate);
    MMRESULT OpenDevice();
    void CloseDevice();
    void OpenMixerOfDevice();

    static void CALLBACK WaveInReady(HWAVEIN handle, UINT message, DWORD_PTR instance,
                                     DWORD_PTR parameter, DWORD_PTR);
    void Deliver(WAVEHDR& header);
    std::uint32_t TimeOfLastFrame(std::uint32_t now, std::uint32_t frames) const;

    std::unique_ptr<WaveBuffers> Buffers; // while WaveIn is open
};

} // namespace Sonorel
