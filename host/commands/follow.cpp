// zorhost follow
#include "host/cli/commands.h"
#include "host/terminal/host_error.h"
#include "host/terminal/interrupt.h"
#include "host/cli/options.h"
#include "host/playback/song_file.h"
#include "host/playback/player.h"
#include "host/terminal/progress.h"
#include "host/devices/session.h"
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
constexpr std::int32_t LastUnit = 0x7FFFFFFF; // no clock gets there
// A clock that stays away for longer has stopped: twice the distance of two at 10 quarters a
// minute.
constexpr auto LongestGap = std::chrono::milliseconds(500);

struct FollowOptions {
    Piece Of;
    Texts To;
    Texts In;
};

// Plays the piece at the places where the clock's sender is.
class Follower {
public:
    explicit Follower(midifile::Song file) : File(std::move(file)), Play({}) { GoTo(0); }

    // Before the first clock comes.
    void Begin();
    void Run();
    bool Complete() const { return Play.AllQueued() && !Interrupted(); }

private:
    std::int32_t UnitsAt(std::int64_t tick) const {
        const std::int64_t units = tick * UnitsPerQuarter / File.Map.TicksPerQuarter();
        return static_cast<std::int32_t>(std::min<std::int64_t>(units, LastUnit));
    }
    std::int64_t TickAtUnits(std::int64_t units) const {
        return units * File.Map.TicksPerQuarter() / UnitsPerQuarter;
    }
    std::size_t Sent() const {
        return Play.QueuedCount() - static_cast<std::size_t>(OutputFill().Count);
    }
    std::int64_t NextTick() const;
    void GoTo(std::int64_t tick);
    void Jump(std::int32_t place);
    void Hear(const MIDIEvent& record);
    void Stop();
    void WatchTime(std::int32_t now);
    int Interval(std::int32_t now) const;
    void ShowProgress(Progress& progress) const;

    const midifile::Song File;
    Player Play;
    bool Running = false;
    // The time as last seen, since when it stands there, and whether it has gone on since the clock
    // was started.
    std::int32_t Place = 0;
    std::chrono::steady_clock::time_point Since;
    bool Moved = false;
};

// Replaces what is queued by the piece from that tick on.
void Follower::GoTo(std::int64_t tick) {
    Passage passage = MakePassage(File, tick);
    for (std::size_t i = 0; i < passage.Records.size(); ++i)
        passage.Records[i].Time = UnitsAt(passage.Ticks[i]);
    Play = Player(std::move(passage));
}

// The tick of the first event that has not been sent yet.
std::int64_t Follower::NextTick() const {
    const std::size_t sent = Sent();
    return sent < Play.Records().size() ? Play.Ticks()[sent] : File.EndTick + 1;
}

// The clock's sender has gone to that place. Song positions are sixteenths, and the next clock
// stands at it.
void Follower::Jump(std::int32_t place) {
    Library::Silence(Play.Records());
    const std::int32_t sixteenths = std::max(0, place + UnitsPerClock) / UnitsPerSixteenth;
    GoTo(TickAtUnits(std::int64_t{sixteenths} * UnitsPerSixteenth));
}

// By the time that the record came with: while one is answered, the sender may have moved on.
void Follower::Hear(const MIDIEvent& record) {
    const bool stands = !Running && !Moved;
    switch (record.Status) {
    case 0xF2: // Song Position
        Jump(record.Time);
        break;
    case 0xFA:
        if (Running) Library::Silence(Play.Records());
        ZorZeroQueue(ZOR_QUEUE_OUTPUT);
        GoTo(0);
        Running = true;
        break;
    case 0xFB:
        // Time stands still between Stop and Continue, but for a song position that was not filed.
        if (stands && record.Time != Place) Jump(record.Time);
        Running = true;
        break;
    case 0xFC:
        Stop();
        break;
    default:
        return;
    }
    Place = record.Time;
    Moved = false;
}

// Ends what sounds. What has not been sent by then is played when the clock goes on.
void Follower::Stop() {
    const std::int64_t next = NextTick();
    Library::Silence(Play.Records());
    GoTo(next);
    Running = false;
    Moved = false;
}

// A message that comes in while one goes out is not filed, but the library's clock has heard it:
// where the sender has gone shows in the time. So does a clock that stops without a word.
void Follower::WatchTime(std::int32_t now) {
    const auto clock = std::chrono::steady_clock::now();
    if (now == Place) {
        if (Moved && clock - Since > LongestGap) Stop();
        return;
    }
    const bool back = now < Place - 1;
    const bool ahead = !Running && now - Place >= UnitsPerSixteenth - 1;
    if (back || ahead) Jump(now);
    // After a song position the time stands one clock before it until the first clock comes.
    const bool counted = (now + UnitsPerClock) % UnitsPerSixteenth > 1;
    if (counted || !(back || ahead)) Moved = Running = true;
    Place = now;
    Since = clock;
}

// Milliseconds until the next look: the library's timer counts milliseconds, and the piece goes by
// the clock. At 500 quarter notes a minute a clock comes every 5 ms.
int Follower::Interval(std::int32_t now) const {
    const std::size_t sent = Sent();
    if (!Running || sent >= Play.Records().size()) return 2;
    return std::int64_t{Play.Records()[sent].Time} - now <= UnitsPerClock ? 1 : 4;
}

void Follower::ShowProgress(Progress& progress) const {
    const std::int64_t tick = TickAtUnits(std::max(0, ZorTimeMIDI(0)));
    const midifile::BarBeat place = File.Map.BarBeatAt(std::min(tick, File.EndTick));
    const QueueFill fill = OutputFill();
    char line[128];
    std::snprintf(line, sizeof line, "%s  bar %4lld beat %2d  queue %4d/%d  %s",
                  Running ? "following" : "waiting  ", static_cast<long long>(place.Bar),
                  place.Beat, fill.Count, fill.Capacity, Bar(tick, File.EndTick, 20).c_str());
    progress.Show(line);
}

// The first clock after Start stands at the beginning, not one clock behind it: the count begins at
// -1, which minus one clock gives.
void Follower::Begin() {
    ZorSetMIDITimer(-UnitsPerClock);
    Place = ZorTimeMIDI(0);
}

// As soon as a clock has come, on the timers' thread, which goes before ordinary ones. What steers
// the piece is for the follower to see first.
void PlayAtTheClock() {
    MIDIEvent event;
    if (!ZorRcv(&event, 1)) ZorMIDIPlay();
}

void Follower::Run() {
    Progress progress;
    machine::AfterTimers(PlayAtTheClock);
    std::vector<MIDIEvent> records;
    do {
        // Read first, so that what has been filed explains it.
        const std::int32_t now = ZorTimeMIDI(0);
        records.clear();
        Library::TakeReceived(records);
        for (const MIDIEvent& record : records) Hear(record);
        if (!records.empty()) continue; // more may have come while these were answered
        WatchTime(now);
        // Not before the clock goes on: it may go on from another place.
        if (Running) Play.Feed();
        ZorMIDIPlay();
        if (progress.Due()) ShowProgress(progress);
        Nap(Interval(now));
    } while (!Interrupted() && !(Play.AllQueued() && ZorXmitEmpty(0)));
    machine::AfterTimers(nullptr);
    progress.End();
    if (Interrupted() || LeavesSounding(Play.Records())) Library::Silence(Play.Records());
}

void SayWaiting(const PortMap& map) {
    for (const Port& port : map.Inputs) {
        if (port.Row != map.SyncInput || port.Device.empty()) continue;
        std::fprintf(stderr, "Waiting for Start and clock on %s; Ctrl-C ends\n",
                     port.Device.c_str());
        return;
    }
    throw HostError("no clock can come in: input " + std::to_string(map.SyncInput) +
                    ", which the settings take it from, has no device");
}

void Run(const GlobalOptions& global, const FollowOptions& options) {
    midifile::Song song = ReadSong(options.Of.File, options.Of.Strict);
    CheckNotEmpty(song, options.Of.File);
    Follower follower(std::move(song));
    StartOptions start;
    start.Sync = ZOR_SYNC_EXTERNAL;
    start.Keep.Classes = 0x80FF; // only what steers the piece comes in
    start.Keep.System = 0xFFFF & ~(1 << 2 | 1 << 10 | 1 << 11 | 1 << 12);
    Session session(global, {options.In, options.To, "", Cables::Shared});
    session.Start(start);
    follower.Begin();
    SayWaiting(session.Ports());
    follower.Run();
    std::printf("%s\n", follower.Complete() ? "Played to the end" : "Stopped");
}

} // namespace

void AddFollow(const Command& app, const GlobalOptions& global) {
    const Command command =
        app.Add("follow", "Play a MIDI file in time with the MIDI clock that comes in");
    const auto options = std::make_shared<FollowOptions>();
    AddPiece(command, options->Of);
    AddOutputs(command, "--to", options->To, "Output to play on");
    AddInputs(command, options->In, "Input that the clock comes from");
    command.Does([&global, options] { Run(global, *options); });
}

} // namespace zorhost
