// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "platform/backends/alsa/output.h"

#include "midi/status.h"

#include <array>

namespace device {
namespace {

constexpr std::size_t MaxBytes = 3; // of a short message

std::array<unsigned char, MaxBytes> Bytes(std::uint32_t message) {
    return {static_cast<unsigned char>(message), static_cast<unsigned char>(message >> 8),
            static_cast<unsigned char>(message >> 16)};
}

} // namespace

std::vector<std::string> UsersOf(const Connection& connection) {
    const Address peer = connection.PeerAddress();
    return peer == NoAddress ? std::vector<std::string>{}
                             : connection.Client->Users(connection.Direction, peer);
}

MidiResult AlsaOutput::Open(const std::shared_ptr<MidiReceiver>&) {
    if (IsGone()) return MidiResult::Gone;
    if (!Encoder && snd_midi_event_new(MaxBytes, &Encoder) < 0) return MidiResult::Failed;
    return Link->Open(Name);
}

// Addresses the device itself instead of the connection's subscribers, so that the kernel reports
// at once if it has gone. The connection keeps the device open.
MidiResult AlsaOutput::Send(std::uint32_t message) {
    const Address peer = Link->ConnectedPeer();
    if (peer == NoAddress) return MidiResult::Gone;
    const auto bytes = Bytes(message);
    const int count = 1 + midi::DataBytes(message & 0xFF);
    snd_seq_event_t event;
    snd_seq_ev_clear(&event);
    snd_midi_event_reset_encode(Encoder);
    const long used = snd_midi_event_encode(Encoder, bytes.data(), count, &event);
    // An undefined status is dropped.
    if (used < 0 || event.type == SND_SEQ_EVENT_NONE) return MidiResult::Done;
    event.dest = Unpacked(peer);
    snd_seq_ev_set_direct(&event);
    return Link->Client->Write(event);
}

} // namespace device
