// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// zorhost transcribe
#include "hearing/pitch.h"
#include "host/cli/commands.h"
#include "host/cli/options.h"
#include "host/commands/hear_notes.h"
#include "host/commands/score_writer.h"
#include "host/playback/library_transcript.h"
#include "host/recording/recording_file.h"
#include "host/sound/plot.h"
#include "host/sound/sound_decoder.h"
#include "host/sound/transcript.h"
#include "host/terminal/host_error.h"
#include "host/terminal/interrupt.h"
#include "host/terminal/json.h"
#include "host/terminal/names.h"
#include "host/terminal/progress.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <memory>

namespace zorhost {

namespace {

constexpr double MinSeconds = 0.05;  // two frames, which a note needs
constexpr double DefaultTempo = 120; // quarter notes per minute
constexpr double SilencePeak = 1e-4; // of full scale: below one step of an 8-bit file

struct TranscribeOptions {
    std::string File;
    std::string MidiFile;
    std::string PlotFile;
    std::string ScoreFile;
    bool PlaysNotes = false; // beside the recording
    std::string HeardFile;   // writes that to this sound file instead
    ScoreRequest Request;    // its tempo is the MIDI file's as well
    bool AsLibrary = false;
    bool AsListen = false;
    bool Bends = false;
    bool AsJson = false;

    // The stream for messages: with --json, standard output has only objects.
    std::FILE* Messages() const { return AsJson ? stderr : stdout; }
    bool FindsTuning() const { return !AsLibrary && !AsListen; }
    Mode AnalysisMode() const {
        return AsLibrary ? Mode::Plain : AsListen ? Mode::Live : Mode::Take;
    }
};

struct Result {
    AnalysedSound Sound;
    Transcript Melody;
    std::vector<MIDIEvent> Records;
    double Work = 0; // seconds that the analysis took
};

// Runs the pipeline, or with --as-library the library itself for the notes. Throws HostError.
Result Analyse(const GlobalOptions& global, const TranscribeOptions& options) {
    const auto begin = std::chrono::steady_clock::now();
    Result result;
    if (options.AsLibrary) result.Records = TranscribeWithLibrary(options.File, global.IniFolder);
    result.Sound = AnalyseFile(options.File, options.AnalysisMode());
    if (options.AsLibrary) {
        const auto end = static_cast<std::int64_t>(result.Sound.Seconds * 1000);
        result.Melody.Notes = PairNotes(result.Records, end);
    } else {
        result.Melody = ToTranscript(result.Sound);
        result.Records = options.Bends ? ToRecords(result.Melody.Notes, result.Sound)
                                       : ToRecords(result.Melody.Notes);
    }
    // With --as-library the remark has already been printed by the microphone.
    if (!result.Sound.Remark.empty() && !options.AsLibrary)
        std::fprintf(stderr, "%s: %s\n", options.File.c_str(), result.Sound.Remark.c_str());
    result.Work = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
    return result;
}

// Throws HostError with the reason if the sound cannot contain a note.
void CheckAudible(const AnalysedSound& sound, const TranscribeOptions& options) {
    const std::string name = "\"" + options.File + "\" is ";
    if (sound.Seconds < MinSeconds) {
        throw HostError(name + "too short: a note takes at least 0.05 s");
    }
    if (sound.Peak < SilencePeak) throw HostError(name + "silent");
    int loudest = 0;
    for (const hearing::Frame& frame : sound.Frames) loudest = std::max(loudest, frame.Level);
    if (loudest >= sound.OnLevel) return;
    throw HostError(name + "too quiet: its loudest moment is " + std::to_string(loudest) +
                    " of 128, and a note needs " + std::to_string(sound.OnLevel));
}

void PrintText(const Result& result, const TranscribeOptions& options) {
    PrintNotes(result.Melody);
    const double seconds = result.Sound.Seconds;
    std::printf("%s in %.1f s of sound, analysed in %.2f s: %.0f times faster than real time\n",
                Counted(std::ssize(result.Melody.Notes), "note").c_str(), seconds, result.Work,
                seconds / std::max(result.Work, 1e-6));
    if (options.FindsTuning()) {
        std::printf("Tuning of the take: A4 = %.1f Hz (%+ld cents)\n",
                    hearing::FrequencyOf(69 + result.Melody.Tuning),
                    std::lround(result.Melody.Tuning * 100));
    }
    PrintGaps(result.Melody, result.Sound);
}

void PrintJson(const Result& result, const TranscribeOptions& options) {
    PrintJson(result.Melody, result.Sound);
    Json summary;
    summary.Add("kind", "summary").Add("notes", result.Melody.Notes.size());
    summary.Add("seconds", result.Sound.Seconds).Add("complete", !result.Sound.IsTruncated);
    if (options.FindsTuning()) summary.Add("a4", hearing::FrequencyOf(69 + result.Melody.Tuning));
    summary.Print();
}

void WriteMidi(const Result& result, const TranscribeOptions& options, OutputFile& file) {
    if (result.Melody.Notes.empty()) {
        throw HostError("no notes detected, no MIDI file written");
    }
    const double tempo =
        options.Request.QuartersPerMinute > 0 ? options.Request.QuartersPerMinute : DefaultTempo;
    RecordingPlan plan;
    plan.Map.Add(Tempo{0, static_cast<int>(60e6 / tempo)});
    WriteRecording(result.Records, plan, file);
    std::fprintf(options.Messages(), "Wrote %s at %g quarter notes per minute\n",
                 file.Path().c_str(), tempo);
}

// The title is the name of the sound file. Throws HostError.
void WriteScore(const Result& result, const TranscribeOptions& options, const ScoreFile& file) {
    if (result.Melody.Notes.empty()) throw HostError("no notes detected, no score written");
    std::vector<score::HeardNote> melody;
    for (const Note& note : result.Melody.Notes)
        melody.push_back({static_cast<double>(note.Start) / 1000,
                          static_cast<double>(note.End) / 1000, note.Key,
                          note.Pitch > 0 ? note.Confidence : 1});
    const score::Score written = score::MakeScore(melody, ToScoreOptions(options.Request));
    const bool piped = options.File == StandardInput;
    const std::string title =
        piped ? "Melody" : std::filesystem::path(options.File).stem().string();
    file.Write(written, Utf8(title), options.Messages());
    if (options.AsJson) PrintScoreJson(written);
}

// Opens the output files first, so that a path that cannot be written fails before the analysis.
void Run(const GlobalOptions& global, const TranscribeOptions& options) {
    std::unique_ptr<OutputFile> midiFile;
    std::unique_ptr<ScoreFile> scoreFile;
    std::unique_ptr<PlotFiles> plots;
    NotePlayback playback;
    if (options.PlaysNotes) {
        std::error_code ignored;
        if (options.File == StandardInput || std::filesystem::is_fifo(options.File, ignored))
            throw HostError("--hear needs a file, not a pipe or standard input", ExitWrongUse);
        playback = OpenNotePlayback(global, options.File, options.HeardFile);
    }
    if (!options.MidiFile.empty()) midiFile = std::make_unique<OutputFile>(options.MidiFile);
    if (!options.ScoreFile.empty()) {
        ToScoreOptions(options.Request); // checks them
        scoreFile = std::make_unique<ScoreFile>(options.ScoreFile);
    }
    if (!options.PlotFile.empty()) plots = std::make_unique<PlotFiles>(options.PlotFile);
    const Result result = Analyse(global, options);
    const auto milliseconds = static_cast<std::int64_t>(result.Sound.Seconds * 1000);
    if (Interrupted()) {
        std::fprintf(options.Messages(), "Stopped at %s\n", ClockText(milliseconds).c_str());
    } else if (!result.Sound.IsTruncated) {
        CheckAudible(result.Sound, options);
    }
    (options.AsJson ? PrintJson : PrintText)(result, options);
    if (midiFile) WriteMidi(result, options, *midiFile);
    if (scoreFile) WriteScore(result, options, *scoreFile);
    if (plots) {
        const std::string names = plots->Write({options.File, result.Sound, result.Melody});
        std::fprintf(options.Messages(), "Wrote %s\n", names.c_str());
    }
    if (playback) {
        const double tuning = options.FindsTuning() && !options.Bends ? result.Melody.Tuning : 0;
        playback(result.Sound.Peak, result.Records, tuning, options.Messages());
    }
    if (result.Sound.IsTruncated) {
        throw HostError("\"" + options.File + "\" is truncated after " + ClockText(milliseconds) +
                        ": the rest cannot be read");
    }
}

} // namespace

void AddTranscribe(const Command& app, const GlobalOptions& global) {
    const Command command = app.AddCommand(
        "transcribe", "Convert a recording of one voice or melody instrument to notes");
    const auto options = std::make_shared<TranscribeOptions>();
    command
        .Value("IN", options->File,
               "Sound file: WAV, FLAC, Ogg, MP3 and others; - for standard input")
        .Required();
    command.Value("-o,--out", options->MidiFile, "Write the notes to this MIDI file")
        .ValueName("OUT.mid");
    command
        .Value("--plot", options->PlotFile,
               "Draw level, pitch and notes over time to this SVG file; further minutes go to "
               "OUT-2.svg and so on")
        .ValueName("OUT.svg");
    command
        .Value("--score", options->ScoreFile,
               "Write the notes as a score to this file: MusicXML, or the page itself as .pdf or "
               ".svg; - for MusicXML on standard output")
        .ValueName("OUT.musicxml");
    command
        .Value("--tempo", options->Request.QuartersPerMinute,
               "Quarter notes per minute. In the MIDI file it does not change the times of the "
               "notes (default 120); for the score it replaces the estimated tempo")
        .HiddenRange(10.0, 500.0)
        .ValueName("BPM");
    AddScoreRequest(command, options->Request);
    command.Flag(
        "--bends", options->Bends,
        "Write the exact pitch of every frame as pitch bends, with a range of two semitones");
    const Option library =
        command.Flag("--as-library", options->AsLibrary,
                     "Use the library's own recogniser, which decides on a note after two frames");
    command
        .Flag("--as-listen", options->AsListen,
              "Detect notes as `listen` does, which looks only 93 ms ahead")
        .Excludes(library);
    const Option hear =
        command
            .Value(
                "--hear", options->HeardFile,
                "Play the recording on the left and the notes on the right, to check them by ear, "
                "or write that to OUT (.wav, .flac, .ogg)")
            .ValueName("[OUT]")
            .ValueCount(0, 1);
    AddJson(command, options->AsJson, "line: note, gap, summary, score");
    command.Footer("Examples: zorhost transcribe song.wav -o song.mid\n"
                   "          zorhost transcribe song.wav --score song.musicxml");
    command.OnRun([&global, options, hear] {
        options->PlaysNotes = hear.IsGiven();
        Run(global, *options);
    });
}

} // namespace zorhost
