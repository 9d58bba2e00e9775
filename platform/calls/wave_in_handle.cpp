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
    if (endings_ > 0) duringReset.fetch_add(1, std::memory_order_relaxed);
}

WaveInHandle::WaveInHandle(CaptureDevice& device, const PcmFormat& format, Listener listener)
    : format_(format), frameBytes_(format.Channels * format.Bits / 8), listener_(listener),
      stream_(device.Open(format, *this)) {}

void WaveInHandle::Tell(UINT message, WAVEHDR* header) {
    if (listener_.Function != nullptr)
        listener_.Function(Handle(), message, listener_.Instance,
                           reinterpret_cast<DWORD_PTR>(header), 0);
}

MMRESULT WaveInHandle::Prepare(WAVEHDR& header) {
    NoteHeaderCall();
    if (header.lpData == nullptr) return MMSYSERR_INVALPARAM;
    const std::scoped_lock lock(lock_);
    if ((header.dwFlags & WHDR_INQUEUE) != 0) return WAVERR_STILLPLAYING;
    if (stream_->Gone()) return MMSYSERR_NODRIVER;
    if ((header.dwFlags & WHDR_PREPARED) == 0) prepared.fetch_add(1, std::memory_order_relaxed);
    header.dwFlags = WHDR_PREPARED;
    return MMSYSERR_NOERROR;
}

// Works on a device that is gone too, since the application has to free its memory.
MMRESULT WaveInHandle::Unprepare(WAVEHDR& header) {
    NoteHeaderCall();
    const std::scoped_lock lock(lock_);
    if ((header.dwFlags & WHDR_INQUEUE) != 0) return WAVERR_STILLPLAYING;
    if ((header.dwFlags & WHDR_PREPARED) != 0) prepared.fetch_sub(1, std::memory_order_relaxed);
    header.dwFlags &= ~WHDR_PREPARED;
    return MMSYSERR_NOERROR;
}

MMRESULT WaveInHandle::Add(WAVEHDR& header) {
    NoteHeaderCall();
    const std::scoped_lock lock(lock_);
    if ((header.dwFlags & WHDR_PREPARED) == 0) return WAVERR_UNPREPARED;
    if ((header.dwFlags & WHDR_INQUEUE) != 0) return WAVERR_STILLPLAYING;
    if (header.dwBufferLength < frameBytes_) return MMSYSERR_INVALPARAM;
    if (stream_->Gone()) return MMSYSERR_NODRIVER;
    header.dwFlags = WHDR_PREPARED | WHDR_INQUEUE;
    header.dwBytesRecorded = 0;
    const bool starved = queue_.First() == nullptr;
    queue_.Add(header);
    if (!starved || !started_) return MMSYSERR_NOERROR;
    const std::uint64_t missed = stream_->Position() - filled_;
    stream_->Read(nullptr, missed);
    lost_ += missed;
    filled_ += missed;
    stream_->WakeAt(EndOfFirst());
    return MMSYSERR_NOERROR;
}

MMRESULT WaveInHandle::Start() {
    const std::scoped_lock lock(lock_);
    if (started_) return MMSYSERR_NOERROR;
    if (!stream_->Start()) return MMSYSERR_NODRIVER;
    started_ = true;
    filled_ = lost_ = 0;
    if (queue_.First() != nullptr) stream_->WakeAt(EndOfFirst());
    return MMSYSERR_NOERROR;
}

MMRESULT WaveInHandle::Stop() {
    if (stream_->Gone()) return MMSYSERR_NODRIVER;
    EndCapture(false);
    return MMSYSERR_NOERROR;
}

MMRESULT WaveInHandle::Reset() {
    EndCapture(true);
    const std::scoped_lock lock(lock_);
    before_ = 0;
    return stream_->Gone() ? MMSYSERR_NODRIVER : MMSYSERR_NOERROR;
}

MMRESULT WaveInHandle::Position(MMTIME& time) {
    const std::scoped_lock lock(lock_);
    if (stream_->Gone()) return MMSYSERR_NODRIVER;
    const std::uint64_t frames = PositionNow();
    if (const unsigned unit = positionUnit.load(std::memory_order_relaxed)) time.wType = unit;
    switch (time.wType) {
    case TIME_MS:
        time.u.ms = static_cast<DWORD>(frames * 1000 / format_.Rate);
        break;
    case TIME_SAMPLES:
        time.u.sample = static_cast<DWORD>(frames);
        break;
    case TIME_SMPTE: // no film is running
        time.u = {};
        break;
    default: // what every device can tell
        time.wType = TIME_BYTES;
        time.u.cb = static_cast<DWORD>(frames * frameBytes_);
    }
    return MMSYSERR_NOERROR;
}

// Frames lost for want of a buffer were not recorded, so they do not count.
std::uint64_t WaveInHandle::PositionNow() const {
    if (!started_) return before_;
    const std::uint64_t captured = queue_.First() != nullptr ? stream_->Position() : filled_;
    return before_ + captured - lost_;
}

MMRESULT WaveInHandle::MayClose() {
    const std::scoped_lock lock(lock_);
    const bool may = queue_.First() == nullptr || stream_->Gone();
    return may ? MMSYSERR_NOERROR : WAVERR_STILLPLAYING;
}

void WaveInHandle::Abandon() {
    if (stream_) stream_->Stop();
    const std::scoped_lock lock(lock_);
    started_ = false;
}

// One buffer at each wake: a slow callback then delays no other device more than itself.
void WaveInHandle::Captured() {
    const auto self = shared_from_this(); // a callback may drop the last handle
    std::unique_lock lock(lock_);
    if (!started_ || ending_) return;
    if (WAVEHDR* const full = TakeFilled(stream_->Position())) GiveBack(lock, full);
    if (started_ && !ending_ && queue_.First() != nullptr) stream_->WakeAt(EndOfFirst());
}

// The next buffer, if its end has come by then.
WAVEHDR* WaveInHandle::TakeFilled(std::uint64_t position) {
    if (queue_.First() == nullptr || position < EndOfFirst()) return nullptr;
    return FillFirst(EndOfFirst());
}

WAVEHDR* WaveInHandle::FillFirst(std::uint64_t position) {
    WAVEHDR* const header = queue_.TakeFirst();
    stream_->Read(header->lpData, position - filled_);
    header->dwBytesRecorded = static_cast<DWORD>((position - filled_) * frameBytes_);
    filled_ = position;
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
    ++endings_;
    std::unique_lock lock(lock_);
    ending_ = true;
    lock.unlock();
    stream_->Stop(); // the callback under way may need the lock
    lock.lock();
    ending_ = false;
    HeaderQueue back;
    if (started_) {
        const std::uint64_t position = stream_->Position();
        while (WAVEHDR* const full = TakeFilled(position)) back.Add(*full);
        if (queue_.First() != nullptr && position > filled_) back.Add(*FillFirst(position));
        started_ = false;
        before_ += filled_ - lost_;
        filled_ = lost_ = 0;
    }
    while (handBackAll && queue_.First() != nullptr) back.Add(*queue_.TakeFirst());
    while (WAVEHDR* const header = back.TakeFirst()) GiveBack(lock, header);
    --endings_;
}

} // namespace machine
