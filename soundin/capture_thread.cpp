// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The thread of SoundInDx: waits for the notifications of the capture buffer and delivers its
// blocks.
#include "soundin/sound_in_dx.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>

namespace Sonorel {

namespace {

// Limit of a single wait; after it the thread waits again.
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

// Waits for StopEvent together with the notifications, so that Stop does not depend on a device
// that no longer notifies.
void SoundInDx::DeliverUntilStopped(std::uint8_t* copy) {
    std::array<HANDLE, BlockCount + 1> events{};
    std::copy(NotifyEvents.begin(), NotifyEvents.end(), events.begin());
    events[BlockCount] = StopEvent;
    std::int32_t last = -1;
    for (;;) {
        const DWORD woken = WaitForMultipleObjects(static_cast<DWORD>(events.size()), events.data(),
                                                   FALSE, LongestWait);
        if (woken == WAIT_TIMEOUT) continue;
        if (woken >= WAIT_OBJECT_0 + BlockCount) return; // stopped, or the wait failed
        DeliverDue(static_cast<std::int32_t>(woken - WAIT_OBJECT_0), last, copy);
        if (WaitForSingleObject(StopEvent, 0) == WAIT_OBJECT_0) return;
    }
}

// Delivers the blocks from last to notified. notified: the block whose end was notified. last: the
// block delivered last; -1 before the first notification, which only gives the position in the
// ring. If notified is more than half a ring ahead, nothing is delivered until the distance is at
// most half a ring again.
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
        // This block is delivered before its own notification is read, which would otherwise count
        // for the next round of the ring.
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
    // Blocks do not wrap, so the whole block is in the first part.
    const DWORD copied = std::min(firstBytes, bytes);
    std::memcpy(copy, first, copied);
    CaptureBuffer->Unlock(first, firstBytes, second, secondBytes);
    Callback(time, copy, static_cast<std::int32_t>(copied), CallbackContext);
}

} // namespace Sonorel
