// The library beside a second engine, on a stepped machine: every call goes to both, and what comes
// of it is compared. The second one is written for reading: plain containers, and milliseconds
// counted one by one. It has queues, pump, time in both modes, receive path, echo and ports; one
// thread, and devices that refuse nothing. The ports lie side by side, 16 channels each.
#pragma once

#include "engine/time_base.h"
#include "engine/zormidi.h"
#include "platform/machine.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

class Twin {
public:
    struct Queue {
        std::size_t Slots = 0;
        std::deque<MIDIEvent> Records = {};
        std::int32_t Etime = 0;
        std::uint16_t Marker = 0;
    };
    // What a device was sent, and when; each note off as 0x80 with velocity 0.
    struct Message {
        std::uint32_t At;
        int Device;
        std::uint32_t Packed;
    };

    // For a library that is down, or up with nothing open; the clock is stepped and stands at that
    // millisecond.
    Twin(int count, std::uint32_t clock, bool isUp) : Now(clock), ports(count), up(isUp) {}
    // As many MIDI inputs and outputs, and the ini file that has the library stand on them.
    static void AddPorts(int ports) {
        for (int port = 1; port <= ports; ++port) {
            machine::AddMidiInput("Port " + std::to_string(port));
            machine::AddMidiOutput("Port " + std::to_string(port));
        }
    }
    static std::string Ini(int ports) {
        std::string ini = "[MMEDRVR]\n";
        for (int port = 0; port < ports; ++port)
            for (const std::string side : {"In", "Out"}) {
                const std::string row = std::to_string(port + 1);
                ini += side + "Name" + row + "=Port " + row + "\n" + side + "Base" + row + "=" +
                       std::to_string(port * 16 + 1) + "\n";
            }
        return ini;
    }

    void Init(bool again) {
        Same("MIDISysInit", MIDISysInit(again), up && !again ? ZOR_ALREADY_INITIALISED : -1);
        if (up && !again) return;
        if (up) BringDown();
        for (Queue& queue : Queues) queue = {};
        ended = false;
        up = true;
    }
    void Term() {
        MIDISysTerm();
        BringDown();
    }
    void Start(bool timer) {
        const bool started = ZorStartMIDI(timer) != 0;
        if (echo) {
            for (Queue& queue : Queues) queue.Records.clear();
            if (running) Rewind();
        }
        const bool expected = echo || OpenAll();
        if (expected && timer) RunTimer();
        Same("ZorStartMIDI", started, expected);
    }
    void Stop() {
        ZorStopMIDI();
        StopTimer();
        if (!echo) Close();
    }
    void Restore() {
        ZorRestoreMIDI();
        Close();
    }
    void Echo(bool on, const std::uint8_t* map) {
        ZorEchoMIDI(on, map);
        for (std::size_t i = 0; on && i < echoMap.size(); ++i)
            echoMap[i] = map ? map[i] : static_cast<std::uint8_t>(i);
        echo = on;
        on ? static_cast<void>(OpenAll()) : Close();
    }
    // Of row 0, where there is no screen.
    void RunDialog() {
        if (open && !up) return; // a host that ends without closing; the row stays closed
        ZorConfigMIDIDriver(nullptr, 0);
        sounding.clear();
    }
    void StartTimer() { Same("ZorStartTimer", ZorStartTimer(), RunTimer()); }
    void Sync(std::int16_t mode) {
        ZorSyncMIDI(mode);
        External = mode == ZOR_SYNC_EXTERNAL;
    }
    void SetTime(std::int32_t time) {
        ZorSetMIDITimer(time);
        origin =
            External ? static_cast<std::uint32_t>(time) : Now - static_cast<std::uint32_t>(time);
        if (External) Locate(0);
    }
    void ResetTime() {
        Same("ZorTimeMIDI(1)", ZorTimeMIDI(1), 0);
        if (running) Rewind();
    }
    void Advance(std::uint32_t milliseconds) {
        machine::Advance(milliseconds);
        for (; milliseconds > 0; --milliseconds)
            if (expiry == ++Now) Expire();
    }
    void Filter(std::uint16_t mask, std::uint16_t sysMask) {
        ZorFilterMIDI(mask, sysMask);
        filter = mask, sysFilter = sysMask;
    }
    void Alloc(std::int16_t index, std::int16_t slots) {
        const bool expected = IsQueue(index) && slots >= 0 && (slots == 0 || up);
        Same("ZorAllocMIDI", ZorAllocMIDI(index, slots), expected);
        if (IsQueue(index)) Queues[index] = {expected ? static_cast<std::size_t>(slots) : 0};
    }
    void Free(std::int16_t index) {
        Same("ZorFreeMIDI", ZorFreeMIDI(index), IsQueue(index));
        if (IsQueue(index)) Queues[index] = {};
    }
    void Zero(std::int16_t index) {
        ZorZeroQueue(index);
        if (IsQueue(index)) Queues[index].Records.clear();
    }
    bool Xmit(std::uint16_t queue, const MIDIEvent& event) {
        const bool taken = ZorXmit(queue, &event);
        Same("ZorXmit", taken,
             queue == ZOR_IMMEDIATE ? Send(event) : queue < 3 && Push(Queues[queue], event, false));
        return taken;
    }
    bool Rcv(bool peek) {
        MIDIEvent event;
        auto& records = Queues[0].Records;
        const bool got = ZorRcv(&event, peek);
        Same("ZorRcv", got, !records.empty());
        if (!got || records.empty()) return false;
        Same("what ZorRcv gives", std::memcmp(&event, &records[0], sizeof event), 0);
        if (!peek) records.pop_front();
        return true;
    }
    void Play() {
        ZorMIDIPlay();
        ended = false;
        Pass();
    }
    void CallBack() {
        MMETimerCallBack(0, 0, 0, 0, 0);
        Expire();
    }
    void Kill() {
        ZorKillMIDI();
        expiry.reset();
        ended = true;
        Queues[1].Records.clear(), Queues[2].Records.clear();
        for (const MIDIEvent& event :
             {MIDIEvent{0, 0, 0, 2, 0xB0, 64, 0}, MIDIEvent{0, 0, 0, 2, 0xB0, 123, 0},
              MIDIEvent{0, 0, 0, 2, 0xE0, 0, 64}})
            Send(event);
        for (const auto& [key, count] : sounding)
            for (int i = 0; i < count; ++i) SendTo(key / 2048, 0x80 | key / 128 % 16, key % 128, 0);
        sounding.clear();
    }
    void Receive(int port, std::uint32_t packed) {
        machine::ReceiveMidi(port, packed);
        machine::Advance(0);
        TakeIn(port, packed);
    }

    // All that a host can ask, and what the devices were sent since the last time.
    void Compare() {
        CompareSent();
        Same("ZorTimeMIDI(0)", ZorTimeMIDI(0), Time());
        for (std::int16_t index = 0; index < 3; ++index) {
            const Queue& queue = Queues[index];
            std::uint16_t size, count, marker;
            Same("ZorReportMQ", ZorReportMQ(index, &size, &count), queue.Slots != 0);
            Same("slots", size, static_cast<std::int64_t>(queue.Slots));
            Same("records", count, static_cast<std::int64_t>(queue.Records.size()));
            Same("ZorEtimeMIDI", ZorEtimeMIDI(index, &marker), External ? Time() : queue.Etime);
            Same("marker", marker, queue.Marker);
        }
        Same("ZorXmitEmpty", ZorXmitEmpty(0),
             Queues[1].Records.empty() && Queues[2].Records.empty());
        std::uint8_t nowOpen, nowRunning;
        ZorMIDIStatus(&nowOpen, &nowRunning);
        Same("drivers open", nowOpen, open);
        Same("timer running", nowRunning, running);
        Same("ZorErrorMIDI", ZorErrorMIDI(nullptr), std::exchange(error, false) ? 0 : -1);
        const auto pending = machine::PendingTimers();
        Same("expiries pending", static_cast<std::int64_t>(pending.size()), expiry ? 1 : 0);
        if (expiry && !pending.empty()) Same("the next expiry", pending[0], *expiry);
    }

    std::string Difference;                     // what differed first; empty while nothing has
    std::function<void(const Message&)> OnSent; // each message, while the two are compared

    // What the second engine holds.
    std::int32_t Time() const { return running ? RunningTime() : 0; }
    std::uint32_t Now; // on the millisecond clock
    bool External = false;
    Queue Queues[3] = {};

private:
    static bool IsQueue(int index) { return index >= 0 && index < 3; }

    std::int32_t RunningTime() const {
        if (!External) return static_cast<std::int32_t>(Now - origin);
        if (!clockRunning) return ClocksToTime(clocks, 0, 0);
        const auto since = static_cast<std::int32_t>(Now - lastClock);
        return ClocksToTime(clocks, gap, std::max(std::min(since, gap), 0));
    }
    void Rewind() {
        origin = External ? 0 : Now;
        if (External) lastClock = 0, gap = clocks = 0;
    }
    void Locate(std::int32_t from) {
        lastClock = 0, gap = 0;
        clocks = static_cast<std::int32_t>(
            std::int64_t{static_cast<std::int32_t>(origin)} * 24 / 1024 + from);
    }
    void FeedClock(const MIDIEvent& event) {
        if (event.Status == 0xF2) Locate(6 * (event.Data2 % 128 * 128 + event.Data1 % 128));
        if (event.Status == 0xFA) Locate(0);
        if (event.Status == 0xFA || event.Status == 0xFB) clockPending = true;
        if (event.Status == 0xFC) clockRunning = clockPending = false;
        if (event.Status != 0xF8 || (!clockRunning && !clockPending)) return;
        clockRunning = true, clockPending = false;
        ++clocks;
        const bool back = static_cast<std::int32_t>(Now) < static_cast<std::int32_t>(lastClock);
        gap = back ? 0 : static_cast<std::int32_t>(Now - lastClock);
        lastClock = Now;
    }
    void BringDown() {
        for (Queue& queue : Queues) queue = {};
        StopTimer();
        up = false;
    }
    bool OpenAll() {
        if (open || !up) return open;
        for (Queue& queue : Queues) queue.Records.clear();
        clockRunning = false;
        lastClock = 0, gap = clocks = 0;
        return open = true;
    }
    void Close() {
        open = false;
        sounding.clear();
    }
    // The delay to the first expiry is figured by the time that was.
    bool RunTimer() {
        if (!up || running) return up;
        running = true;
        const std::int64_t delay = Delay(RunningTime());
        Rewind();
        ended = false;
        Program(delay);
        return true;
    }
    void StopTimer() {
        if (running) ended = true;
        running = false;
        expiry.reset();
    }
    bool Push(Queue& queue, const MIDIEvent& event, bool overwrite) const {
        if (queue.Slots == 0) return false;
        if (queue.Records.size() + 1 >= queue.Slots) {
            if (!overwrite) return false;
            if (queue.Slots == 1) return true; // room for none
            queue.Records.pop_front();
        }
        queue.Records.push_back(event);
        return true;
    }

    // To the earliest record; 0 without one, and where it is too far away for a time.
    std::int64_t Delay(std::int32_t time) const {
        std::int64_t next = INT32_MAX;
        for (int index : {1, 2})
            if (const auto& records = Queues[index].Records; !records.empty())
                next = std::min<std::int64_t>(next, records[0].Time);
        return next == INT32_MAX || next - time >= INT32_MAX ? 0 : next - time;
    }
    void Program(std::int64_t delay) {
        expiry.reset();
        delay = std::max<std::int64_t>(delay, 4); // the period
        if (running && delay <= 1000000) expiry = Now + static_cast<std::uint32_t>(delay);
    }
    void Expire() {
        if (!ended) Pass();
    }
    void Pass() {
        const std::int32_t time = Time();
        const bool stands = External && !clockRunning;
        bool waits = false;
        for (int index : {1, 2}) {
            Queue& queue = Queues[index];
            for (; !stands && !queue.Records.empty() && queue.Records[0].Time <= time;
                 queue.Records.pop_front())
                PlayOne(queue, queue.Records[0]);
            waits |= stands && !queue.Records.empty() && queue.Records[0].Time <= time;
        }
        waits ? expiry.reset() : Program(Delay(time));
    }
    void PlayOne(Queue& queue, const MIDIEvent& event) {
        const bool marker = event.Status == 0 && event.Length == 0;
        if (marker)
            queue.Marker = static_cast<std::uint16_t>(event.Etime);
        else
            queue.Etime = event.Etime;
        if (!marker && !(event.Status == 0xF8 && event.Data1 == 1)) Send(event);
    }
    // Data bytes of what comes in, by status; '-' for what is dropped, and in capitals what only
    // the master may send in external sync.
    static char Rule(int status) {
        static constexpr char channel[] = "22221122", system[] = "--CB--0-A-AAA---";
        return status < 0x80   ? '-'
               : status < 0xF0 ? channel[status / 16 - 8]
                               : system[status - 0xF0];
    }
    void TakeIn(int port, std::uint32_t packed) {
        const auto status = static_cast<std::uint8_t>(packed);
        const bool system = status >= 0xF0;
        const char rule = Rule(status);
        const bool gated = rule >= 'A';
        if (!open || rule == '-' || (gated && External && port != 0)) return;
        MIDIEvent event = {};
        event.Channel = static_cast<std::int16_t>(port * 16 + (system ? 0 : status % 16));
        event.Length = static_cast<std::uint8_t>(rule - (gated ? 'A' : '0'));
        event.Status = system ? status : status & 0xF0;
        event.Data1 = packed >> 8 & 0xFF;
        event.Data2 = packed >> 16 & 0xFF;
        FeedClock(event);
        event.Time = External ? Time() : static_cast<std::int32_t>(Now - origin);
        const bool masked = filter >> (status / 16 - 8) & 1;
        if (!masked || (system && !(sysFilter >> status % 16 & 1))) Push(Queues[0], event, true);
        if (!echo) return;
        if (!system && event.Channel < 64)
            event.Channel = echoMap[static_cast<std::size_t>(event.Channel)];
        Send(event);
    }
    bool Send(const MIDIEvent& event) {
        const int kind = event.Status & 0xF0;
        const bool beyond = (kind == 0x80 || kind == 0x90 || kind == 0xC0) && event.Data1 > 127;
        bool taken = true;
        for (int port = 0; open && port < ports; ++port) {
            if (event.Channel >= 0 && event.Channel / 16 != port) continue;
            if (beyond) {
                taken = false;
            } else if (event.Status >= 0xF0) {
                SendTo(port, event.Status, event.Data1, event.Data2);
            } else {
                const int first = event.Channel < 0 ? port * 16 : event.Channel;
                const int last = event.Channel < 0 ? port * 16 + 15 : event.Channel;
                for (int channel = first; channel <= last; ++channel)
                    if (Counts(channel, event))
                        SendTo(port, kind | channel % 16, event.Data1, event.Data2);
            }
        }
        error |= !taken;
        return taken;
    }
    bool Counts(int channel, const MIDIEvent& event) {
        const int kind = event.Status & 0xF0;
        if (kind != 0x80 && kind != 0x90) return true;
        const int key = channel * 128 + event.Data1;
        int& count = sounding[key];
        const bool on = kind == 0x90 && event.Data2 != 0;
        const bool counts = on ? count < 127 : count > 0;
        if (counts) count += on ? 1 : -1;
        if (count == 0) sounding.erase(key);
        return counts;
    }
    void SendTo(int device, int status, int data1, int data2) {
        const int kind = status & 0xF0;
        if (kind == 0x80 || (kind == 0x90 && data2 == 0)) status = 0x80 | (status & 15), data2 = 0;
        sent.push_back({Now, device,
                        static_cast<std::uint32_t>(status | std::min(data1, 127) << 8 |
                                                   std::min(data2, 127) << 16)});
    }

    void Same(const char* what, std::int64_t library, std::int64_t expected) {
        if (library == expected || !Difference.empty()) return;
        Difference = std::string(what) + ": " + std::to_string(library) + " instead of " +
                     std::to_string(expected) + " at " + std::to_string(Now);
    }
    void CompareSent() {
        std::size_t count = 0;
        for (const machine::SentMidi& one : machine::DrainSentMidi()) {
            if (one.Reset) continue;
            std::uint32_t packed = one.Message;
            const std::uint32_t kind = packed & 0xF0;
            if (kind == 0x80 || (kind == 0x90 && packed < 0x10000))
                packed = (packed & 0xFF0F) | 0x80;
            const auto at = static_cast<std::uint32_t>(one.Microseconds / 1000);
            if (OnSent) OnSent({at, one.Device, packed});
            if (++count > sent.size()) continue;
            Same("a message", packed, sent[count - 1].Packed);
            Same("its device", one.Device, sent[count - 1].Device);
            Same("when it was sent", at, sent[count - 1].At);
        }
        Same("messages sent", static_cast<std::int64_t>(count),
             static_cast<std::int64_t>(sent.size()));
        sent.clear();
    }

    int ports;
    bool up, open = false, running = false, ended = false, echo = false;
    bool error = false; // a record was refused
    bool clockRunning = false, clockPending = false;
    std::uint32_t origin = 0, lastClock = 0;
    std::int32_t clocks = 0, gap = 0;
    std::uint16_t filter = 0, sysFilter = 0;
    std::array<std::uint8_t, 64> echoMap = {};
    std::vector<Message> sent = {};
    std::map<int, int> sounding = {};         // by channel * 128 + key
    std::optional<std::uint32_t> expiry = {}; // of the timer
};
