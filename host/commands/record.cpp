// zorhost record
#include "host/playback/click.h"
#include "host/cli/commands.h"
#include "host/terminal/host_error.h"
#include "host/devices/input.h"
#include "host/terminal/interrupt.h"
#include "host/terminal/names.h"
#include "host/playback/song_file.h"
#include "host/terminal/progress.h"
#include "host/recording/take_writer.h"
#include "host/playback/transport.h"

#include <algorithm>
#include <cstdio>
#include <memory>

namespace zorhost {

namespace {

constexpr std::int64_t Ahead = 1000; // milliseconds of clicks that wait in the queue
constexpr std::int64_t OverdubLead = 500;
constexpr int Interval = 50; // milliseconds between two looks at what is to be fed and saved

struct RecordOptions {
    std::string File;
    Texts Click;
    Piece Under;
    Texts To;
    InputOptions Input;
};

// What sounds meanwhile, if anything: a metronome or a piece.
class Accompaniment {
public:
    explicit Accompaniment(const RecordOptions& options) {
        if (!options.Click.empty()) Beat.emplace(options.Click);
        if (options.Under.File.empty()) return;
        Under.emplace(ReadSong(options.Under.File, options.Under.Strict));
        Music.emplace(*Under, PlayRange{});
    }

    // When the recording begins, in milliseconds of the time base.
    std::int64_t Lead() const { return Beat ? Beat->CountInEnd() : Music ? OverdubLead : 0; }
    bool Sounds() const { return Beat || Music; }
    void Begin() {
        if (Music) Music->Start(OverdubLead);
    }
    void Step() {
        if (Beat) Beat->Feed(ZorTimeMIDI(0) + Ahead);
        if (Music) Music->Step();
    }
    // Only a piece has an end; a recording goes on behind it.
    void Silence() {
        if (Music) Music->Silence();
        if (Beat) Library::Silence({});
    }
    RecordingPlan Plan() const;

private:
    std::optional<Click> Beat;
    std::optional<midifile::Song> Under;
    std::optional<Transport> Music;
};

RecordingPlan Accompaniment::Plan() const {
    RecordingPlan plan;
    if (Beat) {
        plan.Map.Add(Tempo{0, static_cast<int>(60e6 / Beat->BeatsPerMinute())});
        plan.Map.Add(Meter{0, Beat->BeatsPerBar(), 4});
    }
    if (Under) {
        plan.Map = Under->Map;
        plan.Backing = &*Under;
    }
    return plan;
}

// What is played up to half a second before the first beat belongs to it; before that, it was for
// warming up.
void TakeAll(const std::vector<MIDIEvent>& received, std::int64_t lead, TakeWriter& take) {
    constexpr std::int64_t early = 500;
    for (MIDIEvent record : received) {
        if (lead > 0 && record.Time < lead - early && (record.Status & 0xE0) == 0x80) continue;
        record.Time = static_cast<std::int32_t>(std::max<std::int64_t>(0, record.Time - lead));
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
    Accompaniment along(options);
    SessionPlan plan = options.Input.Plan();
    plan.Outputs.insert(plan.Outputs.end(), options.To.begin(), options.To.end());
    Session session(global, plan);
    if (!options.Input.Thru.empty()) session.RefuseLoop("--thru");
    if (along.Sounds()) session.RefuseLoop(options.Click.empty() ? "--overdub" : "--click");
    std::int64_t now = 0;
    {
        Progress progress;
        along.Begin();
        RunInput(session, options.Input, along.Lead(), Interval,
                 [&](const std::vector<MIDIEvent>& received) {
                     along.Step();
                     now = ZorTimeMIDI(0) - along.Lead();
                     TakeAll(received, along.Lead(), take);
                     take.Save(static_cast<std::int32_t>(std::max<std::int64_t>(0, now)));
                     if (progress.Due()) progress.Show(ProgressText(now, take));
                     return true;
                 });
        along.Silence();
    }
    if (take.Records().empty()) throw HostError("nothing came in, so nothing is written");
    RecordingPlan recording = along.Plan();
    recording.EndTime = static_cast<std::int32_t>(std::max<std::int64_t>(0, now));
    take.Finish(recording);
    std::printf("Recorded %s in %s\n", CountText(take).c_str(), take.Path().c_str());
}

// "--click 120 take.mid": the second word is only beats if it is a number.
void SortWords(RecordOptions& options) {
    const bool file = options.File.empty() && options.Click.size() == 2 &&
                      options.Click[1].find_first_not_of("0123456789") != std::string::npos;
    if (file) {
        options.File = options.Click[1];
        options.Click.pop_back();
    }
    if (options.File.empty())
        throw HostError("OUT is missing: name the MIDI file to write", ExitWrongUse);
}

} // namespace

void AddRecord(const Command& app, const GlobalOptions& global) {
    const Command command = app.Add("record", "Record what comes in as a MIDI file");
    const auto options = std::make_shared<RecordOptions>();
    command.Value("OUT", options->File, "The MIDI file to write");
    options->Input.AddTo(command);
    const Option click =
        command
            .Value("--click", options->Click,
                   "Count one bar in and click on: beats a minute, and beats a bar if not 4")
            .Named("BPM [BEATS]")
            .Values(1, 2);
    command
        .Value("--overdub", options->Under.File,
               "Play this MIDI file meanwhile, and write its tracks and the new one")
        .Named("FILE")
        .Excludes(click);
    AddOutputs(command, "--to", options->To, "Output for --click and --overdub");
    command.Footer("Example: zorhost record take.mid --in piano --click 96 3 --to synth\n"
                   "A recording is on the disk while it goes on, as take.part.mid. What is broken "
                   "off, the next recording into that folder finds and keeps.");
    command.Does([&global, options] {
        SortWords(*options);
        Run(global, *options);
    });
}

} // namespace zorhost
