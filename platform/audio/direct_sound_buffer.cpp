#include "platform/audio/direct_sound_buffer.h"

#include "platform/machine/fault_point.h"
#include "platform/system/kernel.h"

#include <algorithm>
#include <cstring>

namespace machine {
namespace {

constexpr std::size_t MostLocks = 16;
constexpr unsigned WritesPerSecond = 100; // without notifications

PcmFormat FormatOf(const WAVEFORMATEX& wave) {
    return {wave.nSamplesPerSec, wave.nChannels, wave.wBitsPerSample};
}

} // namespace

CaptureBuffer::CaptureBuffer(std::shared_ptr<DeviceClaim> claim, const WAVEFORMATEX& wave,
                             DWORD bytes, DWORD flags)
    : claim_(std::move(claim)), wave_(wave), flags_(flags), ringFrames_(bytes / wave.nBlockAlign),
      stream_(claim_->Device().NewStream(FormatOf(wave), *this)),
      ring_(bytes, wave.wBitsPerSample == 8 ? 0x80 : 0) {
    locked_.reserve(MostLocks);
}

CaptureBuffer::~CaptureBuffer() { stream_->Stop(); }

// --- The object ---

HRESULT CaptureBuffer::QueryInterface(REFIID id, void** object) {
    if (const auto failure = OrderedFailure(Call::CaptureBufferQueryInterface))
        return static_cast<HRESULT>(*failure);
    if (object == nullptr) return DSERR_INVALIDPARAM;
    *object = nullptr;
    if (id != IID_IDirectSoundNotify) return E_NOINTERFACE;
    AddRef();
    *object = static_cast<IDirectSoundNotify*>(&notify_);
    return DS_OK;
}

DWORD CaptureBuffer::AddRef() { return references_.fetch_add(1, std::memory_order_relaxed) + 1; }

DWORD CaptureBuffer::Release() {
    const DWORD left = references_.fetch_sub(1, std::memory_order_acq_rel) - 1;
    if (left == 0) delete this;
    return left;
}

HRESULT CaptureBuffer::Notify::QueryInterface(REFIID id, void** object) {
    return Buffer.QueryInterface(id, object);
}

HRESULT CaptureBuffer::Initialize(IDirectSoundCapture*, const DSCBUFFERDESC*) {
    return DSERR_ALREADYINITIALIZED;
}

HRESULT CaptureBuffer::GetCaps(DSCBCAPS* caps) {
    if (caps == nullptr || caps->dwSize < sizeof(DSCBCAPS)) return DSERR_INVALIDPARAM;
    caps->dwFlags = flags_;
    caps->dwBufferBytes = static_cast<DWORD>(ring_.size());
    caps->dwReserved = 0;
    return DS_OK;
}

HRESULT CaptureBuffer::GetFormat(WAVEFORMATEX* format, DWORD size, DWORD* written) {
    if (format == nullptr && written == nullptr) return DSERR_INVALIDPARAM;
    const DWORD copied = format != nullptr ? std::min<DWORD>(size, sizeof wave_) : sizeof wave_;
    if (format != nullptr) std::memcpy(format, &wave_, copied);
    if (written != nullptr) *written = copied;
    return DS_OK;
}

// --- Capturing ---

HRESULT CaptureBuffer::Start(DWORD flags) {
    if (const auto failure = OrderedFailure(Call::CaptureBufferStart))
        return static_cast<HRESULT>(*failure);
    const std::scoped_lock lock(lock_);
    if (started_) return DS_OK;
    if (!stream_->Start()) return DSERR_NODRIVER;
    started_ = true;
    looping_ = (flags & DSCBSTART_LOOPING) != 0;
    written_ = 0;
    stream_->WakeAt(NextDue());
    return DS_OK;
}

HRESULT CaptureBuffer::Stop() {
    if (const auto failure = OrderedFailure(Call::CaptureBufferStop))
        return static_cast<HRESULT>(*failure);
    std::unique_lock lock(lock_);
    if (!started_) return DS_OK;
    ending_ = true;
    lock.unlock();
    stream_->Stop(); // a Captured under way needs the lock
    lock.lock();
    ending_ = false;
    if (started_) EndCapture();
    return DS_OK;
}

// One step at each wake: a device that is late delays no other one more than that.
void CaptureBuffer::Captured() {
    const std::scoped_lock lock(lock_);
    if (!started_ || ending_) return;
    const std::uint64_t due = NextDue();
    if (stream_->Position() >= due) {
        WriteUpTo(due);
        NotifyAt(due);
    }
    if (written_ < LastFrame()) {
        stream_->WakeAt(NextDue());
        return;
    }
    stream_->Stop();
    EndCapture();
}

// The frame of the stream up to which the ring is written next.
std::uint64_t CaptureBuffer::NextDue() const {
    const std::uint64_t at = InRing(written_);
    const auto place = std::ranges::upper_bound(places_, at, {}, &Place::Frame);
    std::uint64_t next = ringFrames_; // its end, unless something is due before
    if (place != places_.end())
        next = place->Frame;
    else if (looping_ && !places_.empty())
        next = ringFrames_ + places_.front().Frame;
    const std::uint64_t step = next - at;
    if (!places_.empty()) return written_ + step;
    return written_ + std::min<std::uint64_t>(step, wave_.nSamplesPerSec / WritesPerSecond + 1);
}

// Ends capturing where the stream stands.
void CaptureBuffer::EndCapture() {
    const std::uint64_t end = std::min(stream_->Position(), LastFrame());
    for (std::uint64_t due = NextDue(); due <= end; due = NextDue()) {
        WriteUpTo(due);
        NotifyAt(due);
    }
    WriteUpTo(end);
    base_ = InRing(written_);
    written_ = 0;
    started_ = false;
    for (const HANDLE event : stopEvents_) SetEvent(event);
}

void CaptureBuffer::WriteUpTo(std::uint64_t frame) {
    while (written_ < frame) {
        const std::uint64_t at = InRing(written_);
        const std::uint64_t run = std::min(frame - written_, ringFrames_ - at);
        WriteRun(at, run);
        written_ += run;
    }
}

// Within the ring, around what is locked.
void CaptureBuffer::WriteRun(std::uint64_t at, std::uint64_t frames) {
    const std::uint64_t end = at + frames;
    while (at < end) {
        const bool locked = IsLocked(at);
        std::uint64_t stop = at + 1;
        if (locked_.empty()) stop = end;
        while (stop < end && IsLocked(stop) == locked) ++stop;
        stream_->Read(locked ? nullptr : ring_.data() + at * wave_.nBlockAlign, stop - at);
        if (locked) stream_->Lost(stop - at);
        at = stop;
    }
}

bool CaptureBuffer::IsLocked(std::uint64_t at) const {
    const std::uint64_t from = at * wave_.nBlockAlign;
    return std::ranges::any_of(locked_, [from, this](const Region& region) {
        return from < std::uint64_t{region.From} + region.Bytes &&
               from + wave_.nBlockAlign > region.From;
    });
}

void CaptureBuffer::NotifyAt(std::uint64_t frame) {
    const std::uint64_t at = InRing(frame) != 0 ? InRing(frame) : ringFrames_;
    const auto here = [at](const Place& place) { return place.Frame == at; };
    if (std::ranges::none_of(places_, here) || !stream_->MayNotify()) return;
    for (const Place& place : places_)
        if (here(place)) SetEvent(place.Event);
}

HRESULT CaptureBuffer::GetCurrentPosition(DWORD* captured, DWORD* readable) {
    if (const auto failure = OrderedFailure(Call::CaptureBufferGetCurrentPosition))
        return static_cast<HRESULT>(*failure);
    const std::scoped_lock lock(lock_);
    if (stream_->Gone()) return DSERR_NODRIVER;
    // The cursor never laps what is readable.
    const std::uint64_t most = std::min(written_ + ringFrames_ - 1, LastFrame());
    const std::uint64_t position = started_ ? std::min(stream_->Position(), most) : written_;
    if (captured != nullptr) *captured = Offset(position);
    if (readable != nullptr) *readable = Offset(written_);
    return DS_OK;
}

HRESULT CaptureBuffer::GetStatus(DWORD* status) {
    if (status == nullptr) return DSERR_INVALIDPARAM;
    const std::scoped_lock lock(lock_);
    *status = 0;
    if (started_) *status = DSCBSTATUS_CAPTURING | (looping_ ? DSCBSTATUS_LOOPING : 0);
    return DS_OK;
}

// --- The ring ---

HRESULT CaptureBuffer::Lock(DWORD offset, DWORD bytes, void** first, DWORD* firstBytes,
                            void** second, DWORD* secondBytes, DWORD flags) {
    if (const auto failure = OrderedFailure(Call::CaptureBufferLock))
        return static_cast<HRESULT>(*failure);
    if (first == nullptr || firstBytes == nullptr) return DSERR_INVALIDPARAM;
    const std::scoped_lock lock(lock_);
    const auto size = static_cast<DWORD>(ring_.size());
    if ((flags & DSCBLOCK_ENTIREBUFFER) != 0) bytes = size;
    if (offset >= size || bytes == 0 || bytes > size) return DSERR_INVALIDPARAM;
    if (stream_->Gone()) return DSERR_NODRIVER;
    const DWORD untilEnd = std::min(bytes, size - offset);
    const bool wraps = bytes > untilEnd && second != nullptr && secondBytes != nullptr;
    if (locked_.size() + (wraps ? 2 : 1) > MostLocks) return DSERR_INVALIDCALL;
    *first = ring_.data() + offset;
    *firstBytes = untilEnd;
    locked_.push_back({offset, untilEnd});
    if (second != nullptr) *second = wraps ? ring_.data() : nullptr;
    if (secondBytes != nullptr) *secondBytes = wraps ? bytes - untilEnd : 0;
    if (wraps) locked_.push_back({0, bytes - untilEnd});
    return DS_OK;
}

HRESULT CaptureBuffer::Unlock(void* first, DWORD firstBytes, void* second, DWORD secondBytes) {
    const std::scoped_lock lock(lock_);
    const auto release = [this](void* part, DWORD) {
        const auto region = std::ranges::find_if(
            locked_, [part, this](const Region& held) { return ring_.data() + held.From == part; });
        if (region == locked_.end()) return false;
        locked_.erase(region);
        return true;
    };
    if (!release(first, firstBytes)) return DSERR_INVALIDPARAM;
    if (second != nullptr && !release(second, secondBytes)) return DSERR_INVALIDPARAM;
    return DS_OK;
}

HRESULT CaptureBuffer::Notify::SetNotificationPositions(DWORD count,
                                                        const DSBPOSITIONNOTIFY* positions) {
    if (const auto failure = OrderedFailure(Call::SetNotificationPositions))
        return static_cast<HRESULT>(*failure);
    return Buffer.SetPlaces(count, positions);
}

HRESULT CaptureBuffer::SetPlaces(DWORD count, const DSBPOSITIONNOTIFY* positions) {
    if (count > 0 && positions == nullptr) return DSERR_INVALIDPARAM;
    std::vector<Place> places;
    std::vector<HANDLE> stops;
    for (DWORD i = 0; i < count; ++i) {
        const auto [offset, event] = positions[i];
        if (event == nullptr) return DSERR_INVALIDPARAM;
        if (offset == DSBPN_OFFSETSTOP)
            stops.push_back(event);
        else if (offset < ring_.size())
            places.push_back({offset / wave_.nBlockAlign + 1, event});
        else
            return DSERR_INVALIDPARAM;
    }
    std::ranges::stable_sort(places, {}, &Place::Frame);
    const std::scoped_lock lock(lock_);
    if (started_) return DSERR_INVALIDCALL;
    places_ = std::move(places);
    stopEvents_ = std::move(stops);
    return DS_OK;
}

} // namespace machine
