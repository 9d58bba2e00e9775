// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// zorhost score
#include "host/cli/commands.h"
#include "host/cli/options.h"
#include "host/commands/score_writer.h"
#include "host/playback/song_file.h"
#include "host/terminal/host_error.h"
#include "host/terminal/json.h"
#include "host/terminal/names.h"
#include "midi/status.h"
#include "score/placement.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <map>
#include <memory>

namespace zorhost {

namespace {

constexpr int DrumChannel = 9; // from 0

struct ScoreCommandOptions {
    SongOptions Song;
    SongEdit Edit;
    std::string Target;
    std::string Staves;
    ScoreRequest Request;
    bool AsJson = false;
};

// A note of the file. Pedals prolong nothing.
struct FileNote {
    std::int64_t Begin, End; // ticks
    int Key;
};

// All notes but drums, by Begin and key. Throws HostError if there are none.
std::vector<FileNote> NotesOf(const midifile::Song& song, const std::string& path) {
    std::vector<FileNote> notes;
    std::map<std::array<int, 3>, std::size_t> sounding; // by track, channel and key
    bool drums = false;
    for (const midifile::Event& event : song.Events) {
        const std::uint8_t type = midi::MessageType(event.Status);
        if (type != midi::NoteOn && type != midi::NoteOff) continue;
        if (midi::ChannelOf(event.Status) == DrumChannel) {
            drums = true;
            continue;
        }
        const std::array<int, 3> place{event.Track, midi::ChannelOf(event.Status), event.Data1};
        if (const auto found = sounding.find(place); found != sounding.end()) {
            notes[found->second].End = event.Tick;
            sounding.erase(found);
        }
        if (type == midi::NoteOff || event.Data2 == 0) continue;
        sounding[place] = notes.size();
        notes.push_back({event.Tick, std::max(song.EndTick, event.Tick + 1), event.Data1});
    }
    if (notes.empty())
        throw HostError("\"" + path + "\" has no notes" +
                        (drums ? " but drums, which have no pitch to write down" : ""));
    std::ranges::stable_sort(notes, {},
                             [](const FileNote& note) { return std::pair(note.Begin, note.Key); });
    return notes;
}

// Recordings to a click and files of notation programs have a time signature: their
// beats are known.
bool KnowsBeats(const midifile::Song& song) {
    for (const auto& track : song.Tracks)
        for (const midifile::TrackEvent& event : track)
            if (event.Status == midifile::MetaStatus && event.Type == midifile::MetaMeter)
                return true;
    return false;
}

// The bars of the file, up to its last note. Bars count from 0.
score::KnownBeats BeatsOf(const midifile::Song& song, const std::vector<FileNote>& notes) {
    score::KnownBeats beats;
    const double quarter = song.Map.TicksPerQuarter();
    for (const FileNote& note : notes)
        beats.Quarters.push_back(static_cast<double>(note.Begin) / quarter);
    const auto barOf = [&](std::int64_t tick) {
        return static_cast<int>(song.Map.BarBeatAt(tick).Bar) - 1;
    };
    for (const midifile::Meter& meter : song.Map.Meters())
        if (meter.Tick <= notes.back().Begin)
            beats.Meters.push_back({barOf(meter.Tick), {meter.Beats, meter.BeatUnit}});
    for (const midifile::Tempo& tempo : song.Map.Tempos()) {
        if (tempo.Tick > notes.back().Begin) break;
        const double quarters = 60e6 / tempo.MicrosecondsPerQuarter;
        const int bar = barOf(tempo.Tick);
        if (!beats.Tempos.empty() && beats.Tempos.back().Bar == bar) beats.Tempos.pop_back();
        beats.Tempos.push_back({bar, quarters});
    }
    return beats;
}

// A time signature of the file that cannot be written here makes its beats useless.
bool AreWritable(const std::vector<score::MeterChange>& meters) {
    return std::ranges::all_of(meters, [](const score::MeterChange& change) {
        const score::TimeSignature& meter = change.Meter;
        return (meter.BeatType == 2 || meter.BeatType == 4 || meter.BeatType == 8) &&
               meter.Beats >= 1 && meter.Beats <= 15 &&
               (meter.BeatType != 8 || meter.Beats % 3 == 0);
    });
}

score::Score MakeScore(const midifile::Song& song, const ScoreCommandOptions& options) {
    const std::vector<FileNote> fileNotes = NotesOf(song, options.Song.File);
    std::vector<score::HeardNote> notes;
    for (const FileNote& note : fileNotes) {
        const auto seconds = [&](std::int64_t tick) {
            return static_cast<double>(song.Map.MicrosecondsAt(tick)) / 1e6;
        };
        const double begin = seconds(note.Begin);
        notes.push_back({begin, std::max(seconds(note.End), begin + 0.001), note.Key});
    }
    score::ScoreOptions wanted = ToScoreOptions(options.Request);
    wanted.Staves = options.Staves.empty() ? 0 : options.Staves == "1" ? 1 : 2;
    if (!options.Request.ChangesBars() && KnowsBeats(song)) {
        const score::KnownBeats beats = BeatsOf(song, fileNotes);
        if (AreWritable(beats.Meters))
            return score::MakeScore(notes, score::PlaceOnBeats(notes, beats, wanted.Hints.Shortest),
                                    wanted);
    }
    return score::MakeScore(notes, wanted);
}

void Run(const ScoreCommandOptions& options) {
    if (!options.Staves.empty() && options.Staves != "1" && options.Staves != "2")
        throw HostError("--staves: " + options.Staves + " is not 1 or 2", ExitWrongUse);
    const ScoreFile file(options.Target);
    midifile::Song song = ReadSong(options.Song.File, options.Song.Strict);
    ApplyEdit(options.Edit, song);
    const score::Score score = MakeScore(song, options);
    const std::string title = std::filesystem::path(options.Song.File).stem().string();
    file.Write(score, Utf8(title), options.AsJson ? stderr : stdout);
    if (options.AsJson) PrintScoreJson(score);
}

} // namespace

void AddScore(const Command& app) {
    const Command command =
        app.AddCommand("score", "Write what a keyboard played, a MIDI file, as a score");
    const auto options = std::make_shared<ScoreCommandOptions>();
    AddSongOptions(command, options->Song);
    command
        .Value("-o,--out", options->Target,
               "Write the score to this file: MusicXML, or the page itself as .pdf or .svg; - for "
               "MusicXML on standard output")
        .ValueName("OUT.musicxml")
        .Required();
    command
        .Value("--tempo", options->Request.QuartersPerMinute,
               "Quarter notes per minute, instead of an estimate or of the file's own bars")
        .HiddenRange(10.0, 500.0)
        .ValueName("BPM");
    AddScoreRequest(command, options->Request);
    command
        .Value("--staves", options->Staves,
               "Write on 1 or 2 staves; without it two where the range asks for them")
        .ValueName("1|2");
    for (const auto& [name, parts, help] :
         {std::tuple("--solo", &options->Edit.Solo, "Write only these channels, or tracks (t2)"),
          std::tuple("--mute", &options->Edit.Mute, "Skip these channels, or tracks (t2)")})
        command.Value(name, *parts, help).CommaSeparated().ValueName("N,...");
    AddJson(command, options->AsJson, "score");
    command.Footer("A file with a time signature, as `record --click` writes, has its own bars. "
                   "Without one, meter, tempo and bar lines are estimated.\n"
                   "Example: zorhost score take.mid -o take.musicxml");
    command.OnRun([options] { Run(*options); });
}

} // namespace zorhost
