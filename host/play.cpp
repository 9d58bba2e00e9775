// zorhost play
#include "host/commands.h"
#include "host/host_error.h"
#include "host/interrupt.h"
#include "host/melody.h"
#include "host/options.h"
#include "host/progress.h"
#include "host/report.h"
#include "host/session.h"
#include "host/song_edit.h"
#include "host/song_file.h"
#include "host/take.h"
#include "host/terminal.h"
#include "host/transport.h"

#include <charconv>
#include <cstdio>
#include <memory>
#include <optional>

namespace zorhost {

namespace {

constexpr std::int64_t Lead = 100; // milliseconds from the start of the timer to the first record
constexpr int ShortestLoop = 100;  // milliseconds

struct PlayOptions {
    Piece Of;
    Texts To;
    std::string Record;
    int TempoPercent = 100;
    int FromBar = 1;
    std::string Loop; // "" for all of it
    bool Looped = false;
    SongEdit Edit;
    bool Report = false;
    std::string Mic;
    std::string Written;
};

class Performance {
public:
    // record: what comes back is taken into it; may be null.
    Performance(const PlayOptions& options, const midifile::Song& song, const Route& route,
                Take* record)
        : Options(options), File(song), Way(route), Music(song, route), Record(record) {}

    // mic may be null.
    void Run(const Microphone* mic);
    bool Complete() const { return !Stopped; }
    const Transport& Of() const { return Music; }
    // As they came in from the ports, with times from the start of the music.
    std::vector<MIDIEvent> FromPorts() const;
    // The notes of the microphone's sound file, with times from its beginning.
    std::vector<Note> Heard() const;
    void FinishRecording() const;

private:
    void Receive();
    void ShowProgress(Progress& progress) const;
    void Obey(Key key);
    void AwaitRest();
    void AwaitMicrophone(const Microphone& mic);
    void SilenceRest(const Microphone* mic);

    const PlayOptions& Options;
    const midifile::Song& File;
    const Route Way;
    Transport Music;
    Take* Record;
    std::vector<MIDIEvent> Incoming; // times from the start of the music
    std::int64_t MicStart = 0;
    bool Stopped = false;
};

void Performance::Receive() {
    const std::size_t before = Incoming.size();
    Library::TakeReceived(Incoming);
    for (std::size_t i = before; i < Incoming.size(); ++i) {
        Incoming[i].Time -= static_cast<std::int32_t>(Lead);
        if (Record) Record->Add(Incoming[i]);
    }
    if (Record) Record->Save(static_cast<std::int32_t>(ZorTimeMIDI(0) - Lead));
}

void Performance::ShowProgress(Progress& progress) const {
    const std::int64_t tick = Music.Place();
    const midifile::BarBeat place = File.Map.BarBeatAt(tick);
    const QueueFill fill = OutputFill();
    const std::int64_t now = Music.TimeOf(tick);
    char line[128];
    std::snprintf(line, sizeof line, "%sbar %4lld beat %2d  %s of %s  %s  queue %4d/%d",
                  Music.Paused() ? "paused  " : "", static_cast<long long>(place.Bar), place.Beat,
                  ClockText(now).c_str(), ClockText(Music.Length()).c_str(),
                  Bar(now, Music.Length(), 20).c_str(), fill.Count, fill.Room);
    progress.Show(line);
}

void Performance::Obey(Key key) {
    switch (key) {
    case Key::Space:
        return Music.Paused() ? Music.Resume() : Music.Pause();
    case Key::Left:
        return Music.JumpBars(-1);
    case Key::Right:
        return Music.JumpBars(1);
    case Key::Home:
        return Music.JumpTo(Way.From);
    case Key::Quit:
        Stopped = true;
        break;
    default:
        break;
    }
}

// What was sent last is still on its way back when the queue has run empty. While less came than
// went out, a busy machine may only be slow.
void Performance::AwaitRest() {
    const std::size_t sent = Music.Pass().size();
    for (int quiet = 0; quiet < (Incoming.size() < sent ? 100 : 10) && !Interrupted(); ++quiet) {
        const std::size_t before = Incoming.size();
        Nap(20);
        Receive();
        if (Incoming.size() != before) quiet = 0;
        if (Incoming.size() >= 2 * sent) break; // someone else plays on
    }
}

// The sound file may be longer than the piece; its last note ends in the silence behind it.
void Performance::AwaitMicrophone(const Microphone& mic) {
    Progress progress;
    for (int left = MicrophoneTail; left > 0 && !Interrupted(); Nap(20)) {
        Receive();
        if (mic.Ended()) left -= 20;
        if (progress.Due()) progress.Show("listening to the end of the sound file");
    }
    MicStart = mic.StartTime() - Lead;
}

void Performance::SilenceRest(const Microphone* mic) {
    if (Stopped) {
        Music.Silence();
        Nap(50);
        return Receive();
    }
    if (mic && !Options.Mic.empty()) AwaitMicrophone(*mic);
    if (Record || Options.Report) AwaitRest();
    if (LeavesSounding(Music.Pass())) Music.Silence();
}

void Performance::Run(const Microphone* mic) {
    std::optional<Keys> keys;
    // Only what goes straight on can be compared with what comes back.
    if (!Record && !Options.Report && Options.Mic.empty()) keys.emplace();
    if (keys && keys->Working())
        std::fprintf(stderr,
                     "Space pauses, arrows go a bar back or on, Home to the start, q ends\n");
    Progress progress;
    Music.Begin(Lead);
    do {
        Music.Step();
        Receive();
        if (progress.Due()) ShowProgress(progress);
        Nap(4);
        if (keys) Obey(keys->Next());
        Stopped = Stopped || Interrupted();
    } while (!Stopped && !Music.Done());
    ShowProgress(progress);
    progress.End();
    SilenceRest(mic);
}

std::vector<MIDIEvent> Performance::FromPorts() const {
    std::vector<MIDIEvent> records = Incoming;
    std::erase_if(records, [&](const MIDIEvent& record) {
        return record.Status >= 0xF0 ||
               (!Options.Mic.empty() && record.Channel == MicrophoneChannel - 1);
    });
    return records;
}

std::vector<Note> Performance::Heard() const {
    std::vector<MIDIEvent> records;
    for (MIDIEvent record : Incoming) {
        if (record.Channel != MicrophoneChannel - 1 || record.Status >= 0xF0) continue;
        record.Time -= static_cast<std::int32_t>(MicStart);
        records.push_back(record);
    }
    return PairNotes(records, records.empty() ? 0 : records.back().Time);
}

void Performance::FinishRecording() const {
    if (Record->Records().empty()) {
        throw HostError("nothing came back through the inputs, so nothing is recorded; an output "
                        "must lead to an input in use");
    }
    RecordingPlan plan;
    plan.Map = File.Map;
    plan.TempoPercent = Options.TempoPercent;
    plan.StartMicroseconds = File.Map.MicrosecondsAt(Way.From);
    Record->Finish(plan);
    std::printf("Recorded %zu messages in %s\n", Record->Records().size(), Record->Path().c_str());
}

void PrintReport(const Performance& performance) {
    std::vector<MIDIEvent> sent = performance.Of().Pass();
    for (MIDIEvent& record : sent) record.Time -= static_cast<std::int32_t>(Lead);
    const RoundTrip result = Compare(sent, performance.FromPorts());
    std::printf("Round trip, every message sent against what came back\n%s", result.Text().c_str());
    if (!result.Clean()) throw HostError("not everything came back as it was sent");
}

std::vector<Note> WrittenNotes(const std::string& path) {
    const midifile::Song file = ReadSong(path);
    std::vector<MIDIEvent> records;
    for (const midifile::Event& event : file.Events) {
        const auto time =
            static_cast<std::int32_t>((file.Map.MicrosecondsAt(event.Tick) + 500) / 1000);
        records.push_back({time, 0, 0, 2, static_cast<std::uint8_t>(event.Status & 0xF0),
                           event.Data1, event.Data2});
    }
    return PairNotes(records, file.Map.MicrosecondsAt(file.EndTick) / 1000);
}

void PrintMelody(const std::vector<Note>& written, const std::vector<Note>& heard) {
    const SideBySide result = CompareMelodies(written, heard);
    std::printf("Melody, as written and as heard by the microphone\n%s", result.Text.c_str());
    std::printf("  %d of %d written notes heard, %d missed, %d heard that were not written\n",
                result.Heard, result.Written, result.Missed, result.Strange);
}

std::int64_t TickOfBar(const midifile::Song& song, std::int64_t bar, const char* option) {
    const std::int64_t tick = song.Map.TickOfBar(bar);
    if (tick <= song.EndTick) return tick;
    throw HostError(std::string(option) + ": the piece ends in bar " +
                        std::to_string(song.Map.BarBeatAt(song.EndTick).Bar),
                    ExitWrongUse);
}

// "5-8": from the beginning of bar 5 to the end of bar 8.
void SetLoop(const PlayOptions& options, const midifile::Song& song, Route& route) {
    int from = options.FromBar;
    int to = static_cast<int>(song.Map.BarBeatAt(std::max<std::int64_t>(0, song.EndTick - 1)).Bar);
    int used = 0;
    const bool given = !options.Loop.empty();
    if (given && (std::sscanf(options.Loop.c_str(), "%6d-%6d%n", &from, &to, &used) != 2 ||
                  static_cast<std::size_t>(used) != options.Loop.size() || from < 1 || to < from)) {
        throw HostError("--loop wants bars like 5-8, not \"" + options.Loop + "\"", ExitWrongUse);
    }
    route.From = TickOfBar(song, from, "--loop");
    route.To = song.Map.TickOfBar(std::max(from, to) + std::int64_t{1});
    route.Round = true;
    const std::int64_t length =
        song.Map.MicrosecondsAt(route.To) - song.Map.MicrosecondsAt(route.From);
    if (length / 10 / options.TempoPercent < ShortestLoop)
        throw HostError("--loop: that takes less than a tenth of a second", ExitWrongUse);
}

Route MakeRoute(const PlayOptions& options, const midifile::Song& song) {
    Route route;
    route.TempoPercent = options.TempoPercent;
    route.From = TickOfBar(song, options.FromBar, "--from");
    if (options.Looped) SetLoop(options, song, route);
    return route;
}

midifile::Song Prepared(const PlayOptions& options) {
    midifile::Song song = ReadSong(options.Of.File, options.Of.Strict);
    CheckNotEmpty(song, options.Of.File);
    const int lost = Apply(options.Edit, song);
    if (lost > 0) std::fprintf(stderr, "%d notes have no key left and are left out.\n", lost);
    if (song.Events.empty())
        throw HostError("nothing is left to play; look at --solo and --mute", ExitWrongUse);
    return song;
}

void PrintPlayed(const Performance& performance) {
    const Transport& music = performance.Of();
    std::printf("%s %zu messages, %s long\n", performance.Complete() ? "Played" : "Stopped after",
                music.Sent(), ClockText(music.Length()).c_str());
    if (music.LeftOut() > 0) {
        std::printf("%zu messages come after more than 24 days and are left out\n",
                    music.LeftOut());
    }
}

void Run(const GlobalOptions& global, const PlayOptions& options) {
    std::vector<Note> written;
    if (!options.Written.empty()) written = WrittenNotes(options.Written);
    const midifile::Song song = Prepared(options);
    const Route route = MakeRoute(options, song);
    std::optional<Take> record;
    if (!options.Record.empty()) record.emplace(options.Record);
    Session session(
        global, {{}, options.To, options.Mic, options.Report ? Cables::Private : Cables::Shared});
    Performance performance(options, song, route, record ? &*record : nullptr);
    session.Start({});
    performance.Run(session.Ear());
    PrintPlayed(performance);
    session.Stop();
    if (session.Ear()) session.Ear()->CheckRead();
    if (record) performance.FinishRecording();
    if (!options.Written.empty()) PrintMelody(written, performance.Heard());
    if (options.Report && performance.Complete()) PrintReport(performance);
}

void AddChanges(CLI::App& command, PlayOptions& options) {
    command.add_option("--tempo", options.TempoPercent, "Tempo in percent of the written one")
        ->check(CLI::Range(5, 5000))
        ->type_name("PERCENT")
        ->capture_default_str();
    command
        .add_option("--from", options.FromBar,
                    "Bar to begin at, with the sounds and pedals that hold by then")
        ->check(CLI::Range(1, 1000000).description(""))
        ->type_name("BAR")
        ->capture_default_str();
    command
        .add_option("--transpose", options.Edit.Transpose,
                    "Semitones up, or down if below 0; not drums")
        ->check(CLI::Range(-127, 127))
        ->type_name("N");
    for (const auto& [name, parts, help] :
         {std::tuple("--solo", &options.Edit.Solo, "Play only these channels, or tracks as t2"),
          std::tuple("--mute", &options.Edit.Mute, "Leave out these channels, or tracks as t2")}) {
        command.add_option(name, *parts, help)
            ->allow_extra_args(false)
            ->delimiter(',')
            ->type_name("N,...");
    }
}

void AddChecks(CLI::App& command, PlayOptions& options, CLI::Option* loop) {
    command
        .add_option("--record", options.Record,
                    "Write what comes back through the inputs meanwhile to this MIDI file")
        ->type_name("OUT.mid")
        ->excludes(loop);
    command
        .add_flag("--report", options.Report,
                  "Compare every message sent with what came back, and say how late it was. "
                  "It uses loopback ports of its own")
        ->excludes(loop);
    CLI::Option* mic = AddMicrophoneFile(command, options.Mic);
    command
        .add_option("--written", options.Written,
                    "With --mic: the MIDI file that the sound was made from, to print its notes "
                    "beside those heard")
        ->type_name("FILE")
        ->needs(mic);
}

} // namespace

void AddPlay(CLI::App& app, const GlobalOptions& global) {
    CLI::App* command = app.add_subcommand("play", "Play a MIDI file");
    const auto options = std::make_shared<PlayOptions>();
    AddPiece(*command, options->Of);
    AddOutputs(*command, "--to", options->To, "Output to play on");
    AddChanges(*command, *options);
    CLI::Option* loop =
        command->add_option("--loop", options->Loop, "Play again and again, all or bars like 5-8")
            ->type_name("[FROM-TO]")
            ->expected(0, 1);
    AddChecks(*command, *options, loop);
    command->footer("Examples: zorhost play song.mid --to piano --tempo 80\n"
                    "          zorhost play song.mid --loop 5-8 --mute 10 --transpose -2\n"
                    "On a terminal, space pauses, the arrows go a bar back or on, Home goes to the "
                    "start, q ends.");
    command->callback([&global, options, loop] {
        options->Looped = loop->count() > 0;
        Run(global, *options);
    });
}

} // namespace zorhost
