// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "platform/backends/alsa/receive.h"

#include "midi/status.h"
#include "platform/backends/alsa/output.h"

#include <new>

namespace device {
namespace {

constexpr long MaxBytes = 16; // of the messages in one event

} // namespace

MidiResult AlsaInput::Open(const std::shared_ptr<MidiReceiver>& receiver) {
    const MidiResult result = MidiInput::Open(receiver);
    if (result != MidiResult::Done) return result;
    const MidiResult connected = Link->Open(Name);
    if (connected != MidiResult::Done) MidiInput::Close();
    return connected;
}

void AlsaInput::Close() {
    Link->Close();
    MidiInput::Close();
}

std::vector<std::string> AlsaInput::Users() const { return UsersOf(*Link); }

EventDecoder::EventDecoder() {
    snd_midi_event_t* decoder = nullptr;
    if (snd_midi_event_new(MaxBytes, &decoder) < 0) throw std::bad_alloc();
    Decoder.reset(decoder);
    snd_midi_event_no_status(decoder, 1); // no running status
}

void EventDecoder::Deliver(const snd_seq_event_t& event, TimeStamps& stamps, MidiInput& input) {
    if (snd_seq_ev_is_variable(&event)) return;
    unsigned char bytes[MaxBytes + 2] = {}; // room for two data bytes behind any status
    snd_midi_event_reset_decode(Decoder.get());
    const long count = snd_midi_event_decode(Decoder.get(), bytes, MaxBytes, &event);
    if (count <= 0) return;
    const std::uint64_t time = stamps.TimeOf(event);
    for (long i = 0; i < count; i += 1 + midi::DataBytes(bytes[i])) {
        std::uint32_t message = bytes[i];
        for (int data = 1; data <= midi::DataBytes(bytes[i]); ++data)
            message |= std::uint32_t{bytes[i + data]} << 8 * data;
        input.Deliver(message, 0, time);
    }
}

} // namespace device
