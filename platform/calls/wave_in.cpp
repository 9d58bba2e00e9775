// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The waveIn calls. An open device is a queue of the application's buffers and the stream that
// fills them.
#include "platform/system/wave.h"

#include "platform/api/capture.h"
#include "platform/calls/handles.h"
#include "platform/calls/text_buffer.h"
#include "platform/machine/capture.h"
#include "platform/machine/faults.h"
#include "platform/machine/native.h"
#include "platform/machine/power.h"
#include "platform/system/user.h"

#include <algorithm>
#include <atomic>
#include <vector>

namespace calls {

using namespace device;

namespace {

// Counters, which need no order with other memory.
std::atomic<int> prepared{0};
std::atomic<int> duringReset{0};
std::atomic<unsigned> positionUnit{0};

using Callback = void(CALLBACK*)(HWAVEIN, UINT, DWORD_PTR, DWORD_PTR, DWORD_PTR);

// Thread: any, except for the calls that the system forbids inside a callback. The callback runs on
// the capturing thread with no lock held; inside Close, Stop and Reset, which return buffers
// themselves, on the caller's thread.
class WaveIn final : public CaptureOwner, public std::enable_shared_from_this<WaveIn> {
public:
    WaveIn(CaptureDevice& device, const PcmFormat& format, Callback client, DWORD_PTR instance)
        : Rate(format.Rate), FrameBytes(format.Channels * format.Bits / 8), Client(client),
          Instance(instance), Stream(device.Open(format, *this)) {}
    ~WaveIn() { Abandon(); }

    // False if the device cannot be opened; no other function may be called then.
    bool IsOpen() const { return Stream != nullptr; }
    void CallClient(UINT message, WAVEHDR* header = nullptr) {
        Client(Handle, message, Instance, reinterpret_cast<DWORD_PTR>(header), 0);
    }

    MMRESULT Prepare(WAVEHDR& header);
    MMRESULT Unprepare(WAVEHDR& header);
    MMRESULT Add(WAVEHDR& header);
    MMRESULT Start();
    MMRESULT Stop();
    MMRESULT Reset();
    MMRESULT ReadPosition(MMTIME& time);
    // WAVERR_STILLPLAYING while buffers are queued, unless the device is gone.
    MMRESULT CheckClose();
    // Ends capturing without returning buffers.
    void Abandon();

    HWAVEIN Handle = nullptr; // set before the first callback

private:
    void CountHeaderCall() const { // called before locking
        if (EndCalls > 0) duringReset.fetch_add(1, std::memory_order_relaxed);
    }
    void OnFramesCaptured() override;
    WAVEHDR* PopFilled(std::uint64_t position); // locked, as the next three
    WAVEHDR* PopFirst(std::uint64_t position);
    std::uint64_t RecordedFrames() const;
    std::uint64_t EndOfFirst() const { // frame of the stream
        return ReadFrames + Queue.front()->dwBufferLength / FrameBytes;
    }
    void ReturnBuffer(std::unique_lock<std::mutex>& lock, WAVEHDR* header);
    void EndCapture(bool returnAll);

    const unsigned Rate;
    const unsigned FrameBytes;
    const Callback Client;
    const DWORD_PTR Instance;

    std::atomic<int> EndCalls{0}; // stops and resets that are running

    std::mutex Lock; // of all below; never held in the callback
    const std::unique_ptr<CaptureStream> Stream;
    bool Started = false;
    bool Ending = false; // a stop or reset is waiting for the callback
    std::vector<WAVEHDR*>
        Queue; // buffers to fill; its capacity is kept, so adding does not allocate
    std::uint64_t ReadFrames = 0; // of the stream, into buffers or lost
    // Added to the stream's frames for the position: frames of earlier runs since the last reset,
    // less those that were lost for want of a buffer. Wraps below 0.
    std::uint64_t PositionOffset = 0;
};

MMRESULT WaveIn::Prepare(WAVEHDR& header) {
    CountHeaderCall();
    if (Stream->IsGone()) return MMSYSERR_NODRIVER;
    if ((header.dwFlags & WHDR_PREPARED) == 0) prepared.fetch_add(1, std::memory_order_relaxed);
    header.dwFlags = WHDR_PREPARED;
    return MMSYSERR_NOERROR;
}

// Succeeds on a device that is gone too, since the application has to free its memory.
MMRESULT WaveIn::Unprepare(WAVEHDR& header) {
    CountHeaderCall();
    const std::scoped_lock lock(Lock);
    if ((header.dwFlags & WHDR_INQUEUE) != 0) return WAVERR_STILLPLAYING;
    if ((header.dwFlags & WHDR_PREPARED) != 0) prepared.fetch_sub(1, std::memory_order_relaxed);
    header.dwFlags &= ~WHDR_PREPARED;
    return MMSYSERR_NOERROR;
}

// Sound that was captured while no buffer was queued is lost.
MMRESULT WaveIn::Add(WAVEHDR& header) {
    CountHeaderCall();
    const std::scoped_lock lock(Lock);
    if ((header.dwFlags & WHDR_PREPARED) == 0) return WAVERR_UNPREPARED;
    if (Stream->IsGone()) return MMSYSERR_NODRIVER;
    header.dwFlags = WHDR_PREPARED | WHDR_INQUEUE;
    header.dwBytesRecorded = 0;
    Queue.push_back(&header);
    if (Queue.size() > 1 || !Started) return MMSYSERR_NOERROR;
    const std::uint64_t missed = Stream->Position() - ReadFrames;
    Stream->Read(nullptr, missed);
    PositionOffset -= missed;
    ReadFrames += missed;
    Stream->WakeAt(EndOfFirst());
    return MMSYSERR_NOERROR;
}

MMRESULT WaveIn::Start() {
    const std::scoped_lock lock(Lock);
    if (Started) return MMSYSERR_NOERROR;
    if (!Stream->Start()) return MMSYSERR_NODRIVER;
    Started = true;
    if (!Queue.empty()) Stream->WakeAt(EndOfFirst());
    return MMSYSERR_NOERROR;
}

MMRESULT WaveIn::Stop() {
    if (Stream->IsGone()) return MMSYSERR_NODRIVER;
    EndCapture(false);
    return MMSYSERR_NOERROR;
}

MMRESULT WaveIn::Reset() {
    EndCapture(true);
    const std::scoped_lock lock(Lock);
    PositionOffset = 0;
    return Stream->IsGone() ? MMSYSERR_NODRIVER : MMSYSERR_NOERROR;
}

MMRESULT WaveIn::ReadPosition(MMTIME& time) {
    const std::scoped_lock lock(Lock);
    if (Stream->IsGone()) return MMSYSERR_NODRIVER;
    const std::uint64_t frames = RecordedFrames();
    if (const unsigned unit = positionUnit.load(std::memory_order_relaxed)) time.wType = unit;
    if (time.wType == TIME_MS)
        time.u.ms = static_cast<DWORD>(frames * 1000 / Rate);
    else
        time.u.sample = static_cast<DWORD>(time.wType == TIME_BYTES ? frames * FrameBytes : frames);
    return MMSYSERR_NOERROR;
}

// Counts neither frames that were lost for want of a buffer, nor those that a server still holds
// beyond the end of the queued buffers.
std::uint64_t WaveIn::RecordedFrames() const {
    if (!Started) return PositionOffset;
    std::uint64_t end = ReadFrames;
    for (const WAVEHDR* const header : Queue) end += header->dwBufferLength / FrameBytes;
    return PositionOffset + std::min(Stream->DevicePosition(), end);
}

MMRESULT WaveIn::CheckClose() {
    const std::scoped_lock lock(Lock);
    return Queue.empty() || Stream->IsGone() ? MMSYSERR_NOERROR : WAVERR_STILLPLAYING;
}

void WaveIn::Abandon() {
    if (Stream) Stream->Stop();
    const std::scoped_lock lock(Lock);
    Started = false;
}

// One buffer for each wake-up, so that a device with a slow callback does not delay the others.
void WaveIn::OnFramesCaptured() {
    const auto self = shared_from_this(); // the callback may close the handle
    std::unique_lock lock(Lock);
    if (!Started || Ending) return;
    if (WAVEHDR* const full = PopFilled(Stream->Position())) ReturnBuffer(lock, full);
    if (Started && !Ending && !Queue.empty()) Stream->WakeAt(EndOfFirst());
}

// The next buffer, filled, if the position has reached its end; else null.
WAVEHDR* WaveIn::PopFilled(std::uint64_t position) {
    if (Queue.empty() || position < EndOfFirst()) return nullptr;
    return PopFirst(EndOfFirst());
}

WAVEHDR* WaveIn::PopFirst(std::uint64_t position) {
    WAVEHDR* const header = Queue.front();
    Queue.erase(Queue.begin());
    Stream->Read(header->lpData, position - ReadFrames);
    header->dwBytesRecorded = static_cast<DWORD>((position - ReadFrames) * FrameBytes);
    ReadFrames = position;
    return header;
}

void WaveIn::ReturnBuffer(std::unique_lock<std::mutex>& lock, WAVEHDR* header) {
    header->dwFlags = (header->dwFlags & ~WHDR_INQUEUE) | WHDR_DONE;
    lock.unlock();
    CallClient(WIM_DATA, header);
    lock.lock();
}

// The state is complete before the first buffer is returned, since the callback may call anything.
void WaveIn::EndCapture(bool returnAll) {
    ++EndCalls;
    std::unique_lock lock(Lock);
    Ending = true;
    lock.unlock();
    Stream->Stop(); // unlocked, since a running callback may need the lock
    lock.lock();
    Ending = false;
    std::vector<WAVEHDR*> returned;
    if (Started) {
        const std::uint64_t position = Stream->Position();
        while (WAVEHDR* const full = PopFilled(position)) returned.push_back(full);
        if (!Queue.empty() && position > ReadFrames) returned.push_back(PopFirst(position));
        Started = false;
        PositionOffset += std::exchange(ReadFrames, 0);
    }
    if (returnAll) {
        returned.insert(returned.end(), Queue.begin(), Queue.end());
        Queue.clear();
    }
    for (WAVEHDR* const header : returned) ReturnBuffer(lock, header);
    --EndCalls;
}

Handles<WaveIn>& OpenHandles() { return ImmortalSingleton<Handles<WaveIn>>(); }

const machine::AtPowerOn atPowerOn([] {
    for (const auto& handle : OpenHandles().RemoveAll()) handle->Abandon();
    prepared = duringReset = 0;
    machine::AnswerPositionsIn(0);
});

DWORD FormatsOf(const CaptureDevice& device) {
    DWORD formats = 0;
    for (std::size_t bit = 0; bit < machine::CommonFormats.size(); ++bit)
        if (device.Supports(machine::CommonFormats[bit])) formats |= 1u << bit;
    return formats;
}

// Shows the reason in a message box, as the system does, if the search for microphones failed.
MMRESULT NoSuchDevice() {
    if (const std::string reason = machine::MicrophoneProblem(); !reason.empty())
        MessageBoxA(nullptr, reason.c_str(), "No microphone", MB_ICONEXCLAMATION);
    return MMSYSERR_BADDEVICEID;
}

} // namespace
} // namespace calls

namespace machine {

using namespace calls;

int OpenWaveIns() { return OpenHandles().Count(); }
int PreparedWaveHeaders() { return prepared.load(std::memory_order_relaxed); }
int WaveCallsDuringReset() { return duringReset.load(std::memory_order_relaxed); }
void AnswerPositionsIn(unsigned unit) { positionUnit.store(unit, std::memory_order_relaxed); }

} // namespace machine

namespace zorsystem {

using namespace calls;
using namespace device;
using namespace machine;

UINT waveInGetNumDevs() { return static_cast<UINT>(CaptureDevices().size()); }

MMRESULT waveInGetDevCapsA(UINT_PTR number, WAVEINCAPSA* caps, UINT /*size*/) {
    if (const Failure failure{Call::waveInGetDevCapsA}) return failure;
    const auto devices = CaptureDevices();
    if (number >= devices.size()) return NoSuchDevice();
    CopyName(caps->szPname, devices[number]->Name());
    caps->dwFormats = FormatsOf(*devices[number]);
    caps->wChannels = static_cast<WORD>(devices[number]->Channels());
    return MMSYSERR_NOERROR;
}

MMRESULT waveInOpen(HWAVEIN* handle, UINT number, const WAVEFORMATEX* wave, DWORD_PTR callback,
                    DWORD_PTR instance, DWORD /*flags*/) {
    if (const Failure failure{Call::waveInOpen}) return failure;
    const auto devices = CaptureDevices();
    if (number >= devices.size()) return MMSYSERR_BADDEVICEID;
    const PcmFormat format{wave->nSamplesPerSec, wave->nChannels, wave->wBitsPerSample};
    if (!devices[number]->Supports(format)) return WAVERR_BADFORMAT;
    const auto open = std::make_shared<WaveIn>(*devices[number], format,
                                               reinterpret_cast<Callback>(callback), instance);
    if (!open->IsOpen()) return MMSYSERR_ALLOCATED;
    *handle = open->Handle = OpenHandles().Add<HWAVEIN>(open);
    open->CallClient(WIM_OPEN);
    return MMSYSERR_NOERROR;
}

MMRESULT waveInClose(HWAVEIN handle) {
    if (const MMRESULT fault =
            CallOnHandle(Call::waveInClose, OpenHandles(), handle, &WaveIn::CheckClose))
        return fault;
    const auto closed = OpenHandles().Remove(handle);
    if (!closed) return MMSYSERR_INVALHANDLE;
    closed->Abandon();
    closed->CallClient(WIM_CLOSE);
    return MMSYSERR_NOERROR;
}

MMRESULT waveInPrepareHeader(HWAVEIN handle, WAVEHDR* header, UINT /*size*/) {
    return CallOnHandle(Call::waveInPrepareHeader, OpenHandles(), handle, &WaveIn::Prepare,
                        *header);
}
MMRESULT waveInUnprepareHeader(HWAVEIN handle, WAVEHDR* header, UINT /*size*/) {
    return CallOnHandle(Call::waveInUnprepareHeader, OpenHandles(), handle, &WaveIn::Unprepare,
                        *header);
}
MMRESULT waveInAddBuffer(HWAVEIN handle, WAVEHDR* header, UINT /*size*/) {
    return CallOnHandle(Call::waveInAddBuffer, OpenHandles(), handle, &WaveIn::Add, *header);
}
MMRESULT waveInStart(HWAVEIN handle) {
    return CallOnHandle(Call::waveInStart, OpenHandles(), handle, &WaveIn::Start);
}
MMRESULT waveInStop(HWAVEIN handle) {
    return CallOnHandle(Call::waveInStop, OpenHandles(), handle, &WaveIn::Stop);
}
MMRESULT waveInReset(HWAVEIN handle) {
    return CallOnHandle(Call::waveInReset, OpenHandles(), handle, &WaveIn::Reset);
}
MMRESULT waveInGetPosition(HWAVEIN handle, MMTIME* time, UINT /*size*/) {
    return CallOnHandle(Call::waveInGetPosition, OpenHandles(), handle, &WaveIn::ReadPosition,
                        *time);
}

} // namespace zorsystem
