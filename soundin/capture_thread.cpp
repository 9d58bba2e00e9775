// The thread of SoundInDx: follows the capture buffer's notifications and delivers what is due.
#include "soundin/sound_in_dx.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>

namespace Sonorel {

namespace {

// The longest single wait. Its end changes nothing: the thread waits again.
constexpr DWORD LongestWait = 10000; // milliseconds

} // namespace

unsigned WINAPI SoundInDx::RunCaptureThread(void* self) {
    auto& owner = *static_cast<SoundInDx*>(self);
    const auto size = static_cast<std::size_t>(owner.BytesPerBlock);
    const std::unique_ptr<std::uint8_t[]> copy(new (std::nothrow) std::uint8_t[size]);
    if (!copy) return 0;
    owner.LastResult = owner.CaptureBuffer->Start(DSCBSTART_LOOPING);
    if (FAILED(owner.LastResult)) return 0;
    owner.DeliverUntilStopped(copy.get());
    owner.CaptureBuffer->Stop();
    return 0;
}

// Waits for StopEvent along with the notifications: a device that has fallen silent must not hold
// up Stop.
void SoundInDx::DeliverUntilStopped(std::uint8_t* copy) {
    std::array<HANDLE, BlockCount + 1> events{};
    std::copy(NotifyEvents.begin(), NotifyEvents.end(), events.begin());
    events[BlockCount] = StopEvent;
    std::int32_t last = -1;
    for (;;) {
        const DWORD woken = WaitForMultipleObjects(static_cast<DWORD>(events.size()), events.data(),
                                                   FALSE, LongestWait);
        if (woken == WAIT_TIMEOUT) continue;
        if (woken >= WAIT_OBJECT_0 + BlockCount) return; // stopped, or nothing to wait for any more
        DeliverDue(static_cast<std::int32_t>(woken - WAIT_OBJECT_0), last, copy);
        if (WaitForSingleObject(StopEvent, 0) == WAIT_OBJECT_0) return;
    }
}

// notified: the block that has just ended. last: the block last delivered, -1 before the first
// notification, which only tells where the ring stands. More than half a ring behind nothing is
// delivered until the ring has come round to within half of last.
void SoundInDx::DeliverDue(std::int32_t notified, std::int32_t& last, std::uint8_t* copy) {
    if (last < 0) {
        last = notified;
        return;
    }
    std::int32_t due = (notified - last + BlockCount) % BlockCount;
    if (due * 2 > BlockCount) due = 0;
    while (Running && Callback && due > 0) {
        --due;
        last = (last + 1) % BlockCount;
        // Caught up with here, so its own notification has nothing more to say; left standing it
        // could be taken for the next lap's.
        if (due > 0) ResetEvent(NotifyEvents[static_cast<std::size_t>(last)]);
        DeliverBlock(last, copy);
    }
}

void SoundInDx::DeliverBlock(std::int32_t block, std::uint8_t* copy) {
    const DWORD now = timeGetTime();
    const DWORD lastByte = NotifyPositions[static_cast<std::size_t>(block)].dwOffset;
    const auto bytes = static_cast<DWORD>(BytesPerBlock);
    DWORD captured = 0;
    DWORD readable = 0;
    if (FAILED(CaptureBuffer->GetCurrentPosition(&captured, &readable))) captured = lastByte;
    const DWORD behind =
        captured >= lastByte ? captured - lastByte : captured + BufferDesc.dwBufferBytes - lastByte;
    const std::uint32_t time = now - behind * 1000 / Format.nAvgBytesPerSec;

    void* first = nullptr;
    void* second = nullptr;
    DWORD firstBytes = 0;
    DWORD secondBytes = 0;
    if (FAILED(CaptureBuffer->Lock(lastByte + 1 - bytes, bytes, &first, &firstBytes, &second,
                                   &secondBytes, 0)))
        return;
    // No block wraps, so all of it is in the first part.
    const DWORD copied = std::min(firstBytes, bytes);
    std::memcpy(copy, first, copied);
    CaptureBuffer->Unlock(first, firstBytes, second, secondBytes);
    Callback(time, copy, static_cast<std::int32_t>(copied), CallbackContext);
}

} // namespace Sonorel
