// A day of work in a minute: the library beside its model, on eight ports and a stepped clock that
// wraps at noon, with a host that does all that hosts do.
#include "tests/support/library_and_model.h"
#include "tests/support/machine_test.h"

#include <cstdio>
#include <random>

namespace {

constexpr int Ports = 8;
constexpr int Hour = 3600; // seconds
constexpr std::uint32_t Morning = 0u - 12u * Hour * 1000u;

class Day : public MachineTest {
protected:
    Day() : MachineTest(Morning) {
        LibraryAndModel::AddPorts(Ports);
        WriteIni(LibraryAndModel::Ini(Ports));
        both.OnSent = [this](const ReferenceModel::Message& message) { Hear(message); };
    }

    int Pick(int low, int high) { return std::uniform_int_distribution<int>(low, high)(random); }

    // A bend says when it is due, by the time base; each note on is one more to be released.
    void Hear(const ReferenceModel::Message& message) {
        const std::uint32_t kind = message.Packed & 0xF0, value = message.Packed >> 8 & 0x7F7F;
        ++sent;
        if (kind == 0x90) ++sounding;
        if (kind == 0x80) --sounding;
        if (kind != 0xE0 || (message.Device == 0 && message.Packed % 16 == 0)) return; // by a kill
        ++bends;
        const std::uint32_t due = (value & 0x7F) | (value >> 8) << 7;
        const std::uint32_t late = (message.Time - origin - due) & 0x3FFF;
        if (!External()) latest = std::max(latest, late);
    }
    bool External() const { return both.Model.External; }

    // Whatever is thrown away counts as such.
    void Throw() {
        for (int queue : {1, 2})
            for (const MIDIEvent& event : both.Model.Queues[queue].Records)
                thrown += event.Status == 0xE0 ? 1 : 0;
    }
    void Rewind() {
        both.Compare();
        Throw();
        both.Zero(1), both.Zero(2);
        both.SetTime(0);
        origin = both.Model.Now;
        next[0] = next[1] = 0;
        both.Play();
    }
    void Kill() {
        Throw();
        both.Kill();
        both.Play();
        next[0] = next[1] = both.Model.Time() + 10;
    }
    void Restart(bool external) {
        Kill();
        both.Compare();
        Throw();
        both.Echo(false, nullptr);
        both.Stop();
        both.Zero(1), both.Zero(2);
        for (const char* name : {"Port 3", "Port 8"}) machine::UnplugMidiOutput(name);
        machine::UnplugMidiInput("Port 5");
        both.Advance(100);
        Replug();
        both.Sync(external ? ZOR_SYNC_EXTERNAL : ZOR_SYNC_INTERNAL);
        both.Start(true);
        if (external) both.Receive(0, 0xFA);
        Rewind();
    }
    // Also under open ports, which go on.
    static void Replug() {
        for (const char* name : {"Port 3", "Port 8"})
            machine::UnplugMidiOutput(name), machine::AddMidiOutput(name);
        machine::UnplugMidiInput("Port 5"), machine::AddMidiInput("Port 5");
    }

    // Two seconds ahead: bends, notes with their ends, markers and positions. The queues may be
    // full.
    void Fill(int queue) {
        std::int32_t& time = next[queue - 1];
        while (time < both.Model.Time() + 2000) {
            const auto channel = static_cast<std::int16_t>(Pick(0, 16 * Ports - 1));
            const auto key = static_cast<std::uint8_t>(Pick(20, 100));
            const auto low = static_cast<std::uint8_t>(time & 0x7F),
                       high = static_cast<std::uint8_t>(time >> 7 & 0x7F);
            const MIDIEvent events[] = {{time, time, channel, 2, 0xE0, low, high},
                                        {time, time, channel, 2, 0x90, key, 80},
                                        {time + 90, time, channel, 2, 0x80, key, 0},
                                        {time + 95, time, 0, 0,
                                         static_cast<std::uint8_t>(Pick(0, 1) * 0xF8),
                                         static_cast<std::uint8_t>(Pick(1, 2)), 0}};
            const auto wanted = static_cast<std::uint16_t>(queue);
            const auto& held = both.Model.Queues[queue];
            if (held.Records.size() + 5 > held.Slots) return;
            if (channel != 0) put += both.Xmit(wanted, events[0]) ? 1 : 0;
            for (int i = 1; i < 4; ++i) both.Xmit(wanted, events[i]);
            time += Pick(100, 900);
        }
    }

    // What comes in within a second, with the clock of a sequencer that is not quite steady and
    // fails for a while now and then.
    void Second(int second) {
        Fill(1), Fill(2);
        const bool clocked = External() && second % 300 >= 7;
        for (int left = 1000; left > 0;) {
            const int step = std::min(left, clocked ? Pick(18, 24) : Pick(50, 400));
            left -= step;
            both.Advance(static_cast<std::uint32_t>(step));
            if (clocked) both.Receive(0, 0xF8);
            if (clocked && Pick(0, 3) != 0) continue;
            const auto key = static_cast<std::uint32_t>(Pick(0, 127));
            const auto channel = static_cast<std::uint32_t>(Pick(0, 15));
            const int port = Pick(0, Ports - 1);
            both.Receive(port, 0x400090u | channel | key << 8);
            both.Receive(port, 0x000090u | channel | key << 8);
        }
        while (both.Rcv(false)) ++received;
        if (second % 600 == 599) Kill();
        if (second % 1020 == 1019) Rewind();
        if (second % 1380 == 1379) Replug();
        if (second % Hour == 0 || second % Hour == Hour / 2) Restart(second / Hour % 4 == 1);
        if (second % Hour == Hour / 2 && second / Hour % 3 == 2) both.Echo(true, nullptr);
        both.Compare();
    }

    LibraryAndModel both{Ports, Morning, false};
    std::mt19937 random{20261125};
    std::int32_t next[2] = {};
    std::uint32_t origin = 0, latest = 0;
    long put = 0, thrown = 0, bends = 0, sent = 0, received = 0, sounding = 0;
};

TEST_F(Day, NothingIsLostStuckOrLate) {
    both.Init(false);
    for (std::int16_t queue = 0; queue < 3; ++queue) both.Alloc(queue, 100);
    for (int second = 0; second < 24 * Hour && both.Difference.empty(); ++second) Second(second);
    EXPECT_EQ(both.Difference, "");
    Rewind(); // throws away what waits
    Kill();
    both.Compare();
    std::printf("%ld sent, %ld received; of %ld bends put in %ld were sent and %ld thrown away; "
                "%ld notes sound; the latest was %u ms late\n",
                sent, received, put, bends, thrown, sounding, latest);
    EXPECT_GT(sent, 500000);
    EXPECT_EQ(bends + thrown, put);
    EXPECT_EQ(sounding, 0);
    EXPECT_LE(latest, 4u); // a record right behind another waits for the timer's period
    both.Echo(false, nullptr);
    both.Stop();
}

} // namespace
