// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The options and the output of a score, for the commands that write one.
#pragma once

#include "host/cli/command_line.h"
#include "host/recording/output_file.h"
#include "score/score.h"

#include <cstdio>
#include <string>
#include <vector>

namespace zorhost {

// What is known of the piece, as it was typed.
struct ScoreRequest {
    std::string Meter;
    std::string Key;
    std::string Grid;
    double QuartersPerMinute = 0; // 0: not given
    double Pickup = -1;           // quarters; below 0: not given
    bool Plain = false;

    // Whether the user asks for other bars than those that a file has.
    bool ChangesBars() const { return !Meter.empty() || QuartersPerMinute > 0 || Pickup >= 0; }
};

// --meter, --key, --pickup, --grid and --plain; --tempo is up to the command.
void AddScoreRequest(const Command& command, ScoreRequest& request);
// Throws HostError with what is valid.
score::ScoreOptions ToScoreOptions(const ScoreRequest& request);

// A score's file: MusicXML, or the page itself where the name ends in .pdf or .svg. "-" is standard
// output.
class ScoreFile {
public:
    // Throws HostError if the file cannot be written, or no program is installed that engraves.
    explicit ScoreFile(const std::string& path);
    // Prints what was written, and the bars with uncertain notes, to the stream. Throws HostError.
    void Write(const score::Score& score, const std::string& title, std::FILE* messages) const;

private:
    OutputFile File;
    std::string Engraver; // kind of page, ".pdf" or ".svg"; empty for MusicXML
};

// "kind":"score"
void PrintScoreJson(const score::Score& score);

} // namespace zorhost
