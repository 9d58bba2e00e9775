// Capture through DirectSound, which is loaded at run time and may be absent.
#pragma once

#include "platform/platform.h"
#include "soundin/sound_in_system.h"
#include "support/pointer_array.h"
#include "support/text_string.h"

#include <array>
#include <cstdint>
#include <optional>

namespace Sonorel {

// One capture device. A pointer to it serves as the pointer to its GUID.
struct CaptureDeviceRecord {
    GUID Guid;              // all zero for a device listed without one
    TextString Description; // what users see
    TextString Module;      // the driver's
};

// Blocks come from a looping buffer and are delivered on a thread of this object's own. The format
// is always 2 channels of 8 bits. The first block after Start is not delivered; a listener that
// falls behind by more than 16 blocks loses some. Where Open gives false the user has seen nothing,
// and Close must still come before destruction.
class SoundInDx : public SoundInSystem {
public:
    // Lists the devices. Succeeds in any case: Open finds out what is missing.
    SoundInDx();
    ~SoundInDx() override;

    bool Open(std::uint32_t rate) override;
    bool Close() override;
    bool Start() override;
    // On return no callback is running or will run. Not from within the callback.
    bool Stop() override;
    std::int32_t GetDeviceNames(TextStringArray& names) override;

    // Device is the list's entry for whatever device the system prefers.
    bool IsDefaultDevice() const;

    PointerArray<CaptureDeviceRecord> CaptureDevices; // in the system's order; Device indexes it
    HMODULE DSoundModule = nullptr;
    IDirectSoundCapture* Capture = nullptr;
    IDirectSoundCaptureBuffer* CaptureBuffer = nullptr;
    DSCBUFFERDESC BufferDesc{};
    std::array<DSBPOSITIONNOTIFY, BlockCount> NotifyPositions{}; // each block's last byte
    std::array<HANDLE, BlockCount> NotifyEvents{};               // signalled at each block's end
    HANDLE StopEvent = nullptr;                                  // asks the capture thread to end
    std::uintptr_t CaptureThread = 0; // from Start until Stop has seen it end
    HRESULT LastResult = 0;           // of the last DirectSound call that can fail
    // Why the last Open failed, in words. Nobody shows it; there is another class to go over to.
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
