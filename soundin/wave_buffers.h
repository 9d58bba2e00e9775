// The buffers that go round between a SoundInWin and its device, and who has each of them.
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

// The device knows this object, and not its SoundInWin: what a device will not give back it may
// still write to, and tell of, when the SoundInWin is long gone. Such buffers are kept, on purpose,
// until a later Discard finds that they have come back; for good if they never do.
//
// All but CameBack and Lend run on the owner's thread.
class WaveBuffers {
public:
    explicit WaveBuffers(SoundInWin& owner) : Owner(&owner) {}
    WaveBuffers(const WaveBuffers&) = delete;
    WaveBuffers& operator=(const WaveBuffers&) = delete;
    ~WaveBuffers();

    // bytes: of each block. False: memory is short.
    bool Allocate(std::size_t bytes);
    // Queues what the device does not have yet.
    void LendAll(HWAVEIN device);
    // Queues one buffer. Thread: also the delivering one, from the owner's Deliver.
    void Lend(HWAVEIN device, WAVEHDR& header);
    // What the device says of a buffer. Thread: the system's.
    void CameBack(WAVEHDR& header);
    // Waits for a callback that is at work; from within one there is nothing to wait for.
    void AwaitDelivery() { const LockScope section(Delivery); }
    // Behind a reset: waits for what is still out, about a second at most, and unprepares what is
    // back. Does not wait from within a callback, whose own buffer is out until it returns.
    void TakeBack(HWAVEIN device);
    // No buffer is out, and no callback under way.
    bool AllBack() const;

    // Ends the owner's part. Frees the buffers if all are back, and keeps them otherwise.
    static void Discard(std::unique_ptr<WaveBuffers> buffers);

private:
    static constexpr std::size_t Count = SoundInSystem::BlockCount;

    std::array<WAVEHDR*, Count> Headers{};
    // Of each buffer: is it out, and is its callback under way. The last thing that a callback
    // touches here, so that at 0 nobody will.
    std::array<std::atomic<int>, Count> Uses{};
    // Held while a buffer that came back is dealt with. Only the owner's Stop ever makes that wait,
    // once delivery is off.
    ObjectLock Delivery;
    bool Delivering = false;     // under Delivery: so who sees it set is within the callback
    SoundInWin* Owner;           // under Delivery; null once it is gone
    WaveBuffers* Next = nullptr; // of those that are kept
};

} // namespace Sonorel
