// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// An input port of the sequencer as a MIDI device, and the decoding of events for it.
#pragma once

#include "platform/api/midi_input.h"
#include "platform/backends/alsa/connection.h"

namespace device {

class AlsaInput final : public MidiInput {
public:
    AlsaInput(const std::string& name, std::shared_ptr<Connection> connection)
        : MidiInput(name, name), Link(std::move(connection)) {}
    MidiResult Open(const std::shared_ptr<MidiReceiver>& receiver) override;
    void Close() override;
    std::vector<std::string> Users() const override;

private:
    const std::shared_ptr<Connection> Link;
};

// Turns events into messages. Thread: the receiving one.
class EventDecoder {
public:
    EventDecoder(); // throws std::bad_alloc
    // Delivers the messages of an event to the input, with their time of arrival: an event from
    // another program may be several. Drops long messages, which the library does not receive; they
    // are the only events of variable length. Real time.
    void Deliver(const snd_seq_event_t& event, TimeStamps& stamps, MidiInput& input);

private:
    struct Free {
        void operator()(snd_midi_event_t* decoder) const { snd_midi_event_free(decoder); }
    };
    std::unique_ptr<snd_midi_event_t, Free> Decoder;
};

} // namespace device
