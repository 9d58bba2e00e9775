#include "platform/virtual/bridge.h"

#include "platform/virtual/bridge_ends.h"
#include "platform/virtual/midi_devices.h"

#include <algorithm>
#include <cstdlib>
#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <sys/inotify.h>
#include <unistd.h>

namespace machine {
namespace {

// One thread serves all ends: it moves what outputs send, takes what comes to inputs, and watches
// the folder for ends that come and go.
struct Bridge {
    std::mutex Lock; // held by the thread while it works, and not while it waits
    std::vector<BridgeSender*> Senders;
    std::vector<BridgeReceiver*> Receivers;
    FileDescriptor Bell;  // rung when there is something to send or the ends have changed
    FileDescriptor Watch; // tells of files that come and go
    bool Started = false;

    void Ring() const {
        const std::uint64_t one = 1;
        [[maybe_unused]] const ssize_t written = write(Bell.Get(), &one, sizeof one);
    }
};

Bridge& The() {
    static Bridge& bridge = *new Bridge;
    return bridge;
}

template <typename End>
void Forget(std::vector<End*>& ends, const End* end) {
    std::erase(ends, end);
}

// Empties a descriptor whose only news is that there is some. True if there was.
bool Clear(const FileDescriptor& descriptor) {
    alignas(inotify_event) std::array<char, 4096> news;
    bool any = false;
    while (read(descriptor.Get(), news.data(), news.size()) > 0) any = true;
    return any;
}

using State = BridgeSender::State;

// Waits until something is to be done; not long if a peer has had no room.
void WaitForWork(Bridge& bridge, std::vector<pollfd>& descriptors, State state) {
    {
        std::lock_guard lock(bridge.Lock);
        descriptors.assign({{bridge.Bell.Get(), POLLIN, 0}, {bridge.Watch.Get(), POLLIN, 0}});
        for (const BridgeReceiver* receiver : bridge.Receivers)
            descriptors.push_back({receiver->Socket(), POLLIN, 0});
    }
    const int milliseconds = state == State::Idle ? -1 : state == State::PeersFull ? 1 : 0;
    poll(descriptors.data(), descriptors.size(), milliseconds);
}

State Work(Bridge& bridge) {
    std::lock_guard lock(bridge.Lock);
    Clear(bridge.Bell);
    for (BridgeReceiver* receiver : bridge.Receivers) receiver->Drain();
    for (BridgeSender* sender : bridge.Senders) sender->Take();
    if (Clear(bridge.Watch))
        for (BridgeSender* sender : bridge.Senders) sender->FindPeers();
    bool full = false, more = false;
    for (BridgeSender* sender : bridge.Senders) {
        const State state = sender->Offer();
        full = full || state == State::PeersFull;
        more = more || state == State::MoreToTake;
    }
    return more ? State::MoreToTake : full ? State::PeersFull : State::Idle;
}

void* BridgeMain(void* /*argument*/) {
    pthread_setname_np(pthread_self(), "zor-bridge");
    Bridge& bridge = The();
    std::vector<pollfd> descriptors;
    for (State state = State::Idle;;) {
        WaitForWork(bridge, descriptors, state);
        state = Work(bridge);
    }
}

// Sends on what an end still holds before it goes, for a second at the most.
void Finish(Bridge& bridge, BridgeSender& sender) {
    const auto giveUp = std::chrono::steady_clock::now() + std::chrono::seconds(1);
    while (std::chrono::steady_clock::now() < giveUp) {
        sender.Take();
        const State state = sender.Offer();
        if (state == State::Idle) return;
        for (BridgeReceiver* receiver : bridge.Receivers) receiver->Drain();
        if (state == State::PeersFull) usleep(1000);
    }
}

// At the end of the process no end is destroyed, so this takes the sockets' names away.
void CloseAll() {
    Bridge& bridge = The();
    std::lock_guard lock(bridge.Lock);
    for (BridgeSender* sender : bridge.Senders) Finish(bridge, *sender);
    bridge.Senders.clear();
    for (const BridgeReceiver* receiver : bridge.Receivers) receiver->RemoveName();
    bridge.Receivers.clear();
}

// With the lock held.
bool Start(Bridge& bridge) {
    if (bridge.Started) return true;
    const std::string folder = BridgeFolder();
    bridge.Bell = FileDescriptor(eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC));
    bridge.Watch = FileDescriptor(inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
    if (folder.empty() || !bridge.Bell.Valid() || !bridge.Watch.Valid()) return false;
    if (inotify_add_watch(bridge.Watch.Get(), folder.c_str(), IN_CREATE | IN_DELETE) < 0)
        return false;
    pthread_t thread;
    if (pthread_create(&thread, nullptr, BridgeMain, nullptr) != 0) return false;
    pthread_detach(thread);
    std::atexit(CloseAll);
    bridge.Started = true;
    return true;
}

class BridgedOutput : public MidiSink {
public:
    explicit BridgedOutput(std::unique_ptr<BridgeSender> sender) : Sender(std::move(sender)) {
        std::lock_guard lock(The().Lock);
        The().Senders.push_back(Sender.get());
    }
    ~BridgedOutput() override {
        std::lock_guard lock(The().Lock);
        Finish(The(), *Sender);
        Forget(The().Senders, Sender.get());
    }
    void Send(std::uint32_t packed) override {
        if (Sender->Put(packed)) The().Ring();
    }

private:
    std::unique_ptr<BridgeSender> Sender;
};

class BridgedInput : public MidiSource {
public:
    explicit BridgedInput(std::unique_ptr<BridgeReceiver> receiver)
        : Receiver(std::move(receiver)) {
        std::lock_guard lock(The().Lock);
        The().Receivers.push_back(Receiver.get());
        The().Ring();
    }
    ~BridgedInput() override {
        std::lock_guard lock(The().Lock);
        Forget(The().Receivers, Receiver.get());
        The().Ring();
    }

private:
    std::unique_ptr<BridgeReceiver> Receiver;
};

bool StartBridge() {
    std::lock_guard lock(The().Lock);
    return Start(The());
}

} // namespace

// The old end is destroyed, and the new one made, outside the device table's lock, which senders
// wait for.
bool BridgeOutput(int output, const std::string& name) {
    std::unique_ptr<MidiSink> end;
    if (!name.empty()) {
        if (!StartBridge()) return false;
        std::unique_ptr<BridgeSender> sender = BridgeSender::Make(name);
        if (!sender) return false;
        end = std::make_unique<BridgedOutput>(std::move(sender));
    }
    std::lock_guard lock(TheMidi().Lock);
    MidiOutputDevice* const device = TheMidi().Outputs.At(static_cast<std::uint64_t>(output));
    if (device) device->Sink.swap(end);
    return device != nullptr;
}

bool BridgeInput(int input, const std::string& name) {
    MidiInputDevice* device = nullptr;
    {
        std::lock_guard lock(TheMidi().Lock);
        device = TheMidi().Inputs.At(static_cast<std::uint64_t>(input));
    }
    if (!device) return false;
    std::unique_ptr<MidiSource> end;
    if (!name.empty()) {
        if (!StartBridge()) return false;
        std::unique_ptr<BridgeReceiver> receiver = BridgeReceiver::Make(*device, name);
        if (!receiver) return false;
        end = std::make_unique<BridgedInput>(std::move(receiver));
    }
    std::lock_guard lock(TheMidi().Lock);
    device->Source.swap(end);
    return true;
}

} // namespace machine
