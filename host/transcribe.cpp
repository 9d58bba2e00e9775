// zorhost transcribe
#include "host/commands.h"
#include "host/ear.h"
#include "host/host_error.h"
#include "host/interrupt.h"
#include "host/library.h"
#include "host/melody.h"
#include "host/microphone.h"
#include "host/names.h"
#include "host/plot.h"
#include "host/progress.h"
#include "host/recording.h"
#include "host/settings.h"
#include "host/virtual_machine.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <memory>

namespace zorhost {

namespace {

constexpr std::uint32_t Step = 20;   // milliseconds of sound between two looks
constexpr std::uint32_t Tail = 500;  // of silence after the sound, in which the last note ends
constexpr double Shortest = 0.05;    // seconds: two frames, which a note takes
constexpr std::int64_t Worth = 60;   // milliseconds without a note that are worth telling
constexpr std::size_t MostGaps = 12; // lines of them

struct TranscribeOptions {
    std::string File;
    std::string Out;
    std::string PlotFile;
    double BeatsPerMinute = 120;
};

struct Transcript {
    std::vector<MIDIEvent> Records; // Time from the beginning of the sound
    std::vector<Frame> Frames;      // likewise
    std::int64_t Milliseconds = 0;  // of sound heard
    double Work = 0;                // seconds that it took
    int OnLevel = 0;
    int OffLevel = 0;
};

// Runs the sound through the library, as fast as it goes: the clock is moved by hand.
Transcript Listen(const Microphone& microphone) {
    Transcript result;
    Library library;
    const std::uint64_t begin = machine::Microseconds();
    Ear ear; // hears first, so the sound begins now
    library.Start({});
    result.OnLevel = ear.OnLevel();
    result.OffLevel = ear.OffLevel();
    Progress progress;
    const auto work = std::chrono::steady_clock::now();
    std::uint32_t left = Tail;
    while (left > 0 && !Interrupted()) {
        machine::Advance(Step);
        Library::TakeReceived(result.Records);
        ear.Take(result.Frames);
        if (microphone.Ended()) left -= std::min(left, Step);
        if (progress.Due()) {
            const auto heard = static_cast<std::int64_t>(microphone.SecondsHeard() * 1000);
            const auto whole = static_cast<std::int64_t>(microphone.Seconds() * 1000);
            progress.Show(Bar(heard, whole, 30) + "  " + ClockText(heard) + " of " +
                          ClockText(whole));
        }
    }
    result.Work = std::chrono::duration<double>(std::chrono::steady_clock::now() - work).count();
    result.Milliseconds = static_cast<std::int64_t>(microphone.SecondsHeard() * 1000);
    const auto origin = static_cast<std::uint32_t>(begin / 1000);
    for (Frame& frame : result.Frames) frame.Time -= origin;
    return result;
}

struct Stretch {
    std::int64_t From;
    std::int64_t To;
};

// Where it sounded loud enough for a note to go on, and no note was held.
std::vector<Stretch> NotUnderstood(const Transcript& transcript) {
    std::vector<Stretch> all;
    std::int64_t last = 0;
    for (const Frame& frame : transcript.Frames) {
        const std::int64_t time = frame.Time;
        if (frame.Level > transcript.OffLevel && frame.Note == Sonorel::NoNote) {
            if (!all.empty() && all.back().To == last) {
                all.back().To = time;
            } else {
                all.push_back({last, time});
            }
        }
        last = time;
    }
    std::erase_if(all, [](const Stretch& stretch) { return stretch.To - stretch.From < Worth; });
    return all;
}

void PrintNotes(const std::vector<Note>& notes) {
    std::printf("    no      start     length  note   velocity\n");
    int number = 0;
    for (const Note& note : notes) {
        std::printf("%6d %8.3f s %8.3f s  %-5s %9d\n", ++number,
                    static_cast<double>(note.Start) / 1000,
                    static_cast<double>(note.End - note.Start) / 1000, NoteName(note.Key).c_str(),
                    note.Velocity);
    }
}

void PrintSummary(const Transcript& transcript, std::size_t notes) {
    const double seconds = static_cast<double>(transcript.Milliseconds) / 1000;
    std::printf("%zu notes in %.1f s of sound, heard in %.2f s: %.0f times as fast as it sounds\n",
                notes, seconds, transcript.Work, seconds / std::max(transcript.Work, 1e-6));
    const std::vector<Stretch> gaps = NotUnderstood(transcript);
    double total = 0;
    for (const Stretch& gap : gaps) total += static_cast<double>(gap.To - gap.From) / 1000;
    if (gaps.empty()) {
        std::printf("All that was loud enough became notes\n");
        return;
    }
    std::printf("Not understood: %.2f s that were loud enough gave no note\n", total);
    for (std::size_t i = 0; i < gaps.size() && i < MostGaps; ++i) {
        std::printf("  %8.3f s to %8.3f s\n", static_cast<double>(gaps[i].From) / 1000,
                    static_cast<double>(gaps[i].To) / 1000);
    }
    if (gaps.size() > MostGaps) std::printf("  and %zu more\n", gaps.size() - MostGaps);
}

void WritePlot(const Transcript& transcript, const TranscribeOptions& options,
               const std::vector<Note>& notes, OutputFile& file) {
    const Plot plot = {options.File,       transcript.Frames,  notes, transcript.Milliseconds,
                       transcript.OnLevel, transcript.OffLevel};
    WriteText(DrawPlot(plot), file);
    std::printf("Wrote the picture %s%s\n", file.Path().c_str(),
                transcript.Milliseconds > LongestPlot ? ", of the first ten minutes" : "");
}

void CheckHeard(const Transcript& transcript, const std::string& file) {
    int loudest = 0;
    for (const Frame& frame : transcript.Frames) loudest = std::max(loudest, frame.Level);
    if (loudest < transcript.OnLevel) {
        throw HostError("\"" + file + "\" is " + (loudest < 3 ? "silent" : "too quiet") +
                        ": its loudest moment is " + std::to_string(loudest) +
                        " of 128, and a note needs " + std::to_string(transcript.OnLevel));
    }
}

void Run(const GlobalOptions& global, const TranscribeOptions& options) {
    std::unique_ptr<OutputFile> out;
    std::unique_ptr<OutputFile> picture;
    if (!options.Out.empty()) out = std::make_unique<OutputFile>(options.Out);
    if (!options.PlotFile.empty()) picture = std::make_unique<OutputFile>(options.PlotFile);
    const VirtualMachine machine(Cables::None);
    machine::UseSteppedClock();
    const Microphone microphone(options.File);
    if (microphone.Seconds() < Shortest) {
        throw HostError("\"" + options.File + "\" is too short: a note takes at least 0.05 s");
    }
    RunChanges changes;
    changes.Microphone = true;
    changes.MicrophoneChannel = 1;
    const RunSettings settings(SettingsFolder(global.IniFolder), changes);
    const Transcript transcript = Listen(microphone);
    microphone.CheckRead();
    if (Interrupted()) {
        std::printf("Stopped at %s of %s\n", ClockText(transcript.Milliseconds).c_str(),
                    ClockText(static_cast<std::int64_t>(microphone.Seconds() * 1000)).c_str());
    } else {
        CheckHeard(transcript, options.File);
    }
    const std::vector<Note> notes = PairNotes(transcript.Records, transcript.Milliseconds);
    PrintNotes(notes);
    PrintSummary(transcript, notes.size());
    if (out && notes.empty()) throw HostError("no note was understood, so no MIDI file is written");
    if (out) {
        RecordingPlan plan;
        plan.Map.Add(Tempo{0, static_cast<int>(60e6 / options.BeatsPerMinute)});
        WriteRecording(transcript.Records, plan, *out);
        std::printf("Wrote %s at %g quarter notes a minute\n", out->Path().c_str(),
                    options.BeatsPerMinute);
    }
    if (picture) WritePlot(transcript, options, notes, *picture);
}

} // namespace

void AddTranscribe(CLI::App& app, const GlobalOptions& global) {
    CLI::App* command = app.add_subcommand(
        "transcribe", "Turn a recording of one voice or melody instrument into notes");
    const auto options = std::make_shared<TranscribeOptions>();
    command->add_option("IN", options->File, "The sound: WAV, FLAC, Ogg and others")->required();
    command->add_option("-o,--out", options->Out, "Write the notes to this MIDI file")
        ->type_name("OUT.mid");
    command
        ->add_option("--plot", options->PlotFile,
                     "Draw level, pitch and notes over time to this SVG file")
        ->type_name("OUT.svg");
    command
        ->add_option("--tempo", options->BeatsPerMinute,
                     "Quarter notes a minute that the MIDI file is written in; the times of the "
                     "notes stay")
        ->check(CLI::Range(10.0, 500.0))
        ->type_name("BPM")
        ->capture_default_str();
    command->callback([&global, options] { Run(global, *options); });
}

} // namespace zorhost
