#include "platform/audio/wave_in_handle.h"

namespace machine {
namespace {
// Counts, ordered by nothing.
std::atomic<int> prepared{0};
std::atomic<int> duringReset{0};

// For the length of a stop or reset.
class Ending {
public:
    explicit Ending(std::atomic<int>& count) : count_(count) { ++count_; }
    ~Ending() { --count_; }
    Ending(const Ending&) = delete;
    Ending& operator=(const Ending&) = delete;

private:
    std::atomic<int>& count_;
};
} // namespace

int PreparedHeaders() { return prepared.load(std::memory_order_relaxed); }
int HeaderCallsDuringReset() { return duringReset.load(std::memory_order_relaxed); }

void ForgetHeaderCounts() {
    prepared.store(0, std::memory_order_relaxed);
    duringReset.store(0, std::memory_order_relaxed);
}

void WaveInHandle::NoteHeaderCall() const {
    if (endings_ > 0) duringReset.fetch_add(1, std::memory_order_relaxed);
}

WaveInHandle::WaveInHandle(std::unique_ptr<DeviceClaim> claim, const PcmFormat& format,
                           Listener listener)
    : claim_(std::move(claim)), frameBytes_(format.Channels * format.Bits / 8), format_(format),
      listener_(listener), stream_(claim_->Device().NewStream(format, *this)) {}

WaveInHandle::~WaveInHandle() { Abandon(); }

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
    if (FramesOf(header) == 0) return MMSYSERR_INVALPARAM;
    if (stream_->Gone()) return MMSYSERR_NODRIVER;
    header.dwFlags = WHDR_PREPARED | WHDR_INQUEUE;
    header.dwBytesRecorded = 0;
    header.lpNext = nullptr;
    (last_ != nullptr ? last_->lpNext : first_) = &header;
    last_ = &header;
    if (!Starved()) return MMSYSERR_NOERROR;
    next_ = &header;
    if (!started_) return MMSYSERR_NOERROR;
    const std::uint64_t missed = stream_->Position() - filled_;
    stream_->Read(nullptr, missed);
    stream_->Lost(missed);
    lost_ += missed;
    filled_ += missed;
    stream_->WakeAt(filled_ + FramesOf(header));
    return MMSYSERR_NOERROR;
}

MMRESULT WaveInHandle::Start() {
    const std::scoped_lock lock(lock_);
    if (started_) return MMSYSERR_NOERROR;
    if (!stream_->Start()) return MMSYSERR_NODRIVER;
    started_ = true;
    filled_ = lost_ = 0;
    if (!Starved()) stream_->WakeAt(FramesOf(*next_));
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
    if (const unsigned unit = claim_->Device().PositionUnit(); unit != 0) time.wType = unit;
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
    const std::uint64_t captured = Starved() ? filled_ : stream_->Position();
    return before_ + captured - lost_;
}

MMRESULT WaveInHandle::MayClose() {
    const std::scoped_lock lock(lock_);
    return first_ == nullptr || stream_->Gone() ? MMSYSERR_NOERROR : WAVERR_STILLPLAYING;
}

void WaveInHandle::Abandon() {
    stream_->Stop();
    const std::scoped_lock lock(lock_);
    started_ = false;
}

// One buffer at each wake: a slow callback then delays no other device more than itself.
void WaveInHandle::Captured() {
    const auto self = shared_from_this(); // a callback may drop the last handle
    std::unique_lock lock(lock_);
    if (started_ && !ending_ && FillNext(stream_->Position()) && stream_->MayNotify())
        GiveBack(lock, TakeFilled());
    if (started_ && !ending_ && !Starved()) stream_->WakeAt(filled_ + FramesOf(*next_));
}

// False if the end of the next buffer has not come by then, or there is none.
bool WaveInHandle::FillNext(std::uint64_t position) {
    if (Starved() || position < filled_ + FramesOf(*next_)) return false;
    FillPartly(filled_ + FramesOf(*next_));
    return true;
}

void WaveInHandle::FillPartly(std::uint64_t position) {
    const std::uint64_t frames = position - filled_;
    stream_->Read(next_->lpData, frames);
    next_->dwBytesRecorded = static_cast<DWORD>(frames * frameBytes_);
    filled_ = position;
    next_ = next_->lpNext;
}

WAVEHDR* WaveInHandle::TakeFilled() {
    if (first_ == next_) return nullptr;
    WAVEHDR* const chain = first_;
    WAVEHDR* end = chain;
    while (end->lpNext != next_) end = end->lpNext;
    end->lpNext = nullptr;
    first_ = next_;
    if (first_ == nullptr) last_ = nullptr;
    return chain;
}

WAVEHDR* WaveInHandle::TakeAll() {
    WAVEHDR* const chain = first_;
    first_ = last_ = next_ = nullptr;
    return chain;
}

void WaveInHandle::GiveBack(std::unique_lock<std::mutex>& lock, WAVEHDR* chain) {
    while (chain != nullptr) {
        WAVEHDR* const header = chain;
        chain = header->lpNext;
        header->lpNext = nullptr;
        header->dwFlags = (header->dwFlags & ~WHDR_INQUEUE) | WHDR_DONE;
        lock.unlock();
        Tell(WIM_DATA, header);
        lock.lock();
    }
}

void WaveInHandle::EndCapture(bool handBackAll) {
    const Ending count(endings_);
    std::unique_lock lock(lock_);
    ending_ = true;
    lock.unlock();
    stream_->Stop(); // the callback under way may need the lock
    lock.lock();
    ending_ = false;
    if (started_) {
        const std::uint64_t position = stream_->Position();
        while (FillNext(position)) {
        }
        if (!Starved() && position > filled_) FillPartly(position);
        started_ = false;
        before_ += filled_ - lost_;
        filled_ = lost_ = 0;
    }
    GiveBack(lock, handBackAll ? TakeAll() : TakeFilled());
}

} // namespace machine
