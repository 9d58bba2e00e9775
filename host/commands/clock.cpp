// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// zorhost clock
#include "host/cli/commands.h"
#include "host/cli/options.h"
#include "host/devices/session.h"
#include "host/terminal/interrupt.h"
#include "host/terminal/progress.h"
#include "midi/status.h"

#include <cmath>
#include <cstdio>
#include <limits>
#include <memory>

namespace zorhost {

namespace {

constexpr int ClocksPerBeat = 24;
// Milliseconds.
constexpr double StartTime = 100;      // of the Start message, from the start of the time base
constexpr double FirstClockDelay = 10; // from the Start message to the first clock
constexpr int QueueAhead = 1000;       // how far ahead clocks are queued

struct ClockOptions {
    double BeatsPerMinute = 120;
    double Seconds = 0; // 0: until Ctrl-C
    Texts Outputs;
};

MIDIEvent SystemRecord(double time, std::uint8_t status) {
    return {static_cast<std::int32_t>(std::lround(time)), 0, -1, 0, status, 0, 0};
}

// Queues Start, the clocks, and Stop after the last clock.
class ClockSender {
public:
    explicit ClockSender(const ClockOptions& options)
        : Interval(60000 / options.BeatsPerMinute / ClocksPerBeat),
          Clocks(options.Seconds > 0
                     ? static_cast<std::int64_t>(std::ceil(options.Seconds * 1000 / Interval))
                     : std::numeric_limits<std::int64_t>::max()) {}

    // Queues the messages up to a time in milliseconds. Each clock's time is computed from the
    // start, so that rounding errors do not add up.
    void Feed(double until) {
        while (!Done()) {
            const MIDIEvent event = NextRecord();
            if (event.Time > until || !ZorXmit(ZOR_QUEUE_OUTPUT, &event)) return;
            ++Next;
        }
    }
    bool Done() const { return Next > Clocks; }
    // The beat that sounds at a time, from 1; 0 before the first clock.
    std::int64_t BeatAt(double time) const {
        return time < StartTime + FirstClockDelay
                   ? 0
                   : static_cast<std::int64_t>((time - StartTime - FirstClockDelay) / Interval) /
                             ClocksPerBeat +
                         1;
    }

private:
    MIDIEvent NextRecord() const {
        if (Next < 0) return SystemRecord(StartTime, midi::Start);
        const double time = StartTime + FirstClockDelay + static_cast<double>(Next) * Interval;
        return SystemRecord(time, Next < Clocks ? midi::TimingClock : midi::Stop);
    }

    double Interval; // between clocks, milliseconds
    std::int64_t Clocks;
    std::int64_t Next = -1; // number of the next clock; -1 for Start
};

void Run(const GlobalOptions& global, const ClockOptions& options) {
    Session session(global, {{}, options.Outputs, "", DevicePolicy::HardwareOrLoopback});
    ClockSender sender(options);
    Progress progress;
    session.Start({});
    while (!Interrupted() && !(sender.Done() && ZorXmitEmpty(0))) {
        const std::int32_t now = ZorTimeMIDI(0);
        sender.Feed(now + QueueAhead);
        if (progress.Due()) {
            char line[64];
            std::snprintf(line, sizeof line, "clock at %g, beat %lld", options.BeatsPerMinute,
                          static_cast<long long>(sender.BeatAt(now)));
            progress.Show(line);
        }
        Nap(10);
    }
    if (Interrupted()) {
        ZorZeroQueue(ZOR_QUEUE_OUTPUT);
        const MIDIEvent stop = SystemRecord(0, midi::Stop);
        ZorXmit(ZOR_IMMEDIATE, &stop);
    }
}

} // namespace

void AddClock(const Command& app, const GlobalOptions& global) {
    const Command command = app.AddCommand(
        "clock", "Send MIDI Start, then 24 clocks per quarter note, and Stop at the end");
    const auto options = std::make_shared<ClockOptions>();
    command.Value("BPM", options->BeatsPerMinute, "Quarter notes per minute")
        .Required()
        .Range(10.0, 500.0);
    AddOutputs(command, "--to", options->Outputs, "Output to send to");
    AddSeconds(command, options->Seconds);
    command.OnRun([&global, options] { Run(global, *options); });
}

} // namespace zorhost
