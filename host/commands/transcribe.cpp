// zorhost transcribe
#include "hearing/pitch.h"
#include "host/playback/library_transcript.h"
#include "host/cli/commands.h"
#include "host/terminal/host_error.h"
#include "host/terminal/interrupt.h"
#include "host/terminal/json.h"
#include "host/terminal/names.h"
#include "host/cli/options.h"
#include "host/sound/plot.h"
#include "host/terminal/progress.h"
#include "host/recording/recording_file.h"
#include "host/sound/sound_file.h"
#include "host/sound/transcript.h"
#include "score/score.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <memory>

namespace zorhost {

namespace {

constexpr double Shortest = 0.05; // seconds: two frames, which a note takes
constexpr double UsualTempo = 120;
constexpr double Silent = 1e-4; // of full scale: less than a step of 8 bits brought to 16

struct TranscribeOptions {
    std::string File;
    std::string Out;
    std::string PlotFile;
    std::string ScoreFile;
    double BeatsPerMinute = 0; // 0: nobody has said
    bool AsLibrary = false;
    bool AsListen = false;
    bool Bends = false;
    bool AsJson = false;

    // Where sentences go: beside the objects, if those are wanted.
    std::FILE* Words() const { return AsJson ? stderr : stdout; }
    bool OwnTuning() const { return !AsLibrary && !AsListen; }
    Levelling HowLoud() const {
        return AsLibrary ? Levelling::None : AsListen ? Levelling::Live : Levelling::File;
    }
};

struct Heard {
    AnalysedSound Sound;
    Transcript Of;
    std::vector<MIDIEvent> Records;
    double Work = 0; // seconds that it took
};

Heard Hear(const GlobalOptions& global, const TranscribeOptions& options) {
    const auto begin = std::chrono::steady_clock::now();
    Heard heard;
    if (options.AsLibrary) heard.Records = TranscribeWithLibrary(options.File, global.IniFolder);
    heard.Sound = AnalyseFile(options.File, options.HowLoud());
    if (options.AsLibrary) {
        const auto end = static_cast<std::int64_t>(heard.Sound.Seconds * 1000);
        heard.Of.Notes = PairNotes(heard.Records, end);
    } else {
        heard.Of = Decode(heard.Sound, options.HowLoud());
        heard.Records =
            options.Bends ? ToRecords(heard.Of.Notes, heard.Sound) : ToRecords(heard.Of.Notes);
    }
    // The library's microphone has told it already.
    if (!heard.Sound.Remark.empty() && !options.AsLibrary)
        std::fprintf(stderr, "%s: %s\n", options.File.c_str(), heard.Sound.Remark.c_str());
    heard.Work = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
    return heard;
}

void CheckHeard(const AnalysedSound& sound, const TranscribeOptions& options) {
    const std::string name = "\"" + options.File + "\" is ";
    if (sound.Seconds < Shortest) {
        throw HostError(name + "too short: a note takes at least 0.05 s");
    }
    if (sound.Peak < Silent) throw HostError(name + "silent");
    int loudest = 0;
    for (const hearing::Frame& frame : sound.Frames) loudest = std::max(loudest, frame.Level);
    if (loudest >= sound.OnLevel) return;
    throw HostError(name + "too quiet: its loudest moment is " + std::to_string(loudest) +
                    " of 128, and a note needs " + std::to_string(sound.OnLevel));
}

void PrintText(const Heard& heard, const TranscribeOptions& options) {
    PrintNotes(heard.Of);
    const double seconds = heard.Sound.Seconds;
    std::printf("%s in %.1f s of sound, heard in %.2f s: %.0f times as fast as it sounds\n",
                Counted(std::ssize(heard.Of.Notes), "note").c_str(), seconds, heard.Work,
                seconds / std::max(heard.Work, 1e-6));
    if (options.OwnTuning()) {
        std::printf("Tuning of the take: A4 = %.1f Hz (%+ld cents)\n",
                    hearing::FrequencyOf(69 + heard.Of.Tuning), std::lround(heard.Of.Tuning * 100));
    }
    PrintGaps(heard.Of, heard.Sound);
}

void PrintJson(const Heard& heard, const TranscribeOptions& options) {
    PrintJson(heard.Of, heard.Sound);
    Json summary;
    summary.Add("kind", "summary").Add("notes", heard.Of.Notes.size());
    summary.Add("seconds", heard.Sound.Seconds).Add("complete", !heard.Sound.IsTruncated);
    if (options.OwnTuning()) summary.Add("a4", hearing::FrequencyOf(69 + heard.Of.Tuning));
    summary.Print();
}

void WriteMidi(const Heard& heard, const TranscribeOptions& options, OutputFile& file) {
    if (heard.Of.Notes.empty()) {
        throw HostError("no note was understood, so no MIDI file is written");
    }
    const double tempo = options.BeatsPerMinute > 0 ? options.BeatsPerMinute : UsualTempo;
    RecordingPlan plan;
    plan.Map.Add(Tempo{0, static_cast<int>(60e6 / tempo)});
    WriteRecording(heard.Records, plan, file);
    std::fprintf(options.Words(), "Wrote %s at %g quarter notes a minute\n", file.Path().c_str(),
                 tempo);
}

void WriteScore(const Heard& heard, const TranscribeOptions& options, const OutputFile& file) {
    if (heard.Of.Notes.empty()) throw HostError("no note was understood, so no score is written");
    std::vector<score::HeardNote> melody;
    for (const Note& note : heard.Of.Notes)
        melody.push_back({static_cast<double>(note.Start) / 1000,
                          static_cast<double>(note.End) / 1000, note.Key});
    const score::Score written = score::MakeScore(melody, options.BeatsPerMinute);
    const bool piped = options.File == StandardInput;
    const std::string title =
        piped ? "Melody" : std::filesystem::path(options.File).stem().string();
    WriteText(score::MusicXml(written, Utf8(title)), file);
    std::fprintf(options.Words(), "Wrote %s: %s\n", file.Path().c_str(),
                 written.Description().c_str());
    if (!options.AsJson) return;
    Json()
        .Add("kind", "score")
        .Add("meter", written.TimeSignature())
        .Add("key", written.Key.Name())
        .Add("tempo", written.Rhythm.QuartersPerMinute)
        .Add("bars", written.Bars.size())
        .Print();
}

void Run(const GlobalOptions& global, const TranscribeOptions& options) {
    std::unique_ptr<OutputFile> out;
    std::unique_ptr<OutputFile> paper;
    std::unique_ptr<PlotFiles> pictures;
    if (!options.Out.empty()) out = std::make_unique<OutputFile>(options.Out);
    if (!options.ScoreFile.empty()) paper = std::make_unique<OutputFile>(options.ScoreFile);
    if (!options.PlotFile.empty()) pictures = std::make_unique<PlotFiles>(options.PlotFile);
    const Heard heard = Hear(global, options);
    const auto heardMilliseconds = static_cast<std::int64_t>(heard.Sound.Seconds * 1000);
    if (Interrupted()) {
        std::fprintf(options.Words(), "Stopped at %s\n", ClockText(heardMilliseconds).c_str());
    } else if (!heard.Sound.IsTruncated) {
        CheckHeard(heard.Sound, options);
    }
    (options.AsJson ? PrintJson : PrintText)(heard, options);
    if (out) WriteMidi(heard, options, *out);
    if (paper) WriteScore(heard, options, *paper);
    if (pictures) {
        const std::string names = pictures->Write({options.File, heard.Sound, heard.Of});
        std::fprintf(options.Words(), "Wrote the picture %s\n", names.c_str());
    }
    if (heard.Sound.IsTruncated) {
        throw HostError("\"" + options.File + "\" breaks off after " +
                        ClockText(heardMilliseconds) + ": what comes then cannot be read");
    }
}

} // namespace

void AddTranscribe(const Command& app, const GlobalOptions& global) {
    const Command command =
        app.Add("transcribe", "Turn a recording of one voice or melody instrument into notes");
    const auto options = std::make_shared<TranscribeOptions>();
    command
        .Value("IN", options->File,
               "The sound: WAV, FLAC, Ogg, MP3 and others; a pipe too, and - for what is piped in")
        .Required();
    command.Value("-o,--out", options->Out, "Write the notes to this MIDI file").Named("OUT.mid");
    command
        .Value("--plot", options->PlotFile,
               "Draw level, pitch and notes over time to this SVG file, and to OUT-2.svg and so "
               "on what is longer than a minute")
        .Named("OUT.svg");
    command
        .Value("--score", options->ScoreFile, "Write the notes as a score, MusicXML, to this file")
        .Named("OUT.musicxml");
    command
        .Value("--tempo", options->BeatsPerMinute,
               "Quarter notes a minute: what the MIDI file says, 120 otherwise, while the "
               "times of its notes stay; and the score's, which is estimated otherwise")
        .Sensible(10.0, 500.0)
        .Named("BPM");
    command.Flag("--bends", options->Bends,
                 "Write the exact pitch of every frame too, as pitch bends of two semitones");
    const Option library = command.Flag(
        "--as-library", options->AsLibrary,
        "Give the notes that the library's microphone would give, which two frames decide");
    command
        .Flag("--as-listen", options->AsListen,
              "Give the notes that listen would give, which knows only 93 ms of what follows")
        .Excludes(library);
    AddJson(command, options->AsJson, "an object a line: note, gap, summary, score");
    command.Footer("Examples: zorhost transcribe song.wav -o song.mid\n"
                   "          zorhost transcribe song.wav --score song.musicxml");
    command.Does([&global, options] { Run(global, *options); });
}

} // namespace zorhost
