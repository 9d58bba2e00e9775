// The waveIn calls: devices and handles by number, arguments checked, faults met.
#include "platform/system/wave.h"

#include "platform/calls/names.h"
#include "platform/calls/wave_in_handle.h"
#include "platform/machine/capture.h"
#include "platform/machine/fault_point.h"
#include "platform/machine/power.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <utility>

namespace machine {
namespace {

// Never destroyed, since lanes run until the process ends.
struct HandleList {
    std::mutex Lock;
    std::vector<std::shared_ptr<WaveInHandle>> Handles;
};
HandleList& All() {
    static HandleList& list = *new HandleList;
    return list;
}

void Reset() {
    std::unique_lock lock(All().Lock);
    const auto dropped = std::exchange(All().Handles, {});
    lock.unlock();
    for (const auto& handle : dropped) handle->Abandon();
    ForgetHeaderCounts();
    AnswerPositionsIn(0);
}
const AtPowerOn atPowerOn(Reset);

std::shared_ptr<WaveInHandle> Find(HWAVEIN handle) {
    const std::scoped_lock lock(All().Lock);
    for (const auto& open : All().Handles)
        if (open->Handle() == handle) return open;
    return nullptr;
}

// Counts the call, meets an ordered failure, finds the handle, and goes on with it.
template <class Operation>
MMRESULT WithHandle(Call call, HWAVEIN handle, Operation operation) {
    if (const auto failure = OrderedFailure(call)) return static_cast<MMRESULT>(*failure);
    const auto open = Find(handle);
    return open ? operation(*open) : MMSYSERR_INVALHANDLE;
}

using HeaderCall = MMRESULT (WaveInHandle::*)(WAVEHDR&);
MMRESULT WithHeader(Call call, HWAVEIN handle, WAVEHDR* header, UINT size, HeaderCall operation) {
    return WithHandle(call, handle, [&](WaveInHandle& open) {
        if (header == nullptr || size < sizeof(WAVEHDR)) return MMSYSERR_INVALPARAM;
        return (open.*operation)(*header);
    });
}

// Nothing for a record that contradicts itself or is no PCM of 8 or 16 bits, mono or stereo.
std::optional<PcmFormat> FormatOf(const WAVEFORMATEX& wave) {
    const bool known = wave.wFormatTag == WAVE_FORMAT_PCM && wave.nSamplesPerSec > 0 &&
                       (wave.nChannels == 1 || wave.nChannels == 2) &&
                       (wave.wBitsPerSample == 8 || wave.wBitsPerSample == 16);
    if (!known || wave.nBlockAlign != wave.nChannels * wave.wBitsPerSample / 8 ||
        wave.nAvgBytesPerSec != wave.nSamplesPerSec * wave.nBlockAlign)
        return std::nullopt;
    return PcmFormat{wave.nSamplesPerSec, wave.nChannels, wave.wBitsPerSample};
}

// dwFormats: at each rate mono and stereo of 8 bits, then of 16.
DWORD FormatsOf(const CaptureDevice& device) {
    DWORD formats = 0;
    DWORD bit = 1;
    for (const unsigned rate : {11025u, 22050u, 44100u})
        for (const unsigned bits : {8u, 16u})
            for (const unsigned channels : {1u, 2u}) {
                if (device.Supports({rate, channels, bits})) formats |= bit;
                bit <<= 1;
            }
    return formats;
}

} // namespace

int OpenWaveIns() {
    const std::scoped_lock lock(All().Lock);
    return static_cast<int>(All().Handles.size());
}

} // namespace machine

namespace zorsystem {

using namespace machine;

UINT waveInGetNumDevs() { return static_cast<UINT>(CaptureDevices().size()); }

MMRESULT waveInGetDevCapsA(UINT_PTR number, WAVEINCAPSA* caps, UINT size) {
    if (const auto failure = OrderedFailure(Call::waveInGetDevCapsA))
        return static_cast<MMRESULT>(*failure);
    const auto devices = CaptureDevices();
    if (number >= devices.size()) return MMSYSERR_BADDEVICEID;
    if (caps == nullptr) return MMSYSERR_INVALPARAM;
    WAVEINCAPSA told = {};
    CopyName(told.szPname, devices[number]->Name());
    told.dwFormats = FormatsOf(*devices[number]);
    told.wChannels = static_cast<WORD>(devices[number]->Channels());
    std::memcpy(caps, &told, std::min<std::size_t>(size, sizeof told));
    return MMSYSERR_NOERROR;
}

MMRESULT waveInOpen(HWAVEIN* handle, UINT number, const WAVEFORMATEX* wave, DWORD_PTR callback,
                    DWORD_PTR instance, DWORD flags) {
    if (const auto failure = OrderedFailure(Call::waveInOpen))
        return static_cast<MMRESULT>(*failure);
    if (flags != CALLBACK_NULL && flags != CALLBACK_FUNCTION) return MMSYSERR_INVALFLAG;
    if (wave == nullptr || handle == nullptr) return MMSYSERR_INVALPARAM;
    const auto devices = CaptureDevices();
    if (number >= devices.size()) return MMSYSERR_BADDEVICEID;
    const auto format = FormatOf(*wave);
    if (!format || !devices[number]->Supports(*format)) return WAVERR_BADFORMAT;
    WaveInHandle::Listener listener{nullptr, instance};
    if (flags == CALLBACK_FUNCTION)
        listener.Function = reinterpret_cast<decltype(listener.Function)>(callback);
    const auto open = std::make_shared<WaveInHandle>(*devices[number], *format, listener);
    if (!open->IsOpen()) return MMSYSERR_ALLOCATED;
    {
        const std::scoped_lock lock(All().Lock);
        All().Handles.push_back(open);
    }
    *handle = open->Handle();
    open->Tell(WIM_OPEN);
    return MMSYSERR_NOERROR;
}

MMRESULT waveInClose(HWAVEIN handle) {
    return WithHandle(Call::waveInClose, handle, [handle](WaveInHandle& open) {
        if (const MMRESULT result = open.MayClose(); result != MMSYSERR_NOERROR) return result;
        {
            const std::scoped_lock lock(All().Lock);
            std::erase_if(All().Handles,
                          [handle](const auto& each) { return each->Handle() == handle; });
        }
        open.Abandon();
        open.Tell(WIM_CLOSE);
        return MMSYSERR_NOERROR;
    });
}

MMRESULT waveInPrepareHeader(HWAVEIN handle, WAVEHDR* header, UINT size) {
    return WithHeader(Call::waveInPrepareHeader, handle, header, size, &WaveInHandle::Prepare);
}

MMRESULT waveInUnprepareHeader(HWAVEIN handle, WAVEHDR* header, UINT size) {
    return WithHeader(Call::waveInUnprepareHeader, handle, header, size, &WaveInHandle::Unprepare);
}

MMRESULT waveInAddBuffer(HWAVEIN handle, WAVEHDR* header, UINT size) {
    return WithHeader(Call::waveInAddBuffer, handle, header, size, &WaveInHandle::Add);
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

} // namespace zorsystem
