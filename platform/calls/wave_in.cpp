// The waveIn calls: an open device is the queue of an application's buffers, and the stream that
// fills them.
#include "platform/system/wave.h"

#include "platform/calls/handles.h"
#include "platform/calls/names.h"
#include "platform/api/capture.h"
#include "platform/machine/capture.h"
#include "platform/machine/faults.h"
#include "platform/machine/native.h"
#include "platform/machine/power.h"
#include "platform/system/user.h"

#include <algorithm>
#include <atomic>
#include <vector>

namespace machine {
namespace {

// Ordered by nothing.
std::atomic<int> prepared{0};
std::atomic<int> duringReset{0};
std::atomic<unsigned> positionUnit{0};

using Callback = void(CALLBACK*)(HWAVEIN, UINT, DWORD_PTR, DWORD_PTR, DWORD_PTR);

// Public functions run on any thread, but for the ones that the system forbids inside a callback.
// The callback runs on the capturing thread with nothing locked; on the caller's inside Close, Stop
// and Reset, which hand buffers back themselves.
class WaveIn final : public CaptureOwner, public std::enable_shared_from_this<WaveIn> {
public:
    WaveIn(CaptureDevice& device, const PcmFormat& format, Callback client, DWORD_PTR instance)
        : Rate(format.Rate), FrameBytes(format.Channels * format.Bits / 8), Client(client),
          Instance(instance), Stream(device.Open(format, *this)) {}
    ~WaveIn() { Abandon(); }

    // False: the device is not to be had. Every other function needs it.
    bool IsOpen() const { return Stream != nullptr; }
    void Tell(UINT message, WAVEHDR* header = nullptr) {
        Client(Handle, message, Instance, reinterpret_cast<DWORD_PTR>(header), 0);
    }

    MMRESULT Prepare(WAVEHDR& header);
    MMRESULT Unprepare(WAVEHDR& header);
    MMRESULT Add(WAVEHDR& header);
    MMRESULT Start();
    MMRESULT Stop();
    MMRESULT Reset();
    MMRESULT Position(MMTIME& time);
    // WAVERR_STILLPLAYING while buffers are queued, unless the device is gone.
    MMRESULT MayClose();
    // Ends capturing without handing anything back.
    void Abandon();

    HWAVEIN Handle = nullptr; // given before it is told of anything

private:
    void NoteHeaderCall() const { // before the lock
        if (Endings > 0) duringReset.fetch_add(1, std::memory_order_relaxed);
    }
    void Captured() override;
    WAVEHDR* TakeFilled(std::uint64_t position); // locked, as the next three
    WAVEHDR* FillFirst(std::uint64_t position);
    std::uint64_t PositionNow() const;
    std::uint64_t EndOfFirst() const { // frame of the stream
        return Filled + Queue.front()->dwBufferLength / FrameBytes;
    }
    void GiveBack(std::unique_lock<std::mutex>& lock, WAVEHDR* header);
    void EndCapture(bool handBackAll);

    const unsigned Rate;
    const unsigned FrameBytes;
    const Callback Client;
    const DWORD_PTR Instance;

    std::atomic<int> Endings{0}; // stops and resets under way

    std::mutex Lock; // of all below; never held in the callback
    const std::unique_ptr<CaptureStream> Stream;
    bool Started = false;
    bool Ending = false;         // a stop or reset is waiting for the callback
    std::vector<WAVEHDR*> Queue; // to be filled; a few, and room for them stays
    std::uint64_t Filled = 0;    // frames of the stream taken out, by a buffer or lost
    std::uint64_t Before = 0;    // recorded since the last reset but not of this stream, less lost
};

MMRESULT WaveIn::Prepare(WAVEHDR& header) {
    NoteHeaderCall();
    if (Stream->Gone()) return MMSYSERR_NODRIVER;
    if ((header.dwFlags & WHDR_PREPARED) == 0) prepared.fetch_add(1, std::memory_order_relaxed);
    header.dwFlags = WHDR_PREPARED;
    return MMSYSERR_NOERROR;
}

// Works on a device that is gone too, since the application has to free its memory.
MMRESULT WaveIn::Unprepare(WAVEHDR& header) {
    NoteHeaderCall();
    const std::scoped_lock lock(Lock);
    if ((header.dwFlags & WHDR_INQUEUE) != 0) return WAVERR_STILLPLAYING;
    if ((header.dwFlags & WHDR_PREPARED) != 0) prepared.fetch_sub(1, std::memory_order_relaxed);
    header.dwFlags &= ~WHDR_PREPARED;
    return MMSYSERR_NOERROR;
}

// What was captured while there was no buffer is lost.
MMRESULT WaveIn::Add(WAVEHDR& header) {
    NoteHeaderCall();
    const std::scoped_lock lock(Lock);
    if ((header.dwFlags & WHDR_PREPARED) == 0) return WAVERR_UNPREPARED;
    if (Stream->Gone()) return MMSYSERR_NODRIVER;
    header.dwFlags = WHDR_PREPARED | WHDR_INQUEUE;
    header.dwBytesRecorded = 0;
    Queue.push_back(&header);
    if (Queue.size() > 1 || !Started) return MMSYSERR_NOERROR;
    const std::uint64_t missed = Stream->Position() - Filled;
    Stream->Read(nullptr, missed);
    Before -= missed; // which wraps below 0, and comes back as missed frames are added
    Filled += missed;
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
    if (Stream->Gone()) return MMSYSERR_NODRIVER;
    EndCapture(false);
    return MMSYSERR_NOERROR;
}

MMRESULT WaveIn::Reset() {
    EndCapture(true);
    const std::scoped_lock lock(Lock);
    Before = 0;
    return Stream->Gone() ? MMSYSERR_NODRIVER : MMSYSERR_NOERROR;
}

MMRESULT WaveIn::Position(MMTIME& time) {
    const std::scoped_lock lock(Lock);
    if (Stream->Gone()) return MMSYSERR_NODRIVER;
    const std::uint64_t frames = PositionNow();
    if (const unsigned unit = positionUnit.load(std::memory_order_relaxed)) time.wType = unit;
    if (time.wType == TIME_MS)
        time.u.ms = static_cast<DWORD>(frames * 1000 / Rate);
    else
        time.u.sample = static_cast<DWORD>(time.wType == TIME_BYTES ? frames * FrameBytes : frames);
    return MMSYSERR_NOERROR;
}

// Frames lost for want of a buffer were not recorded, so they do not count; neither do those that a
// server still holds beyond what all queued buffers take.
std::uint64_t WaveIn::PositionNow() const {
    if (!Started) return Before;
    std::uint64_t end = Filled;
    for (const WAVEHDR* const header : Queue) end += header->dwBufferLength / FrameBytes;
    return Before + std::min(Stream->DevicePosition(), end);
}

MMRESULT WaveIn::MayClose() {
    const std::scoped_lock lock(Lock);
    return Queue.empty() || Stream->Gone() ? MMSYSERR_NOERROR : WAVERR_STILLPLAYING;
}

void WaveIn::Abandon() {
    if (Stream) Stream->Stop();
    const std::scoped_lock lock(Lock);
    Started = false;
}

// One buffer at each wake: a slow callback then delays no other device more than itself.
void WaveIn::Captured() {
    const auto self = shared_from_this(); // a callback may drop the last handle
    std::unique_lock lock(Lock);
    if (!Started || Ending) return;
    if (WAVEHDR* const full = TakeFilled(Stream->Position())) GiveBack(lock, full);
    if (Started && !Ending && !Queue.empty()) Stream->WakeAt(EndOfFirst());
}

// The next buffer, if its end has come by then.
WAVEHDR* WaveIn::TakeFilled(std::uint64_t position) {
    if (Queue.empty() || position < EndOfFirst()) return nullptr;
    return FillFirst(EndOfFirst());
}

WAVEHDR* WaveIn::FillFirst(std::uint64_t position) {
    WAVEHDR* const header = Queue.front();
    Queue.erase(Queue.begin());
    Stream->Read(header->lpData, position - Filled);
    header->dwBytesRecorded = static_cast<DWORD>((position - Filled) * FrameBytes);
    Filled = position;
    return header;
}

void WaveIn::GiveBack(std::unique_lock<std::mutex>& lock, WAVEHDR* header) {
    header->dwFlags = (header->dwFlags & ~WHDR_INQUEUE) | WHDR_DONE;
    lock.unlock();
    Tell(WIM_DATA, header);
    lock.lock();
}

// All is settled before the first buffer goes back, since its callback may call anything.
void WaveIn::EndCapture(bool handBackAll) {
    ++Endings;
    std::unique_lock lock(Lock);
    Ending = true;
    lock.unlock();
    Stream->Stop(); // the callback under way may need the lock
    lock.lock();
    Ending = false;
    std::vector<WAVEHDR*> back;
    if (Started) {
        const std::uint64_t position = Stream->Position();
        while (WAVEHDR* const full = TakeFilled(position)) back.push_back(full);
        if (!Queue.empty() && position > Filled) back.push_back(FillFirst(position));
        Started = false;
        Before += std::exchange(Filled, 0);
    }
    if (handBackAll) {
        back.insert(back.end(), Queue.begin(), Queue.end());
        Queue.clear();
    }
    for (WAVEHDR* const header : back) GiveBack(lock, header);
    --Endings;
}

using Open = Handles<WaveIn>;

const AtPowerOn atPowerOn([] {
    for (const auto& handle : The<Open>().TakeAll()) handle->Abandon();
    prepared = duringReset = 0;
    AnswerPositionsIn(0);
});

DWORD FormatsOf(const CaptureDevice& device) {
    DWORD formats = 0;
    for (std::size_t bit = 0; bit < CommonFormats.size(); ++bit)
        if (device.Supports(CommonFormats[bit])) formats |= 1u << bit;
    return formats;
}

// As the system's own, it tells the user why there is none.
MMRESULT NoSuchDevice() {
    if (const std::string why = MicrophoneProblem(); !why.empty())
        MessageBoxA(nullptr, why.c_str(), "No microphone", MB_ICONEXCLAMATION);
    return MMSYSERR_BADDEVICEID;
}

} // namespace

int OpenWaveIns() { return The<Open>().Count(); }
int PreparedWaveHeaders() { return prepared.load(std::memory_order_relaxed); }
int WaveCallsDuringReset() { return duringReset.load(std::memory_order_relaxed); }
void AnswerPositionsIn(unsigned unit) { positionUnit.store(unit, std::memory_order_relaxed); }

} // namespace machine

namespace zorsystem {

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
    *handle = open->Handle = The<Open>().Add<HWAVEIN>(open);
    open->Tell(WIM_OPEN);
    return MMSYSERR_NOERROR;
}

MMRESULT waveInClose(HWAVEIN handle) {
    if (const MMRESULT fault = On(Call::waveInClose, The<Open>(), handle, &WaveIn::MayClose))
        return fault;
    const auto closed = The<Open>().Take(handle);
    if (!closed) return MMSYSERR_INVALHANDLE;
    closed->Abandon();
    closed->Tell(WIM_CLOSE);
    return MMSYSERR_NOERROR;
}

MMRESULT waveInPrepareHeader(HWAVEIN handle, WAVEHDR* header, UINT /*size*/) {
    return On(Call::waveInPrepareHeader, The<Open>(), handle, &WaveIn::Prepare, *header);
}
MMRESULT waveInUnprepareHeader(HWAVEIN handle, WAVEHDR* header, UINT /*size*/) {
    return On(Call::waveInUnprepareHeader, The<Open>(), handle, &WaveIn::Unprepare, *header);
}
MMRESULT waveInAddBuffer(HWAVEIN handle, WAVEHDR* header, UINT /*size*/) {
    return On(Call::waveInAddBuffer, The<Open>(), handle, &WaveIn::Add, *header);
}
MMRESULT waveInStart(HWAVEIN handle) {
    return On(Call::waveInStart, The<Open>(), handle, &WaveIn::Start);
}
MMRESULT waveInStop(HWAVEIN handle) {
    return On(Call::waveInStop, The<Open>(), handle, &WaveIn::Stop);
}
MMRESULT waveInReset(HWAVEIN handle) {
    return On(Call::waveInReset, The<Open>(), handle, &WaveIn::Reset);
}
MMRESULT waveInGetPosition(HWAVEIN handle, MMTIME* time, UINT /*size*/) {
    return On(Call::waveInGetPosition, The<Open>(), handle, &WaveIn::Position, *time);
}

} // namespace zorsystem
