// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "platform/backends/alsa/client.h"

#include "platform/backends/alsa/names.h"

#include <algorithm>
#include <sys/eventfd.h>

namespace device {
namespace {

// Events that the kernel keeps until this program reads them: the most that it allows.
constexpr int InputPoolEvents = 2000;
// Capability bit of unused groups of newer devices; older headers lack its name.
constexpr unsigned Inactive = 1u << 8;

// Clients of the system itself, which connect programs.
bool IsSystemClient(const std::string& client) {
    return client == "Midi Through" || client.starts_with("PipeWire-");
}

FoundPort Describe(const snd_seq_client_info_t* client, const snd_seq_port_info_t* port) {
    constexpr unsigned in = SND_SEQ_PORT_CAP_READ | SND_SEQ_PORT_CAP_SUBS_READ;
    constexpr unsigned out = SND_SEQ_PORT_CAP_WRITE | SND_SEQ_PORT_CAP_SUBS_WRITE;
    const unsigned capabilities = snd_seq_port_info_get_capability(port);
    const bool shown = (capabilities & (SND_SEQ_PORT_CAP_NO_EXPORT | Inactive)) == 0;
    const int process = snd_seq_client_info_get_pid(client);
    return {Packed(*snd_seq_port_info_get_addr(port)),
            FullName(snd_seq_client_info_get_name(const_cast<snd_seq_client_info_t*>(client)),
                     snd_seq_port_info_get_name(port), process),
            shown && (capabilities & in) == in, shown && (capabilities & out) == out};
}

MidiResult ResultOf(int error) {
    switch (-error) {
    case EAGAIN: // another program has opened the raw device behind the port
    case EBUSY:
        return MidiResult::InUse;
    case ENOMEM:
    case EPERM:
        return MidiResult::Failed;
    default:
        return error < 0 ? MidiResult::Gone : MidiResult::Done;
    }
}

// The record of a subscription: from the peer to our port for an input, else the reverse.
class Subscription {
public:
    Subscription(MidiDirection direction, snd_seq_addr_t ours, snd_seq_addr_t peer) {
        snd_seq_port_subscribe_malloc(&Record);
        if (!Record) return;
        snd_seq_port_subscribe_set_sender(Record,
                                          direction == MidiDirection::Input ? &peer : &ours);
        snd_seq_port_subscribe_set_dest(Record, direction == MidiDirection::Input ? &ours : &peer);
    }
    ~Subscription() { snd_seq_port_subscribe_free(Record); }
    Subscription(const Subscription&) = delete;
    Subscription& operator=(const Subscription&) = delete;
    snd_seq_port_subscribe_t* Record = nullptr;
};

} // namespace

SequencerClient::Handle SequencerClient::OpenOne(int streams, std::string& reason) {
    snd_seq_t* client = nullptr;
    const int error = snd_seq_open(&client, "default", streams, SND_SEQ_NONBLOCK);
    if (error < 0) return reason = snd_strerror(error), nullptr;
    snd_seq_set_client_name(client, program_invocation_short_name);
    return Handle(client);
}

std::shared_ptr<SequencerClient> SequencerClient::Open(std::string& reason) {
    const SilenceErrors silence;
    Handle ports = OpenOne(SND_SEQ_OPEN_DUPLEX, reason);
    Handle sender = ports ? OpenOne(SND_SEQ_OPEN_OUTPUT, reason) : nullptr;
    if (!sender) return nullptr;
    const int wakeEvent = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    std::shared_ptr<SequencerClient> client(
        new SequencerClient(std::move(ports), std::move(sender), wakeEvent));
    if (wakeEvent >= 0 && client->SubscribeAnnouncements()) return client;
    return reason = "it has no resources left", nullptr;
}

SequencerClient::SequencerClient(Handle ports, Handle sender, int wakeEvent)
    : PortClient(std::move(ports)), SendClient(std::move(sender)),
      Number(snd_seq_client_id(PortClient.get())), WakeEvent(wakeEvent),
      InputStamps(PortClient.get(), SendClient.get()) {}

SequencerClient::~SequencerClient() {
    if (WakeEvent >= 0) close(WakeEvent);
}

// Creates the client's first port, for the system's announcements.
bool SequencerClient::SubscribeAnnouncements() {
    snd_seq_set_client_pool_input(PortClient.get(), InputPoolEvents);
    const int port = snd_seq_create_simple_port(PortClient.get(), "announcements",
                                                SND_SEQ_PORT_CAP_WRITE | SND_SEQ_PORT_CAP_NO_EXPORT,
                                                SND_SEQ_PORT_TYPE_APPLICATION);
    return port >= 0 && snd_seq_connect_from(PortClient.get(), port, SND_SEQ_CLIENT_SYSTEM,
                                             SND_SEQ_PORT_SYSTEM_ANNOUNCE) >= 0;
}

std::vector<FoundPort> SequencerClient::FindPorts() {
    const SilenceErrors silence;
    std::vector<FoundPort> found;
    snd_seq_client_info_t* client;
    snd_seq_port_info_t* port;
    snd_seq_client_info_alloca(&client);
    snd_seq_port_info_alloca(&port);
    snd_seq_client_info_set_client(client, -1);
    while (snd_seq_query_next_client(PortClient.get(), client) >= 0) {
        const int number = snd_seq_client_info_get_client(client);
        if (number == SND_SEQ_CLIENT_SYSTEM || number == Number ||
            IsSystemClient(snd_seq_client_info_get_name(client)))
            continue;
        snd_seq_port_info_set_client(port, number);
        snd_seq_port_info_set_port(port, -1);
        while (snd_seq_query_next_port(PortClient.get(), port) >= 0)
            found.push_back(Describe(client, port));
    }
    std::erase_if(found, [](const FoundPort& each) { return !each.IsInput && !each.IsOutput; });
    return found;
}

std::vector<std::string> SequencerClient::Users(MidiDirection direction, Address port) {
    const SilenceErrors silence;
    std::vector<std::string> users;
    snd_seq_query_subscribe_t* query;
    snd_seq_client_info_t* client;
    snd_seq_query_subscribe_alloca(&query);
    snd_seq_client_info_alloca(&client);
    const snd_seq_addr_t address = Unpacked(port);
    snd_seq_query_subscribe_set_root(query, &address);
    snd_seq_query_subscribe_set_type(query, direction == MidiDirection::Input
                                                ? SND_SEQ_QUERY_SUBS_READ
                                                : SND_SEQ_QUERY_SUBS_WRITE);
    for (int i = 0;; ++i) {
        snd_seq_query_subscribe_set_index(query, i);
        if (snd_seq_query_port_subscribers(PortClient.get(), query) < 0) return users;
        const snd_seq_addr_t* user = snd_seq_query_subscribe_get_addr(query);
        if (!IsOurs(*user) &&
            snd_seq_get_any_client_info(PortClient.get(), user->client, client) >= 0)
            users.emplace_back(snd_seq_client_info_get_name(client));
    }
}

int SequencerClient::CreatePort(MidiDirection direction, const std::string& name) {
    const SilenceErrors silence;
    snd_seq_port_info_t* port;
    snd_seq_port_info_alloca(&port);
    snd_seq_port_info_set_name(port, name.c_str());
    snd_seq_port_info_set_capability(
        port,
        SND_SEQ_PORT_CAP_NO_EXPORT |
            (direction == MidiDirection::Input ? SND_SEQ_PORT_CAP_WRITE : SND_SEQ_PORT_CAP_READ));
    snd_seq_port_info_set_type(port,
                               SND_SEQ_PORT_TYPE_MIDI_GENERIC | SND_SEQ_PORT_TYPE_APPLICATION);
    snd_seq_port_info_set_midi_channels(port, 16);
    if (direction == MidiDirection::Input) InputStamps.Enable(port);
    if (snd_seq_create_port(PortClient.get(), port) >= 0) return snd_seq_port_info_get_port(port);
    if (direction == MidiDirection::Input) InputStamps.Disable();
    return -1;
}

void SequencerClient::DeletePort(MidiDirection direction, int port) {
    const SilenceErrors silence;
    snd_seq_delete_port(PortClient.get(), port);
    if (direction == MidiDirection::Input) InputStamps.Disable();
}

MidiResult SequencerClient::Connect(MidiDirection direction, int port, Address peer) {
    const SilenceErrors silence;
    const snd_seq_addr_t ours = {static_cast<unsigned char>(Number),
                                 static_cast<unsigned char>(port)};
    const Subscription subscription(direction, ours, Unpacked(peer));
    if (!subscription.Record) return MidiResult::Failed;
    return ResultOf(snd_seq_subscribe_port(PortClient.get(), subscription.Record));
}

bool SequencerClient::IsConnected(MidiDirection direction, int port, Address peer) {
    const SilenceErrors silence;
    const snd_seq_addr_t ours = {static_cast<unsigned char>(Number),
                                 static_cast<unsigned char>(port)};
    const Subscription subscription(direction, ours, Unpacked(peer));
    return subscription.Record &&
           snd_seq_get_port_subscription(PortClient.get(), subscription.Record) >= 0;
}

MidiResult SequencerClient::Write(snd_seq_event_t& event) {
    const int error = snd_seq_event_output_direct(SendClient.get(), &event);
    if (error >= 0) return MidiResult::Done;
    return error == -EAGAIN || error == -ENOMEM ? MidiResult::Full : MidiResult::Gone;
}

void SequencerClient::Wait(int milliseconds) {
    pollfd files[2] = {{WakeEvent, POLLIN, 0}, {}};
    snd_seq_poll_descriptors(PortClient.get(), files + 1, 1, POLLIN);
    poll(files, 2, milliseconds);
    std::uint64_t count = 0;
    if (files[0].revents) (void)!read(WakeEvent, &count, sizeof count);
}

void SequencerClient::Wake() {
    const std::uint64_t one = 1;
    (void)!write(WakeEvent, &one, sizeof one);
}

const snd_seq_event_t* SequencerClient::Read(bool& lost) {
    snd_seq_event_t* event = nullptr;
    int error = snd_seq_event_input(PortClient.get(), &event);
    if (error == -ENOSPC) {
        lost = true;
        error = snd_seq_event_input(PortClient.get(), &event);
    }
    return error >= 0 ? event : nullptr;
}

} // namespace device
