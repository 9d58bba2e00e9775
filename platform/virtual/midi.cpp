// MIDI ports in memory: messages that leave an output arrive, after their latency, at the inputs
// that its cables lead to.
#include "platform/virtual/midi.h"

#include "platform/device/clock.h"
#include "platform/machine/midi.h"
#include "platform/machine/power.h"

#include <algorithm>

namespace machine {
namespace {

struct UnderWay {
    std::uint64_t Due; // microseconds
    std::uint64_t Number;
    std::shared_ptr<VirtualInput> To;
    std::uint32_t Message;

    // What comes last is the least: a heap then has on top what comes first.
    bool operator<(const UnderWay& other) const {
        return Due != other.Due ? Due > other.Due : Number > other.Number;
    }
};

// All messages on their way, in memory of their own, so that a flood of them takes no room of the
// timers'. They arrive on the timers' lane, where none meets what is being played.
class Traffic {
public:
    void Prepare();
    bool Add(std::shared_ptr<VirtualInput> to, std::uint32_t message, std::uint64_t latency);

private:
    static constexpr std::size_t Most = 1u << 16; // as many as a cable between processes holds

    static void ArriveFirst(void* traffic, std::uintptr_t) {
        static_cast<Traffic*>(traffic)->ArriveFirst();
    }
    void ArriveFirst();
    UnderWay TakeFirst(); // locked, as the next two
    bool Arm();
    void FollowClock();

    std::mutex Lock; // of all below; held for moments
    std::vector<UnderWay> Heap;
    std::uint64_t Last = 0;
    Token Armed = 0; // the clock's, for the first one
    std::uint32_t OnClock = 0;
};

// Never destroyed, since the clock's threads run until the process ends.
Traffic& The() {
    static Traffic& traffic = *new Traffic;
    return traffic;
}

// Fetches thread and memory, so that sending does not.
void Traffic::Prepare() {
    StartLane(Lane::Timers);
    const std::scoped_lock lock(Lock);
    Heap.reserve(Most);
}

bool Traffic::Add(std::shared_ptr<VirtualInput> to, std::uint32_t message, std::uint64_t latency) {
    const std::scoped_lock lock(Lock);
    FollowClock();
    if (Heap.size() >= Most) return false;
    Heap.push_back({Microseconds() + latency, ++Last, std::move(to), message});
    std::ranges::push_heap(Heap, std::less<>());
    const bool first = Heap.front().Number == Last;
    if ((!first && Armed != 0) || Arm() || !first) return true;
    TakeFirst(); // the clock has no thread for it, or no room
    return false;
}

void Traffic::ArriveFirst() {
    std::unique_lock lock(Lock);
    FollowClock();
    if (ActionToken() != Armed) return; // another one has come before it meanwhile
    const UnderWay first = TakeFirst();
    Armed = 0;
    if (!Heap.empty()) Arm();
    lock.unlock();
    first.To->Arrive(first.Message, first.Due);
}

UnderWay Traffic::TakeFirst() {
    std::ranges::pop_heap(Heap, std::less<>());
    UnderWay first = std::move(Heap.back());
    Heap.pop_back();
    return first;
}

bool Traffic::Arm() {
    Unschedule(Armed);
    Armed = Schedule(Lane::Timers, Heap.front().Due, ArriveFirst, this);
    return Armed != 0;
}

// What was under way on an earlier clock is over.
void Traffic::FollowClock() {
    const std::uint32_t clock = ClockChanges();
    if (std::exchange(OnClock, clock) == clock) return;
    Heap.clear();
    Armed = 0;
}

// The first device of that name that is there or, if gone, has left; null for none.
std::shared_ptr<MidiDevice> Named(MidiWay way, const std::string& name, bool gone) {
    for (const auto& device : KnownMidiDevices(way))
        if (device->Name == name && device->Gone() == gone) return device;
    return nullptr;
}

template <class Device, class... More>
int Plug(const std::string& name, More... more) {
    constexpr MidiWay way = Device::Direction;
    std::shared_ptr<MidiDevice> device = Named(way, name, true);
    if (device) {
        device->Return();
    } else {
        const auto alike = std::ranges::count(KnownMidiDevices(way), name,
                                              [](const auto& other) { return other->Name; });
        const std::string id = alike == 0 ? name : name + " #" + std::to_string(alike + 1);
        AddMidiDevice(device = std::make_shared<Device>(id, name, more...));
    }
    return static_cast<int>(NumberOf(way, device.get()));
}

void Unplug(MidiWay way, const std::string& name) {
    if (const auto device = Named(way, name, false)) device->Leave();
}

const AtPowerOn atPowerOn(ForgetMidiDevices);

// A host that does not steer the machine finds one output whose messages come back at one input.
[[maybe_unused]] const bool loopback = [] {
    Connect(AddMidiOutput("Loopback"), AddMidiInput("Loopback"), 1);
    return true;
}();

} // namespace

MidiResult VirtualInput::Open(const std::shared_ptr<MidiReceiver>& receiver) {
    if (Gone()) return MidiResult::Gone;
    The().Prepare();
    SetReceiver(receiver);
    return MidiResult::Done;
}

bool VirtualInput::Bring(std::uint32_t message, std::uint64_t latency) {
    return Gone() || The().Add(shared_from_this(), message, latency);
}

void VirtualInput::Arrive(std::uint32_t message, std::uint64_t microseconds) {
    std::unique_lock lock(Lock);
    const auto receiver = Receiver;
    lock.unlock();
    if (receiver && !Gone()) receiver->Received(message, microseconds);
}

void VirtualInput::SetReceiver(std::shared_ptr<MidiReceiver> receiver) {
    const std::scoped_lock lock(Lock);
    Receiver.swap(receiver);
}

void VirtualInput::SetSource(std::shared_ptr<void> source) {
    const std::scoped_lock lock(Lock);
    Source.swap(source);
}

MidiResult VirtualOutput::Open(const std::shared_ptr<MidiReceiver>&) {
    if (Gone()) return MidiResult::Gone;
    The().Prepare();
    return MidiResult::Done;
}

MidiResult VirtualOutput::Send(std::uint32_t message) {
    if (Gone()) return MidiResult::Gone;
    const std::scoped_lock lock(Lock);
    bool carried = true;
    for (const auto& [where, cable] : Cables) carried = (!cable || cable(message)) && carried;
    return carried ? MidiResult::Done : MidiResult::Full;
}

void VirtualOutput::Lead(const std::string& where, Cable cable) {
    const std::scoped_lock lock(Lock);
    Cables[where].swap(cable);
}

int AddMidiInput(const std::string& name) { return Plug<VirtualInput>(name); }

int AddMidiOutput(const std::string& name, std::uint32_t support) {
    return Plug<VirtualOutput>(name, support);
}

void Connect(int output, int input, std::uint32_t latencyMilliseconds) {
    const auto from = FindVirtual<VirtualOutput>(output);
    const auto to = FindVirtual<VirtualInput>(input);
    if (!from || !to) return;
    from->Lead(to->Id, [to, latency = std::uint64_t{latencyMilliseconds} * 1000](auto message) {
        return to->Bring(message, latency);
    });
}

void RemoveMidiDevices() { ForgetMidiDevices(); }

void UnplugMidiInput(const std::string& name) { Unplug(MidiWay::In, name); }
void UnplugMidiOutput(const std::string& name) { Unplug(MidiWay::Out, name); }

void ReceiveMidi(int input, std::uint32_t packed) {
    if (const auto device = FindVirtual<VirtualInput>(input)) device->Bring(packed, 0);
}

} // namespace machine
