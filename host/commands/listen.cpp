// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// zorhost listen
#include "host/cli/commands.h"
#include "host/cli/options.h"
#include "host/devices/session.h"
#include "host/recording/take_writer.h"
#include "host/sound/live_analyser.h"
#include "host/sound/transcript.h"
#include "host/terminal/host_error.h"
#include "host/terminal/interrupt.h"
#include "host/terminal/names.h"
#include "host/terminal/progress.h"
#include "host/terminal/terminal.h"
#include "midi/status.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <memory>
#include <optional>

namespace zorhost {

namespace {

struct ListenOptions {
    std::string MicrophoneFile;
    std::string MidiFile;
    std::vector<std::string> ThruOutputs;
    int MicrophoneNumber = 1;
    double Seconds = 0; // 0: until Ctrl-C, or the end of the file
    bool AsLibrary = false;
};

// Prints each note as soon as it is detected, above a level meter.
class Listener {
public:
    // take: records the notes; may be null.
    Listener(const ListenOptions& options, Session& session, TakeWriter* take)
        : Options(options), Input(session), Writer(take) {}

    void Run();
    std::size_t Notes() const { return Options.AsLibrary ? LibraryNotes : HeardNotes; }

private:
    void ReadLibrary();
    void ReadHeard();
    void Print(const hearing::Note& note);
    void Record(const hearing::Note& note);
    bool RecordsHeard() const { return Writer && !Options.AsLibrary; }
    // The note as a key, with times on the library's time base.
    Note TimedKey(const hearing::Note& note) const;
    void ShowMeter();
    bool IsOver();

    const ListenOptions& Options;
    Session& Input;
    TakeWriter* const Writer;
    Progress Meter;
    LiveAnalyser Analyser;
    std::optional<hearing::Note> OpenNote; // that sounds now
    std::size_t HeardNotes = 0;
    std::size_t LibraryNotes = 0;
    float Level = 0;                         // peak since the meter was last shown, 1 is full scale
    std::optional<hearing::Frame> LastFrame; // the last frame since then
    std::uint32_t StartTime = 0; // of the time base, in milliseconds of the system's clock
    std::int64_t EndTime = -1;   // of the sound file, in the time base; below 0 until it ends
};

// Reads the input queue, so that it cannot overflow; prints and records with --as-library only.
void Listener::ReadLibrary() {
    std::vector<MIDIEvent> records;
    Library::ReadReceived(records);
    if (!Options.AsLibrary) return;
    for (const MIDIEvent& record : records) {
        if (Writer) Writer->Add(record);
        if (!midi::StartsNote(record.Status, record.Data2)) continue;
        ++LibraryNotes;
        Meter.End();
        std::printf("%10.3f  %-4s velocity %-3d         the library\n", record.Time / 1000.0,
                    NoteName(record.Data1).c_str(), record.Data2);
    }
}

void Listener::ReadHeard() {
    Analyser.Analyse();
    while (const auto heard = Analyser.NextFrame()) {
        Level = std::max(Level, heard->InputPeak);
        LastFrame = heard->Frame;
    }
    while (const auto note = Analyser.NextNote()) {
        OpenNote = note->Open ? note : std::nullopt;
        if (note->Open)
            Print(*note);
        else if (RecordsHeard())
            Record(*note);
    }
    if (!RecordsHeard()) return;
    if (OpenNote && LastFrame) OpenNote->End = std::max(OpenNote->Onset, LastFrame->Begin);
    Writer->SetProvisional(OpenNote ? ToRecords({TimedKey(*OpenNote)}) : std::vector<MIDIEvent>{});
}

void Listener::Print(const hearing::Note& heard) {
    ++HeardNotes;
    const Note note = TimedKey(heard);
    Meter.End();
    std::printf("%10.3f  %-4s velocity %-3d %+4.0f cents\n", static_cast<double>(note.Start) / 1000,
                NoteName(note.Key).c_str(), note.Velocity, (note.Pitch - note.Key) * 100);
}

Note Listener::TimedKey(const hearing::Note& note) const {
    const double begin = static_cast<std::int32_t>(Analyser.StartTime() - StartTime) / 1000.0;
    hearing::Note timed = note;
    timed.Onset += begin;
    timed.End += begin;
    return ToKey(timed, 0);
}

// Only a note that has ended has its final pitch and length.
void Listener::Record(const hearing::Note& note) {
    for (const MIDIEvent& record : ToRecords({TimedKey(note)})) Writer->Add(record);
}

// Shows the greatest level since the last call, and the current pitch.
void Listener::ShowMeter() {
    if (!LastFrame || !Meter.Due()) return;
    const std::string pitch = PitchText(LastFrame->Frequency);
    const int width = std::clamp(TerminalWidth() - 24, 8, 32);
    const auto level = static_cast<int>(std::lround(Level * zorhearing::FullLevel));
    Meter.Show("level " + Bar(level, zorhearing::FullLevel, width) +
               (pitch.empty() ? "" : "  " + pitch + " cents"));
    Level = 0;
    LastFrame.reset();
}

// True after Ctrl-C, the given time, or the end of the sound file and the tail after it.
bool Listener::IsOver() {
    const std::int64_t now = ZorTimeMIDI(0);
    if (Interrupted() ||
        (Options.Seconds > 0 && static_cast<double>(now) >= Options.Seconds * 1000)) {
        return true;
    }
    if (EndTime < 0 && Input.VirtualMicrophone() && Input.VirtualMicrophone()->Ended())
        EndTime = now;
    return EndTime >= 0 && now >= EndTime + MicrophoneTail;
}

void Listener::Run() {
    StartOptions start;
    start.Thru = !Options.ThruOutputs.empty();
    start.ThruMap = ParseChannelMap({});
    Input.Start(start);
    StartTime = static_cast<std::uint32_t>(machine::Microseconds() / 1000) -
                static_cast<std::uint32_t>(ZorTimeMIDI(0));
    std::fprintf(stderr,
                 "Listening; notes are printed %.0f ms after they begin. Press Ctrl-C to stop\n",
                 hearing::LiveLag * hearing::FrameSeconds * 1000);
    for (bool over = false; !over;) {
        Nap(4);
        over = IsOver();
        ReadLibrary();
        ReadHeard();
        if (Writer) Writer->Save(static_cast<std::int32_t>(ZorTimeMIDI(0)));
        std::fflush(stdout);
        ShowMeter();
    }
    Analyser.Finish();
    ReadHeard();
    Meter.End();
    if (start.Thru) Library::Silence({});
}

// Without MIDI inputs, so that notes played thru are not read as the microphone's.
SessionPlan MakePlan(const ListenOptions& options) {
    SessionPlan plan;
    plan.Outputs = options.ThruOutputs;
    plan.MicrophoneFile = options.MicrophoneFile;
    plan.Policy = options.ThruOutputs.empty() ? DevicePolicy::NoDevices
                                              : DevicePolicy::HardwareOrLoopbackOutputs;
    plan.MicrophoneOn = true;
    plan.MicrophoneNumber = options.MicrophoneNumber;
    return plan;
}

void Run(const GlobalOptions& global, const ListenOptions& options) {
    std::optional<TakeWriter> take;
    if (!options.MidiFile.empty()) take.emplace(options.MidiFile);
    Session session(global, MakePlan(options));
    session.AttachMicrophone();
    Listener listener(options, session, take ? &*take : nullptr);
    listener.Run();
    if (session.VirtualMicrophone()) session.VirtualMicrophone()->CheckRead();
    std::printf("%s\n", Counted(static_cast<std::int64_t>(listener.Notes()), "note").c_str());
    if (!take) return;
    if (take->Notes() == 0) throw HostError("no notes detected, no MIDI file written");
    take->Finish({});
    std::printf("Wrote %s at 120 quarter notes per minute\n", take->Path().c_str());
}

} // namespace

void AddListen(const Command& app, const GlobalOptions& global) {
    const Command command = app.AddCommand(
        "listen", "Detect notes in live microphone sound: level meter, pitch and notes");
    const auto options = std::make_shared<ListenOptions>();
    const Option mic = command
                           .Value("--mic", options->MicrophoneFile,
                                  "Sound file to analyse instead of a microphone of this computer")
                           .ValueName("FILE");
    command
        .Value("--device", options->MicrophoneNumber,
               "Number of the microphone in the list of `zorhost devices`")
        .ValueName("N")
        .ShowDefault()
        .Excludes(mic);
    AddSeconds(command, options->Seconds);
    command.Value("-o,--out", options->MidiFile, "Write the notes to this MIDI file")
        .ValueName("OUT.mid");
    command.Flag("--as-library", options->AsLibrary,
                 "Write the notes of the library's own recogniser, and print them beside the "
                 "others");
    AddOutputs(command, "--thru", options->ThruOutputs,
               "Output to send the notes of the library's recogniser to at once");
    command.Footer(
        "The notes are saved while listening, as OUT.part.mid. If the program is killed, the next "
        "recording to that folder restores them.");
    command.OnRun([&global, options] { Run(global, *options); });
}

} // namespace zorhost
