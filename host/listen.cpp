// zorhost listen
#include "host/commands.h"
#include "host/ear.h"
#include "host/host_error.h"
#include "host/interrupt.h"
#include "host/library.h"
#include "host/melody.h"
#include "host/microphone.h"
#include "host/names.h"
#include "host/progress.h"
#include "host/recording.h"
#include "host/settings.h"
#include "host/virtual_machine.h"

#include <algorithm>
#include <cstdio>
#include <memory>

namespace zorhost {

namespace {

constexpr int Tail = 500; // milliseconds after the end of a sound file, in which the last note ends

struct ListenOptions {
    std::string Mic;
    std::string Out;
    std::vector<std::string> Thru;
    int Device = 1;
    double Seconds = 0; // 0: until Ctrl-C, or the end of the file
};

// Prints each note as it begins, above the meter.
class Listener {
public:
    Listener(const ListenOptions& options, const Microphone& microphone)
        : Options(options), Mic(microphone) {}

    void Run();
    // With times from the beginning of the listening.
    const std::vector<MIDIEvent>& Records() const { return All; }

private:
    void PrintNotes(std::size_t from);
    void ShowMeter();
    bool Over();

    const ListenOptions& Options;
    const Microphone& Mic;
    Progress Meter;
    std::vector<MIDIEvent> All;
    std::vector<Frame> Frames; // since the meter was last shown
    std::int64_t EndTime = -1; // of the sound file; below 0 while it goes on
};

void Listener::PrintNotes(std::size_t from) {
    for (std::size_t i = from; i < All.size(); ++i) {
        if (All[i].Status != 0x90 || All[i].Data2 == 0) continue;
        Meter.End();
        std::printf("%10.3f  %-4s velocity %d\n", All[i].Time / 1000.0,
                    NoteName(All[i].Data1).c_str(), All[i].Data2);
        std::fflush(stdout);
    }
}

void Listener::ShowMeter() {
    if (Frames.empty() || !Meter.Due()) return;
    int level = 0;
    for (const Frame& frame : Frames) level = std::max(level, frame.Level);
    const Frame& now = Frames.back();
    const std::string pitch = now.Note == Sonorel::NoNote ? "" : PitchText(now.Frequency);
    Meter.Show("level " + Bar(level, 128, 32) + "  " + pitch + (pitch.empty() ? "" : " cents"));
    Frames.clear();
}

bool Listener::Over() {
    const std::int64_t now = ZorTimeMIDI(0);
    if (Interrupted() ||
        (Options.Seconds > 0 && static_cast<double>(now) >= Options.Seconds * 1000)) {
        return true;
    }
    if (EndTime < 0 && Mic.Ended()) EndTime = now;
    return EndTime >= 0 && now >= EndTime + Tail;
}

void Listener::Run() {
    Ear ear;
    Library library;
    StartOptions start;
    start.Thru = !Options.Thru.empty();
    start.ThruMap = ParseChannelMap({});
    library.Start(start);
    std::fprintf(stderr, "Listening; Ctrl-C ends\n");
    for (bool over = false; !over;) {
        Nap(4);
        over = Over();
        const std::size_t before = All.size();
        Library::TakeReceived(All);
        PrintNotes(before);
        ear.Take(Frames);
        ShowMeter();
    }
    if (start.Thru) Library::Silence({});
}

void Run(const GlobalOptions& global, const ListenOptions& options) {
    if (options.Mic.empty()) {
        throw HostError("the microphones of this computer are not reached yet; --mic FILE lets a "
                        "microphone of the machine hear a sound file");
    }
    if (options.Device != 1) {
        throw HostError("there is no microphone " + std::to_string(options.Device) +
                        "; there is:\n  1  Sound file");
    }
    std::unique_ptr<OutputFile> out;
    if (!options.Out.empty()) out = std::make_unique<OutputFile>(options.Out);
    // Without inputs: what is played thru must not be taken for what is heard.
    const VirtualMachine machine(options.Thru.empty() ? Cables::None : Cables::OutputsOnly);
    const Microphone microphone(options.Mic);
    RunChanges changes;
    changes.Microphone = true;
    changes.MicrophoneChannel = 1;
    changes.Outputs = options.Thru;
    const RunSettings settings(SettingsFolder(global.IniFolder), changes);
    Listener listener(options, microphone);
    listener.Run();
    microphone.CheckRead();
    const std::size_t notes = PairNotes(listener.Records(), 0).size();
    std::printf("%zu notes\n", notes);
    if (!out) return;
    if (notes == 0) throw HostError("no note was heard, so no MIDI file is written");
    WriteRecording(listener.Records(), {}, *out);
    std::printf("Wrote %s at 120 quarter notes a minute\n", out->Path().c_str());
}

} // namespace

void AddListen(CLI::App& app, const GlobalOptions& global) {
    CLI::App* command = app.add_subcommand(
        "listen", "Hear notes in a microphone's sound as it comes: meter, pitch and notes");
    const auto options = std::make_shared<ListenOptions>();
    command
        ->add_option("--mic", options->Mic,
                     "Sound file that the microphone hears, for as long as those of this computer "
                     "are not reached")
        ->type_name("FILE");
    command->add_option("--device", options->Device, "Which microphone, from 1")
        ->type_name("N")
        ->capture_default_str();
    command->add_option("--seconds", options->Seconds, "Stop after so many seconds")
        ->check(CLI::Range(0.001, 2000000.0))
        ->type_name("N");
    command->add_option("-o,--out", options->Out, "Write the notes to this MIDI file at the end")
        ->type_name("OUT.mid");
    command
        ->add_option("--thru", options->Thru,
                     "Output device that plays the notes at once; give it again for several")
        ->type_name("NAME")
        ->allow_extra_args(false);
    command->callback([&global, options] { Run(global, *options); });
}

} // namespace zorhost
