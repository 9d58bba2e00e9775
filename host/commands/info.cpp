// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// zorhost info
#include "host/cli/commands.h"
#include "host/cli/options.h"
#include "host/playback/player.h"
#include "host/playback/song_file.h"
#include "host/terminal/general_midi.h"
#include "host/terminal/json.h"
#include "host/terminal/names.h"
#include "host/terminal/progress.h"
#include "host/terminal/terminal.h"
#include "midi/status.h"

#include <algorithm>
#include <cstdio>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace zorhost {

namespace {

using midifile::Song;

constexpr std::size_t MaxChanges = 12;             // of tempo or meter to print
constexpr double MaxSeconds = 0x7FFFFFFF / 1000.0; // range of the library's time base

struct InfoOptions {
    SongOptions Song;
    bool AsJson = false;
};

struct TrackInfo {
    std::string Name;
    std::set<int> Channels; // from 1
    std::set<std::string> Instruments;
    std::size_t Notes = 0;
    int Lowest = 127; // keys
    int Highest = 0;
};

void AddMessage(TrackInfo& info, const midifile::TrackEvent& event) {
    const int channel = midi::ChannelOf(event.Status) + 1;
    const std::uint8_t type = midi::MessageType(event.Status);
    info.Channels.insert(channel);
    if (type == midi::ProgramChange)
        info.Instruments.insert(channel == 10 ? "Drums" : ProgramName(event.Data[0]));
    if (type != midi::NoteOn || event.Data[1] == 0) return;
    ++info.Notes;
    info.Lowest = std::min<int>(info.Lowest, event.Data[0]);
    info.Highest = std::max<int>(info.Highest, event.Data[0]);
}

// Names a track by its first name event. Notes on channel 10 count as drums.
TrackInfo InfoOf(const std::vector<midifile::TrackEvent>& track) {
    TrackInfo info;
    for (const midifile::TrackEvent& event : track) {
        if (event.Status == midifile::MetaStatus && event.Type == midifile::MetaTrackName &&
            info.Name.empty())
            info.Name = Utf8(std::string(event.Data.begin(), event.Data.end()));
        if (midi::IsChannelStatus(event.Status)) AddMessage(info, event);
    }
    if (info.Channels.contains(10) && info.Notes > 0) info.Instruments.insert("Drums");
    return info;
}

// Returns the values separated by commas.
template <typename Range>
std::string Joined(const Range& values) {
    std::string text;
    for (const auto& value : values) {
        if (!text.empty()) text += ", ";
        if constexpr (std::is_same_v<std::decay_t<decltype(value)>, int>) {
            text += std::to_string(value);
        } else {
            text += value;
        }
    }
    return text;
}

double Seconds(const Song& song) {
    return static_cast<double>(song.Map.MicrosecondsAt(song.EndTick)) / 1e6;
}

// Returns what may cause problems when the song is played, with the repairs made by the reader.
std::vector<std::string> Warnings(const Song& song) {
    std::vector<std::string> lines = song.Warnings;
    if (song.SystemExclusive > 0) {
        lines.push_back(Counted(song.SystemExclusive, "system exclusive message") +
                        ", which play skips");
    }
    if (song.Events.empty()) lines.push_back("no notes");
    if (Seconds(song) > MaxSeconds) lines.push_back("events after 24 days are not played");
    if (LeavesSounding(MakePassage(song, 0).Records))
        lines.push_back("a note or pedal is still held at the end");
    return lines;
}

double BeatsPerMinute(const midifile::Tempo& tempo) { return 60e6 / tempo.MicrosecondsPerQuarter; }

std::int64_t BarOf(const Song& song, std::int64_t tick) { return song.Map.BarBeatAt(tick).Bar; }

// Lists the values of tempo or meter: the first, then later ones with their bars, at most
// MaxChanges.
template <typename Change, typename Write>
std::string ChangesText(const Song& song, const std::vector<Change>& changes, Write write) {
    std::string text;
    for (std::size_t i = 0; i < changes.size() && i < MaxChanges; ++i) {
        text += (i ? ", " : "") + write(changes[i]);
        if (i) text += " in bar " + std::to_string(BarOf(song, changes[i].Tick));
    }
    if (changes.size() > MaxChanges)
        text += " and " + std::to_string(changes.size() - MaxChanges) + " more";
    return text;
}

void PrintTrack(std::size_t number, const TrackInfo& info) {
    char range[16] = "";
    if (info.Notes > 0)
        std::snprintf(range, sizeof range, "%4s to %-4s", NoteName(info.Lowest).c_str(),
                      NoteName(info.Highest).c_str());
    const std::string instruments = Joined(info.Instruments);
    PrintRow(5, "t%-3zu %5zu %-5s  %-12s  ch %-8s %s%s", number, info.Notes,
             info.Notes == 1 ? "note" : "notes", range, Joined(info.Channels).c_str(),
             info.Name.c_str(), instruments.empty() ? "" : ("  (" + instruments + ")").c_str());
}

void PrintText(const Song& song) {
    std::printf("Length   %s, %s\n",
                ClockText(static_cast<std::int64_t>(Seconds(song) * 1000)).c_str(),
                Counted(BarOf(song, std::max<std::int64_t>(0, song.EndTick - 1)), "bar").c_str());
    const auto tempo = [](const midifile::Tempo& one) {
        char text[32];
        std::snprintf(text, sizeof text, "%.4g", BeatsPerMinute(one));
        return std::string(text);
    };
    const auto meter = [](const midifile::Meter& one) {
        return std::to_string(one.Beats) + "/" + std::to_string(one.BeatUnit);
    };
    PrintRow(9, "Tempo    %s quarter notes per minute",
             ChangesText(song, song.Map.Tempos(), tempo).c_str());
    PrintRow(9, "Meter    %s", ChangesText(song, song.Map.Meters(), meter).c_str());
    PrintRow(9, "File     type %d, %s, %s, %s per quarter note", song.Format,
             Counted(std::ssize(song.Tracks), "track").c_str(),
             Counted(std::ssize(song.Events), "message").c_str(),
             Counted(song.Map.TicksPerQuarter(), "tick").c_str());
    for (std::size_t i = 0; i < song.Tracks.size(); ++i) PrintTrack(i + 1, InfoOf(song.Tracks[i]));
    for (const std::string& line : Warnings(song)) PrintRow(9, "Warning: %s", line.c_str());
}

void PrintJson(const Song& song) {
    Json()
        .Add("kind", "file")
        .Add("seconds", Seconds(song))
        .Add("type", song.Format)
        .Add("tracks", song.Tracks.size())
        .Add("messages", song.Events.size())
        .Add("bars", BarOf(song, std::max<std::int64_t>(0, song.EndTick - 1)))
        .Add("ticks", song.Map.TicksPerQuarter())
        .Print();
    for (const midifile::Tempo& tempo : song.Map.Tempos())
        Json()
            .Add("kind", "tempo")
            .Add("bar", BarOf(song, tempo.Tick))
            .Add("bpm", BeatsPerMinute(tempo))
            .Print();
    for (const midifile::Meter& meter : song.Map.Meters())
        Json()
            .Add("kind", "meter")
            .Add("bar", BarOf(song, meter.Tick))
            .Add("beats", meter.Beats)
            .Add("unit", meter.BeatUnit)
            .Print();
    for (std::size_t i = 0; i < song.Tracks.size(); ++i) {
        const TrackInfo info = InfoOf(song.Tracks[i]);
        Json()
            .Add("kind", "track")
            .Add("track", i + 1)
            .Add("name", info.Name)
            .Add("notes", info.Notes)
            .Add("channels", Joined(info.Channels))
            .Add("instruments", Joined(info.Instruments))
            .Print();
    }
    for (const std::string& line : Warnings(song))
        Json().Add("kind", "warning").Add("text", line).Print();
}

} // namespace

void AddInfo(const Command& app, const GlobalOptions&) {
    const Command command = app.AddCommand(
        "info", "Describe a MIDI file: length, tempo, meter, tracks, instruments, faults");
    const auto options = std::make_shared<InfoOptions>();
    AddSongOptions(command, options->Song);
    AddJson(command, options->AsJson, "line: file, tempo, meter, track, warning");
    command.OnRun([options] {
        const Song song = ReadSongQuietly(options->Song.File, options->Song.Strict);
        options->AsJson ? PrintJson(song) : PrintText(song);
    });
}

} // namespace zorhost
