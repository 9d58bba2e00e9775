// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "host/commands/edited_song.h"

#include "host/terminal/host_error.h"
#include "host/terminal/names.h"

#include <cstdio>

namespace zorhost {

void AddChanges(const Command& command, EditedSong& options) {
    command.Value("--tempo", options.TempoPercent, "Tempo in percent of the written tempo")
        .Range(5, 5000)
        .ValueName("PERCENT")
        .ShowDefault();
    command
        .Value("--from", options.FirstBar,
               "Start at this bar, with the programs, controllers and pedals in effect there")
        .HiddenRange(1, 1000000)
        .ValueName("BAR")
        .ShowDefault();
    command.Value("--transpose", options.Edit.Transpose, "Transpose all but drums by N semitones")
        .Range(-127, 127)
        .ValueName("N");
    for (const auto& [name, parts, help] :
         {std::tuple("--solo", &options.Edit.Solo, "Play only these channels, or tracks (t2)"),
          std::tuple("--mute", &options.Edit.Mute, "Skip these channels, or tracks (t2)")}) {
        command.Value(name, *parts, help).CommaSeparated().ValueName("N,...");
    }
}

midifile::Song ReadEditedSong(const EditedSong& options) {
    midifile::Song song = ReadSong(options.File.File, options.File.Strict);
    CheckNotEmpty(song, options.File.File);
    const int dropped = ApplyEdit(options.Edit, song);
    if (dropped > 0) {
        std::fprintf(stderr, "%s outside the 128 keys %s skipped.\n",
                     Counted(dropped, "note").c_str(), dropped == 1 ? "is" : "are");
    }
    if (song.Events.empty())
        throw HostError("nothing left to play; check --solo and --mute", ExitWrongUse);
    return song;
}

std::int64_t TickOfBar(const midifile::Song& song, std::int64_t bar, const char* option) {
    const std::int64_t tick = song.Map.TickOfBar(bar);
    if (tick <= song.EndTick) return tick;
    throw HostError(std::string(option) + ": the song ends in bar " +
                        std::to_string(song.Map.BarBeatAt(song.EndTick).Bar),
                    ExitWrongUse);
}

PlayRange RangeOf(const EditedSong& options, const midifile::Song& song) {
    PlayRange range;
    range.TempoPercent = options.TempoPercent;
    range.Begin = TickOfBar(song, options.FirstBar, "--from");
    return range;
}

} // namespace zorhost
