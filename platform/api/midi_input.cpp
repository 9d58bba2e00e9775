// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "platform/api/midi_input.h"

#include "platform/api/clock.h"

namespace device {
namespace {
// In place of a message: note offs for all held notes. No message has a top byte.
constexpr std::uint32_t ReleaseAll = ~0u;
} // namespace

MidiInput::~MidiInput() { UnscheduleAll(this); }

MidiResult MidiInput::Open(const std::shared_ptr<MidiReceiver>& receiver) {
    if (IsGone()) return MidiResult::Gone;
    StartLane(Lane::Timers);
    SetReceiver(receiver);
    return MidiResult::Done;
}

void MidiInput::Close() { SetReceiver(nullptr); }

bool MidiInput::Deliver(std::uint32_t message, std::uint64_t latency, std::uint64_t arrival) {
    if (IsGone()) return true;
    const std::scoped_lock lock(ScheduleLock);
    if (arrival == AtPresent) arrival = machine::Microseconds();
    return Schedule(
               Lane::Timers, arrival + latency,
               [](void* self, std::uintptr_t scheduled) {
                   static_cast<MidiInput*>(self)->Dispatch(static_cast<std::uint32_t>(scheduled));
               },
               this, message, MaxMessages) != 0;
}

// Schedules the note offs behind all messages that came in before.
void MidiInput::BeforeLeave() {
    std::unique_lock lock(Lock);
    const bool open = Receiver != nullptr;
    lock.unlock();
    if (open) Deliver(ReleaseAll, 0);
}

// The receiver may destroy this object, so no member is used after the call.
void MidiInput::Dispatch(std::uint32_t message) {
    const std::uint64_t microseconds = ActionDue();
    std::unique_lock lock(Lock);
    const auto receiver = Receiver;
    if (!receiver || (IsGone() && message != ReleaseAll)) return;
    HeldNotes.Apply(message);
    midi::SoundingNotes released;
    if (message == ReleaseAll) std::swap(released, HeldNotes);
    lock.unlock();
    if (message != ReleaseAll) return receiver->Receive(message, microseconds);
    released.Release([&](std::uint32_t noteOff) { receiver->Receive(noteOff, microseconds); });
}

void MidiInput::SetReceiver(std::shared_ptr<MidiReceiver> receiver) {
    const std::scoped_lock lock(Lock);
    HeldNotes.Clear();
    Receiver.swap(receiver);
}

} // namespace device
