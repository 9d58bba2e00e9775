// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The capture buffers that circulate between a SoundInWin and its device.
#pragma once

#include "platform/platform.h"
#include "soundin/sound_in_system.h"
#include "support/lock.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <memory>

namespace Sonorel {

class SoundInWin;

// The device's callback refers to this object and not to its SoundInWin: a device that does not
// return a buffer may still write to it, and call back, after the SoundInWin was destroyed. Such
// buffers are leaked on purpose; a later Discard frees them if they have been returned by then.
//
// BufferReturned and Queue run on the delivering thread too, all else on the owner's thread.
class WaveBuffers {
public:
    // Handles a filled buffer.
    using DeliverFunction = void (*)(SoundInWin& owner, WAVEHDR& header);

    WaveBuffers(SoundInWin& owner, DeliverFunction deliver) : Owner(&owner), Deliver(deliver) {}
    WaveBuffers(const WaveBuffers&) = delete;
    WaveBuffers& operator=(const WaveBuffers&) = delete;
    ~WaveBuffers();

    // bytes: size of each block. Returns false when out of memory.
    bool Allocate(std::size_t bytes);
    // Queues all buffers that the device does not have yet.
    void QueueAll(HWAVEIN device);
    // Prepares and queues one buffer. Thread: owner's, or the delivering one inside Deliver.
    void Queue(HWAVEIN device, WAVEHDR& header);
    // Called when the device returns a buffer; calls Deliver. Thread: the system's.
    void BufferReturned(WAVEHDR& header);
    // Waits for a callback in progress on another thread.
    void AwaitDelivery() { const LockScope section(DeliveryLock); }
    // After a reset of the device: waits about a second for the buffers still queued, then
    // unprepares those returned. Inside a callback it does not wait, since the callback's own
    // buffer counts as queued until the callback returns.
    void Reclaim(HWAVEIN device);
    // True if the device has no buffer and no callback is in progress.
    bool AllReturned() const;

    // Unprepares one buffer. If the device refuses, the buffer stays marked as prepared, so that
    // Reclaim tries again.
    static void Unprepare(HWAVEIN device, WAVEHDR& header);
    // Detaches the owner and frees the buffers if all are returned; leaks them otherwise.
    static void Discard(std::unique_ptr<WaveBuffers> buffers);

private:
    static constexpr std::size_t Count = SoundInSystem::BlockCount;

    std::array<WAVEHDR*, Count> Headers{};
    // Per buffer: 1 while it is queued and until its callback has returned. The last member that a
    // callback accesses: at 0 the buffer can be freed.
    std::array<std::atomic<int>, Count> Uses{};
    // Held while a returned buffer is delivered. Only the owner's Stop can make that wait, after it
    // has switched delivery off.
    ObjectLock DeliveryLock;
    bool Delivering = false; // inside DeliveryLock: true only for the thread in the callback
    SoundInWin* Owner;       // inside DeliveryLock; null after Discard
    const DeliverFunction Deliver;
    WaveBuffers* Next = nullptr; // in the list of leaked buffers
};

} // namespace Sonorel
