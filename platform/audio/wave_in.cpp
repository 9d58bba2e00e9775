// The waveIn calls: devices and handles by number, arguments checked, faults met.
#include "platform/audio/wave_in.h"

#include "platform/audio/capture_devices.h"
#include "platform/audio/names.h"
#include "platform/audio/wave_in_handle.h"
#include "platform/machine/fault_point.h"

#include <algorithm>
#include <cstring>

namespace machine {
namespace {

struct HandleList {
    std::mutex Lock;
    std::vector<std::shared_ptr<WaveInHandle>> Handles;
};
// Never destroyed, since lanes run until the process ends.
HandleList& Open() {
    static HandleList& list = *new HandleList;
    return list;
}

std::shared_ptr<WaveInHandle> Find(HWAVEIN handle) {
    HandleList& list = Open();
    const std::scoped_lock lock(list.Lock);
    for (const auto& open : list.Handles)
        if (open->Handle() == handle) return open;
    return nullptr;
}

std::shared_ptr<WaveInHandle> Remove(HWAVEIN handle) {
    HandleList& list = Open();
    const std::scoped_lock lock(list.Lock);
    for (auto& open : list.Handles) {
        if (open->Handle() != handle) continue;
        std::shared_ptr<WaveInHandle> removed = std::move(open);
        std::erase(list.Handles, nullptr);
        return removed;
    }
    return nullptr;
}

// Counts the call, meets an ordered failure, finds the handle, and goes on with it.
template <class Operation>
MMRESULT WithHandle(Call call, HWAVEIN handle, Operation operation) {
    if (const auto failure = OrderedFailure(call)) return static_cast<MMRESULT>(*failure);
    const auto open = Find(handle);
    return open ? operation(*open) : MMSYSERR_INVALHANDLE;
}

template <class Operation>
MMRESULT WithHeader(Call call, HWAVEIN handle, WAVEHDR* header, UINT size, Operation operation) {
    return WithHandle(call, handle, [&](WaveInHandle& open) {
        if (header == nullptr || size < sizeof(WAVEHDR)) return MMSYSERR_INVALPARAM;
        return operation(open, *header);
    });
}

// Claims the device, or for the mapper the first one that can do the format and is free.
MMRESULT ClaimDevice(UINT number, const PcmFormat& format, bool onlyAsk,
                     std::unique_ptr<DeviceClaim>& claim) {
    auto candidates = PresentCaptureDevices();
    if (number != WAVE_MAPPER) {
        if (number >= candidates.size()) return MMSYSERR_BADDEVICEID;
        candidates = {candidates[number]};
    }
    MMRESULT result = candidates.empty() ? MMSYSERR_BADDEVICEID : WAVERR_BADFORMAT;
    for (const auto& device : candidates) {
        if (!device->Supports(format)) continue;
        if (onlyAsk) return MMSYSERR_NOERROR;
        claim = std::make_unique<DeviceClaim>(device);
        if (*claim) return MMSYSERR_NOERROR;
        result = MMSYSERR_ALLOCATED;
    }
    return result;
}

WAVEINCAPSA CapsOf(const std::string& name, std::uint32_t formats, unsigned channels) {
    WAVEINCAPSA caps = {};
    caps.wMid = 1;
    caps.wPid = 1;
    caps.vDriverVersion = 0x0100;
    CopyName(caps.szPname, name);
    caps.dwFormats = formats;
    caps.wChannels = static_cast<WORD>(channels);
    return caps;
}

// The mapper can do what any of the devices can.
WAVEINCAPSA CapsOfMapper(const std::vector<std::shared_ptr<CaptureDevice>>& devices) {
    std::uint32_t formats = 0;
    unsigned channels = 0;
    for (const auto& device : devices) {
        formats |= device->Formats();
        channels = std::max(channels, device->Channels());
    }
    return CapsOf("Sound Mapper", formats, channels);
}

} // namespace

int OpenWaveInHandles() {
    HandleList& list = Open();
    const std::scoped_lock lock(list.Lock);
    return static_cast<int>(list.Handles.size());
}

void DropWaveIns() {
    std::vector<std::shared_ptr<WaveInHandle>> dropped;
    {
        HandleList& list = Open();
        const std::scoped_lock lock(list.Lock);
        dropped.swap(list.Handles);
    }
    for (const auto& handle : dropped) handle->Abandon();
    ForgetHeaderCounts();
}

} // namespace machine

using namespace machine;

UINT waveInGetNumDevs() { return static_cast<UINT>(PresentCaptureDevices().size()); }

MMRESULT waveInGetDevCapsA(UINT_PTR device, WAVEINCAPSA* caps, UINT size) {
    if (const auto failure = OrderedFailure(Call::waveInGetDevCapsA))
        return static_cast<MMRESULT>(*failure);
    const auto devices = PresentCaptureDevices();
    const bool mapper = static_cast<UINT>(device) == WAVE_MAPPER && !devices.empty();
    if (!mapper && device >= devices.size()) return MMSYSERR_BADDEVICEID;
    if (caps == nullptr) return MMSYSERR_INVALPARAM;
    const WAVEINCAPSA told = mapper ? CapsOfMapper(devices)
                                    : CapsOf(devices[device]->Name(), devices[device]->Formats(),
                                             devices[device]->Channels());
    std::memcpy(caps, &told, std::min<std::size_t>(size, sizeof told));
    return MMSYSERR_NOERROR;
}

MMRESULT waveInOpen(HWAVEIN* handle, UINT device, const WAVEFORMATEX* wave, DWORD_PTR callback,
                    DWORD_PTR instance, DWORD flags) {
    if (const auto failure = OrderedFailure(Call::waveInOpen))
        return static_cast<MMRESULT>(*failure);
    const bool onlyAsk = (flags & WAVE_FORMAT_QUERY) != 0;
    const DWORD kind = flags & ~WAVE_FORMAT_QUERY;
    if (kind != CALLBACK_NULL && kind != CALLBACK_FUNCTION) return MMSYSERR_INVALFLAG;
    if (wave == nullptr || (handle == nullptr && !onlyAsk)) return MMSYSERR_INVALPARAM;
    const auto format = PcmFormatOf(*wave);
    if (!format) return WAVERR_BADFORMAT;
    std::unique_ptr<DeviceClaim> claim;
    const MMRESULT result = ClaimDevice(device, *format, onlyAsk, claim);
    if (result != MMSYSERR_NOERROR || onlyAsk) return result;
    WaveInHandle::Listener listener{nullptr, instance};
    if (kind == CALLBACK_FUNCTION)
        listener.Function = reinterpret_cast<decltype(listener.Function)>(callback);
    const auto open = std::make_shared<WaveInHandle>(std::move(claim), *format, listener);
    {
        HandleList& list = Open();
        const std::scoped_lock lock(list.Lock);
        list.Handles.push_back(open);
    }
    *handle = open->Handle();
    open->Tell(WIM_OPEN);
    return MMSYSERR_NOERROR;
}

MMRESULT waveInClose(HWAVEIN handle) {
    return WithHandle(Call::waveInClose, handle, [handle](WaveInHandle& open) {
        if (const MMRESULT result = open.MayClose(); result != MMSYSERR_NOERROR) return result;
        const auto closed = Remove(handle);
        open.Abandon();
        open.Tell(WIM_CLOSE);
        return MMSYSERR_NOERROR;
    });
}

MMRESULT waveInPrepareHeader(HWAVEIN handle, WAVEHDR* header, UINT size) {
    return WithHeader(Call::waveInPrepareHeader, handle, header, size,
                      [](WaveInHandle& open, WAVEHDR& given) { return open.Prepare(given); });
}

MMRESULT waveInUnprepareHeader(HWAVEIN handle, WAVEHDR* header, UINT size) {
    return WithHeader(Call::waveInUnprepareHeader, handle, header, size,
                      [](WaveInHandle& open, WAVEHDR& given) { return open.Unprepare(given); });
}

MMRESULT waveInAddBuffer(HWAVEIN handle, WAVEHDR* header, UINT size) {
    return WithHeader(Call::waveInAddBuffer, handle, header, size,
                      [](WaveInHandle& open, WAVEHDR& given) { return open.Add(given); });
}

MMRESULT waveInStart(HWAVEIN handle) {
    return WithHandle(Call::waveInStart, handle, [](WaveInHandle& open) { return open.Start(); });
}

MMRESULT waveInStop(HWAVEIN handle) {
    return WithHandle(Call::waveInStop, handle, [](WaveInHandle& open) { return open.Stop(); });
}

MMRESULT waveInReset(HWAVEIN handle) {
    return WithHandle(Call::waveInReset, handle, [](WaveInHandle& open) { return open.Reset(); });
}

MMRESULT waveInGetPosition(HWAVEIN handle, MMTIME* time, UINT size) {
    return WithHandle(Call::waveInGetPosition, handle, [time, size](WaveInHandle& open) {
        if (time == nullptr || size < sizeof(MMTIME)) return MMSYSERR_INVALPARAM;
        return open.Position(*time);
    });
}
