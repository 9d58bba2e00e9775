// zorhost play
#include "host/commands.h"
#include "host/host_error.h"
#include "host/interrupt.h"
#include "host/library.h"
#include "host/machine.h"
#include "host/melody.h"
#include "host/microphone.h"
#include "host/midi_file.h"
#include "host/player.h"
#include "host/port_map.h"
#include "host/progress.h"
#include "host/recording.h"
#include "host/report.h"
#include "host/settings.h"

#include <cstdio>
#include <limits>
#include <memory>
#include <optional>

namespace zorhost {

namespace {

constexpr std::int64_t Lead = 100; // milliseconds from the start of the timer to the first record

struct PlayOptions {
    std::string File;
    std::vector<std::string> To;
    std::string Record;
    int TempoPercent = 100;
    int FromBar = 1;
    bool Report = false;
    std::string Mic;
    std::string Written;
};

class Performance {
public:
    Performance(const PlayOptions& options, MidiFile file)
        : Options(options), File(std::move(file)), StartTick(File.Map.TickOfBar(options.FromBar)),
          Play(Schedule()) {}

    // mic may be null.
    void Run(const Microphone* mic);
    bool Complete() const { return PlayedCount == Play.All().size(); }
    std::size_t Played() const { return PlayedCount; }
    const std::vector<MIDIEvent>& Sent() const { return Play.All(); }
    // As they came in, with times from the start of the music: from the ports, or all.
    std::vector<MIDIEvent> FromPorts() const;
    std::vector<MIDIEvent> Received() const;
    // The notes of the microphone's sound file, with times from its beginning.
    std::vector<Note> Heard() const;
    RecordingPlan Recording() const;
    std::int64_t Milliseconds() const { return TimeOf(File.EndTick); }

private:
    std::vector<MIDIEvent> Schedule() const;
    std::int64_t TimeOf(std::int64_t tick) const;
    void ShowProgress(Progress& progress) const;
    void AwaitRest();
    void AwaitMicrophone(const Microphone& mic);

    const PlayOptions& Options;
    const MidiFile File;
    const std::int64_t StartTick;
    Player Play;
    std::vector<MIDIEvent> Incoming;
    std::size_t PlayedCount = 0;
    std::int64_t MicStart = 0;
};

// Milliseconds from the start of the music, at the tempo asked for.
std::int64_t Performance::TimeOf(std::int64_t tick) const {
    const std::int64_t piece = File.Map.MicrosecondsAt(tick) - File.Map.MicrosecondsAt(StartTick);
    return (piece * 100 / Options.TempoPercent + 500) / 1000;
}

std::vector<MIDIEvent> Performance::Schedule() const {
    if (StartTick > File.EndTick) {
        throw HostError("--from: the piece ends in bar " +
                            std::to_string(File.Map.BarBeatAt(File.EndTick).Bar),
                        ExitWrongUse);
    }
    if (TimeOf(File.EndTick) + Lead > std::numeric_limits<std::int32_t>::max()) {
        throw HostError("\"" + Options.File + "\" would play for more than 24 days");
    }
    std::vector<MIDIEvent> records = EventsFrom(File, StartTick);
    for (MIDIEvent& record : records) {
        record.Time = static_cast<std::int32_t>(Lead + TimeOf(record.Etime));
    }
    return records;
}

void Performance::ShowProgress(Progress& progress) const {
    const std::int64_t now = ZorTimeMIDI(0) - Lead;
    const std::int64_t piece = std::max<std::int64_t>(0, now) * 10 * Options.TempoPercent;
    const std::int64_t tick = File.Map.TickAt(File.Map.MicrosecondsAt(StartTick) + piece);
    const BarBeat place = File.Map.BarBeatAt(std::min(tick, File.EndTick));
    const QueueFill fill = OutputFill();
    char line[128];
    std::snprintf(line, sizeof line, "bar %4lld beat %2d  %s of %s  queue %4d/%d  %s",
                  static_cast<long long>(place.Bar), place.Beat, ClockText(now).c_str(),
                  ClockText(Milliseconds()).c_str(), fill.Count, fill.Room,
                  Bar(now, Milliseconds(), 20).c_str());
    progress.Show(line);
}

// What was sent last is still on its way back when the queue has run empty. While less came than
// went out, a busy machine may only be slow.
void Performance::AwaitRest() {
    for (int quiet = 0; quiet < (Incoming.size() < Sent().size() ? 100 : 10) && !Interrupted();
         ++quiet) {
        const std::size_t before = Incoming.size();
        Nap(20);
        Library::TakeReceived(Incoming);
        if (Incoming.size() != before) quiet = 0;
        if (Incoming.size() >= 2 * Sent().size()) break; // someone else plays on
    }
}

// The sound file may be longer than the piece; its last note ends in the silence behind it.
void Performance::AwaitMicrophone(const Microphone& mic) {
    Progress progress;
    for (int left = MicrophoneTail; left > 0 && !Interrupted(); Nap(20)) {
        Library::TakeReceived(Incoming);
        if (mic.Ended()) left -= 20;
        if (progress.Due()) progress.Show("listening to the end of the sound file");
    }
    MicStart = mic.StartTime();
}

void Performance::Run(const Microphone* mic) {
    Progress progress;
    do {
        Play.Feed();
        Library::TakeReceived(Incoming);
        if (progress.Due()) ShowProgress(progress);
        Nap(4);
    } while (!Interrupted() && !(Play.AllFed() && ZorXmitEmpty(0)));
    ShowProgress(progress);
    progress.End();
    PlayedCount = Play.Fed() - static_cast<std::size_t>(OutputFill().Count);
    if (Interrupted()) {
        Library::Silence(Play.All());
        Nap(50);
        Library::TakeReceived(Incoming);
    } else {
        if (mic && !Options.Mic.empty()) AwaitMicrophone(*mic);
        if (!Options.Record.empty() || Options.Report) AwaitRest();
        if (LeavesSounding(Play.All())) Library::Silence(Play.All());
    }
}

std::vector<MIDIEvent> Performance::Received() const {
    std::vector<MIDIEvent> records;
    for (MIDIEvent record : Incoming) {
        if (record.Status >= 0xF0) continue;
        record.Time -= static_cast<std::int32_t>(Lead);
        records.push_back(record);
    }
    return records;
}

std::vector<MIDIEvent> Performance::FromPorts() const {
    std::vector<MIDIEvent> records = Received();
    std::erase_if(records, [&](const MIDIEvent& record) {
        return !Options.Mic.empty() && record.Channel == MicrophoneChannel - 1;
    });
    return records;
}

std::vector<Note> Performance::Heard() const {
    std::vector<MIDIEvent> records;
    for (MIDIEvent record : Incoming) {
        if (record.Channel != MicrophoneChannel - 1 || record.Status >= 0xF0) continue;
        record.Time -= static_cast<std::int32_t>(MicStart);
        records.push_back(record);
    }
    return PairNotes(records, records.empty() ? 0 : records.back().Time);
}

RecordingPlan Performance::Recording() const {
    return {File.Map, Options.TempoPercent, File.Map.MicrosecondsAt(StartTick)};
}

void TellAboutFile(const MidiFile& file) {
    if (file.SystemExclusive > 0) {
        std::fprintf(stderr,
                     "%d system exclusive messages of the file are left out: the library "
                     "carries none.\n",
                     file.SystemExclusive);
    }
}

void WriteReceived(const Performance& performance, OutputFile& file) {
    const std::vector<MIDIEvent> received = performance.Received();
    if (received.empty()) {
        throw HostError("nothing came back through the inputs, so nothing is recorded; an output "
                        "must lead to an input in use");
    }
    WriteRecording(received, performance.Recording(), file);
    std::printf("Recorded %zu messages in %s\n", received.size(), file.Path().c_str());
}

void PrintReport(const Performance& performance) {
    std::vector<MIDIEvent> sent = performance.Sent();
    for (MIDIEvent& record : sent) record.Time -= static_cast<std::int32_t>(Lead);
    const RoundTrip result = Compare(sent, performance.FromPorts());
    std::printf("Round trip, every message sent against what came back\n%s", result.Text().c_str());
    if (!result.Clean()) throw HostError("not everything came back as it was sent");
}

std::vector<Note> WrittenNotes(const std::string& path) {
    const MidiFile file = ReadMidiFile(path);
    std::vector<MIDIEvent> records;
    for (const FileEvent& event : file.Events) {
        const auto time =
            static_cast<std::int32_t>((file.Map.MicrosecondsAt(event.Tick) + 500) / 1000);
        records.push_back({time, 0, 0, 2, static_cast<std::uint8_t>(event.Status & 0xF0),
                           event.Data1, event.Data2});
    }
    return PairNotes(records, file.Map.MicrosecondsAt(file.EndTick) / 1000);
}

void PrintMelody(const std::vector<Note>& written, const std::vector<Note>& heard) {
    const SideBySide result = CompareMelodies(written, heard);
    std::printf("Melody, as written and as heard by the microphone\n%s", result.Text.c_str());
    std::printf("  %d of %d written notes heard, %d missed, %d heard that were not written\n",
                result.Heard, result.Written, result.Missed, result.Strange);
}

void Run(const GlobalOptions& global, const PlayOptions& options) {
    std::vector<Note> written;
    if (!options.Written.empty()) written = WrittenNotes(options.Written);
    MidiFile file = ReadMidiFile(options.File);
    TellAboutFile(file);
    Performance performance(options, std::move(file));
    std::unique_ptr<OutputFile> record;
    if (!options.Record.empty()) record = std::make_unique<OutputFile>(options.Record);
    const Machine machine(global, options.Report ? Cables::Private : Cables::Shared);
    RunChanges changes;
    changes.Outputs = options.To;
    changes.Microphone = !options.Mic.empty();
    changes.MicrophoneChannel = changes.Microphone ? MicrophoneChannel : 0;
    const RunSettings settings(SettingsFolder(global.IniFolder), changes);
    const std::unique_ptr<Microphone> microphone =
        PlugMicrophone(options.Mic, ReadPortMap(settings.IniPath()));
    {
        Library library;
        library.Start({});
        performance.Run(microphone.get());
    }
    if (microphone) microphone->CheckRead();
    std::printf("%s %zu of %zu messages, %s long\n",
                performance.Complete() ? "Played" : "Stopped after", performance.Played(),
                performance.Sent().size(), ClockText(performance.Milliseconds()).c_str());
    if (record) WriteReceived(performance, *record);
    if (!options.Written.empty()) PrintMelody(written, performance.Heard());
    if (options.Report && performance.Complete()) PrintReport(performance);
}

} // namespace

void AddPlay(CLI::App& app, const GlobalOptions& global) {
    CLI::App* command = app.add_subcommand("play", "Play a MIDI file (types 0 and 1)");
    const auto options = std::make_shared<PlayOptions>();
    command->add_option("FILE", options->File, "The piece, a .mid file")->required();
    command
        ->add_option("--to", options->To,
                     "Output device to play on; give it again to play on several at once. "
                     "Without it: the outputs of the settings")
        ->allow_extra_args(false);
    command->add_option("--record", options->Record,
                        "Write what comes back through the inputs meanwhile to this MIDI file");
    command->add_option("--tempo", options->TempoPercent, "Tempo in percent of the written one")
        ->check(CLI::Range(5, 5000))
        ->type_name("PERCENT")
        ->capture_default_str();
    command
        ->add_option("--from", options->FromBar,
                     "Bar to begin at, with the sounds and pedals that hold by then")
        ->check(CLI::Range(1, 1000000))
        ->type_name("BAR")
        ->capture_default_str();
    command->add_flag("--report", options->Report,
                      "Compare every message sent with what came back, and say how late it was. "
                      "It uses loopback ports of its own");
    CLI::Option* mic =
        command
            ->add_option("--mic", options->Mic,
                         "Sound file that the microphone hears meanwhile; its notes come in on "
                         "channel 65")
            ->type_name("FILE");
    command
        ->add_option("--written", options->Written,
                     "With --mic: the MIDI file that the sound was made from, to print its notes "
                     "beside those heard")
        ->type_name("FILE")
        ->needs(mic);
    command->callback([&global, options] { Run(global, *options); });
}

} // namespace zorhost
