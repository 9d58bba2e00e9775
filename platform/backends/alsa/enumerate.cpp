// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Finds the sequencer's ports: one thread that sleeps until an event comes in or the system
// announces that a port was plugged in or pulled out. The same thread passes events to receive.cpp.
#include "platform/api/clock.h"
#include "platform/api/midi_back_end.h"
#include "platform/api/names.h"
#include "platform/backends/alsa/output.h"
#include "platform/backends/alsa/receive.h"

#include <algorithm>
#include <pthread.h>
#include <system_error>
#include <thread>

namespace device {
namespace {

constexpr int RetryInterval = 1000; // milliseconds

// A device for as long as the back end is in use. Its name identifies it, not its address.
struct KnownDevice {
    std::string FullName; // several may have the same
    std::shared_ptr<Connection> Link;
    std::shared_ptr<MidiDevice> Device;

    bool IsAt(Address address) const { return Link->PeerAddress() == address; }
    bool HasPeer() const { return !IsAt(NoAddress); }
    bool Is(const FoundPort& port) const {
        return IsAt(port.Location) && port.Is(Device->Direction) && port.Name == FullName;
    }
};

// Whether the exit of a port or client that the event announces concerns this port.
bool IsConcerned(Address port, const snd_seq_event_t& exit) {
    const snd_seq_addr_t address = Unpacked(port);
    return address.client == exit.data.addr.client &&
           (exit.type == SND_SEQ_EVENT_CLIENT_EXIT || address.port == exit.data.addr.port);
}

class Enumerator final : public MidiBackEnd {
public:
    // Adds the ports that exist before it returns.
    explicit Enumerator(std::shared_ptr<SequencerClient> client);
    ~Enumerator() override;

private:
    void Run();
    void Handle(const snd_seq_event_t& event);
    void Deliver(const snd_seq_event_t& event);
    void HandleAnnouncement(const snd_seq_event_t& event);
    void Lose(KnownDevice& known);
    void CompareWithSystem();
    void Match(MidiDirection direction, const FoundPort& port);
    void Add(MidiDirection direction, const FoundPort& port);
    bool RetryReturns();

    const std::shared_ptr<SequencerClient> Client;
    EventDecoder Decoder;
    std::vector<KnownDevice> Devices; // used by the thread only, once it runs
    std::atomic<bool> Stopping{false};
    std::thread Thread;
};

Enumerator::Enumerator(std::shared_ptr<SequencerClient> client) : Client(std::move(client)) {
    CompareWithSystem();
    Thread = std::thread([this] { Run(); });
}

Enumerator::~Enumerator() {
    Stopping = true;
    Client->Wake();
    Thread.join();
}

void Enumerator::Run() {
    pthread_setname_np(pthread_self(), "zor-midi");
    RaiseThreadPriority();
    const SilenceErrors silence;
    for (bool waiting = false; !Stopping; waiting = RetryReturns()) {
        Client->Wait(waiting ? RetryInterval : -1);
        bool lost = false;
        while (const snd_seq_event_t* event = Stopping ? nullptr : Client->Read(lost))
            Handle(*event);
        if (!lost) continue;
        // An announcement may be among the lost events: a port may have left, or left and returned.
        for (KnownDevice& known : Devices)
            if (!known.Link->IsIntact()) Lose(known);
        CompareWithSystem();
    }
}

void Enumerator::Handle(const snd_seq_event_t& event) {
    if (event.source.client == SND_SEQ_CLIENT_SYSTEM)
        HandleAnnouncement(event);
    else
        Deliver(event);
}

void Enumerator::Deliver(const snd_seq_event_t& event) {
    const auto input = std::ranges::find_if(Devices, [&event](const KnownDevice& known) {
        return known.Device->Direction == MidiDirection::Input &&
               known.Link->Port() == event.dest.port &&
               known.Link->ConnectedPeer() == Packed(event.source);
    });
    if (input == Devices.end()) return;
    Decoder.Deliver(event, Client->Stamps(), static_cast<MidiInput&>(*input->Device));
}

void Enumerator::HandleAnnouncement(const snd_seq_event_t& event) {
    if (Client->IsOurs(event.data.addr)) return;
    switch (event.type) {
    case SND_SEQ_EVENT_PORT_EXIT:
    case SND_SEQ_EVENT_CLIENT_EXIT: // with all its ports
        for (KnownDevice& known : Devices)
            if (known.HasPeer() && IsConcerned(known.Link->PeerAddress(), event)) Lose(known);
        break;
    case SND_SEQ_EVENT_PORT_START:
    case SND_SEQ_EVENT_PORT_CHANGE:
    case SND_SEQ_EVENT_CLIENT_CHANGE:
        CompareWithSystem();
        break;
    default: // the ports of a new client are announced one by one
        break;
    }
}

void Enumerator::Lose(KnownDevice& known) {
    known.Link->PeerLeft();
    known.Device->Leave();
}

void Enumerator::CompareWithSystem() {
    const std::vector<FoundPort> ports = Client->FindPorts();
    for (KnownDevice& known : Devices)
        if (known.HasPeer() &&
            std::ranges::none_of(ports, [&known](const FoundPort& port) { return known.Is(port); }))
            Lose(known);
    for (const FoundPort& port : ports)
        for (const MidiDirection direction : {MidiDirection::Input, MidiDirection::Output})
            if (port.Is(direction)) Match(direction, port);
}

// A port of the name of a device that has left is that device; of several, the first that was
// added.
void Enumerator::Match(MidiDirection direction, const FoundPort& port) {
    KnownDevice* returning = nullptr;
    for (KnownDevice& known : Devices) {
        if (known.Device->Direction != direction) continue;
        if (known.IsAt(port.Location)) return;
        if (!returning && !known.HasPeer() && known.FullName == port.Name) returning = &known;
    }
    if (!returning) return Add(direction, port);
    if (returning->Link->PeerReturned(port.Location)) returning->Device->Return();
}

void Enumerator::Add(MidiDirection direction, const FoundPort& port) {
    std::vector<std::string> used;
    for (const KnownDevice& known : Devices)
        if (known.Device->Direction == direction) used.push_back(known.Device->Name);
    const std::string name = UniqueMidiName(port.Name, used);
    const auto connection = std::make_shared<Connection>(Client, direction, port.Location);
    std::shared_ptr<MidiDevice> device;
    if (direction == MidiDirection::Input)
        device = std::make_shared<AlsaInput>(name, connection);
    else
        device = std::make_shared<AlsaOutput>(name, connection);
    Devices.push_back({port.Name, connection, device});
    AddMidiDevice(device);
}

// Tries the devices that returned while another program used them exclusively: the system does not
// announce the end of that. True while there are any.
bool Enumerator::RetryReturns() {
    bool waiting = false;
    for (KnownDevice& known : Devices) {
        if (!known.HasPeer() || !known.Device->IsGone()) continue;
        if (known.Link->PeerReturned(known.Link->PeerAddress()))
            known.Device->Return();
        else
            waiting = true;
    }
    return waiting;
}

} // namespace
} // namespace device

device::MidiBackEnd* OpenZorMidi(std::string& reason) try {
    auto client = device::SequencerClient::Open(reason);
    if (client) return new device::Enumerator(std::move(client));
    reason = "ALSA's sequencer cannot be opened: " + reason;
    return nullptr;
} catch (const std::exception& error) {
    reason = error.what();
    return nullptr;
}
