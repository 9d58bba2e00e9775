#include "platform/api/midi_input.h"

#include "platform/api/clock.h"

namespace machine {
namespace {
constexpr std::uint32_t ReleaseAll = ~0u; // no message has a top byte: note offs for all held
} // namespace

MidiInput::~MidiInput() { UnscheduleAll(this); }

MidiResult MidiInput::Open(const std::shared_ptr<MidiReceiver>& receiver) {
    if (Gone()) return MidiResult::Gone;
    StartLane(Lane::Timers);
    SetReceiver(receiver);
    return MidiResult::Done;
}

void MidiInput::Close() { SetReceiver(nullptr); }

bool MidiInput::Bring(std::uint32_t message, std::uint64_t latency, std::uint64_t came) {
    if (Gone()) return true;
    const std::scoped_lock lock(Coming);
    if (came == JustNow) came = Microseconds();
    return Schedule(
               Lane::Timers, came + latency,
               [](void* self, std::uintptr_t arrived) {
                   static_cast<MidiInput*>(self)->Arrive(static_cast<std::uint32_t>(arrived));
               },
               this, message, MostMessages) != 0;
}

// The note offs come behind all that came in before.
void MidiInput::Leaving() {
    std::unique_lock lock(Lock);
    const bool open = Receiver != nullptr;
    lock.unlock();
    if (open) Bring(ReleaseAll, 0);
}

// When the receiver has been called, nothing of this is touched: it may have let go of it.
void MidiInput::Arrive(std::uint32_t message) {
    const std::uint64_t microseconds = ActionDue();
    std::unique_lock lock(Lock);
    const auto receiver = Receiver;
    if (!receiver || (Gone() && message != ReleaseAll)) return;
    Held.Apply(message);
    midi::SoundingNotes held;
    if (message == ReleaseAll) std::swap(held, Held);
    lock.unlock();
    if (message != ReleaseAll) return receiver->Received(message, microseconds);
    held.Release([&](std::uint32_t noteOff) { receiver->Received(noteOff, microseconds); });
}

void MidiInput::SetReceiver(std::shared_ptr<MidiReceiver> receiver) {
    const std::scoped_lock lock(Lock);
    Held.Clear();
    Receiver.swap(receiver);
}

} // namespace machine
