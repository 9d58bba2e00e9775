// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Capture through DirectSound, whose DLL is loaded at run time and may be missing.
#pragma once

#include "platform/platform.h"
#include "soundin/sound_in_system.h"
#include "support/pointer_array.h"
#include "support/text_string.h"

#include <array>
#include <cstdint>
#include <optional>

namespace Sonorel {

// One capture device. Guid is the first member: a pointer to the record is a pointer to its GUID.
struct CaptureDeviceRecord {
    GUID Guid;              // all zero for the device listed without one
    TextString Description; // the name shown to users
    TextString Module;      // file name of the driver
};

// Blocks are read from a looping buffer and delivered on the object's own thread. The format is
// always 2 channels of 8 bits. The first block after Start is not delivered. If the callback falls
// behind by more than 16 blocks, some are lost. If Open returns false no message is shown, and
// Close must still be called before destruction.
class SoundInDx : public SoundInSystem {
public:
    // Lists the devices. Does not report failures; Open does.
    SoundInDx();
    ~SoundInDx() override;

    bool Open(std::uint32_t rate) override;
    bool Close() override;
    bool Start() override;
    // On return no callback is running and none will run. Must not be called inside the callback.
    bool Stop() override;
    std::int32_t GetDeviceNames(TextStringArray& names) override;

    // True if Device is the list's entry for the system's preferred device.
    bool IsDefaultDevice() const;

    PointerArray<CaptureDeviceRecord> CaptureDevices; // in the system's order; Device is an index
    HMODULE DSoundModule = nullptr;
    IDirectSoundCapture* Capture = nullptr;
    IDirectSoundCaptureBuffer* CaptureBuffer = nullptr;
    DSCBUFFERDESC BufferDesc{};
    std::array<DSBPOSITIONNOTIFY, BlockCount> NotifyPositions{}; // each block's last byte
    std::array<HANDLE, BlockCount> NotifyEvents{};               // signalled at each block's end
    HANDLE StopEvent = nullptr;                                  // ends the capture thread
    std::uintptr_t CaptureThread = 0;                            // handle, from Start until Stop
    HRESULT LastResult = 0; // of the last DirectSound call that can fail
    // Why the last Open failed. Not shown: the caller tries SoundInWin instead.
    std::optional<TextString> OpenFailure;

protected:
    bool IsOpen() const override { return Capture != nullptr; }

private:
    bool ReportOpenFailure(int code);
    void ListDevices();
    bool CreateCapture();
    bool CreateBuffer();
    bool RequestNotifications();
    void FindMixer();

    static unsigned WINAPI RunCaptureThread(void* self);
    void DeliverUntilStopped(std::uint8_t* copy);
    void DeliverDue(std::int32_t notified, std::int32_t& last, std::uint8_t* copy);
    void DeliverBlock(std::int32_t block, std::uint8_t* copy);
};

} // namespace Sonorel
