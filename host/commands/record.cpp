// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// zorhost record
#include "host/cli/commands.h"
#include "host/devices/input.h"
#include "host/playback/click.h"
#include "host/playback/song_file.h"
#include "host/playback/transport.h"
#include "host/recording/take_writer.h"
#include "host/terminal/host_error.h"
#include "host/terminal/interrupt.h"
#include "host/terminal/names.h"
#include "host/terminal/progress.h"
#include "midi/status.h"

#include <algorithm>
#include <cstdio>
#include <memory>

namespace zorhost {

namespace {

// Milliseconds.
constexpr std::int64_t QueueAhead = 1000;    // how far ahead clicks are queued
constexpr std::int64_t OverdubCountIn = 500; // before the song starts
constexpr int Interval = 50;                 // between queueing and saving

struct RecordOptions {
    std::string File;
    Texts Click; // tempo, and beats per bar if given
    SongOptions Overdub;
    Texts Outputs;
    InputOptions Input;
};

// What plays during the recording: a metronome, a song or nothing.
class Accompaniment {
public:
    explicit Accompaniment(const RecordOptions& options) {
        if (!options.Click.empty()) Metronome.emplace(options.Click);
        if (options.Overdub.File.empty()) return;
        Song.emplace(ReadSong(options.Overdub.File, options.Overdub.Strict));
        Music.emplace(*Song, PlayRange{});
    }

    // Milliseconds of the time base before the recording begins.
    std::int64_t CountIn() const {
        return Metronome ? Metronome->CountInEnd() : Music ? OverdubCountIn : 0;
    }
    bool Sounds() const { return Metronome || Music; }
    void Begin() {
        if (Music) Music->Start(OverdubCountIn);
    }
    // Keeps the output queue filled. Call it at least once per second.
    void Step() {
        if (Metronome) Metronome->Feed(ZorTimeMIDI(0) + QueueAhead);
        if (Music) Music->Step();
    }
    // Ends sounding notes. The recording may be longer than the song, or stop within it.
    void Silence() {
        if (Music) Music->Silence();
        if (Metronome) Library::Silence({});
    }
    RecordingPlan Plan() const;

private:
    std::optional<Click> Metronome;
    std::optional<midifile::Song> Song;
    std::optional<Transport> Music;
};

RecordingPlan Accompaniment::Plan() const {
    RecordingPlan plan;
    if (Metronome) {
        plan.Map.Add(Tempo{0, static_cast<int>(60e6 / Metronome->BeatsPerMinute())});
        plan.Map.Add(Meter{0, Metronome->BeatsPerBar(), 4});
    }
    if (Song) {
        plan.Map = Song->Map;
        plan.Backing = &*Song;
    }
    return plan;
}

// Adds the received records to the take, with times from the end of the count-in. Notes played up
// to 500 ms too early move to the first beat; earlier ones are warming up, and are dropped.
void AddReceived(const std::vector<MIDIEvent>& received, std::int64_t countIn, TakeWriter& take) {
    constexpr std::int64_t early = 500;
    for (MIDIEvent record : received) {
        const bool isNote = record.Status == midi::NoteOn || record.Status == midi::NoteOff;
        if (countIn > 0 && record.Time < countIn - early && isNote) continue;
        record.Time = static_cast<std::int32_t>(std::max<std::int64_t>(0, record.Time - countIn));
        take.Add(record);
    }
}

std::string CountText(const TakeWriter& take) {
    return Counted(static_cast<std::int64_t>(take.Notes()), "note") + ", " +
           Counted(std::ssize(take.Records()), "message");
}

std::string ProgressText(std::int64_t now, const TakeWriter& take) {
    if (now < 0) return "counting in, " + std::to_string(-now / 1000 + 1) + " s";
    return ClockText(now) + "  " + CountText(take);
}

void Run(const GlobalOptions& global, const RecordOptions& options) {
    TakeWriter take(options.File);
    Accompaniment accompaniment(options);
    SessionPlan plan = options.Input.Plan();
    plan.Outputs.insert(plan.Outputs.end(), options.Outputs.begin(), options.Outputs.end());
    Session session(global, plan);
    if (!options.Input.ThruOutputs.empty()) session.RefuseLoop("--thru");
    if (accompaniment.Sounds()) session.RefuseLoop(options.Click.empty() ? "--overdub" : "--click");
    std::int64_t now = 0;
    {
        Progress progress;
        accompaniment.Begin();
        ReceiveUntilStopped(session, options.Input, accompaniment.CountIn(), Interval,
                            [&](const std::vector<MIDIEvent>& received) {
                                accompaniment.Step();
                                now = ZorTimeMIDI(0) - accompaniment.CountIn();
                                AddReceived(received, accompaniment.CountIn(), take);
                                take.Save(
                                    static_cast<std::int32_t>(std::max<std::int64_t>(0, now)));
                                if (progress.Due()) progress.Show(ProgressText(now, take));
                                return true;
                            });
        accompaniment.Silence();
    }
    if (take.Records().empty()) throw HostError("nothing received, no file written");
    RecordingPlan recording = accompaniment.Plan();
    recording.EndTime = static_cast<std::int32_t>(std::max<std::int64_t>(0, now));
    take.Finish(recording);
    std::printf("Recorded %s in %s\n", CountText(take).c_str(), take.Path().c_str());
}

// In "--click 120 take.mid" the parser reads the file as a second value of --click.
void SeparateFile(RecordOptions& options) {
    const bool isFile = options.File.empty() && options.Click.size() == 2 &&
                        options.Click[1].find_first_not_of("0123456789") != std::string::npos;
    if (isFile) {
        options.File = options.Click[1];
        options.Click.pop_back();
    }
    if (options.File.empty())
        throw HostError("missing argument OUT: the MIDI file to write", ExitWrongUse);
}

} // namespace

void AddRecord(const Command& app, const GlobalOptions& global) {
    const Command command = app.AddCommand("record", "Record MIDI input to a file");
    const auto options = std::make_shared<RecordOptions>();
    command.Value("OUT", options->File, "MIDI file to write");
    options->Input.AddTo(command);
    const Option click =
        command
            .Value(
                "--click", options->Click,
                "Play a metronome after one bar of count-in: beats per minute, and beats per bar "
                "if not 4")
            .ValueName("BPM [BEATS]")
            .ValueCount(1, 2);
    command
        .Value("--overdub", options->Overdub.File,
               "Play this MIDI file while recording, and write its tracks too")
        .ValueName("FILE")
        .Excludes(click);
    AddOutputs(command, "--to", options->Outputs, "Output for --click and --overdub");
    command.Footer("Example: zorhost record take.mid --in piano --click 96 3 --to synth\n"
                   "Recordings are saved as they are made, as take.part.mid. If the program is "
                   "killed, the next recording to that folder restores the take.");
    command.OnRun([&global, options] {
        SeparateFile(*options);
        Run(global, *options);
    });
}

} // namespace zorhost
