// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// zorhost follow
#include "host/cli/commands.h"
#include "host/cli/options.h"
#include "host/devices/session.h"
#include "host/playback/player.h"
#include "host/playback/song_file.h"
#include "host/terminal/host_error.h"
#include "host/terminal/interrupt.h"
#include "host/terminal/progress.h"
#include "midi/status.h"
#include "platform/machine.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <memory>

namespace zorhost {

namespace {

constexpr int UnitsPerQuarter = 1024; // of the library's time in external sync
constexpr int UnitsPerSixteenth = UnitsPerQuarter / 4;
constexpr int UnitsPerClock = 43;             // rounded up
constexpr std::int32_t LastUnit = 0x7FFFFFFF; // greatest time that a record can have
// The clock counts as stopped after this time without a clock message: twice the interval at 10
// quarter notes per minute.
constexpr auto LongestGap = std::chrono::milliseconds(500);

struct FollowOptions {
    SongOptions Song;
    Texts Outputs;
    Texts Inputs;
};

// Plays a song at the position of the MIDI clock's sender. Positions are in units of the library's
// time base in external sync.
class Follower {
public:
    explicit Follower(midifile::Song song) : Song(std::move(song)), Queue({}) { GoTo(0); }

    // Prepares the time base. Call it before the first clock arrives.
    void Begin();
    // Plays until the end of the song or Ctrl-C.
    void Run();
    bool Complete() const { return Queue.AllQueued() && !Interrupted(); }

private:
    std::int32_t UnitsAt(std::int64_t tick) const {
        const std::int64_t units = tick * UnitsPerQuarter / Song.Map.TicksPerQuarter();
        return static_cast<std::int32_t>(std::min<std::int64_t>(units, LastUnit));
    }
    std::int64_t TickAtUnits(std::int64_t units) const {
        return units * Song.Map.TicksPerQuarter() / UnitsPerQuarter;
    }
    std::size_t Sent() const {
        return Queue.QueuedCount() - static_cast<std::size_t>(OutputFill().Count);
    }
    std::int64_t NextTick() const;
    void GoTo(std::int64_t tick);
    void Jump(std::int32_t position);
    void Handle(const MIDIEvent& record);
    void Stop();
    void CheckTime(std::int32_t now);
    int Interval(std::int32_t now) const;
    void ShowProgress(Progress& progress) const;

    const midifile::Song Song;
    Player Queue;
    bool Running = false;
    std::int32_t Position = 0;                            // at the last look
    std::chrono::steady_clock::time_point LastChangeTime; // of Position
    bool Moved = false; // Position has changed since Start or Continue
};

// Replaces the queued records with the song from a tick on.
void Follower::GoTo(std::int64_t tick) {
    Passage passage = MakePassage(Song, tick);
    for (std::size_t i = 0; i < passage.Records.size(); ++i)
        passage.Records[i].Time = UnitsAt(passage.Ticks[i]);
    Queue = Player(std::move(passage));
}

// Returns the tick of the first event that has not been sent yet.
std::int64_t Follower::NextTick() const {
    const std::size_t sent = Sent();
    return sent < Queue.Records().size() ? Queue.Ticks()[sent] : Song.EndTick + 1;
}

// Follows the sender to a new position. Song positions count in sixteenths, and the next clock
// belongs to the position itself.
void Follower::Jump(std::int32_t position) {
    Library::Silence(Queue.Records());
    const std::int32_t sixteenths = std::max(0, position + UnitsPerClock) / UnitsPerSixteenth;
    GoTo(TickAtUnits(std::int64_t{sixteenths} * UnitsPerSixteenth));
}

// Uses the record's own time, since the clock may have advanced while an earlier record was
// handled.
void Follower::Handle(const MIDIEvent& record) {
    const bool stopped = !Running && !Moved;
    switch (record.Status) {
    case midi::SongPosition:
        Jump(record.Time);
        break;
    case midi::Start:
        if (Running) Library::Silence(Queue.Records());
        ZorZeroQueue(ZOR_QUEUE_OUTPUT);
        GoTo(0);
        Running = true;
        break;
    case midi::Continue:
        // The time does not change between Stop and Continue, unless the library counted a song
        // position whose record it dropped.
        if (stopped && record.Time != Position) Jump(record.Time);
        Running = true;
        break;
    case midi::Stop:
        Stop();
        break;
    default:
        return;
    }
    Position = record.Time;
    Moved = false;
}

// Silences sounding notes. Events not sent yet play when the clock continues.
void Follower::Stop() {
    const std::int64_t next = NextTick();
    Library::Silence(Queue.Records());
    GoTo(next);
    Running = false;
    Moved = false;
}

// Detects position changes from the time alone: the library drops records received while it sends
// one, but its clock still counts them. Also detects a clock that stops without a Stop message.
void Follower::CheckTime(std::int32_t now) {
    const auto clock = std::chrono::steady_clock::now();
    if (now == Position) {
        if (Moved && clock - LastChangeTime > LongestGap) Stop();
        return;
    }
    const bool back = now < Position - 1;
    const bool ahead = !Running && now - Position >= UnitsPerSixteenth - 1;
    if (back || ahead) Jump(now);
    // After a song position the time is one clock before it until the first clock arrives.
    const bool counted = (now + UnitsPerClock) % UnitsPerSixteenth > 1;
    if (counted || !(back || ahead)) Moved = Running = true;
    Position = now;
    LastChangeTime = clock;
}

// Returns the milliseconds until the next look. The library's timer works in milliseconds, while
// the song follows the clock, so records that are due soon need a look every millisecond. At 500
// quarter notes per minute clocks arrive every 5 ms.
int Follower::Interval(std::int32_t now) const {
    const std::size_t sent = Sent();
    if (!Running || sent >= Queue.Records().size()) return 2;
    return std::int64_t{Queue.Records()[sent].Time} - now <= UnitsPerClock ? 1 : 4;
}

void Follower::ShowProgress(Progress& progress) const {
    const std::int64_t tick = TickAtUnits(std::max(0, ZorTimeMIDI(0)));
    const midifile::BarBeat barBeat = Song.Map.BarBeatAt(std::min(tick, Song.EndTick));
    const QueueFill fill = OutputFill();
    char line[128];
    std::snprintf(line, sizeof line, "%s  bar %4lld beat %2d  queue %4d/%d  %s",
                  Running ? "following" : "waiting  ", static_cast<long long>(barBeat.Bar),
                  barBeat.Beat, fill.Count, fill.Capacity, Bar(tick, Song.EndTick, 20).c_str());
    progress.Show(line);
}

// The first clock after Start belongs to position 0, so the time must be one clock before it.
void Follower::Begin() {
    ZorSetMIDITimer(-UnitsPerClock);
    Position = ZorTimeMIDI(0);
}

// Sends due records as soon as a clock has arrived. Runs on the timer thread, which has real-time
// priority where allowed. Does nothing while records are waiting, since the follower must handle
// Start, Stop and song positions first.
void PlayAtClock() {
    MIDIEvent event;
    if (!ZorRcv(&event, 1)) ZorMIDIPlay();
}

void Follower::Run() {
    Progress progress;
    machine::AfterTimers(PlayAtClock);
    std::vector<MIDIEvent> records;
    do {
        // Read the time before the records, so that the records account for it.
        const std::int32_t now = ZorTimeMIDI(0);
        records.clear();
        Library::ReadReceived(records);
        for (const MIDIEvent& record : records) Handle(record);
        if (!records.empty()) continue; // more may have arrived meanwhile
        CheckTime(now);
        // While the clock is stopped, its sender may still choose another position.
        if (Running) Queue.Feed();
        ZorMIDIPlay();
        if (progress.Due()) ShowProgress(progress);
        Nap(Interval(now));
    } while (!Interrupted() && !(Queue.AllQueued() && ZorXmitEmpty(0)));
    machine::AfterTimers(nullptr);
    progress.End();
    if (Interrupted() || LeavesSounding(Queue.Records())) Library::Silence(Queue.Records());
}

void PrintClockSource(const PortMap& map) {
    for (const Port& port : map.Inputs) {
        if (port.Row != map.SyncInput || port.Device.empty()) continue;
        std::fprintf(stderr, "Waiting for Start and clock on %s; press Ctrl-C to stop\n",
                     port.Device.c_str());
        return;
    }
    throw HostError("no clock source: input " + std::to_string(map.SyncInput) +
                    ", selected for clock in the settings, has no device");
}

void Run(const GlobalOptions& global, const FollowOptions& options) {
    midifile::Song song = ReadSong(options.Song.File, options.Song.Strict);
    CheckNotEmpty(song, options.Song.File);
    Follower follower(std::move(song));
    StartOptions start;
    start.Sync = ZOR_SYNC_EXTERNAL;
    start.InputFilter.Classes = 0x80FF; // receive only Start, Continue, Stop and song positions
    start.InputFilter.System = 0xFFFF & ~(SystemBit(midi::SongPosition) | SystemBit(midi::Start) |
                                          SystemBit(midi::Continue) | SystemBit(midi::Stop));
    Session session(global,
                    {options.Inputs, options.Outputs, "", DevicePolicy::HardwareOrLoopback});
    session.Start(start);
    follower.Begin();
    PrintClockSource(session.Ports());
    follower.Run();
    std::printf("%s\n", follower.Complete() ? "Played to the end" : "Stopped");
}

} // namespace

void AddFollow(const Command& app, const GlobalOptions& global) {
    const Command command =
        app.AddCommand("follow", "Play a MIDI file in sync with received MIDI clock");
    const auto options = std::make_shared<FollowOptions>();
    AddSongOptions(command, options->Song);
    AddOutputs(command, "--to", options->Outputs, "Output to play on");
    AddInputs(command, options->Inputs, "Input that receives the clock");
    command.OnRun([&global, options] { Run(global, *options); });
}

} // namespace zorhost
