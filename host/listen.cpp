// zorhost listen
#include "host/commands.h"
#include "host/ear.h"
#include "host/host_error.h"
#include "host/interrupt.h"
#include "host/library.h"
#include "host/machine.h"
#include "host/microphone.h"
#include "host/names.h"
#include "host/progress.h"
#include "host/recording.h"
#include "host/settings.h"
#include "host/transcript.h"

#include <algorithm>
#include <cstdio>
#include <memory>

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
    Listener(const ListenOptions& options, const Microphone* file)
        : Options(options), File(file), Decoder(hearing::LiveLag) {}

    void Run();
    // With times from the beginning of the listening.
    std::vector<Note> Notes() const;

private:
    void PrintLibraryNotes(std::size_t from);
    void Decode();
    void PrintDecoded();
    Note Timed(const hearing::Note& note) const;
    void ShowMeter();
    bool Over();

    const ListenOptions& Options;
    const Microphone* const File; // that the microphone hears; null for a real one
    Progress Meter;
    Ear Hears;
    hearing::Decoder Decoder;
    std::size_t Printed = 0; // of the decoder's notes
    std::vector<MIDIEvent> FromLibrary;
    std::vector<HeardFrame> Frames; // since the meter was last shown
    std::size_t Decoded = 0;        // of them
    std::uint32_t StartTime = 0;    // of the listening, milliseconds on the system's clock
    std::int64_t EndTime = -1;      // of the sound file; below 0 while it goes on
};

void Listener::PrintLibraryNotes(std::size_t from) {
    for (std::size_t i = from; i < FromLibrary.size(); ++i) {
        const MIDIEvent& record = FromLibrary[i];
        if (record.Status != 0x90 || record.Data2 == 0) continue;
        Meter.End();
        std::printf("%10.3f  %-4s velocity %-3d         the library\n", record.Time / 1000.0,
                    NoteName(record.Data1).c_str(), record.Data2);
    }
}

void Listener::Decode() {
    for (; Decoded < Frames.size(); ++Decoded) Decoder.Take(Frames[Decoded].Of);
    PrintDecoded();
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
    const double begin = static_cast<std::int32_t>(Hears.StartTime() - StartTime) / 1000.0;
    hearing::Note timed = note;
    timed.Onset += begin;
    timed.End += begin;
    return ToKey(timed, 0);
}

std::vector<Note> Listener::Notes() const {
    if (Options.AsLibrary) return PairNotes(FromLibrary, 0);
    std::vector<Note> notes;
    for (const hearing::Note& note : Decoder.Notes()) notes.push_back(Timed(note));
    return notes;
}

void Listener::ShowMeter() {
    if (Frames.empty() || !Meter.Due()) return;
    int level = 0;
    for (const HeardFrame& frame : Frames) level = std::max(level, frame.InputLevel);
    const std::string pitch = PitchText(Frames.back().Of.Frequency);
    Meter.Show("level " + Bar(level, FullLevel, 32) + "  " + pitch +
               (pitch.empty() ? "" : " cents"));
    Frames.clear();
    Decoded = 0;
}

bool Listener::Over() {
    const std::int64_t now = ZorTimeMIDI(0);
    if (Interrupted() ||
        (Options.Seconds > 0 && static_cast<double>(now) >= Options.Seconds * 1000)) {
        return true;
    }
    if (EndTime < 0 && File && File->Ended()) EndTime = now;
    return EndTime >= 0 && now >= EndTime + MicrophoneTail;
}

void Listener::Run() {
    Library library;
    StartOptions start;
    start.Thru = !Options.Thru.empty();
    start.ThruMap = ParseChannelMap({});
    library.Start(start);
    StartTime = static_cast<std::uint32_t>(machine::Microseconds() / 1000) -
                static_cast<std::uint32_t>(ZorTimeMIDI(0));
    std::fprintf(stderr, "Listening; each note is told %.0f ms after it has begun. Ctrl-C ends\n",
                 hearing::LiveLag * hearing::FrameSeconds * 1000);
    for (bool over = false; !over;) {
        Nap(4);
        over = Over();
        const std::size_t before = FromLibrary.size();
        Library::TakeReceived(FromLibrary);
        if (Options.AsLibrary) PrintLibraryNotes(before);
        Hears.Take(Frames);
        Decode();
        std::fflush(stdout);
        ShowMeter();
    }
    Decoder.Finish();
    PrintDecoded();
    Meter.End();
    if (start.Thru) Library::Silence({});
}

// Null for a microphone of this computer.
std::unique_ptr<Microphone> Microphones(const ListenOptions& options) {
    if (options.Mic.empty()) {
        ChooseMicrophone(options.Device);
        return nullptr;
    }
    if (options.Device != 1)
        throw HostError("there is no microphone " + std::to_string(options.Device) +
                        "; there is:\n  1  Sound file");
    return std::make_unique<Microphone>(options.Mic);
}

void Run(const GlobalOptions& global, const ListenOptions& options) {
    std::unique_ptr<OutputFile> out;
    if (!options.Out.empty()) out = std::make_unique<OutputFile>(options.Out);
    // Without inputs: what is played thru must not be taken for what is heard.
    const Machine machine(global, options.Thru.empty() ? Cables::Nowhere : Cables::OutputsOnly);
    const std::unique_ptr<Microphone> file = Microphones(options);
    RunChanges changes;
    changes.Microphone = true;
    changes.MicrophoneChannel = 1;
    changes.Outputs = options.Thru;
    const RunSettings settings(SettingsFolder(global.IniFolder), changes);
    Listener listener(options, file.get());
    listener.Run();
    if (file) file->CheckRead();
    const std::vector<Note> notes = listener.Notes();
    std::printf("%zu notes\n", notes.size());
    if (!out) return;
    if (notes.empty()) throw HostError("no note was heard, so no MIDI file is written");
    WriteRecording(ToRecords(notes), {}, *out);
    std::printf("Wrote %s at 120 quarter notes a minute\n", out->Path().c_str());
}

} // namespace

void AddListen(CLI::App& app, const GlobalOptions& global) {
    CLI::App* command = app.add_subcommand(
        "listen", "Hear notes in a microphone's sound as it comes: meter, pitch and notes");
    const auto options = std::make_shared<ListenOptions>();
    command
        ->add_option("--mic", options->Mic,
                     "Sound file to hear in place of a microphone of this computer")
        ->type_name("FILE");
    command
        ->add_option("--device", options->Device,
                     "Which microphone, as `zorhost devices` lists them, from 1")
        ->type_name("N")
        ->capture_default_str();
    command->add_option("--seconds", options->Seconds, "Stop after so many seconds")
        ->check(CLI::Range(0.001, 2000000.0))
        ->type_name("N");
    command->add_option("-o,--out", options->Out, "Write the notes to this MIDI file at the end")
        ->type_name("OUT.mid");
    command->add_flag("--as-library", options->AsLibrary,
                      "Print and write the notes of the library's microphone; print the decoded "
                      "ones beside them");
    command
        ->add_option("--thru", options->Thru,
                     "Output device that plays the library's notes at once; give it again for "
                     "several")
        ->type_name("NAME")
        ->allow_extra_args(false);
    command->callback([&global, options] { Run(global, *options); });
}

} // namespace zorhost
