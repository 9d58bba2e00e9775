// A second engine, written for reading: plain containers, wide integers, milliseconds counted one
// by one. The output queues, the pump and the time in internal sync; no echo, no clock from
// outside.
#pragma once

#include "engine/zormidi.h"

#include <algorithm>
#include <cstdint>
#include <deque>
#include <optional>
#include <vector>

struct EngineModel {
    struct Queue {
        std::size_t Slots = 16;
        std::deque<MIDIEvent> Records;
        std::int32_t Etime = 0;
        std::uint16_t Marker = 0;
    };
    std::uint32_t Now; // on the millisecond clock
    Queue Queues[3] = {};
    struct Message {
        std::int32_t At; // by the time base
        MIDIEvent Event;
    };
    std::vector<Message> Sent = {};
    std::optional<std::uint32_t> Expiry = {}; // of the timer
    std::uint32_t Origin = Now;               // when the time was 0
    bool Running = false;

    std::int32_t Time() const { return Running ? static_cast<std::int32_t>(Now - Origin) : 0; }

    bool Push(Queue& queue, const MIDIEvent& event) {
        if (queue.Records.size() + 1 >= queue.Slots) return false;
        queue.Records.push_back(event);
        return true;
    }
    void Play() {
        const std::int32_t time = Time();
        for (int index : {1, 2}) {
            Queue& queue = Queues[index];
            for (; !queue.Records.empty() && queue.Records[0].Time <= time;
                 queue.Records.pop_front())
                PlayOne(queue, queue.Records[0]);
        }
        Arm(Time());
    }
    void Advance(std::uint32_t milliseconds) {
        for (; milliseconds > 0; --milliseconds)
            if (Expiry == ++Now) Play();
    }
    // The delay to the first expiry is figured by the time that was.
    void StartTimer() {
        if (Running) return;
        Running = true;
        Arm(Time());
        Origin = Now;
    }
    void StopTimer() {
        Expiry.reset();
        Running = false;
    }

private:
    void PlayOne(Queue& queue, const MIDIEvent& event) {
        const bool marker = event.Status == 0 && event.Length == 0;
        if (marker)
            queue.Marker = static_cast<std::uint16_t>(event.Etime);
        else
            queue.Etime = event.Etime;
        if (!marker && !(event.Status == 0xF8 && event.Data1 == 1)) Sent.push_back({Time(), event});
    }
    void Arm(std::int32_t time) {
        std::int64_t delay = INT32_MAX;
        for (int index : {1, 2}) {
            const auto& records = Queues[index].Records;
            if (records.empty()) continue;
            delay = std::min(delay, std::int64_t{records[0].Time} - time);
        }
        Expiry.reset();
        if (delay >= INT32_MAX) delay = 0;
        if (Running) Expiry = Now + static_cast<std::uint32_t>(std::max<std::int64_t>(delay, 4));
    }
};
