// What inputs of every back end have in common: what has come in is handed on by the clock's timer
// lane, where it meets nothing that is being transmitted.
#pragma once

#include "midi/sounding_notes.h"
#include "platform/api/midi.h"

#include <mutex>

namespace machine {

class MidiInput : public MidiDevice {
public:
    static constexpr MidiWay Direction = MidiWay::In;
    static constexpr std::uint64_t JustNow = ~std::uint64_t{0};
    MidiInput(std::string id, std::string name)
        : MidiDevice(Direction, std::move(id), std::move(name)) {}
    ~MidiInput() override;
    MidiResult Open(const std::shared_ptr<MidiReceiver>& receiver) override;
    void Close() override;

    // Sends a message on its way. It arrives when the latency has passed since it came in, which is
    // now unless told, or at once if that is over, if the device is there and open by then; equal
    // times in the order of this call. All in microseconds on the machine's clock. False if
    // MostMessages are under way. Real time.
    bool Bring(std::uint32_t message, std::uint64_t latency, std::uint64_t came = JustNow);

private:
    void Arrive(std::uint32_t message);
    void Leaving() override;
    void SetReceiver(std::shared_ptr<MidiReceiver> receiver);

    std::mutex Coming; // keeps times in order; held for moments, as the next
    std::mutex Lock;   // of the next two; held for moments
    std::shared_ptr<MidiReceiver> Receiver;
    midi::SoundingNotes Held;
};

} // namespace machine
