// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The base of every back end's inputs: delivers messages to the receiver on the timer lane.
#pragma once

#include "midi/sounding_notes.h"
#include "platform/api/midi.h"

#include <mutex>

namespace device {

class MidiInput : public MidiDevice {
public:
    static constexpr MidiDirection ClassDirection = MidiDirection::Input;
    static constexpr std::uint64_t AtPresent = ~std::uint64_t{0};
    MidiInput(std::string id, std::string name)
        : MidiDevice(ClassDirection, std::move(id), std::move(name)) {}
    ~MidiInput() override;
    MidiResult Open(const std::shared_ptr<MidiReceiver>& receiver) override;
    void Close() override;

    // Schedules a message for the receiver, due latency after its arrival or at once if that is
    // past; messages of equal due time keep the order of these calls. Dropped if the device is gone
    // or closed by then. Times are microseconds on the machine's clock. False if MaxMessages are
    // scheduled already. Thread: any. Real time.
    bool Deliver(std::uint32_t message, std::uint64_t latency, std::uint64_t arrival = AtPresent);

private:
    void Dispatch(std::uint32_t message);
    void BeforeLeave() override;
    void SetReceiver(std::shared_ptr<MidiReceiver> receiver);

    std::mutex ScheduleLock; // keeps due times in the order of calls; held for moments
    std::mutex Lock;         // of the next two; held for moments
    std::shared_ptr<MidiReceiver> Receiver;
    midi::SoundingNotes HeldNotes;
};

} // namespace device
