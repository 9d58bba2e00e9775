// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// A second engine, written for reading: plain containers, and milliseconds counted one by one. It
// has queues, pump, time in both modes, receive path, echo and ports, on one thread, with devices
// that refuse nothing. Port n has channels 16 * n to 16 * n + 15. LibraryAndModel compares the
// library with it.
#pragma once

#include "engine/time_base.h"
#include "engine/zormidi.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <utility>
#include <vector>

// Each function does what the exported function of that name does.
class ReferenceModel {
public:
    struct Queue {
        std::size_t Slots = 0;
        std::deque<MIDIEvent> Records = {};
        std::int32_t Etime = 0;
        std::uint16_t Marker = 0;
    };
    // A message sent to a device; each note off as 0x80 with velocity 0.
    struct Message {
        std::uint32_t Time; // on the millisecond clock
        int Device;
        std::uint32_t Packed;
    };

    ReferenceModel(int count, std::uint32_t clock, bool isUp)
        : Now(clock), ports(count), up(isUp) {}

    std::int16_t Init(bool again) {
        if (up && !again) return ZOR_ALREADY_INITIALISED;
        if (up) Term();
        for (Queue& queue : Queues) queue = {};
        ended = false;
        up = true;
        return -1;
    }
    void Term() {
        for (Queue& queue : Queues) queue = {};
        StopTimer();
        up = false;
    }
    bool Start(bool timer) {
        if (echo) {
            for (Queue& queue : Queues) queue.Records.clear();
            ResetTime();
        }
        const bool started = echo || OpenAll();
        if (started && timer) StartTimer();
        return started;
    }
    void Stop() {
        StopTimer();
        if (!echo) Restore();
    }
    void Restore() {
        Open = false;
        sounding.clear();
    }
    void Echo(bool on, const std::uint8_t* map) {
        for (std::size_t i = 0; on && i < echoMap.size(); ++i)
            echoMap[i] = map ? map[i] : static_cast<std::uint8_t>(i);
        echo = on;
        on ? static_cast<void>(OpenAll()) : Restore();
    }
    // A host that ends without closing: its row stays closed after a dialog.
    bool IsOpenWhileDown() const { return Open && !up; }
    void RunDialog() { sounding.clear(); } // the row is closed meanwhile
    // The delay to the first expiry is computed from the time before the reset.
    bool StartTimer() {
        if (!up || Running) return up;
        Running = true;
        const std::int64_t delay = Delay(RunningTime());
        ResetTime();
        ended = false;
        Program(delay);
        return true;
    }
    void SetTime(std::int32_t time) {
        origin =
            External ? static_cast<std::uint32_t>(time) : Now - static_cast<std::uint32_t>(time);
        if (External) SetPosition(0);
    }
    void ResetTime() {
        if (!Running) return;
        origin = External ? 0 : Now;
        if (External) lastClock = 0, gap = clocks = 0;
    }
    void Advance(std::uint32_t milliseconds) {
        for (; milliseconds > 0; --milliseconds)
            if (Expiry == ++Now) CallBack();
    }
    void Filter(std::uint16_t mask, std::uint16_t sysMask) { filter = mask, sysFilter = sysMask; }
    bool Alloc(std::int16_t index, std::int16_t slots) {
        const bool done = IsQueue(index) && slots >= 0 && (slots == 0 || up);
        if (IsQueue(index)) Queues[index] = {done ? static_cast<std::size_t>(slots) : 0};
        return done;
    }
    bool Free(std::int16_t index) {
        if (IsQueue(index)) Queues[index] = {};
        return IsQueue(index);
    }
    void Zero(std::int16_t index) {
        if (IsQueue(index)) Queues[index].Records.clear();
    }
    bool Xmit(std::uint16_t queue, const MIDIEvent& event) {
        if (queue == ZOR_IMMEDIATE) return Send(event);
        return queue < 3 && Push(Queues[queue], event, false);
    }
    void Play() {
        ended = false;
        Pass();
    }
    void CallBack() {
        if (!ended) Pass();
    }
    void Kill() {
        Expiry.reset();
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
        const auto status = static_cast<std::uint8_t>(packed);
        const bool system = status >= 0xF0;
        const char rule = Rule(status);
        const bool gated = rule >= 'A';
        if (!Open || rule == '-' || (gated && External && port != 0)) return;
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
    std::int32_t Time() const { return Running ? RunningTime() : 0; }
    bool ReadError() { return std::exchange(error, false); } // clears it

    std::uint32_t Now; // on the millisecond clock
    bool External = false, Open = false, Running = false;
    Queue Queues[3] = {};
    std::vector<Message> Sent = {};
    std::optional<std::uint32_t> Expiry = {}; // of the timer

private:
    static bool IsQueue(int index) { return index >= 0 && index < 3; }

    std::int32_t RunningTime() const {
        if (!External) return static_cast<std::int32_t>(Now - origin);
        if (!clockRunning) return ClocksToTime(clocks, 0, 0);
        const auto since = static_cast<std::int32_t>(Now - lastClock);
        return ClocksToTime(clocks, gap, std::max(std::min(since, gap), 0));
    }
    void SetPosition(std::int32_t from) {
        lastClock = 0, gap = 0;
        clocks = static_cast<std::int32_t>(
            std::int64_t{static_cast<std::int32_t>(origin)} * 24 / 1024 + from);
    }
    void FeedClock(const MIDIEvent& event) {
        if (event.Status == 0xF2) SetPosition(6 * (event.Data2 % 128 * 128 + event.Data1 % 128));
        if (event.Status == 0xFA) SetPosition(0);
        if (event.Status == 0xFA || event.Status == 0xFB) clockPending = true;
        if (event.Status == 0xFC) clockRunning = clockPending = false;
        if (event.Status != 0xF8 || (!clockRunning && !clockPending)) return;
        clockRunning = true, clockPending = false;
        ++clocks;
        const bool back = static_cast<std::int32_t>(Now) < static_cast<std::int32_t>(lastClock);
        gap = back ? 0 : static_cast<std::int32_t>(Now - lastClock);
        lastClock = Now;
    }
    bool OpenAll() {
        if (Open || !up) return Open;
        for (Queue& queue : Queues) queue.Records.clear();
        clockRunning = false;
        lastClock = 0, gap = clocks = 0;
        return Open = true;
    }
    void StopTimer() {
        if (Running) ended = true;
        Running = false;
        Expiry.reset();
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
        Expiry.reset();
        delay = std::max<std::int64_t>(delay, 4); // the period
        if (Running && delay <= 1000000) Expiry = Now + static_cast<std::uint32_t>(delay);
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
        waits ? Expiry.reset() : Program(Delay(time));
    }
    void PlayOne(Queue& queue, const MIDIEvent& event) {
        const bool marker = event.Status == 0 && event.Length == 0;
        if (marker)
            queue.Marker = static_cast<std::uint16_t>(event.Etime);
        else
            queue.Etime = event.Etime;
        if (!marker && !(event.Status == 0xF8 && event.Data1 == 1)) Send(event);
    }
    // Number of data bytes of an incoming message, by status: a digit, or a letter (A is 0) for
    // what only port 0 may send in external sync; '-' for a status that is ignored.
    static char Rule(int status) {
        static constexpr char channel[] = "22221122", system[] = "--CB--0-A-AAA---";
        return status < 0x80   ? '-'
               : status < 0xF0 ? channel[status / 16 - 8]
                               : system[status - 0xF0];
    }
    bool Send(const MIDIEvent& event) {
        const int kind = event.Status & 0xF0;
        const bool beyond = (kind == 0x80 || kind == 0x90 || kind == 0xC0) && event.Data1 > 127;
        bool taken = true;
        for (int port = 0; Open && port < ports; ++port) {
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
        Sent.push_back({Now, device,
                        static_cast<std::uint32_t>(status | std::min(data1, 127) << 8 |
                                                   std::min(data2, 127) << 16)});
    }

    int ports;
    bool up, ended = false, echo = false;
    bool error = false; // a record was refused
    bool clockRunning = false, clockPending = false;
    std::uint32_t origin = 0, lastClock = 0;
    std::int32_t clocks = 0, gap = 0;
    std::uint16_t filter = 0, sysFilter = 0;
    std::array<std::uint8_t, 64> echoMap = {};
    std::map<int, int> sounding = {}; // notes, by channel * 128 + key
};
