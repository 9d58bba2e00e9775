// DirectSound capture: the two entry points, and the object that makes buffers.
#include "platform/audio/direct_sound.h"

#include "platform/audio/capture_devices.h"
#include "platform/audio/direct_sound_buffer.h"
#include "platform/machine/fault_point.h"
#include "platform/machine/modules.h"

#include <array>
#include <atomic>

namespace machine {
namespace {

std::atomic<int> objects{0}; // a count, ordered by nothing

class CaptureObject final : public IDirectSoundCapture {
public:
    explicit CaptureObject(std::shared_ptr<DeviceClaim> claim) : claim_(std::move(claim)) {}

    // Its other interfaces are not used by anybody.
    HRESULT QueryInterface(REFIID, void** object) override {
        if (object == nullptr) return DSERR_INVALIDPARAM;
        *object = nullptr;
        return E_NOINTERFACE;
    }
    DWORD AddRef() override { return references_.fetch_add(1, std::memory_order_relaxed) + 1; }
    DWORD Release() override {
        const DWORD left = references_.fetch_sub(1, std::memory_order_acq_rel) - 1;
        if (left == 0) delete this;
        return left;
    }
    HRESULT GetCaps(DSCCAPS* caps) override {
        if (caps == nullptr || caps->dwSize < sizeof(DSCCAPS)) return DSERR_INVALIDPARAM;
        caps->dwFlags = 0;
        caps->dwFormats = claim_->Device().Formats();
        caps->dwChannels = claim_->Device().Channels();
        return DS_OK;
    }
    HRESULT Initialize(const GUID*) override { return DSERR_ALREADYINITIALIZED; }
    HRESULT CreateCaptureBuffer(const DSCBUFFERDESC* desc, IDirectSoundCaptureBuffer** buffer,
                                IUnknown* outer) override;

private:
    ~CaptureObject() = default;

    const CountedObject counted_;
    std::atomic<DWORD> references_{1};
    const std::shared_ptr<DeviceClaim> claim_;
};

// The size that the first form of the record had where pointers are of 32 bits.
constexpr DWORD FirstDescSize = 20;

bool IsSound(const DSCBUFFERDESC& desc) {
    const bool knownSize = desc.dwSize == FirstDescSize || desc.dwSize == sizeof(DSCBUFFERDESC1) ||
                           desc.dwSize == sizeof(DSCBUFFERDESC);
    return knownSize && desc.dwReserved == 0 && desc.lpwfxFormat != nullptr &&
           desc.dwBufferBytes > 0;
}

HRESULT CaptureObject::CreateCaptureBuffer(const DSCBUFFERDESC* desc,
                                           IDirectSoundCaptureBuffer** buffer, IUnknown* outer) {
    if (const auto failure = OrderedFailure(Call::CreateCaptureBuffer))
        return static_cast<HRESULT>(*failure);
    if (outer != nullptr) return DSERR_NOAGGREGATION;
    if (buffer == nullptr || desc == nullptr || !IsSound(*desc)) return DSERR_INVALIDPARAM;
    *buffer = nullptr;
    const WAVEFORMATEX& wave = *desc->lpwfxFormat;
    const auto format = PcmFormatOf(wave);
    if (!format || !claim_->Device().Supports(*format)) return DSERR_BADFORMAT;
    if (desc->dwBufferBytes % wave.nBlockAlign != 0) return DSERR_INVALIDPARAM;
    if (claim_->Device().Gone()) return DSERR_NODRIVER;
    *buffer = new CaptureBuffer(claim_, wave, desc->dwBufferBytes, desc->dwFlags);
    return DS_OK;
}

HRESULT Enumerate(LPDSENUMCALLBACKA callback, LPVOID context) {
    if (const auto failure = OrderedFailure(Call::DirectSoundCaptureEnumerateA))
        return static_cast<HRESULT>(*failure);
    if (callback == nullptr) return DSERR_INVALIDPARAM;
    const auto devices = PresentCaptureDevices();
    if (devices.empty()) return DS_OK;
    if (callback(nullptr, "Primary Sound Capture Driver", "", context) == FALSE) return DS_OK;
    for (const auto& device : devices) {
        const int id = IdOfCaptureDevice(*device);
        GUID guid = GuidOfCaptureDevice(id);
        const std::string module = "mic" + std::to_string(id) + ".drv";
        if (callback(&guid, device->Name().c_str(), module.c_str(), context) == FALSE) break;
    }
    return DS_OK;
}

HRESULT Create(LPCGUID guid, IDirectSoundCapture** capture, IUnknown* outer) {
    if (const auto failure = OrderedFailure(Call::DirectSoundCaptureCreate))
        return static_cast<HRESULT>(*failure);
    if (outer != nullptr) return DSERR_NOAGGREGATION;
    if (capture == nullptr) return DSERR_INVALIDPARAM;
    *capture = nullptr;
    const auto device = CaptureDeviceByGuid(guid);
    if (!device) return DSERR_NODRIVER;
    auto claim = std::make_shared<DeviceClaim>(device);
    if (!*claim) return DSERR_ALLOCATED;
    *capture = new CaptureObject(std::move(claim));
    return DS_OK;
}

// By way of a type that the compiler takes for any function.
template <class Function>
FARPROC AsEntry(Function* entry) {
    return reinterpret_cast<FARPROC>(reinterpret_cast<void (*)()>(entry));
}

} // namespace

CountedObject::CountedObject() { objects.fetch_add(1, std::memory_order_relaxed); }
CountedObject::~CountedObject() { objects.fetch_sub(1, std::memory_order_relaxed); }
int CaptureObjects() { return objects.load(std::memory_order_relaxed); }

void OfferDirectSound(DirectSound state) {
    static const std::array<ModuleExport, 2> entries = {
        {{"DirectSoundCaptureEnumerateA", AsEntry(&Enumerate)},
         {"DirectSoundCaptureCreate", AsEntry(&Create)}}};
    constexpr const char* Name = "DSOUND.DLL";
    switch (state) {
    case DirectSound::Absent:
        OfferModule(nullptr, {});
        break;
    case DirectSound::WithoutCapture:
        OfferModule(Name, {});
        break;
    case DirectSound::Present:
        OfferModule(Name, entries);
        break;
    }
}

} // namespace machine
