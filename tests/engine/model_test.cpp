// Random use of the library against a second, simple model of queues, time and pump: one event
// at a time, milliseconds counted one by one, everything in plain containers and wide integers.
#include "tests/engine/rig.h"

#include "engine/queues.h"

#include <algorithm>
#include <cstring>
#include <deque>
#include <optional>
#include <random>

namespace {

bool Same(const MIDIEvent& a, const MIDIEvent& b) { return std::memcmp(&a, &b, sizeof a) == 0; }

class Model {
public:
    struct Queue {
        std::size_t Slots = 16;
        std::deque<MIDIEvent> Records;
        std::int32_t Etime = 0;
        std::uint16_t Marker = 0;
    };
    explicit Model(std::uint32_t clock) : now(clock) {}

    Queue Queues[3];
    std::vector<FakeDrivers::Sent> Sent;
    std::optional<std::uint32_t> Expiry;

    std::int32_t Time() const {
        if (!running) return 0;
        if (!external) return Wrapped(std::int64_t{now} - origin);
        if (!counting) return Units(0);
        return Units(std::max<std::int64_t>(
            0, std::min<std::int64_t>(Wrapped(std::int64_t{now} - lastClock), gap)));
    }
    bool Push(int index, const MIDIEvent& event, bool overwrite) {
        Queue& queue = Queues[index];
        if (queue.Slots == 0) return false;
        const bool full = queue.Records.size() + 1 >= queue.Slots;
        if (full && !overwrite) return false;
        queue.Records.push_back(event);
        if (full) queue.Records.pop_front();
        return true;
    }
    void Allocate(int index, int slots) {
        Queues[index] = {};
        Queues[index].Slots = static_cast<std::size_t>(slots);
    }
    void Empty(int index) { Queues[index].Records.clear(); }
    void Play() {
        for (;;) {
            const std::int32_t time = Time();
            bool awaiting = false;
            for (int index : {1, 2}) awaiting |= PlayQueue(Queues[index], time);
            Expiry.reset();
            std::optional<std::int32_t> next;
            for (int index : {1, 2}) {
                const auto& records = Queues[index].Records;
                if (!records.empty() && records[0].Time < next.value_or(INT32_MAX))
                    next = std::int32_t{records[0].Time}; // by value: the record is packed
            }
            const std::int64_t delay = next ? std::int64_t{*next} - Time() : INT32_MAX;
            if (delay > 0) return Arm(delay >= INT32_MAX ? 0 : delay);
            if (awaiting) return;
        }
    }
    void Kill() {
        Expiry.reset();
        Empty(1);
        Empty(2);
        for (const MIDIEvent& event :
             {MIDIEvent{0, 0, 0, 2, 0xB0, 64, 0}, MIDIEvent{0, 0, 0, 2, 0xB0, 123, 0},
              MIDIEvent{0, 0, 0, 2, 0xE0, 0, 64}})
            Send(event);
    }
    void Advance(std::uint32_t milliseconds) {
        for (; milliseconds > 0; --milliseconds) {
            ++now;
            if (Expiry == now) Play();
        }
    }
    void StartTimer() {
        if (running) return;
        running = true;
        std::int64_t delay = INT32_MAX;
        for (int index : {1, 2}) {
            const auto& records = Queues[index].Records;
            if (!records.empty()) delay = std::min(delay, std::int64_t{records[0].Time} - Time());
        }
        Arm(delay >= INT32_MAX ? 0 : delay);
        ResetTime();
    }
    // Without echo the drivers close with the timer, and are opened again.
    void StopTimer() {
        Expiry.reset();
        running = false;
        if (Echo) return;
        for (int index : {0, 1, 2}) Empty(index);
        counting = false;
        clocks = gap = lastClock = 0;
    }
    void ResetTime() {
        if (external) {
            origin = lastClock = 0;
            gap = clocks = 0;
        } else {
            origin = now;
        }
    }
    void SetTime(std::int32_t time) {
        if (external) {
            origin = time;
            Locate(0);
        } else {
            origin = std::int64_t{now} - time;
        }
    }
    void SetExternal(bool on) { external = on; }
    void Receive(MIDIEvent event) {
        Feed(event);
        event.Time = external ? Time() : Wrapped(event.Time - origin);
        Push(0, event, true);
        if (Echo) Send(event);
    }
    bool Echo = false;
    bool Running() const { return running; }

private:
    static std::int32_t Wrapped(std::int64_t value) {
        return static_cast<std::int32_t>(static_cast<std::uint32_t>(value));
    }
    std::int32_t Units(std::int64_t elapsed) const {
        if (!counting || gap == 0) return static_cast<std::int32_t>(clocks * 128 / 3);
        return static_cast<std::int32_t>((clocks * gap + elapsed) * 128 / (gap * 3));
    }
    void Arm(std::int64_t delay) {
        if (running) Expiry = now + static_cast<std::uint32_t>(std::max<std::int64_t>(delay, 4));
    }
    void Send(const MIDIEvent& event) { Sent.push_back({Time(), event}); }
    bool PlayQueue(Queue& queue, std::int32_t time) {
        while (!queue.Records.empty()) {
            const MIDIEvent event = queue.Records.front();
            if (external && !counting) return true;
            if (event.Time > time) return false;
            const bool marker = event.Status == 0 && event.Length == 0;
            if (marker)
                queue.Marker = static_cast<std::uint16_t>(event.Etime);
            else
                queue.Etime = event.Etime;
            if (!marker && (event.Status != 0xF8 || event.Data1 != 1)) Send(event);
            queue.Records.pop_front();
        }
        return false;
    }
    void Locate(std::int64_t after) {
        lastClock = 0;
        gap = 0;
        clocks = std::int64_t{Wrapped(origin)} * 24 / 1024 + after;
    }
    void Feed(const MIDIEvent& event) {
        switch (event.Status) {
        case 0xF2:
            Locate(6 * (event.Data2 * 128 + event.Data1));
            break;
        case 0xFA:
            armed = true;
            Locate(0);
            break;
        case 0xFB:
            armed = true;
            break;
        case 0xFC:
            armed = counting = false;
            break;
        case 0xF8:
            if (!armed && !counting) break;
            armed = false;
            counting = true;
            ++clocks;
            gap = Wrapped(now) < Wrapped(lastClock) ? 0 : Wrapped(now - lastClock);
            lastClock = now;
            break;
        default:
            break;
        }
    }

    std::uint32_t now;
    std::int64_t origin = 0, lastClock = 0, clocks = 0, gap = 0;
    bool running = false, external = false, armed = false, counting = false;
};

class AgainstModel : public EngineTest, public testing::WithParamInterface<unsigned> {
protected:
    AgainstModel() : EngineTest(StartClock()), model(StartClock()), random(GetParam()) {
        ZorStartMIDI(0);
        Receive(0xFC); // the external clock keeps its state from one session to the next
        ZorSyncMIDI(ZOR_SYNC_EXTERNAL);
        ZorSetMIDITimer(0);
        ZorSyncMIDI(ZOR_SYNC_INTERNAL);
        ZorZeroQueue(0);
    }
    // Some of the runs cross the end of the millisecond clock.
    static std::uint32_t StartClock() { return GetParam() % 3 == 0 ? 0xFFFFF800u : 70000u; }
    int Pick(int low, int high) { return std::uniform_int_distribution<int>(low, high)(random); }

    MIDIEvent RandomRecord() {
        static constexpr std::uint8_t statuses[] = {0x90, 0x80, 0xB0, 0xE3, 0,
                                                    0,    0xF8, 0xF8, 0xC0, 0xFA};
        return {model.Time() + Pick(-15, 60),
                Pick(-100000, 100000),
                static_cast<std::int16_t>(Pick(-1, 20)),
                static_cast<std::uint8_t>(Pick(0, 2)),
                statuses[Pick(0, 9)],
                static_cast<std::uint8_t>(Pick(0, 2)),
                static_cast<std::uint8_t>(Pick(0, 127))};
    }
    void ReceiveSomething() {
        static constexpr std::uint8_t statuses[] = {0xF8, 0xF8, 0xF8, 0xF8, 0xFA,
                                                    0xFB, 0xFC, 0xF2, 0x90, 0xF6};
        MIDIEvent event = {static_cast<std::int32_t>(timeGetTime()),
                           0,
                           static_cast<std::int16_t>(Pick(0, 40)),
                           0,
                           statuses[Pick(0, 9)],
                           static_cast<std::uint8_t>(Pick(0, 40)),
                           0};
        model.Receive(event);
        RcvEvent(&event, 0);
    }
    void TakeSomething() {
        auto& records = model.Queues[0].Records;
        const bool peek = Pick(0, 3) == 0;
        MIDIEvent event;
        ASSERT_EQ(ZorRcv(&event, peek) != 0, !records.empty());
        if (records.empty()) return;
        ASSERT_TRUE(Same(event, records.front()));
        if (!peek) records.pop_front();
    }
    void Transport() {
        switch (Pick(0, 7)) {
        case 0:
            ZorKillMIDI();
            model.Kill();
            break;
        case 1:
            ZorStopMIDI();
            if (!model.Echo) ZorStartMIDI(0);
            model.StopTimer();
            break;
        case 2:
            ZorTimeMIDI(1);
            if (model.Running()) model.ResetTime();
            break;
        case 3: {
            const int time = Pick(-50, 3000);
            ZorSetMIDITimer(time);
            model.SetTime(time);
            break;
        }
        case 4: {
            const bool external = Pick(0, 1) == 1;
            ZorSyncMIDI(external ? 2 : 0);
            model.SetExternal(external);
            break;
        }
        case 5: {
            const int queue = Pick(0, 2);
            ZorZeroQueue(static_cast<std::int16_t>(queue));
            model.Empty(queue);
            break;
        }
        case 6: {
            const int queue = Pick(0, 2), slots = Pick(0, 3) == 0 ? Pick(0, 3) : 16;
            ZorAllocMIDI(static_cast<std::int16_t>(queue), static_cast<std::int16_t>(slots));
            model.Allocate(queue, slots);
            break;
        }
        default:
            ZorStartTimer();
            model.StartTimer();
            break;
        }
    }
    void Step() {
        const int choice = Pick(0, 99);
        if (choice < 45) {
            const int queue = Pick(1, 2);
            const MIDIEvent event = RandomRecord();
            ASSERT_EQ(ZorXmit(static_cast<std::uint16_t>(queue), &event) != 0,
                      model.Push(queue, event, false));
        } else if (choice < 65) {
            const auto milliseconds = static_cast<std::uint32_t>(Pick(0, 30));
            machine::Advance(milliseconds);
            model.Advance(milliseconds);
        } else if (choice < 80) {
            ReceiveSomething();
        } else if (choice < 87) {
            TakeSomething();
        } else if (choice < 94) {
            ZorMIDIPlay();
            model.Play();
        } else {
            Transport();
        }
    }
    void Compare() {
        ASSERT_EQ(ZorTimeMIDI(0), model.Time());
        for (int index = 0; index < QueueCount; ++index) {
            const Model::Queue& expected = model.Queues[index];
            ASSERT_EQ(CountOf(index), static_cast<int>(expected.Records.size()));
            ASSERT_EQ(MIDIQueues[index].Etime.load(), expected.Etime);
            ASSERT_EQ(MIDIQueues[index].Marker.load(), expected.Marker);
        }
        const auto sent = drivers.TakeSent();
        ASSERT_EQ(sent.size(), model.Sent.size());
        for (std::size_t i = 0; i < sent.size(); ++i) {
            ASSERT_TRUE(Same(sent[i].Event, model.Sent[i].Event));
            ASSERT_EQ(sent[i].At, model.Sent[i].At);
        }
        model.Sent.clear();
        std::vector<std::uint32_t> pending;
        if (model.Expiry) pending.push_back(*model.Expiry);
        ASSERT_EQ(machine::PendingTimers(), pending);
    }

    Model model;
    std::mt19937 random;
};

TEST_P(AgainstModel, PlaysAndReceivesTheSame) {
    model.Echo = GetParam() % 2 == 0;
    ZorEchoMIDI(model.Echo, nullptr);
    if (!model.Echo) ZorStartMIDI(0);
    for (int step = 0; step < 6000; ++step) {
        SCOPED_TRACE(step);
        Step();
        if (HasFatalFailure()) return;
        Compare();
        if (HasFatalFailure()) return;
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, AgainstModel, testing::Range(1u, 25u));

} // namespace
