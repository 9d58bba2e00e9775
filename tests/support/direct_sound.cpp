// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "tests/support/direct_sound.h"

#include "platform/api/capture.h"
#include "platform/machine.h"
#include "platform/platform.h"

#include <algorithm>
#include <atomic>
#include <mutex>

namespace {

using device::CaptureDevice;
using machine::Call;
using machine::Failure;

std::atomic<int> objects{0}; // number of objects alive

// Counted in objects. Each object has one owner, which releases it once.
template <class Interface>
class Object : public Interface {
public:
    Object() { objects.fetch_add(1, std::memory_order_relaxed); }
    Object(const Object&) = delete;
    Object& operator=(const Object&) = delete;
    HRESULT QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
    DWORD AddRef() override { return 1; } // not used
    DWORD Release() override {
        delete this;
        return 0;
    }

protected:
    virtual ~Object() { objects.fetch_sub(1, std::memory_order_relaxed); }
};

class Buffer final : public Object<IDirectSoundCaptureBuffer>, private device::CaptureOwner {
public:
    Buffer(CaptureDevice& device, const machine::PcmFormat& format, std::size_t bytes)
        : frameBytes_(format.Channels * format.Bits / 8), stream_(device.Open(format, *this)),
          ring_(bytes) {}

    bool IsOpen() const { return stream_ != nullptr; }
    HRESULT QueryInterface(REFIID id, void** object) override;
    HRESULT GetCurrentPosition(DWORD* captured, DWORD* readable) override;
    HRESULT Lock(DWORD offset, DWORD bytes, void** first, DWORD* firstBytes, void** second,
                 DWORD* secondBytes, DWORD flags) override;
    HRESULT Start(DWORD flags) override;
    HRESULT Stop() override;
    HRESULT Unlock(void*, DWORD, void*, DWORD) override { return DS_OK; }

private:
    struct Notify final : Object<IDirectSoundNotify> {
        explicit Notify(Buffer& buffer) : Owner(buffer) {}
        HRESULT SetNotificationPositions(DWORD count, const DSBPOSITIONNOTIFY* places) override {
            if (const Failure failure{Call::SetNotificationPositions}) return failure;
            const std::scoped_lock lock(Owner.lock_);
            Owner.places_.assign(places, places + count);
            return DS_OK;
        }
        Buffer& Owner;
    };

    ~Buffer() override {
        if (stream_) stream_->Stop();
    }
    void OnFramesCaptured() override;
    std::uint64_t BytesUntil(const DSBPOSITIONNOTIFY& place) const; // inside lock_, as the next two
    const DSBPOSITIONNOTIFY& NextPlace() const;
    void WriteUpTo(std::uint64_t byte);
    DWORD InRing(std::uint64_t byte) const {
        return static_cast<DWORD>((base_ + byte) % ring_.size());
    }

    const std::uint64_t frameBytes_;
    std::mutex lock_; // guards the members below; not held while Stop waits
    const std::unique_ptr<device::CaptureStream> stream_;
    std::vector<std::uint8_t> ring_;
    std::vector<DSBPOSITIONNOTIFY> places_;
    bool started_ = false;
    std::uint64_t written_ = 0; // bytes since Start
    std::uint64_t base_ = 0;    // position of the ring at Start
};

HRESULT Buffer::QueryInterface(REFIID, void** object) {
    if (const Failure failure{Call::CaptureBufferQueryInterface}) return failure;
    *object = static_cast<IDirectSoundNotify*>(new Notify(*this));
    return DS_OK;
}

HRESULT Buffer::Start(DWORD) {
    if (const Failure failure{Call::CaptureBufferStart}) return failure;
    const std::scoped_lock lock(lock_);
    if (!stream_->Start()) return DSERR_NODRIVER;
    started_ = true;
    written_ = 0;
    if (!places_.empty()) stream_->WakeAt(BytesUntil(NextPlace()) / frameBytes_);
    return DS_OK;
}

HRESULT Buffer::Stop() {
    if (const Failure failure{Call::CaptureBufferStop}) return failure;
    stream_->Stop();
    const std::scoped_lock lock(lock_);
    if (!started_) return DS_OK;
    started_ = false;
    WriteUpTo(stream_->Position() * frameBytes_);
    base_ = InRing(written_);
    written_ = 0;
    return DS_OK;
}

// From the last byte written to the end of the notification's byte.
std::uint64_t Buffer::BytesUntil(const DSBPOSITIONNOTIFY& place) const {
    const std::uint64_t size = ring_.size();
    const std::uint64_t until = (place.dwOffset + 1 + size - InRing(written_)) % size;
    return until != 0 ? until : size;
}

const DSBPOSITIONNOTIFY& Buffer::NextPlace() const {
    return *std::ranges::min_element(
        places_, {}, [this](const DSBPOSITIONNOTIFY& place) { return BytesUntil(place); });
}

void Buffer::OnFramesCaptured() {
    const std::scoped_lock lock(lock_);
    if (!started_) return;
    const std::uint64_t captured = stream_->Position() * frameBytes_;
    HANDLE last = nullptr;
    while (written_ + BytesUntil(NextPlace()) <= captured) {
        last = NextPlace().hEventNotify;
        WriteUpTo(written_ + BytesUntil(NextPlace()));
    }
    if (last) SetEvent(last);
    stream_->WakeAt((written_ + BytesUntil(NextPlace())) / frameBytes_);
}

void Buffer::WriteUpTo(std::uint64_t byte) {
    while (written_ < byte) {
        const DWORD at = InRing(written_);
        const std::uint64_t run = std::min<std::uint64_t>(byte - written_, ring_.size() - at);
        stream_->Read(ring_.data() + at, run / frameBytes_);
        written_ += run;
    }
}

HRESULT Buffer::GetCurrentPosition(DWORD* captured, DWORD* readable) {
    if (const Failure failure{Call::CaptureBufferGetCurrentPosition}) return failure;
    const std::scoped_lock lock(lock_);
    if (stream_->IsGone()) return DSERR_NODRIVER;
    *captured = InRing(started_ ? stream_->Position() * frameBytes_ : 0);
    *readable = InRing(written_);
    return DS_OK;
}

HRESULT Buffer::Lock(DWORD offset, DWORD bytes, void** first, DWORD* firstBytes, void** second,
                     DWORD* secondBytes, DWORD) {
    if (const Failure failure{Call::CaptureBufferLock}) return failure;
    if (offset + bytes > ring_.size())
        return DSERR_INVALIDPARAM; // SoundInDx locks no range that wraps
    *first = ring_.data() + offset;
    *firstBytes = bytes;
    *second = nullptr;
    *secondBytes = 0;
    return DS_OK;
}

class Capture final : public Object<IDirectSoundCapture> {
public:
    explicit Capture(std::shared_ptr<CaptureDevice> device) : device_(std::move(device)) {}

    HRESULT CreateCaptureBuffer(const DSCBUFFERDESC* desc, IDirectSoundCaptureBuffer** buffer,
                                IUnknown*) override {
        if (const Failure failure{Call::CreateCaptureBuffer}) return failure;
        const WAVEFORMATEX& wave = *desc->lpwfxFormat;
        const machine::PcmFormat format{wave.nSamplesPerSec, wave.nChannels, wave.wBitsPerSample};
        if (desc->dwSize != sizeof(DSCBUFFERDESC1) || !device_->Supports(format))
            return DSERR_BADFORMAT;
        auto* const made = new Buffer(*device_, format, desc->dwBufferBytes);
        if (made->IsOpen()) {
            *buffer = made;
            return DS_OK;
        }
        made->Release();
        return DSERR_ALLOCATED;
    }

private:
    ~Capture() override = default;
    const std::shared_ptr<CaptureDevice> device_;
};

// Made from the device's address: constant while the device exists.
GUID GuidOf(const CaptureDevice& device) {
    const auto address = reinterpret_cast<std::uintptr_t>(&device);
    return {static_cast<std::uint32_t>(address),
            0x6f70,
            0x4000,
            {0x80, 0, 0, 0, static_cast<std::uint8_t>(address >> 32), 0, 0, 0}};
}

HRESULT Enumerate(LPDSENUMCALLBACKA callback, LPVOID context) {
    if (const Failure failure{Call::DirectSoundCaptureEnumerateA}) return failure;
    const auto devices = device::CaptureDevices();
    if (devices.empty()) return DS_OK;
    if (!callback(nullptr, "Primary Sound Capture Driver", "", context)) return DS_OK;
    for (const auto& device : devices) {
        GUID guid = GuidOf(*device);
        if (!callback(&guid, device->Name().c_str(), "mic.drv", context)) break;
    }
    return DS_OK;
}

HRESULT Create(LPCGUID guid, IDirectSoundCapture** capture, IUnknown*) {
    if (const Failure failure{Call::DirectSoundCaptureCreate}) return failure;
    const bool any = guid == nullptr || *guid == GUID{};
    for (const auto& device : device::CaptureDevices()) {
        if (!any && GuidOf(*device) != *guid) continue;
        *capture = new Capture(device);
        return DS_OK;
    }
    return DSERR_NODRIVER;
}

// Cast through the generic function type, to avoid a warning.
template <class Function>
FARPROC AsEntry(Function* entry) {
    return reinterpret_cast<FARPROC>(reinterpret_cast<void (*)()>(entry));
}

} // namespace

void SetDirectSound(DirectSound state) {
    machine::OfferModule(state == DirectSound::Absent ? nullptr : "DSOUND.DLL",
                         [](std::string_view name) {
                             return name == "DirectSoundCaptureEnumerateA" ? AsEntry(&Enumerate)
                                    : name == "DirectSoundCaptureCreate"   ? AsEntry(&Create)
                                                                           : nullptr;
                         });
}

int OpenCaptureObjects() { return objects.load(std::memory_order_relaxed); }
