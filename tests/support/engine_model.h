// A second engine, written for reading: plain containers, wide integers, milliseconds counted one
// by one. Queues, pump, time in both modes, receive path, echo and ports; one thread, and devices
// that refuse nothing. The ports lie side by side, 16 channels each.
#pragma once

#include "engine/zormidi.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <tuple>
#include <vector>

struct EngineModel {
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
        bool operator==(const Message&) const = default;
    };
    int Ports;
    std::uint32_t Now; // on the millisecond clock
    std::uint32_t Period = 4;
    Queue Queues[3] = {};
    std::vector<Message> Sent = {};
    std::map<std::tuple<int, int>, int> Sounding = {}; // by channel and key
    std::optional<std::uint32_t> Expiry = {};          // of the timer
    bool Error = false;                                // a record was refused
    bool Up = false, Open = false, Running = false, Ended = false, Echo = false;
    bool External = false, ClockRunning = false, ClockPending = false;
    std::uint32_t Origin = 0, LastClock = 0;
    std::int32_t Clocks = 0, Gap = 0;
    std::uint16_t Mask = 0, SysMask = 0;
    std::array<std::uint8_t, 64> Map = {};

    // --- Time.

    std::int32_t Time() const { return Running ? RunningTime() : 0; }
    void SetTime(std::int32_t time) {
        Origin =
            External ? static_cast<std::uint32_t>(time) : Now - static_cast<std::uint32_t>(time);
        if (External) Locate(0);
    }
    void ResetTime() {
        Origin = External ? 0 : Now;
        if (External) LastClock = 0, Gap = Clocks = 0;
    }
    void Advance(std::uint32_t milliseconds) {
        for (; milliseconds > 0; --milliseconds)
            if (Expiry == ++Now) CallBack();
    }

    // --- Life.

    int Init(bool again) {
        if (Up && !again) return ZOR_ALREADY_INITIALISED;
        if (Up) Term();
        for (Queue& queue : Queues) queue = {};
        Ended = false;
        Up = true;
        return -1;
    }
    void Term() {
        for (Queue& queue : Queues) queue = {};
        StopTimer();
        Up = false;
    }
    bool Start(bool timer) {
        if (Echo) {
            for (Queue& queue : Queues) queue.Records.clear();
            if (Running) ResetTime();
        } else if (!OpenAll()) {
            return false;
        }
        if (timer) StartTimer();
        return true;
    }
    void Stop() {
        StopTimer();
        if (!Echo) Close();
    }
    void SetEcho(bool on, const std::uint8_t* map) {
        for (std::size_t i = 0; on && i < Map.size(); ++i)
            Map[i] = map ? map[i] : static_cast<std::uint8_t>(i);
        Echo = on;
        on ? static_cast<void>(OpenAll()) : Close();
    }
    void Close() {
        Open = false;
        Sounding.clear();
    }
    // The delay to the first expiry is figured by the time that was.
    bool StartTimer() {
        if (!Up || Running) return Up;
        Running = true;
        const std::int64_t delay = Delay(RunningTime());
        ResetTime();
        Ended = false;
        Program(std::max<std::int64_t>(delay, 0));
        return true;
    }

    // --- Queues and playback.

    bool Alloc(int queue, int slots) {
        if (queue < 0 || queue > 2) return false;
        Queues[queue] = {};
        if (slots < 0 || (slots > 0 && !Up)) return false;
        Queues[queue].Slots = static_cast<std::size_t>(slots);
        return true;
    }
    static bool Push(Queue& queue, const MIDIEvent& event, bool overwrite) {
        if (queue.Slots == 0) return false;
        if (queue.Records.size() + 1 >= queue.Slots) {
            if (!overwrite) return false;
            if (queue.Slots == 1) return true; // room for none
            queue.Records.pop_front();
        }
        queue.Records.push_back(event);
        return true;
    }
    bool Xmit(unsigned queue, const MIDIEvent& event) {
        if (queue == ZOR_IMMEDIATE) return Send(event);
        return queue < 3 && Push(Queues[queue], event, false);
    }
    void Play() {
        Ended = false;
        Pass();
    }
    void CallBack() {
        if (!Ended) Pass();
    }
    void Kill() {
        Expiry.reset();
        Ended = true;
        Queues[1].Records.clear(), Queues[2].Records.clear();
        for (const MIDIEvent& event :
             {MIDIEvent{0, 0, 0, 2, 0xB0, 64, 0}, MIDIEvent{0, 0, 0, 2, 0xB0, 123, 0},
              MIDIEvent{0, 0, 0, 2, 0xE0, 0, 64}})
            Send(event);
        for (const auto& [key, count] : Sounding)
            for (int i = 0; i < count; ++i) SendTo(std::get<0>(key), 0x80, std::get<1>(key), 0);
        Sounding.clear();
    }

    // --- Input.

    void Receive(int port, std::uint32_t packed) {
        const auto status = static_cast<std::uint8_t>(packed);
        const bool system = status >= 0xF0;
        const int length = LengthOf(status);
        if (!Open || length < 0 || (Gated(status) && External && port != 0)) return;
        MIDIEvent event = {};
        event.Channel = static_cast<std::int16_t>(port * 16 + (system ? 0 : status % 16));
        event.Length = static_cast<std::uint8_t>(length);
        event.Status = system ? status : status & 0xF0;
        event.Data1 = packed >> 8 & 0xFF;
        event.Data2 = packed >> 16 & 0xFF;
        FeedClock(event);
        event.Time = External ? Time() : static_cast<std::int32_t>(Now - Origin);
        const bool masked = Mask >> (status / 16 - 8) & 1;
        if (!masked || (system && !(SysMask >> status % 16 & 1))) Push(Queues[0], event, true);
        if (Echo && !system && event.Channel < 64)
            event.Channel = Map[static_cast<std::size_t>(event.Channel)];
        if (Echo) Send(event);
    }

private:
    static bool Gated(int status) {
        return status == 0xF2 || status == 0xF3 || status == 0xF8 ||
               (status >= 0xFA && status <= 0xFC);
    }
    static int LengthOf(int status) {
        if (status < 0x80) return -1;
        if (status < 0xF0) return status >= 0xC0 && status < 0xE0 ? 1 : 2;
        if (status == 0xF2) return 2;
        if (status == 0xF3) return 1;
        return Gated(status) || status == 0xF6 ? 0 : -1;
    }

    std::int32_t RunningTime() const {
        if (!External) return static_cast<std::int32_t>(Now - Origin);
        __extension__ typedef __int128 Wide;
        if (!ClockRunning || Gap == 0)
            return static_cast<std::int32_t>(std::int64_t{Clocks} * 128 / 3);
        const auto since = static_cast<std::int32_t>(Now - LastClock);
        const Wide part = std::max(std::min(since, Gap), 0);
        return static_cast<std::int32_t>((Wide{Clocks} * Gap + part) * 128 / (Wide{Gap} * 3));
    }
    void Locate(std::int32_t clocks) {
        LastClock = 0, Gap = 0;
        Clocks = static_cast<std::int32_t>(
            std::int64_t{static_cast<std::int32_t>(Origin)} * 24 / 1024 + clocks);
    }
    void FeedClock(const MIDIEvent& event) {
        if (event.Status == 0xF2) Locate(6 * (event.Data2 % 128 * 128 + event.Data1 % 128));
        if (event.Status == 0xFA) Locate(0);
        if (event.Status == 0xFA || event.Status == 0xFB) ClockPending = true;
        if (event.Status == 0xFC) ClockRunning = ClockPending = false;
        if (event.Status != 0xF8 || (!ClockRunning && !ClockPending)) return;
        ClockRunning = true, ClockPending = false;
        ++Clocks;
        const bool back = static_cast<std::int32_t>(Now) < static_cast<std::int32_t>(LastClock);
        Gap = back ? 0 : static_cast<std::int32_t>(Now - LastClock);
        LastClock = Now;
    }

    bool OpenAll() {
        if (Open || !Up) return Open;
        for (Queue& queue : Queues) queue.Records.clear();
        ClockRunning = false;
        LastClock = 0, Gap = Clocks = 0;
        return Open = true;
    }
    void StopTimer() {
        if (Running) Ended = true;
        Running = false;
        Expiry.reset();
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
        delay = std::max<std::int64_t>(delay, Period);
        if (Running && delay <= 1000000) Expiry = Now + static_cast<std::uint32_t>(delay);
    }
    void Pass() {
        const std::int32_t time = Time();
        const bool stands = External && !ClockRunning;
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

    bool Send(const MIDIEvent& event) {
        const int kind = event.Status & 0xF0;
        const bool beyond = (kind == 0x80 || kind == 0x90 || kind == 0xC0) && event.Data1 > 127;
        bool sent = true;
        for (int port = 0; Open && port < Ports; ++port) {
            if (event.Channel >= 0 && event.Channel / 16 != port) continue;
            if (beyond) {
                sent = false;
            } else if (event.Status >= 0xF0) {
                Take(port, event.Status, event.Data1, event.Data2);
            } else {
                const int first = event.Channel < 0 ? port * 16 : event.Channel;
                const int last = event.Channel < 0 ? port * 16 + 15 : event.Channel;
                for (int channel = first; channel <= last; ++channel)
                    if (Counts(channel, event)) SendTo(channel, kind, event.Data1, event.Data2);
            }
        }
        Error |= !sent;
        return sent;
    }
    bool Counts(int channel, const MIDIEvent& event) {
        const int kind = event.Status & 0xF0;
        if (kind != 0x80 && kind != 0x90) return true;
        int& count = Sounding[{channel, event.Data1}];
        const bool on = kind == 0x90 && event.Data2 != 0;
        const bool counts = on ? count < 127 : count > 0;
        if (counts) count += on ? 1 : -1;
        if (count == 0) Sounding.erase({channel, event.Data1});
        return counts;
    }
    void SendTo(int channel, int kind, int data1, int data2) {
        if (kind == 0x80 || (kind == 0x90 && data2 == 0)) kind = 0x80, data2 = 0;
        Take(channel / 16, kind | channel % 16, data1, data2);
    }
    void Take(int device, int status, int data1, int data2) {
        Sent.push_back({Now, device,
                        static_cast<std::uint32_t>(status | std::min(data1, 127) << 8 |
                                                   std::min(data2, 127) << 16)});
    }
};
