// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// zorhost play
#include "host/cli/commands.h"
#include "host/commands/edited_song.h"
#include "host/devices/session.h"
#include "host/playback/performance.h"
#include "host/playback/round_trip.h"
#include "host/terminal/host_error.h"
#include "host/terminal/names.h"
#include "midi/status.h"

#include <cstdio>
#include <memory>
#include <optional>

namespace zorhost {

namespace {

constexpr int MinLoopLength = 100; // milliseconds

struct PlayOptions {
    EditedSong Song;
    Texts Outputs;
    std::string RecordFile;
    std::string LoopBars; // "5-8"; empty for the whole song
    bool IsLooped = false;
    bool Report = false;
    std::string MicrophoneFile;
    std::string WrittenFile;
};

// Compares the last pass with the records received from the ports. Throws HostError if any was lost
// or changed. Both have times in milliseconds from the start of the music.
void PrintReport(const Performance& performance, const PortMap& ports) {
    std::vector<MIDIEvent> sent = performance.Playback().Pass();
    for (MIDIEvent& record : sent) record.Time -= static_cast<std::int32_t>(PlayLead);
    const RoundTrip result = Compare(sent, performance.PortRecords(), ports);
    std::printf("Round trip: messages sent and received back\n%s", result.Text().c_str());
    if (!result.IsClean()) throw HostError("some messages were lost or changed on the way back");
}

// Reads the notes of a MIDI file, with times in milliseconds. All channels become one.
std::vector<Note> WrittenNotes(const std::string& path) {
    const midifile::Song file = ReadSong(path);
    std::vector<MIDIEvent> records;
    for (const midifile::Event& event : file.Events) {
        const auto time =
            static_cast<std::int32_t>((file.Map.MicrosecondsAt(event.Tick) + 500) / 1000);
        records.push_back(
            {time, 0, 0, 2, midi::MessageType(event.Status), event.Data1, event.Data2});
    }
    return PairNotes(records, file.Map.MicrosecondsAt(file.EndTick) / 1000);
}

// Prints both melodies side by side, and how many notes agree.
void PrintMelody(const std::vector<Note>& written, const std::vector<Note>& heard) {
    const MelodyComparison result = CompareMelodies(written, heard);
    std::printf("Melody as written, and as detected by the microphone\n%s", result.Text.c_str());
    std::printf("  %d of %s heard, %d missed, %d heard that %s not written\n", result.MatchedNotes,
                Counted(result.WrittenNotes, "written note").c_str(), result.MissedNotes,
                result.ExtraNotes, result.ExtraNotes == 1 ? "was" : "were");
}

// "5-8" loops from the beginning of bar 5 to the end of bar 8. Throws HostError.
void SetLoop(const PlayOptions& options, const midifile::Song& song, PlayRange& range) {
    int first = options.Song.FirstBar;
    int last =
        static_cast<int>(song.Map.BarBeatAt(std::max<std::int64_t>(0, song.EndTick - 1)).Bar);
    int used = 0;
    const bool given = !options.LoopBars.empty();
    if (given &&
        (std::sscanf(options.LoopBars.c_str(), "%6d-%6d%n", &first, &last, &used) != 2 ||
         static_cast<std::size_t>(used) != options.LoopBars.size() || first < 1 || last < first)) {
        throw HostError("--loop: expected bars like 5-8, not \"" + options.LoopBars + "\"",
                        ExitWrongUse);
    }
    range.Begin = TickOfBar(song, first, "--loop");
    range.End = song.Map.TickOfBar(std::max(first, last) + std::int64_t{1});
    range.Loop = true;
    const std::int64_t length =
        song.Map.MicrosecondsAt(range.End) - song.Map.MicrosecondsAt(range.Begin);
    if (length / 10 / options.Song.TempoPercent < MinLoopLength)
        throw HostError("--loop: the loop is shorter than 0.1 s", ExitWrongUse);
}

PlayRange MakeRange(const PlayOptions& options, const midifile::Song& song) {
    PlayRange range = RangeOf(options.Song, song);
    if (options.IsLooped) SetLoop(options, song, range);
    return range;
}

void PrintPlayed(const Performance& performance) {
    const Transport& music = performance.Playback();
    std::printf("%s %s, %s long\n", performance.IsComplete() ? "Played" : "Stopped after",
                Counted(static_cast<std::int64_t>(music.SentCount()), "message").c_str(),
                ClockText(music.Length()).c_str());
    if (music.DroppedEvents() > 0) {
        std::printf("%s after more than 24 days %s skipped\n",
                    Counted(static_cast<std::int64_t>(music.DroppedEvents()), "message").c_str(),
                    music.DroppedEvents() == 1 ? "is" : "are");
    }
}

void Run(const GlobalOptions& global, const PlayOptions& options) {
    std::vector<Note> written;
    if (!options.WrittenFile.empty()) written = WrittenNotes(options.WrittenFile);
    const midifile::Song song = ReadEditedSong(options.Song);
    const PlayRange range = MakeRange(options, song);
    std::optional<TakeWriter> record;
    if (!options.RecordFile.empty()) record.emplace(options.RecordFile);
    Session session(global, {{},
                             options.Outputs,
                             options.MicrophoneFile,
                             options.Report ? DevicePolicy::PrivateLoopback
                                            : DevicePolicy::HardwareOrLoopback});
    Performance performance(song, {range, !options.MicrophoneFile.empty(), options.Report,
                                   record ? &*record : nullptr});
    session.Start({});
    performance.Run(session.VirtualMicrophone());
    PrintPlayed(performance);
    session.Stop();
    if (session.VirtualMicrophone()) session.VirtualMicrophone()->CheckRead();
    if (record) performance.FinishRecording();
    if (!options.WrittenFile.empty()) PrintMelody(written, performance.MicrophoneNotes());
    if (options.Report && performance.IsComplete()) PrintReport(performance, session.Ports());
}

// A loop has no end, and repeats the same bars: neither a recording by the song's bar lines nor a
// comparison fits it.
void CheckLoop(const PlayOptions& options) {
    if (options.IsLooped && !options.RecordFile.empty()) {
        throw HostError(
            "--record cannot be combined with --loop: run `zorhost record` in another terminal",
            ExitWrongUse);
    }
    if (options.IsLooped && options.Report)
        throw HostError("--report cannot be combined with --loop", ExitWrongUse);
}

void AddChecks(const Command& command, PlayOptions& options) {
    command
        .Value("--record", options.RecordFile,
               "Record the inputs during playback to this MIDI file")
        .ValueName("OUT.mid");
    command.Flag("--report", options.Report,
                 "Play over private loopback ports, compare every message with what is received, "
                 "and report losses and delays");
    const Option mic = AddMicrophoneFile(command, options.MicrophoneFile);
    command
        .Value("--written", options.WrittenFile,
               "With --mic: MIDI file with the notes of the sound file, to print them beside the "
               "detected notes")
        .ValueName("FILE")
        .Needs(mic);
}

} // namespace

void AddPlay(const Command& app, const GlobalOptions& global) {
    const Command command = app.AddCommand("play", "Play a MIDI file");
    const auto options = std::make_shared<PlayOptions>();
    AddSongOptions(command, options->Song.File);
    AddOutputs(command, "--to", options->Outputs, "Output to play on");
    AddChanges(command, options->Song);
    const Option loop =
        command
            .Value("--loop", options->LoopBars, "Repeat the song, or bars like 5-8, until Ctrl-C")
            .ValueName("[FIRST-LAST]")
            .ValueCount(0, 1);
    AddChecks(command, *options);
    command.Footer("Examples: zorhost play song.mid --to piano --tempo 80\n"
                   "          zorhost play song.mid --loop 5-8 --mute 10 --transpose -2\n"
                   "Keys on a terminal: space pauses, left and right arrow move by a bar, Home "
                   "returns to the start, q quits.");
    command.OnRun([&global, options, loop] {
        options->IsLooped = loop.IsGiven();
        CheckLoop(*options);
        Run(global, *options);
    });
}

} // namespace zorhost
