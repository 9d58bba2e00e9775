// The looping buffer of a DirectSound capture: a ring that the stream fills, events at positions.
#pragma once

#include "platform/audio/direct_sound.h"

#include <atomic>
#include <mutex>
#include <vector>

namespace machine {

// All calls are for any thread. Events are set from the capturing thread.
//
// Sound is written up to each notification as it comes due, or every 10 ms without any, and then
// shows in the read cursor; the capture cursor runs with the clock. The ring is not written where
// it is locked: what would have gone there is lost.
class CaptureBuffer final : public IDirectSoundCaptureBuffer, private CaptureOwner {
public:
    CaptureBuffer(std::shared_ptr<DeviceClaim> claim, const WAVEFORMATEX& wave, DWORD bytes,
                  DWORD flags);

    HRESULT QueryInterface(REFIID id, void** object) override;
    DWORD AddRef() override;
    DWORD Release() override;
    HRESULT GetCaps(DSCBCAPS* caps) override;
    HRESULT GetCurrentPosition(DWORD* captured, DWORD* readable) override;
    HRESULT GetFormat(WAVEFORMATEX* format, DWORD size, DWORD* written) override;
    HRESULT GetStatus(DWORD* status) override;
    HRESULT Initialize(IDirectSoundCapture* owner, const DSCBUFFERDESC* desc) override;
    HRESULT Lock(DWORD offset, DWORD bytes, void** first, DWORD* firstBytes, void** second,
                 DWORD* secondBytes, DWORD flags) override;
    HRESULT Start(DWORD flags) override;
    HRESULT Stop() override;
    HRESULT Unlock(void* first, DWORD firstBytes, void* second, DWORD secondBytes) override;

private:
    // The second interface of the same object.
    struct Notify final : IDirectSoundNotify {
        explicit Notify(CaptureBuffer& buffer) : Buffer(buffer) {}
        HRESULT QueryInterface(REFIID id, void** object) override;
        DWORD AddRef() override { return Buffer.AddRef(); }
        DWORD Release() override { return Buffer.Release(); }
        HRESULT SetNotificationPositions(DWORD count, const DSBPOSITIONNOTIFY* positions) override;
        CaptureBuffer& Buffer;
    };
    struct Place { // a notification, by the frame of the ring after which it is due
        std::uint64_t Frame;
        HANDLE Event;
    };
    struct Region { // locked bytes
        DWORD From;
        DWORD Bytes;
    };

    ~CaptureBuffer();
    HRESULT SetPlaces(DWORD count, const DSBPOSITIONNOTIFY* positions);
    void Captured() override;
    std::uint64_t NextDue() const; // all below: locked
    void WriteUpTo(std::uint64_t frame);
    void WriteRun(std::uint64_t ringFrame, std::uint64_t frames);
    void NotifyAt(std::uint64_t frame);
    bool IsLocked(std::uint64_t ringFrame) const;
    void EndCapture();
    // The last frame of the stream that is captured: the ring's end unless it loops.
    std::uint64_t LastFrame() const { return looping_ ? ~std::uint64_t{0} : ringFrames_ - base_; }
    std::uint64_t InRing(std::uint64_t frame) const { return (base_ + frame) % ringFrames_; }
    DWORD Offset(std::uint64_t frame) const {
        return static_cast<DWORD>(InRing(frame) * wave_.nBlockAlign);
    }

    const CountedObject counted_;
    std::atomic<DWORD> references_{1};
    const std::shared_ptr<DeviceClaim> claim_;
    const WAVEFORMATEX wave_;
    const DWORD flags_;
    const std::uint64_t ringFrames_;
    Notify notify_{*this};

    std::mutex lock_; // of all below; not held while Stop waits
    const std::unique_ptr<CaptureStream> stream_;
    std::vector<std::uint8_t> ring_;
    std::vector<Place> places_; // ascending
    std::vector<HANDLE> stopEvents_;
    std::vector<Region> locked_;
    bool started_ = false;
    bool ending_ = false;
    bool looping_ = false;
    std::uint64_t written_ = 0; // frames of the stream since Start
    std::uint64_t base_ = 0;    // frame of the ring where the present Start began
};

} // namespace machine
