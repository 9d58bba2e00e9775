// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "host/commands/score_writer.h"

#include "host/recording/engraver.h"
#include "host/terminal/host_error.h"
#include "host/terminal/json.h"
#include "host/terminal/names.h"

#include <algorithm>
#include <filesystem>
#include <sstream>

namespace zorhost {

namespace {

constexpr std::size_t MaxBarsNamed = 12;

score::TimeSignature ParseMeter(const std::string& text) {
    if (const auto meter = score::ParseTimeSignature(text)) return *meter;
    throw HostError("--meter: " + text +
                        " is not one of 2/4, 3/4, 4/4, 5/4, 2/2, 3/8, 6/8, 9/8 and 12/8",
                    ExitWrongUse);
}

// The ending, in small letters, if the page itself is wanted.
std::string PageKind(const std::string& path) {
    std::string ending = std::filesystem::path(path).extension().string();
    std::ranges::transform(ending, ending.begin(), [](unsigned char c) { return std::tolower(c); });
    return ending == ".pdf" || ending == ".svg" ? ending : "";
}

// "OUT-2.svg"
std::string PageName(const std::string& path, std::size_t page) {
    if (page == 1) return path;
    const std::filesystem::path name(path);
    return (name.parent_path() / name.stem()).string() + "-" + std::to_string(page) +
           name.extension().string();
}

std::string UnsureText(const score::Score& score) {
    const std::vector<int> bars = score.UnsureBars();
    if (bars.empty()) return "";
    std::string text = bars.size() == 1 ? "Look at bar " : "Look at bars ";
    for (std::size_t i = 0; i < std::min(bars.size(), MaxBarsNamed); ++i)
        text += (i ? ", " : "") + std::to_string(bars[i]);
    if (bars.size() > MaxBarsNamed)
        text += " and " + std::to_string(bars.size() - MaxBarsNamed) + " more";
    return text + ": the coloured notes are uncertain\n";
}

} // namespace

void AddScoreRequest(const Command& command, ScoreRequest& request) {
    command
        .Value("--meter", request.Meter,
               "Time signature of the score: 2/4, 3/4, 4/4, 5/4, 2/2, 3/8, 6/8, 9/8 or 12/8")
        .ValueName("METER");
    command
        .Value("--key", request.Key,
               "Key of the score: \"A minor\", \"B flat major\", \"F# minor\"")
        .ValueName("KEY");
    command
        .Value("--pickup", request.Pickup,
               "Quarter notes before the first full bar of the score: 0, 0.5, 1")
        .Range(0, 12)
        .ValueName("BEATS");
    command
        .Value("--grid", request.Grid,
               "Shortest values of the score: 8 or 16, or triplets for beats in two or three parts")
        .ValueName("16|8|triplets");
    command.Flag("--plain", request.Plain, "Do not colour uncertain notes in the score");
}

score::ScoreOptions ToScoreOptions(const ScoreRequest& request) {
    score::ScoreOptions options;
    options.MarkUnsure = !request.Plain;
    options.Hints.QuartersPerMinute = request.QuartersPerMinute;
    if (!request.Meter.empty()) options.Hints.Meter = ParseMeter(request.Meter);
    if (request.Pickup >= 0) options.Hints.PickupQuarters = request.Pickup;
    if (!request.Key.empty()) {
        options.Key = score::ParseKey(request.Key);
        if (!options.Key)
            throw HostError("--key: \"" + request.Key +
                                "\" is no key; write for instance \"A minor\" or \"B flat major\"",
                            ExitWrongUse);
    }
    if (!request.Grid.empty()) {
        const auto grid = score::ParseGrid(request.Grid);
        if (!grid)
            throw HostError("--grid: " + request.Grid + " is not 16, 8 or triplets", ExitWrongUse);
        options.Hints.Shortest = *grid;
    }
    return options;
}

ScoreFile::ScoreFile(const std::string& path)
    : File(path == "-" ? "/dev/stdout" : path), Engraver(PageKind(path)) {
    if (!Engraver.empty()) CheckEngraver();
}

void ScoreFile::Write(const score::Score& score, const std::string& title,
                      std::FILE* messages) const {
    const std::string text = score::MusicXml(score, title);
    std::size_t pages = 1;
    if (Engraver.empty()) {
        WriteText(text, File);
    } else {
        const std::vector<midifile::Bytes> engraved = Engrave(text, Engraver);
        pages = engraved.size();
        File.Write(engraved.front());
        for (std::size_t page = 2; page <= pages; ++page)
            OutputFile(PageName(File.Path(), page)).Write(engraved[page - 1]);
    }
    const bool piped = File.Path() == "/dev/stdout";
    std::fprintf(messages, "Wrote %s: %s\n%s", piped ? "the score" : File.Path().c_str(),
                 score.Description().c_str(), UnsureText(score).c_str());
    if (pages > 1)
        std::fprintf(messages, "Further pages: %s to %s\n", PageName(File.Path(), 2).c_str(),
                     PageName(File.Path(), pages).c_str());
}

void PrintScoreJson(const score::Score& score) {
    Json()
        .Add("kind", "score")
        .Add("meter", score.TimeSignature())
        .Add("key", score.Keys.front().Key.Name())
        .Add("tempo", score.Rhythm.QuartersPerMinute())
        .Add("bars", score.Bars.size())
        .Print();
}

} // namespace zorhost
