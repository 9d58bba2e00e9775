#include "platform/device/midi_input.h"

#include "platform/device/clock.h"

#include <algorithm>

namespace machine {
namespace {

constexpr std::uint32_t ReleaseAll = ~0u; // no message has a top byte: note offs for all held

struct UnderWay {
    std::uint64_t Due; // microseconds
    std::uint64_t Number;
    std::shared_ptr<MidiInput> To;
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
    bool Add(std::shared_ptr<MidiInput> to, std::uint32_t message, std::uint64_t latency,
             std::uint64_t came);

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

bool Traffic::Add(std::shared_ptr<MidiInput> to, std::uint32_t message, std::uint64_t latency,
                  std::uint64_t came) {
    const std::scoped_lock lock(Lock);
    FollowClock();
    if (Heap.size() >= Most) return false;
    if (came == MidiInput::JustNow) came = Microseconds(); // locked, so that times keep the order
    Heap.push_back({came + latency, ++Last, std::move(to), message});
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

} // namespace

void PrepareMidiTraffic() { The().Prepare(); }

MidiResult MidiInput::Open(const std::shared_ptr<MidiReceiver>& receiver) {
    if (Gone()) return MidiResult::Gone;
    PrepareMidiTraffic();
    SetReceiver(receiver);
    return MidiResult::Done;
}

void MidiInput::Close() { SetReceiver(nullptr); }

bool MidiInput::Bring(std::uint32_t message, std::uint64_t latency, std::uint64_t came) {
    return Gone() || The().Add(shared_from_this(), message, latency, came);
}

// Behind all that came in before.
void MidiInput::Leaving() {
    std::unique_lock lock(Lock);
    const bool open = Receiver != nullptr;
    lock.unlock();
    if (open) Bring(ReleaseAll, 0);
}

void MidiInput::Arrive(std::uint32_t message, std::uint64_t microseconds) {
    std::unique_lock lock(Lock);
    const auto receiver = Receiver;
    if (!receiver || (Gone() && message != ReleaseAll)) return;
    Held.Follow(message);
    SoundingNotes held;
    if (message == ReleaseAll) std::swap(held, Held);
    lock.unlock();
    if (message != ReleaseAll) return receiver->Received(message, microseconds);
    held.Release([&](std::uint32_t noteOff) { receiver->Received(noteOff, microseconds); });
}

void MidiInput::SetReceiver(std::shared_ptr<MidiReceiver> receiver) {
    const std::scoped_lock lock(Lock);
    Held.Forget();
    Receiver.swap(receiver);
}

} // namespace machine
