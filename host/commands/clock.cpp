// zorhost clock
#include "host/cli/commands.h"
#include "host/terminal/interrupt.h"
#include "host/cli/options.h"
#include "host/terminal/progress.h"
#include "host/devices/session.h"

#include <cmath>
#include <cstdio>
#include <limits>
#include <memory>

namespace zorhost {

namespace {

constexpr int ClocksPerBeat = 24;
constexpr double Lead = 100;  // milliseconds from the start of the timer to the Start message
constexpr double Settle = 10; // from the Start message to the first clock
constexpr int Ahead = 1000;   // milliseconds of clocks that wait in the queue

struct ClockOptions {
    double BeatsPerMinute = 120;
    double Seconds = 0; // 0: until Ctrl-C
    Texts To;
};

MIDIEvent SystemRecord(double time, std::uint8_t status) {
    return {static_cast<std::int32_t>(std::lround(time)), 0, -1, 0, status, 0, 0};
}

// Queues Start, the clocks, and Stop after the last one.
class ClockTrain {
public:
    explicit ClockTrain(const ClockOptions& options)
        : Interval(60000 / options.BeatsPerMinute / ClocksPerBeat),
          Clocks(options.Seconds > 0
                     ? static_cast<std::int64_t>(std::ceil(options.Seconds * 1000 / Interval))
                     : std::numeric_limits<std::int64_t>::max()) {}

    // Up to that time. Each clock's time is counted from the start, so that none drifts.
    void Feed(double until) {
        while (!Done()) {
            const MIDIEvent event = Record();
            if (event.Time > until || !ZorXmit(ZOR_QUEUE_OUTPUT, &event)) return;
            ++Next;
        }
    }
    bool Done() const { return Next > Clocks; }
    std::int64_t BeatAt(double time) const {
        return time < Lead + Settle
                   ? 0
                   : static_cast<std::int64_t>((time - Lead - Settle) / Interval) / ClocksPerBeat +
                         1;
    }

private:
    MIDIEvent Record() const {
        if (Next < 0) return SystemRecord(Lead, 0xFA);
        const double time = Lead + Settle + static_cast<double>(Next) * Interval;
        return SystemRecord(time, Next < Clocks ? 0xF8 : 0xFC);
    }

    double Interval; // milliseconds
    std::int64_t Clocks;
    std::int64_t Next = -1; // -1 is Start
};

void Run(const GlobalOptions& global, const ClockOptions& options) {
    Session session(global, {{}, options.To, "", Cables::Shared});
    ClockTrain train(options);
    Progress progress;
    session.Start({});
    while (!Interrupted() && !(train.Done() && ZorXmitEmpty(0))) {
        const std::int32_t now = ZorTimeMIDI(0);
        train.Feed(now + Ahead);
        if (progress.Due()) {
            char line[64];
            std::snprintf(line, sizeof line, "clock at %g, beat %lld", options.BeatsPerMinute,
                          static_cast<long long>(train.BeatAt(now)));
            progress.Show(line);
        }
        Nap(10);
    }
    if (Interrupted()) {
        ZorZeroQueue(ZOR_QUEUE_OUTPUT);
        const MIDIEvent stop = SystemRecord(0, 0xFC);
        ZorXmit(ZOR_IMMEDIATE, &stop);
    }
}

} // namespace

void AddClock(const Command& app, const GlobalOptions& global) {
    const Command command =
        app.Add("clock", "Send Start and MIDI clock, 24 a quarter note, and Stop at the end");
    const auto options = std::make_shared<ClockOptions>();
    command.Value("BPM", options->BeatsPerMinute, "Quarter notes a minute")
        .Required()
        .Within(10.0, 500.0);
    AddOutputs(command, "--to", options->To, "Output to send to");
    AddSeconds(command, options->Seconds);
    command.Does([&global, options] { Run(global, *options); });
}

} // namespace zorhost
