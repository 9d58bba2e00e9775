#include "platform/backends/alsa/output.h"

#include "midi/status.h"

#include <array>

namespace machine {
namespace {

constexpr std::size_t Longest = 3; // bytes of a short message

std::array<unsigned char, Longest> Bytes(std::uint32_t message) {
    return {static_cast<unsigned char>(message), static_cast<unsigned char>(message >> 8),
            static_cast<unsigned char>(message >> 16)};
}

std::vector<std::string> UsersOf(const Line& line) {
    const Address where = line.Where();
    return where == Nowhere ? std::vector<std::string>{} : line.Client->Users(line.Way, where);
}

} // namespace

MidiResult NativeInput::Open(const std::shared_ptr<MidiReceiver>& receiver) {
    const MidiResult result = MidiInput::Open(receiver);
    if (result != MidiResult::Done) return result;
    const MidiResult joined = Far->Open(Name);
    if (joined != MidiResult::Done) MidiInput::Close();
    return joined;
}

void NativeInput::Close() {
    Far->Close();
    MidiInput::Close();
}

std::vector<std::string> NativeInput::Users() const { return UsersOf(*Far); }

MidiResult NativeOutput::Open(const std::shared_ptr<MidiReceiver>&) {
    if (Gone()) return MidiResult::Gone;
    if (!Encoder && snd_midi_event_new(Longest, &Encoder) < 0) return MidiResult::Failed;
    return Far->Open(Name);
}

// To the device itself, which our port holds open by being joined to it, so that the kernel says at
// once if it has gone.
MidiResult NativeOutput::Send(std::uint32_t message) {
    const Address to = Far->Far();
    if (to == Nowhere) return MidiResult::Gone;
    const auto bytes = Bytes(message);
    const int count = 1 + midi::DataBytes(message & 0xFF);
    snd_seq_event_t event;
    snd_seq_ev_clear(&event);
    snd_midi_event_reset_encode(Encoder);
    const long used = snd_midi_event_encode(Encoder, bytes.data(), count, &event);
    // A status that no one has given a meaning goes nowhere.
    if (used < 0 || event.type == SND_SEQ_EVENT_NONE) return MidiResult::Done;
    event.dest = Unpacked(to);
    snd_seq_ev_set_direct(&event);
    return Far->Client->Write(event);
}

std::vector<std::string> NativeOutput::Users() const { return UsersOf(*Far); }

} // namespace machine
