// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "host/playback/performance.h"

#include "host/devices/session.h"
#include "host/terminal/host_error.h"
#include "host/terminal/interrupt.h"
#include "host/terminal/names.h"
#include "midi/status.h"

#include <cstdio>
#include <optional>

namespace zorhost {

// Collects the records that came in and makes their times relative to the start of the music.
void Performance::Receive() {
    const std::size_t before = Incoming.size();
    Library::ReadReceived(Incoming);
    for (std::size_t i = before; i < Incoming.size(); ++i) {
        Incoming[i].Time -= static_cast<std::int32_t>(PlayLead);
        if (Plan.Take) Plan.Take->Add(Incoming[i]);
    }
    if (!Plan.Take && !Plan.Report && !Plan.HasSoundFile) Incoming.clear(); // not needed
    if (Plan.Take) Plan.Take->Save(static_cast<std::int32_t>(ZorTimeMIDI(0) - PlayLead));
}

void Performance::ShowProgress(Progress& progress) const {
    const std::int64_t tick = Music.Position();
    const midifile::BarBeat place = Song.Map.BarBeatAt(tick);
    const QueueFill fill = OutputFill();
    const std::int64_t now = Music.TimeOf(tick);
    char line[128];
    std::snprintf(line, sizeof line, "%sbar %4lld beat %2d  %s of %s  %s  queue %d/%d",
                  Music.Paused() ? "paused  " : "", static_cast<long long>(place.Bar), place.Beat,
                  ClockText(now).c_str(), ClockText(Music.Length()).c_str(),
                  Bar(now, Music.Length(), 20).c_str(), fill.Count, fill.Capacity);
    progress.Show(line);
}

void Performance::HandleKey(Key key) {
    switch (key) {
    case Key::Space:
        return Music.Paused() ? Music.Resume() : Music.Pause();
    case Key::Left:
        return Music.JumpBars(-1);
    case Key::Right:
        return Music.JumpBars(1);
    case Key::Home:
        return Music.JumpTo(Plan.Range.Begin);
    case Key::Quit:
        Stopped = true;
        break;
    default:
        break;
    }
}

// Waits for the last messages to come back after the queue has run empty: 2 s without a message, or
// 0.2 s once as many have come back as were sent.
void Performance::AwaitReturns() {
    const std::size_t sent = Music.Pass().size();
    for (int quiet = 0; quiet < (Incoming.size() < sent ? 100 : 10) && !Interrupted(); ++quiet) {
        const std::size_t before = Incoming.size();
        Nap(20);
        Receive();
        if (Incoming.size() != before) quiet = 0;
        if (Incoming.size() >= 2 * sent) break; // another sender is still playing
    }
}

// Waits for the end of the sound file, which may be longer than the song, and for the silence that
// ends its last note.
void Performance::AwaitMicrophone(const Microphone& mic) {
    Progress progress;
    for (int left = MicrophoneTail; left > 0 && !Interrupted(); Nap(20)) {
        Receive();
        if (mic.Ended()) left -= 20;
        if (progress.Due()) progress.Show("listening to the end of the sound file");
    }
    MicStart = mic.StartTime() - PlayLead;
}

// Called when all is sent or the user has stopped: waits for what is still to come, then releases
// notes and pedals that the song leaves down.
void Performance::EndNotes(const Microphone* mic) {
    if (Stopped) {
        Music.Silence();
        Nap(50);
        return Receive();
    }
    if (mic && Plan.HasSoundFile) AwaitMicrophone(*mic);
    if (Plan.Take || Plan.Report) AwaitReturns();
    if (LeavesSounding(Music.Pass())) Music.Silence();
}

void Performance::Run(const Microphone* mic) {
    std::optional<Keys> keys;
    // Jumps and pauses would make the result incomparable with what comes back.
    if (!Plan.Take && !Plan.Report && !Plan.HasSoundFile) keys.emplace();
    if (keys && keys->Working())
        std::fprintf(stderr,
                     "Space pauses, arrows move by a bar, Home goes to the start, q quits\n");
    Progress progress;
    Music.Start(PlayLead);
    do {
        Music.Step();
        Receive();
        if (progress.Due()) ShowProgress(progress);
        Nap(4);
        if (keys) HandleKey(keys->Next());
        Stopped = Stopped || Interrupted();
    } while (!Stopped && !Music.IsDone());
    ShowProgress(progress);
    progress.End();
    EndNotes(mic);
}

// The records of the microphone are on a channel of their own.
std::vector<MIDIEvent> Performance::PortRecords() const {
    std::vector<MIDIEvent> records = Incoming;
    std::erase_if(records, [&](const MIDIEvent& record) {
        return record.Status >= midi::FirstSystemStatus ||
               (Plan.HasSoundFile && record.Channel == MicrophoneFileChannel - 1);
    });
    return records;
}

std::vector<Note> Performance::MicrophoneNotes() const {
    std::vector<MIDIEvent> records;
    for (MIDIEvent record : Incoming) {
        if (record.Channel != MicrophoneFileChannel - 1 || record.Status >= midi::FirstSystemStatus)
            continue;
        record.Time -= static_cast<std::int32_t>(MicStart);
        records.push_back(record);
    }
    return PairNotes(records, records.empty() ? 0 : records.back().Time);
}

void Performance::FinishRecording() const {
    if (Plan.Take->Records().empty()) {
        throw HostError("nothing came back through the inputs, so nothing is recorded; an output "
                        "must lead to an input in use");
    }
    RecordingPlan recording;
    recording.Map = Song.Map;
    recording.TempoPercent = Plan.Range.TempoPercent;
    recording.StartMicroseconds = Song.Map.MicrosecondsAt(Plan.Range.Begin);
    Plan.Take->Finish(recording);
    std::printf("Recorded %s in %s\n", Counted(std::ssize(Plan.Take->Records()), "message").c_str(),
                Plan.Take->Path().c_str());
}

} // namespace zorhost
