// zorhost play
#include "host/cli/commands.h"
#include "host/terminal/host_error.h"
#include "host/terminal/names.h"
#include "host/cli/options.h"
#include "host/playback/performance.h"
#include "host/playback/song_file.h"
#include "host/playback/round_trip.h"
#include "host/devices/session.h"

#include <cstdio>
#include <memory>
#include <optional>

namespace zorhost {

namespace {

constexpr int ShortestLoop = 100; // milliseconds

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

void PrintReport(const Performance& performance) {
    std::vector<MIDIEvent> sent = performance.Playback().Pass();
    for (MIDIEvent& record : sent) record.Time -= static_cast<std::int32_t>(PlayLead);
    const RoundTrip result = Compare(sent, performance.PortRecords());
    std::printf("Round trip, every message sent against what came back\n%s", result.Text().c_str());
    if (!result.IsClean()) throw HostError("not everything came back as it was sent");
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
    const MelodyComparison result = CompareMelodies(written, heard);
    std::printf("Melody, as written and as heard by the microphone\n%s", result.Text.c_str());
    std::printf("  %d of %s heard, %d missed, %d heard that %s not written\n", result.MatchedNotes,
                Counted(result.WrittenNotes, "written note").c_str(), result.MissedNotes, result.ExtraNotes,
                result.ExtraNotes == 1 ? "was" : "were");
}

std::int64_t TickOfBar(const midifile::Song& song, std::int64_t bar, const char* option) {
    const std::int64_t tick = song.Map.TickOfBar(bar);
    if (tick <= song.EndTick) return tick;
    throw HostError(std::string(option) + ": the piece ends in bar " +
                        std::to_string(song.Map.BarBeatAt(song.EndTick).Bar),
                    ExitWrongUse);
}

// "5-8": from the beginning of bar 5 to the end of bar 8.
void SetLoop(const PlayOptions& options, const midifile::Song& song, PlayRange& range) {
    int from = options.FromBar;
    int to = static_cast<int>(song.Map.BarBeatAt(std::max<std::int64_t>(0, song.EndTick - 1)).Bar);
    int used = 0;
    const bool given = !options.Loop.empty();
    if (given && (std::sscanf(options.Loop.c_str(), "%6d-%6d%n", &from, &to, &used) != 2 ||
                  static_cast<std::size_t>(used) != options.Loop.size() || from < 1 || to < from)) {
        throw HostError("--loop wants bars like 5-8, not \"" + options.Loop + "\"", ExitWrongUse);
    }
    range.Begin = TickOfBar(song, from, "--loop");
    range.End = song.Map.TickOfBar(std::max(from, to) + std::int64_t{1});
    range.Loop = true;
    const std::int64_t length =
        song.Map.MicrosecondsAt(range.End) - song.Map.MicrosecondsAt(range.Begin);
    if (length / 10 / options.TempoPercent < ShortestLoop)
        throw HostError("--loop: that takes less than a tenth of a second", ExitWrongUse);
}

PlayRange MakeRange(const PlayOptions& options, const midifile::Song& song) {
    PlayRange range;
    range.TempoPercent = options.TempoPercent;
    range.Begin = TickOfBar(song, options.FromBar, "--from");
    if (options.Looped) SetLoop(options, song, range);
    return range;
}

midifile::Song Prepared(const PlayOptions& options) {
    midifile::Song song = ReadSong(options.Of.File, options.Of.Strict);
    CheckNotEmpty(song, options.Of.File);
    const int lost = ApplyEdit(options.Edit, song);
    if (lost > 0) {
        std::fprintf(stderr, "%s outside the 128 keys %s left out.\n",
                     Counted(lost, "note").c_str(), lost == 1 ? "is" : "are");
    }
    if (song.Events.empty())
        throw HostError("nothing is left to play; look at --solo and --mute", ExitWrongUse);
    return song;
}

void PrintPlayed(const Performance& performance) {
    const Transport& music = performance.Playback();
    std::printf("%s %s, %s long\n", performance.IsComplete() ? "Played" : "Stopped after",
                Counted(static_cast<std::int64_t>(music.SentCount()), "message").c_str(),
                ClockText(music.Length()).c_str());
    if (music.DroppedEvents() > 0) {
        std::printf("%s after more than 24 days %s left out\n",
                    Counted(static_cast<std::int64_t>(music.DroppedEvents()), "message").c_str(),
                    music.DroppedEvents() == 1 ? "is" : "are");
    }
}

void Run(const GlobalOptions& global, const PlayOptions& options) {
    std::vector<Note> written;
    if (!options.Written.empty()) written = WrittenNotes(options.Written);
    const midifile::Song song = Prepared(options);
    const PlayRange range = MakeRange(options, song);
    std::optional<TakeWriter> record;
    if (!options.Record.empty()) record.emplace(options.Record);
    Session session(
        global, {{}, options.To, options.Mic, options.Report ? Cables::Private : Cables::Shared});
    Performance performance(
        song, {range, !options.Mic.empty(), options.Report, record ? &*record : nullptr});
    session.Start({});
    performance.Run(session.Ear());
    PrintPlayed(performance);
    session.Stop();
    if (session.Ear()) session.Ear()->CheckRead();
    if (record) performance.FinishRecording();
    if (!options.Written.empty()) PrintMelody(written, performance.MicrophoneNotes());
    if (options.Report && performance.IsComplete()) PrintReport(performance);
}

void AddChanges(const Command& command, PlayOptions& options) {
    command.Value("--tempo", options.TempoPercent, "Tempo in percent of the written one")
        .Within(5, 5000)
        .Named("PERCENT")
        .WithDefault();
    command
        .Value("--from", options.FromBar,
               "Bar to begin at, with the sounds and pedals that hold by then")
        .Sensible(1, 1000000)
        .Named("BAR")
        .WithDefault();
    command
        .Value("--transpose", options.Edit.Transpose, "Semitones up, or down if below 0; not drums")
        .Within(-127, 127)
        .Named("N");
    for (const auto& [name, parts, help] :
         {std::tuple("--solo", &options.Edit.Solo, "Play only these channels, or tracks as t2"),
          std::tuple("--mute", &options.Edit.Mute, "Leave out these channels, or tracks as t2")}) {
        command.Value(name, *parts, help).Listed().Named("N,...");
    }
}

void CheckLoop(const PlayOptions& options) {
    if (options.Looped && !options.Record.empty()) {
        throw HostError(
            "--record writes one pass, by the bar lines of the piece: leave out --loop, "
            "or run `zorhost record` in another terminal",
            ExitWrongUse);
    }
    if (options.Looped && options.Report)
        throw HostError("--report compares one pass with what came back: leave out --loop",
                        ExitWrongUse);
}

void AddChecks(const Command& command, PlayOptions& options) {
    command
        .Value("--record", options.Record,
               "Write what comes back through the inputs meanwhile to this MIDI file")
        .Named("OUT.mid");
    command.Flag("--report", options.Report,
                 "Compare every message sent with what came back, and say how late it was. "
                 "It uses loopback ports of its own");
    const Option mic = AddMicrophoneFile(command, options.Mic);
    command
        .Value("--written", options.Written,
               "With --mic: the MIDI file that the sound was made from, to print its notes "
               "beside those heard")
        .Named("FILE")
        .Needs(mic);
}

} // namespace

void AddPlay(const Command& app, const GlobalOptions& global) {
    const Command command = app.Add("play", "Play a MIDI file");
    const auto options = std::make_shared<PlayOptions>();
    AddPiece(command, options->Of);
    AddOutputs(command, "--to", options->To, "Output to play on");
    AddChanges(command, *options);
    const Option loop =
        command.Value("--loop", options->Loop, "Play again and again, all or bars like 5-8")
            .Named("[FROM-TO]")
            .Values(0, 1);
    AddChecks(command, *options);
    command.Footer("Examples: zorhost play song.mid --to piano --tempo 80\n"
                   "          zorhost play song.mid --loop 5-8 --mute 10 --transpose -2\n"
                   "On a terminal, space pauses, the arrows go a bar back or on, Home goes to the "
                   "start, q ends.");
    command.Does([&global, options, loop] {
        options->Looped = loop.Given();
        CheckLoop(*options);
        Run(global, *options);
    });
}

} // namespace zorhost
