// Finds the devices: one thread that sleeps until something comes in, or is plugged or pulled.
#include "midi/status.h"
#include "platform/api/clock.h"
#include "platform/api/midi_back_end.h"
#include "platform/backends/alsa/output.h"
#include "platform/backends/alsa/names.h"

#include <algorithm>
#include <pthread.h>
#include <system_error>
#include <thread>

namespace machine {
namespace {

constexpr int RetryTime = 1000; // milliseconds
constexpr long MostBytes = 16;  // of the messages that one event may be

// A device for as long as the finder lives. Its name, not its address, says which one it is.
struct Known {
    std::string Whole; // several may have the same
    std::shared_ptr<Line> Far;
    std::shared_ptr<MidiDevice> Device;

    bool At(Address address) const { return Far->Where() == address; }
    bool Here() const { return !At(Nowhere); }
    bool IsAt(const FoundPort& port) const {
        return At(port.Where) && port.Is(Device->Way) && port.Name == Whole;
    }
};

// Whether what has gone, by the event, took this port along.
bool IsOf(Address port, const snd_seq_event_t& event) {
    const snd_seq_addr_t there = Unpacked(port);
    return there.client == event.data.addr.client &&
           (event.type == SND_SEQ_EVENT_CLIENT_EXIT || there.port == event.data.addr.port);
}

class Finder final : public MidiFinder {
public:
    explicit Finder(std::shared_ptr<SequencerClient> client);
    ~Finder() override;

private:
    void Run();
    void Take(const snd_seq_event_t& event);
    void Deliver(const snd_seq_event_t& event);
    void Announce(const snd_seq_event_t& event);
    void Lose(Known& known);
    void Look();
    void Place(MidiWay way, const FoundPort& port);
    void Add(MidiWay way, const FoundPort& port);
    bool Retry();

    struct Free {
        void operator()(snd_midi_event_t* decoder) const { snd_midi_event_free(decoder); }
    };

    const std::shared_ptr<SequencerClient> Client;
    std::unique_ptr<snd_midi_event_t, Free> Decoder;
    std::vector<Known> Devices; // the thread's alone, once it runs
    std::atomic<bool> Ending{false};
    std::thread Thread;
};

// What is there already is known before this returns.
Finder::Finder(std::shared_ptr<SequencerClient> client) : Client(std::move(client)) {
    snd_midi_event_t* decoder = nullptr;
    if (snd_midi_event_new(MostBytes, &decoder) < 0) throw std::bad_alloc();
    Decoder.reset(decoder);
    snd_midi_event_no_status(decoder, 1); // no running status
    Look();
    Thread = std::thread([this] { Run(); });
}

Finder::~Finder() {
    Ending = true;
    Client->Wake();
    Thread.join();
}

void Finder::Run() {
    pthread_setname_np(pthread_self(), "zor-midi");
    HastenThread();
    const Quiet quiet;
    for (bool waiting = false; !Ending; waiting = Retry()) {
        Client->Wait(waiting ? RetryTime : -1);
        bool lost = false;
        while (const snd_seq_event_t* event = Ending ? nullptr : Client->Read(lost)) Take(*event);
        if (!lost) continue;
        // Perhaps that one has left, or has left and returned.
        for (Known& known : Devices)
            if (!known.Far->Holds()) Lose(known);
        Look();
    }
}

void Finder::Take(const snd_seq_event_t& event) {
    if (event.source.client == SND_SEQ_CLIENT_SYSTEM)
        Announce(event);
    else
        Deliver(event);
}

// An event from another program may be several messages. Long ones, the only ones of variable
// length, are not for the library.
void Finder::Deliver(const snd_seq_event_t& event) {
    const auto to = std::ranges::find_if(Devices, [&event](const Known& known) {
        return known.Device->Way == MidiWay::In && known.Far->Port() == event.dest.port &&
               known.Far->Far() == Packed(event.source);
    });
    if (to == Devices.end() || snd_seq_ev_is_variable(&event)) return;
    unsigned char bytes[MostBytes + 2] = {}; // the last one's data, whatever it is
    snd_midi_event_reset_decode(Decoder.get());
    const long count = snd_midi_event_decode(Decoder.get(), bytes, MostBytes, &event);
    if (count <= 0) return;
    const std::uint64_t time = Client->Clock().TimeOf(event);
    for (long i = 0; i < count; i += 1 + midi::DataBytes(bytes[i])) {
        std::uint32_t message = bytes[i];
        for (int data = 1; data <= midi::DataBytes(bytes[i]); ++data)
            message |= std::uint32_t{bytes[i + data]} << 8 * data;
        static_cast<MidiInput&>(*to->Device).Bring(message, 0, time);
    }
}

void Finder::Announce(const snd_seq_event_t& event) {
    if (Client->IsOurs(event.data.addr)) return;
    switch (event.type) {
    case SND_SEQ_EVENT_PORT_EXIT:
    case SND_SEQ_EVENT_CLIENT_EXIT: // with all its ports
        for (Known& known : Devices)
            if (known.Here() && IsOf(known.Far->Where(), event)) Lose(known);
        break;
    case SND_SEQ_EVENT_PORT_START:
    case SND_SEQ_EVENT_PORT_CHANGE:
    case SND_SEQ_EVENT_CLIENT_CHANGE:
        Look();
        break;
    default: // new clients' ports are announced one by one
        break;
    }
}

void Finder::Lose(Known& known) {
    known.Far->Go();
    known.Device->Leave();
}

void Finder::Look() {
    const std::vector<FoundPort> ports = Client->Ports();
    for (Known& known : Devices)
        if (known.Here() && std::ranges::none_of(ports, [&known](const FoundPort& port) {
                return known.IsAt(port);
            }))
            Lose(known);
    for (const FoundPort& port : ports)
        for (const MidiWay way : {MidiWay::In, MidiWay::Out})
            if (port.Is(way)) Place(way, port);
}

// One of that name that has left returns; if two of it have, the one that came first.
void Finder::Place(MidiWay way, const FoundPort& port) {
    Known* returning = nullptr;
    for (Known& known : Devices) {
        if (known.Device->Way != way) continue;
        if (known.At(port.Where)) return;
        if (!returning && !known.Here() && known.Whole == port.Name) returning = &known;
    }
    if (!returning) return Add(way, port);
    if (returning->Far->Come(port.Where)) returning->Device->Return();
}

void Finder::Add(MidiWay way, const FoundPort& port) {
    std::vector<std::string> taken;
    for (const Known& known : Devices)
        if (known.Device->Way == way) taken.push_back(known.Device->Name);
    const std::string name = UniqueName(port.Name, taken);
    const auto line = std::make_shared<Line>(Client, way, port.Where);
    std::shared_ptr<MidiDevice> device;
    if (way == MidiWay::In)
        device = std::make_shared<NativeInput>(name, line);
    else
        device = std::make_shared<NativeOutput>(name, line);
    Devices.push_back({port.Name, line, device});
    AddMidiDevice(device);
}

// Those that came back while another program held them, which nobody announces the end of. True
// while there are any.
bool Finder::Retry() {
    bool waiting = false;
    for (Known& known : Devices) {
        if (!known.Here() || !known.Device->Gone()) continue;
        if (known.Far->Come(known.Far->Where()))
            known.Device->Return();
        else
            waiting = true;
    }
    return waiting;
}

} // namespace
} // namespace machine

machine::MidiFinder* OpenZorMidi(std::string& reason) try {
    using namespace machine;
    auto client = SequencerClient::Open(reason);
    if (client) return new Finder(std::move(client));
    reason = "ALSA's sequencer cannot be opened: " + reason;
    return nullptr;
} catch (const std::exception& error) {
    reason = error.what();
    return nullptr;
}
