// zorhost listen
#include "host/cli/commands.h"
#include "host/sound/live_analyser.h"
#include "host/terminal/host_error.h"
#include "host/terminal/interrupt.h"
#include "host/terminal/names.h"
#include "host/cli/options.h"
#include "host/terminal/progress.h"
#include "host/devices/session.h"
#include "host/recording/take_writer.h"
#include "host/terminal/terminal.h"
#include "host/sound/transcript.h"

#include <algorithm>
#include <cstdio>
#include <memory>
#include <optional>

namespace zorhost {

namespace {

struct ListenOptions {
    std::string Mic;
    std::string Out;
    std::vector<std::string> Thru;
    int Device = 1;
    double Seconds = 0; // 0: until Ctrl-C, or the end of the file
    bool AsLibrary = false;
};

// Prints each note as soon as it is decided, above the meter.
class Listener {
public:
    // take: of the notes, or null.
    Listener(const ListenOptions& options, Session& session, TakeWriter* take)
        : Options(options), On(session), Kept(take), Decoder(hearing::LiveLag) {}

    void Run();
    std::size_t Notes() const;

private:
    void TakeFromLibrary();
    void Decode();
    void Keep();
    void PrintDecoded();
    Note Timed(const hearing::Note& note) const;
    void ShowMeter();
    bool Over();

    const ListenOptions& Options;
    Session& On;
    TakeWriter* const Kept;
    Progress Meter;
    LiveAnalyser Analyser;
    hearing::Decoder Decoder;
    std::size_t Printed = 0; // of the decoder's notes
    std::size_t Ended = 0;   // and of these those that are in the take, too
    std::size_t LibraryNotes = 0;
    std::vector<LiveFrame> Frames; // since the meter was last shown
    std::size_t Decoded = 0;        // of them
    std::uint32_t StartTime = 0;    // of the listening, milliseconds on the system's clock
    std::int64_t EndTime = -1;      // of the sound file; below 0 while it goes on
};

void Listener::TakeFromLibrary() {
    std::vector<MIDIEvent> records;
    Library::TakeReceived(records);
    if (!Options.AsLibrary) return;
    for (const MIDIEvent& record : records) {
        if (Kept) Kept->Add(record);
        if (record.Status != 0x90 || record.Data2 == 0) continue;
        ++LibraryNotes;
        Meter.End();
        std::printf("%10.3f  %-4s velocity %-3d         the library\n", record.Time / 1000.0,
                    NoteName(record.Data1).c_str(), record.Data2);
    }
}

void Listener::Decode() {
    for (; Decoded < Frames.size(); ++Decoded) Decoder.Feed(Frames[Decoded].Frame);
    PrintDecoded();
    Keep();
}

void Listener::PrintDecoded() {
    const std::vector<hearing::Note>& notes = Decoder.Notes();
    for (; Printed < notes.size(); ++Printed) {
        const Note note = Timed(notes[Printed]);
        Meter.End();
        std::printf("%10.3f  %-4s velocity %-3d %+4.0f cents\n",
                    static_cast<double>(note.Start) / 1000, NoteName(note.Key).c_str(),
                    note.Velocity, (note.Pitch - note.Key) * 100);
    }
}

Note Listener::Timed(const hearing::Note& note) const {
    const double begin = static_cast<std::int32_t>(Analyser.StartTime() - StartTime) / 1000.0;
    hearing::Note timed = note;
    timed.Onset += begin;
    timed.End += begin;
    return ToKey(timed, 0);
}

// A note has its exact pitch when it ends; until then it is in the take as it stands.
void Listener::Keep() {
    if (!Kept || Options.AsLibrary) return;
    const std::vector<hearing::Note>& notes = Decoder.Notes();
    for (; Ended < notes.size() && !notes[Ended].Open; ++Ended)
        for (const MIDIEvent& record : ToRecords({Timed(notes[Ended])})) Kept->Add(record);
    Kept->SetProvisional(Ended < notes.size() ? ToRecords({Timed(notes[Ended])}) : std::vector<MIDIEvent>{});
}

std::size_t Listener::Notes() const {
    return Options.AsLibrary ? LibraryNotes : Decoder.Notes().size();
}

void Listener::ShowMeter() {
    if (Frames.empty() || !Meter.Due()) return;
    int level = 0;
    for (const LiveFrame& frame : Frames) level = std::max(level, frame.InputLevel);
    const std::string pitch = PitchText(Frames.back().Frame.Frequency);
    const int width = std::clamp(TerminalWidth() - 24, 8, 32);
    Meter.Show("level " + Bar(level, FullLevel, width) +
               (pitch.empty() ? "" : "  " + pitch + " cents"));
    Frames.clear();
    Decoded = 0;
}

bool Listener::Over() {
    const std::int64_t now = ZorTimeMIDI(0);
    if (Interrupted() ||
        (Options.Seconds > 0 && static_cast<double>(now) >= Options.Seconds * 1000)) {
        return true;
    }
    if (EndTime < 0 && On.Ear() && On.Ear()->Ended()) EndTime = now;
    return EndTime >= 0 && now >= EndTime + MicrophoneTail;
}

void Listener::Run() {
    StartOptions start;
    start.Thru = !Options.Thru.empty();
    start.ThruMap = ParseChannelMap({});
    On.Start(start);
    StartTime = static_cast<std::uint32_t>(machine::Microseconds() / 1000) -
                static_cast<std::uint32_t>(ZorTimeMIDI(0));
    std::fprintf(stderr, "Listening; each note is told %.0f ms after it has begun. Ctrl-C ends\n",
                 hearing::LiveLag * hearing::FrameSeconds * 1000);
    for (bool over = false; !over;) {
        Nap(4);
        over = Over();
        TakeFromLibrary();
        Analyser.Drain(Frames);
        Decode();
        if (Kept) Kept->Save(static_cast<std::int32_t>(ZorTimeMIDI(0)));
        std::fflush(stdout);
        ShowMeter();
    }
    Decoder.Finish();
    PrintDecoded();
    Keep();
    Meter.End();
    if (start.Thru) Library::Silence({});
}

// Without inputs: what is played thru must not be taken for what is heard.
SessionPlan PlanOf(const ListenOptions& options) {
    SessionPlan plan;
    plan.Outputs = options.Thru;
    plan.Microphone = options.Mic;
    plan.Joined = options.Thru.empty() ? Cables::Nowhere : Cables::OutputsOnly;
    plan.Listens = true;
    plan.Device = options.Device;
    return plan;
}

void Run(const GlobalOptions& global, const ListenOptions& options) {
    std::optional<TakeWriter> take;
    if (!options.Out.empty()) take.emplace(options.Out);
    Session session(global, PlanOf(options));
    session.PlugIn();
    Listener listener(options, session, take ? &*take : nullptr);
    listener.Run();
    if (session.Ear()) session.Ear()->CheckRead();
    std::printf("%s\n", Counted(static_cast<std::int64_t>(listener.Notes()), "note").c_str());
    if (!take) return;
    if (take->Notes() == 0) throw HostError("no note was heard, so no MIDI file is written");
    take->Finish({});
    std::printf("Wrote %s at 120 quarter notes a minute\n", take->Path().c_str());
}

} // namespace

void AddListen(const Command& app, const GlobalOptions& global) {
    const Command command =
        app.Add("listen", "Hear notes in a microphone's sound as it comes: meter, pitch and notes");
    const auto options = std::make_shared<ListenOptions>();
    const Option mic = command
                           .Value("--mic", options->Mic,
                                  "Sound file to hear in place of a microphone of this computer")
                           .Named("FILE");
    command
        .Value("--device", options->Device,
               "Which microphone, as `zorhost devices` lists them, from 1")
        .Named("N")
        .WithDefault()
        .Excludes(mic);
    AddSeconds(command, options->Seconds);
    command.Value("-o,--out", options->Out, "Write the notes to this MIDI file, each as it ends")
        .Named("OUT.mid");
    command.Flag("--as-library", options->AsLibrary,
                 "Print and write the notes of the library's microphone; print the decoded "
                 "ones beside them");
    AddOutputs(command, "--thru", options->Thru, "Output that plays the library's notes at once");
    command.Footer("What is written is on the disk while it goes on, as a recording is.");
    command.Does([&global, options] { Run(global, *options); });
}

} // namespace zorhost
