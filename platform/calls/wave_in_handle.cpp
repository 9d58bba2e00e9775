#include "platform/calls/wave_in_handle.h"

#include "platform/machine/capture.h"

namespace machine {
namespace {
// Ordered by nothing.
std::atomic<int> prepared{0};
std::atomic<int> duringReset{0};
std::atomic<unsigned> positionUnit{0};
} // namespace

int PreparedWaveHeaders() { return prepared.load(std::memory_order_relaxed); }
int WaveCallsDuringReset() { return duringReset.load(std::memory_order_relaxed); }
void AnswerPositionsIn(unsigned unit) { positionUnit.store(unit, std::memory_order_relaxed); }

void ForgetHeaderCounts() {
    prepared.store(0, std::memory_order_relaxed);
    duringReset.store(0, std::memory_order_relaxed);
}

void WaveInHandle::NoteHeaderCall() const {
    if (Endings > 0) duringReset.fetch_add(1, std::memory_order_relaxed);
}

WaveInHandle::WaveInHandle(CaptureDevice& device, const PcmFormat& format, Listener listener)
    : Format(format), FrameBytes(format.Channels * format.Bits / 8), Client(listener),
      Stream(device.Open(format, *this)) {}

void WaveInHandle::Tell(UINT message, WAVEHDR* header) {
    if (Client.Function != nullptr)
        Client.Function(Handle(), message, Client.Instance, reinterpret_cast<DWORD_PTR>(header), 0);
}

MMRESULT WaveInHandle::Prepare(WAVEHDR& header) {
    NoteHeaderCall();
    if (header.lpData == nullptr) return MMSYSERR_INVALPARAM;
    const std::scoped_lock lock(Lock);
    if ((header.dwFlags & WHDR_INQUEUE) != 0) return WAVERR_STILLPLAYING;
    if (Stream->Gone()) return MMSYSERR_NODRIVER;
    if ((header.dwFlags & WHDR_PREPARED) == 0) prepared.fetch_add(1, std::memory_order_relaxed);
    header.dwFlags = WHDR_PREPARED;
    return MMSYSERR_NOERROR;
}

// Works on a device that is gone too, since the application has to free its memory.
MMRESULT WaveInHandle::Unprepare(WAVEHDR& header) {
    NoteHeaderCall();
    const std::scoped_lock lock(Lock);
    if ((header.dwFlags & WHDR_INQUEUE) != 0) return WAVERR_STILLPLAYING;
    if ((header.dwFlags & WHDR_PREPARED) != 0) prepared.fetch_sub(1, std::memory_order_relaxed);
    header.dwFlags &= ~WHDR_PREPARED;
    return MMSYSERR_NOERROR;
}

MMRESULT WaveInHandle::Add(WAVEHDR& header) {
    NoteHeaderCall();
    const std::scoped_lock lock(Lock);
    if ((header.dwFlags & WHDR_PREPARED) == 0) return WAVERR_UNPREPARED;
    if ((header.dwFlags & WHDR_INQUEUE) != 0) return WAVERR_STILLPLAYING;
    if (header.dwBufferLength < FrameBytes) return MMSYSERR_INVALPARAM;
    if (Stream->Gone()) return MMSYSERR_NODRIVER;
    header.dwFlags = WHDR_PREPARED | WHDR_INQUEUE;
    header.dwBytesRecorded = 0;
    const bool starved = Queue.First() == nullptr;
    Queue.Add(header);
    if (!starved || !Started) return MMSYSERR_NOERROR;
    const std::uint64_t missed = Stream->Position() - Filled;
    Stream->Read(nullptr, missed);
    Lost += missed;
    Filled += missed;
    Stream->WakeAt(EndOfFirst());
    return MMSYSERR_NOERROR;
}

MMRESULT WaveInHandle::Start() {
    const std::scoped_lock lock(Lock);
    if (Started) return MMSYSERR_NOERROR;
    if (!Stream->Start()) return MMSYSERR_NODRIVER;
    Started = true;
    Filled = Lost = 0;
    if (Queue.First() != nullptr) Stream->WakeAt(EndOfFirst());
    return MMSYSERR_NOERROR;
}

MMRESULT WaveInHandle::Stop() {
    if (Stream->Gone()) return MMSYSERR_NODRIVER;
    EndCapture(false);
    return MMSYSERR_NOERROR;
}

MMRESULT WaveInHandle::Reset() {
    EndCapture(true);
    const std::scoped_lock lock(Lock);
    Before = 0;
    return Stream->Gone() ? MMSYSERR_NODRIVER : MMSYSERR_NOERROR;
}

MMRESULT WaveInHandle::Position(MMTIME& time) {
    const std::scoped_lock lock(Lock);
    if (Stream->Gone()) return MMSYSERR_NODRIVER;
    const std::uint64_t frames = PositionNow();
    if (const unsigned unit = positionUnit.load(std::memory_order_relaxed)) time.wType = unit;
    switch (time.wType) {
    case TIME_MS:
        time.u.ms = static_cast<DWORD>(frames * 1000 / Format.Rate);
        break;
    case TIME_SAMPLES:
        time.u.sample = static_cast<DWORD>(frames);
        break;
    case TIME_SMPTE: // no film is running
        time.u = {};
        break;
    default: // what every device can tell
        time.wType = TIME_BYTES;
        time.u.cb = static_cast<DWORD>(frames * FrameBytes);
    }
    return MMSYSERR_NOERROR;
}

// Frames lost for want of a buffer were not recorded, so they do not count.
std::uint64_t WaveInHandle::PositionNow() const {
    if (!Started) return Before;
    const std::uint64_t captured = Queue.First() != nullptr ? Stream->Position() : Filled;
    return Before + captured - Lost;
}

MMRESULT WaveInHandle::MayClose() {
    const std::scoped_lock lock(Lock);
    const bool may = Queue.First() == nullptr || Stream->Gone();
    return may ? MMSYSERR_NOERROR : WAVERR_STILLPLAYING;
}

void WaveInHandle::Abandon() {
    if (Stream) Stream->Stop();
    const std::scoped_lock lock(Lock);
    Started = false;
}

// One buffer at each wake: a slow callback then delays no other device more than itself.
void WaveInHandle::Captured() {
    const auto self = shared_from_this(); // a callback may drop the last handle
    std::unique_lock lock(Lock);
    if (!Started || Ending) return;
    if (WAVEHDR* const full = TakeFilled(Stream->Position())) GiveBack(lock, full);
    if (Started && !Ending && Queue.First() != nullptr) Stream->WakeAt(EndOfFirst());
}

// The next buffer, if its end has come by then.
WAVEHDR* WaveInHandle::TakeFilled(std::uint64_t position) {
    if (Queue.First() == nullptr || position < EndOfFirst()) return nullptr;
    return FillFirst(EndOfFirst());
}

WAVEHDR* WaveInHandle::FillFirst(std::uint64_t position) {
    WAVEHDR* const header = Queue.TakeFirst();
    Stream->Read(header->lpData, position - Filled);
    header->dwBytesRecorded = static_cast<DWORD>((position - Filled) * FrameBytes);
    Filled = position;
    return header;
}

void WaveInHandle::GiveBack(std::unique_lock<std::mutex>& lock, WAVEHDR* header) {
    header->lpNext = nullptr;
    header->dwFlags = (header->dwFlags & ~WHDR_INQUEUE) | WHDR_DONE;
    lock.unlock();
    Tell(WIM_DATA, header);
    lock.lock();
}

// All is settled before the first buffer goes back, since its callback may call anything.
void WaveInHandle::EndCapture(bool handBackAll) {
    ++Endings;
    std::unique_lock lock(Lock);
    Ending = true;
    lock.unlock();
    Stream->Stop(); // the callback under way may need the lock
    lock.lock();
    Ending = false;
    HeaderQueue back;
    if (Started) {
        const std::uint64_t position = Stream->Position();
        while (WAVEHDR* const full = TakeFilled(position)) back.Add(*full);
        if (Queue.First() != nullptr && position > Filled) back.Add(*FillFirst(position));
        Started = false;
        Before += Filled - Lost;
        Filled = Lost = 0;
    }
    while (handBackAll && Queue.First() != nullptr) back.Add(*Queue.TakeFirst());
    while (WAVEHDR* const header = back.TakeFirst()) GiveBack(lock, header);
    --Endings;
}

} // namespace machine
