#include "host/playback/performance.h"

#include "host/terminal/host_error.h"
#include "host/terminal/interrupt.h"
#include "host/terminal/names.h"
#include "host/devices/session.h"

#include <cstdio>
#include <optional>

namespace zorhost {

void Performance::Receive() {
    const std::size_t before = Incoming.size();
    Library::ReadReceived(Incoming);
    for (std::size_t i = before; i < Incoming.size(); ++i) {
        Incoming[i].Time -= static_cast<std::int32_t>(PlayLead);
        if (Plan.Record) Plan.Record->Add(Incoming[i]);
    }
    if (!Plan.Record && !Plan.Report && !Plan.SoundFile) Incoming.clear(); // nobody asks for it
    if (Plan.Record) Plan.Record->Save(static_cast<std::int32_t>(ZorTimeMIDI(0) - PlayLead));
}

void Performance::ShowProgress(Progress& progress) const {
    const std::int64_t tick = Music.Place();
    const midifile::BarBeat place = File.Map.BarBeatAt(tick);
    const QueueFill fill = OutputFill();
    const std::int64_t now = Music.TimeOf(tick);
    char line[128];
    std::snprintf(line, sizeof line, "%sbar %4lld beat %2d  %s of %s  %s  queue %d/%d",
                  Music.Paused() ? "paused  " : "", static_cast<long long>(place.Bar), place.Beat,
                  ClockText(now).c_str(), ClockText(Music.Length()).c_str(),
                  Bar(now, Music.Length(), 20).c_str(), fill.Count, fill.Room);
    progress.Show(line);
}

void Performance::Obey(Key key) {
    switch (key) {
    case Key::Space:
        return Music.Paused() ? Music.Resume() : Music.Pause();
    case Key::Left:
        return Music.JumpBars(-1);
    case Key::Right:
        return Music.JumpBars(1);
    case Key::Home:
        return Music.JumpTo(Plan.Way.From);
    case Key::Quit:
        Stopped = true;
        break;
    default:
        break;
    }
}

// What was sent last is still on its way back when the queue has run empty. While less came than
// went out, a busy machine may only be slow.
void Performance::AwaitRest() {
    const std::size_t sent = Music.Pass().size();
    for (int quiet = 0; quiet < (Incoming.size() < sent ? 100 : 10) && !Interrupted(); ++quiet) {
        const std::size_t before = Incoming.size();
        Nap(20);
        Receive();
        if (Incoming.size() != before) quiet = 0;
        if (Incoming.size() >= 2 * sent) break; // someone else plays on
    }
}

// The sound file may be longer than the piece; its last note ends in the silence behind it.
void Performance::AwaitMicrophone(const Microphone& mic) {
    Progress progress;
    for (int left = MicrophoneTail; left > 0 && !Interrupted(); Nap(20)) {
        Receive();
        if (mic.Ended()) left -= 20;
        if (progress.Due()) progress.Show("listening to the end of the sound file");
    }
    MicStart = mic.StartTime() - PlayLead;
}

void Performance::SilenceRest(const Microphone* mic) {
    if (Stopped) {
        Music.Silence();
        Nap(50);
        return Receive();
    }
    if (mic && Plan.SoundFile) AwaitMicrophone(*mic);
    if (Plan.Record || Plan.Report) AwaitRest();
    if (LeavesSounding(Music.Pass())) Music.Silence();
}

void Performance::Run(const Microphone* mic) {
    std::optional<Keys> keys;
    // Only what goes straight on can be compared with what comes back.
    if (!Plan.Record && !Plan.Report && !Plan.SoundFile) keys.emplace();
    if (keys && keys->Working())
        std::fprintf(stderr,
                     "Space pauses, arrows go a bar back or on, Home to the start, q ends\n");
    Progress progress;
    Music.Begin(PlayLead);
    do {
        Music.Step();
        Receive();
        if (progress.Due()) ShowProgress(progress);
        Nap(4);
        if (keys) Obey(keys->Next());
        Stopped = Stopped || Interrupted();
    } while (!Stopped && !Music.Done());
    ShowProgress(progress);
    progress.End();
    SilenceRest(mic);
}

std::vector<MIDIEvent> Performance::FromPorts() const {
    std::vector<MIDIEvent> records = Incoming;
    std::erase_if(records, [&](const MIDIEvent& record) {
        return record.Status >= 0xF0 ||
               (Plan.SoundFile && record.Channel == MicrophoneFileChannel - 1);
    });
    return records;
}

std::vector<Note> Performance::Heard() const {
    std::vector<MIDIEvent> records;
    for (MIDIEvent record : Incoming) {
        if (record.Channel != MicrophoneFileChannel - 1 || record.Status >= 0xF0) continue;
        record.Time -= static_cast<std::int32_t>(MicStart);
        records.push_back(record);
    }
    return PairNotes(records, records.empty() ? 0 : records.back().Time);
}

void Performance::FinishRecording() const {
    if (Plan.Record->Records().empty()) {
        throw HostError("nothing came back through the inputs, so nothing is recorded; an output "
                        "must lead to an input in use");
    }
    RecordingPlan recording;
    recording.Map = File.Map;
    recording.TempoPercent = Plan.Way.TempoPercent;
    recording.StartMicroseconds = File.Map.MicrosecondsAt(Plan.Way.From);
    Plan.Record->Finish(recording);
    std::printf("Recorded %s in %s\n",
                Counted(std::ssize(Plan.Record->Records()), "message").c_str(),
                Plan.Record->Path().c_str());
}

} // namespace zorhost
