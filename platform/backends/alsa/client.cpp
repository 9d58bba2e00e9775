#include "platform/backends/alsa/client.h"

#include "platform/backends/alsa/names.h"

#include <algorithm>
#include <sys/eventfd.h>

namespace machine {
namespace {

// As many events as the kernel keeps for a program that does not get to reading them.
constexpr int EventsKept = 2000;
// Groups of newer devices that have nothing behind them; older headers do not know it.
constexpr unsigned Inactive = 1u << 8;

// What the system itself has running, between programs.
bool IsPlumbing(const std::string& client) {
    return client == "Midi Through" || client.starts_with("PipeWire-");
}

FoundPort Describe(const snd_seq_client_info_t* client, const snd_seq_port_info_t* port) {
    constexpr unsigned in = SND_SEQ_PORT_CAP_READ | SND_SEQ_PORT_CAP_SUBS_READ;
    constexpr unsigned out = SND_SEQ_PORT_CAP_WRITE | SND_SEQ_PORT_CAP_SUBS_WRITE;
    const unsigned can = snd_seq_port_info_get_capability(port);
    const bool shown = (can & (SND_SEQ_PORT_CAP_NO_EXPORT | Inactive)) == 0;
    const int process = snd_seq_client_info_get_pid(client);
    return {Packed(*snd_seq_port_info_get_addr(port)),
            WholeName(snd_seq_client_info_get_name(const_cast<snd_seq_client_info_t*>(client)),
                      snd_seq_port_info_get_name(port), process),
            shown && (can & in) == in, shown && (can & out) == out};
}

MidiResult ResultOf(int error) {
    switch (-error) {
    case EAGAIN: // the raw device behind it is another program's
    case EBUSY:
        return MidiResult::InUse;
    case ENOMEM:
    case EPERM:
        return MidiResult::Failed;
    default:
        return error < 0 ? MidiResult::Gone : MidiResult::Done;
    }
}

// A subscription from the device to our port, or the other way round.
class Subscription {
public:
    Subscription(MidiWay way, snd_seq_addr_t ours, snd_seq_addr_t device) {
        snd_seq_port_subscribe_malloc(&Record);
        if (!Record) return;
        snd_seq_port_subscribe_set_sender(Record, way == MidiWay::In ? &device : &ours);
        snd_seq_port_subscribe_set_dest(Record, way == MidiWay::In ? &ours : &device);
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
    const Quiet quiet;
    Handle owner = OpenOne(SND_SEQ_OPEN_DUPLEX, reason);
    Handle outlet = owner ? OpenOne(SND_SEQ_OPEN_OUTPUT, reason) : nullptr;
    if (!outlet) return nullptr;
    const int bell = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    std::shared_ptr<SequencerClient> client(
        new SequencerClient(std::move(owner), std::move(outlet), bell));
    if (bell >= 0 && client->HearAnnouncements()) return client;
    return reason = "it has no room", nullptr;
}

SequencerClient::SequencerClient(Handle owner, Handle outlet, int bell)
    : Owner(std::move(owner)), Outlet(std::move(outlet)), Number(snd_seq_client_id(Owner.get())),
      Bell(bell), Times(Owner.get(), Outlet.get()) {}

SequencerClient::~SequencerClient() {
    if (Bell >= 0) close(Bell);
}

// The first port, which stays.
bool SequencerClient::HearAnnouncements() {
    snd_seq_set_client_pool_input(Owner.get(), EventsKept);
    const int port = snd_seq_create_simple_port(Owner.get(), "announcements",
                                                SND_SEQ_PORT_CAP_WRITE | SND_SEQ_PORT_CAP_NO_EXPORT,
                                                SND_SEQ_PORT_TYPE_APPLICATION);
    return port >= 0 && snd_seq_connect_from(Owner.get(), port, SND_SEQ_CLIENT_SYSTEM,
                                             SND_SEQ_PORT_SYSTEM_ANNOUNCE) >= 0;
}

std::vector<FoundPort> SequencerClient::Ports() {
    const Quiet quiet;
    std::vector<FoundPort> found;
    snd_seq_client_info_t* client;
    snd_seq_port_info_t* port;
    snd_seq_client_info_alloca(&client);
    snd_seq_port_info_alloca(&port);
    snd_seq_client_info_set_client(client, -1);
    while (snd_seq_query_next_client(Owner.get(), client) >= 0) {
        const int number = snd_seq_client_info_get_client(client);
        if (number == SND_SEQ_CLIENT_SYSTEM || number == Number ||
            IsPlumbing(snd_seq_client_info_get_name(client)))
            continue;
        snd_seq_port_info_set_client(port, number);
        snd_seq_port_info_set_port(port, -1);
        while (snd_seq_query_next_port(Owner.get(), port) >= 0)
            found.push_back(Describe(client, port));
    }
    std::erase_if(found, [](const FoundPort& each) { return !each.In && !each.Out; });
    return found;
}

std::vector<std::string> SequencerClient::Users(MidiWay way, Address port) {
    const Quiet quiet;
    std::vector<std::string> users;
    snd_seq_query_subscribe_t* query;
    snd_seq_client_info_t* client;
    snd_seq_query_subscribe_alloca(&query);
    snd_seq_client_info_alloca(&client);
    const snd_seq_addr_t address = Unpacked(port);
    snd_seq_query_subscribe_set_root(query, &address);
    snd_seq_query_subscribe_set_type(query, way == MidiWay::In ? SND_SEQ_QUERY_SUBS_READ
                                                               : SND_SEQ_QUERY_SUBS_WRITE);
    for (int i = 0;; ++i) {
        snd_seq_query_subscribe_set_index(query, i);
        if (snd_seq_query_port_subscribers(Owner.get(), query) < 0) return users;
        const snd_seq_addr_t* user = snd_seq_query_subscribe_get_addr(query);
        if (!IsOurs(*user) && snd_seq_get_any_client_info(Owner.get(), user->client, client) >= 0)
            users.emplace_back(snd_seq_client_info_get_name(client));
    }
}

int SequencerClient::CreatePort(MidiWay way, const std::string& name) {
    const Quiet quiet;
    snd_seq_port_info_t* port;
    snd_seq_port_info_alloca(&port);
    snd_seq_port_info_set_name(port, name.c_str());
    snd_seq_port_info_set_capability(
        port, SND_SEQ_PORT_CAP_NO_EXPORT |
                  (way == MidiWay::In ? SND_SEQ_PORT_CAP_WRITE : SND_SEQ_PORT_CAP_READ));
    snd_seq_port_info_set_type(port,
                               SND_SEQ_PORT_TYPE_MIDI_GENERIC | SND_SEQ_PORT_TYPE_APPLICATION);
    snd_seq_port_info_set_midi_channels(port, 16);
    if (way == MidiWay::In) Times.Begin(port);
    if (snd_seq_create_port(Owner.get(), port) >= 0) return snd_seq_port_info_get_port(port);
    if (way == MidiWay::In) Times.End();
    return -1;
}

void SequencerClient::DeletePort(MidiWay way, int port) {
    const Quiet quiet;
    snd_seq_delete_port(Owner.get(), port);
    if (way == MidiWay::In) Times.End();
}

MidiResult SequencerClient::Join(MidiWay way, int port, Address device) {
    const Quiet quiet;
    const snd_seq_addr_t ours = {static_cast<unsigned char>(Number),
                                 static_cast<unsigned char>(port)};
    const Subscription subscription(way, ours, Unpacked(device));
    if (!subscription.Record) return MidiResult::Failed;
    return ResultOf(snd_seq_subscribe_port(Owner.get(), subscription.Record));
}

bool SequencerClient::Joined(MidiWay way, int port, Address device) {
    const Quiet quiet;
    const snd_seq_addr_t ours = {static_cast<unsigned char>(Number),
                                 static_cast<unsigned char>(port)};
    const Subscription subscription(way, ours, Unpacked(device));
    return subscription.Record &&
           snd_seq_get_port_subscription(Owner.get(), subscription.Record) >= 0;
}

MidiResult SequencerClient::Write(snd_seq_event_t& event) {
    const int error = snd_seq_event_output_direct(Outlet.get(), &event);
    if (error >= 0) return MidiResult::Done;
    return error == -EAGAIN || error == -ENOMEM ? MidiResult::Full : MidiResult::Gone;
}

void SequencerClient::Wait(int milliseconds) {
    pollfd files[2] = {{Bell, POLLIN, 0}, {}};
    snd_seq_poll_descriptors(Owner.get(), files + 1, 1, POLLIN);
    poll(files, 2, milliseconds);
    std::uint64_t rung = 0;
    if (files[0].revents) (void)!read(Bell, &rung, sizeof rung);
}

void SequencerClient::Wake() {
    const std::uint64_t one = 1;
    (void)!write(Bell, &one, sizeof one);
}

const snd_seq_event_t* SequencerClient::Read(bool& lost) {
    snd_seq_event_t* event = nullptr;
    int error = snd_seq_event_input(Owner.get(), &event);
    if (error == -ENOSPC) {
        lost = true;
        error = snd_seq_event_input(Owner.get(), &event);
    }
    return error >= 0 ? event : nullptr;
}

} // namespace machine
