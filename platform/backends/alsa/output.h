// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// An output port of the sequencer as a MIDI device.
#pragma once

#include "platform/backends/alsa/connection.h"

namespace device {

// The other programs that use the port behind a connection.
std::vector<std::string> UsersOf(const Connection& connection);

class AlsaOutput final : public MidiDevice {
public:
    AlsaOutput(const std::string& name, std::shared_ptr<Connection> connection)
        : MidiDevice(MidiDirection::Output, name, name), Link(std::move(connection)) {}
    ~AlsaOutput() override { snd_midi_event_free(Encoder); }
    MidiResult Open(const std::shared_ptr<MidiReceiver>&) override;
    void Close() override { Link->Close(); }
    MidiResult Send(std::uint32_t message) override;
    std::vector<std::string> Users() const override { return UsersOf(*Link); }

private:
    const std::shared_ptr<Connection> Link;
    snd_midi_event_t* Encoder = nullptr; // of Send, which is called by one thread at a time
};

} // namespace device
