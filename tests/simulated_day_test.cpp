// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// 24 simulated hours in a minute: the library and the reference model, on eight ports and a stepped
// clock that wraps at noon, with a host that plays, records, kills, rewinds and restarts.
#include "tests/support/library_and_model.h"
#include "tests/support/machine_test.h"

#include <cstdio>
#include <random>

namespace {

constexpr int Ports = 8;
constexpr int Hour = 3600; // seconds
constexpr std::uint32_t Morning = 0u - 12u * Hour * 1000u;

class SimulatedDay : public MachineTest {
protected:
    SimulatedDay() : MachineTest(Morning) {
        LibraryAndModel::AddPorts(Ports);
        WriteIni(LibraryAndModel::Ini(Ports));
        both.OnSent = [this](const ReferenceModel::Message& message) { CountSent(message); };
    }

    int Pick(int low, int high) { return std::uniform_int_distribution<int>(low, high)(random); }

    // The value of a pitch bend is the low 14 bits of its time.
    void CountSent(const ReferenceModel::Message& message) {
        const std::uint32_t kind = message.Packed & 0xF0, value = message.Packed >> 8 & 0x7F7F;
        ++sent;
        if (kind == 0x90) ++sounding;
        if (kind == 0x80) --sounding;
        if (kind != 0xE0 || (message.Device == 0 && message.Packed % 16 == 0))
            return; // from ZorKillMIDI
        ++bends;
        const std::uint32_t due = (value & 0x7F) | (value >> 8) << 7;
        const std::uint32_t late = (message.Time - origin - due) & 0x3FFF;
        if (!External()) latest = std::max(latest, late);
    }
    bool External() const { return both.Model.External; }

    // Counts the pitch bends in the queues before they are discarded.
    void CountDiscarded() {
        for (int queue : {1, 2})
            for (const MIDIEvent& event : both.Model.Queues[queue].Records)
                discarded += event.Status == 0xE0 ? 1 : 0;
    }
    void Rewind() {
        both.Compare();
        CountDiscarded();
        both.Zero(1), both.Zero(2);
        both.SetTime(0);
        origin = both.Model.Now;
        next[0] = next[1] = 0;
        both.Play();
    }
    void Kill() {
        CountDiscarded();
        both.Kill();
        both.Play();
        next[0] = next[1] = both.Model.Time() + 10;
    }
    void Restart(bool external) {
        Kill();
        both.Compare();
        CountDiscarded();
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
    // Open ports are replugged too and keep working.
    static void Replug() {
        for (const char* name : {"Port 3", "Port 8"})
            machine::UnplugMidiOutput(name), machine::AddMidiOutput(name);
        machine::UnplugMidiInput("Port 5"), machine::AddMidiInput("Port 5");
    }

    // Queues bends, notes, markers and positions for the next two seconds, or until the queue is
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
            const auto number = static_cast<std::uint16_t>(queue);
            const auto& model = both.Model.Queues[queue];
            if (model.Records.size() + 5 > model.Slots) return;
            if (channel != 0) queued += both.Xmit(number, events[0]) ? 1 : 0;
            for (int i = 1; i < 4; ++i) both.Xmit(number, events[i]);
            time += Pick(100, 900);
        }
    }

    // One second of input, with MIDI clock that has jitter and drop-outs, and of the host's
    // actions.
    void Second(int second) {
        Fill(1), Fill(2);
        const bool clocked = External() && second % 300 >= 7;
        for (int rest = 1000; rest > 0;) {
            const int step = std::min(rest, clocked ? Pick(18, 24) : Pick(50, 400));
            rest -= step;
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
    long queued = 0, discarded = 0, bends = 0, sent = 0, received = 0, sounding = 0;
};

TEST_F(SimulatedDay, NothingIsLostStuckOrLate) {
    both.Init(false);
    for (std::int16_t queue = 0; queue < 3; ++queue) both.Alloc(queue, 100);
    for (int second = 0; second < 24 * Hour && both.Difference.empty(); ++second) Second(second);
    EXPECT_EQ(both.Difference, "");
    Rewind(); // discards the waiting records
    Kill();
    both.Compare();
    std::printf("%ld sent, %ld received; of %ld bends queued %ld were sent and %ld discarded away; "
                "%ld notes sound; at most %u ms late\n",
                sent, received, queued, bends, discarded, sounding, latest);
    EXPECT_GT(sent, 500000);
    EXPECT_EQ(bends + discarded, queued);
    EXPECT_EQ(sounding, 0);
    EXPECT_LE(latest, 4u); // a record right behind another waits for the timer's period
    both.Echo(false, nullptr);
    both.Stop();
}

} // namespace
