// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "host/recording/recording_file.h"

#include "host/terminal/host_error.h"
#include "host/terminal/progress.h"
#include "midi/note_counts.h"
#include "midi/status.h"
#include "midifile/warnings.h"

#include <algorithm>
#include <map>

namespace zorhost {

namespace {

using midifile::TrackWriter;

constexpr int FineTicks = 960;                 // per quarter note, fine enough for milliseconds
constexpr int MaxTicks = 32767;                // per quarter note, the limit of the file format
constexpr int MinQuarter = 1000;               // microseconds; shorter quarter notes are no music
constexpr std::size_t ProgressStep = 1u << 16; // records between two updates of the progress line

// The integer by which the ticks of a map are refined.
int Factor(const TempoMap& map) {
    const int ticks = map.TicksPerQuarter();
    return std::min(std::max(1, (FineTicks + ticks - 1) / ticks), MaxTicks / ticks);
}

TempoMap Refine(const TempoMap& coarse) {
    const int factor = Factor(coarse);
    TempoMap fine(coarse.TicksPerQuarter() * factor);
    for (const Tempo& tempo : coarse.Tempos()) {
        fine.Add(Tempo{tempo.Tick * factor, tempo.MicrosecondsPerQuarter});
    }
    for (const Meter& meter : coarse.Meters()) {
        fine.Add(Meter{meter.Tick * factor, meter.Beats, meter.BeatUnit});
    }
    return fine;
}

// Drops the tempo map and the backing song if the tempo is absurdly high, since ticks would
// overflow.
RecordingPlan Usable(const RecordingPlan& plan) {
    const std::vector<Tempo> tempos = plan.Map.Tempos();
    const bool music = std::ranges::all_of(
        tempos, [](const Tempo& tempo) { return tempo.MicrosecondsPerQuarter >= MinQuarter; });
    RecordingPlan plain;
    plain.EndTime = plan.EndTime;
    return music ? plan : plain;
}

// Sorts the channel messages by time, since notes of a microphone arrive late, and adds a note off
// at the end for each note on without one.
std::vector<MIDIEvent> Complete(const std::vector<MIDIEvent>& records, std::int32_t end) {
    std::vector<MIDIEvent> all;
    std::ranges::copy_if(records, std::back_inserter(all), [](const MIDIEvent& record) {
        return midi::IsChannelStatus(record.Status);
    });
    std::ranges::stable_sort(all, {}, [](const MIDIEvent& record) { return record.Time; });
    midi::OpenNotes notes;
    for (const MIDIEvent& record : all) {
        const std::int32_t time = record.Time; // copied: a packed member cannot be referenced
        end = std::max(end, time);
        notes.Apply(record.Channel, record.Status, record.Data1, record.Data2);
    }
    notes.ForEach([&](int channel, std::uint8_t note) {
        all.push_back({end, 0, static_cast<std::int16_t>(channel), 2, midi::NoteOff, note, 64});
    });
    return all;
}

// A track with tempos and meters, then the tracks of the backing song.
std::vector<TrackWriter> FirstTracks(const RecordingPlan& plan, const TempoMap& map) {
    std::vector<TrackWriter> tracks;
    midifile::AddMap(tracks.emplace_back(), map, plan.TempoPercent);
    if (!plan.Backing) return tracks;
    const int factor = Factor(plan.Map);
    for (const auto& events : plan.Backing->Tracks) {
        TrackWriter& track = tracks.emplace_back();
        for (const midifile::TrackEvent& event : events) {
            const bool line =
                event.Status == midifile::MetaStatus &&
                (event.Type == midifile::MetaTempo || event.Type == midifile::MetaMeter);
            if (!line) track.Add(event.Tick * factor, event);
        }
    }
    return tracks;
}

// Shows the progress of a long save.
class SaveProgress {
public:
    explicit SaveProgress(std::size_t whole) : Whole(whole) {}
    void Step() {
        if (++Done % ProgressStep == 0 && Line.Due()) {
            Line.Show("saving " +
                      Bar(static_cast<std::int64_t>(Done), static_cast<std::int64_t>(Whole), 20));
        }
    }

private:
    Progress Line;
    std::size_t Whole;
    std::size_t Done = 0;
};

std::vector<TrackWriter> MakeTracks(const std::vector<MIDIEvent>& records,
                                    const RecordingPlan& plan, const TempoMap& map) {
    std::vector<TrackWriter> tracks = FirstTracks(plan, map);
    std::map<int, std::size_t> blocks;
    SaveProgress saving(records.size());
    for (const MIDIEvent& record : records) {
        const auto [block, fresh] = blocks.try_emplace(record.Channel >> 4, tracks.size());
        if (fresh) tracks.emplace_back();
        const std::int64_t sinceStart = std::int64_t{record.Time} * 1000 * plan.TempoPercent / 100;
        const std::int64_t tick = map.TickAt(plan.StartMicroseconds + sinceStart);
        AddRecord(tracks[block->second], std::max<std::int64_t>(0, tick), record);
        saving.Step();
    }
    return tracks;
}

} // namespace

void AddRecord(TrackWriter& track, std::int64_t tick, const MIDIEvent& record) {
    const auto status = static_cast<unsigned char>(record.Status | (record.Channel & 15));
    const unsigned char bytes[] = {status, record.Data1, record.Data2};
    const auto count = static_cast<std::size_t>(1 + midi::DataBytes(record.Status));
    track.Add(tick, midifile::ByteSpan(bytes, count));
}

void WriteRecording(const std::vector<MIDIEvent>& records, const RecordingPlan& wanted,
                    const OutputFile& file) {
    const RecordingPlan plan = Usable(wanted);
    const TempoMap map = Refine(plan.Map);
    try {
        file.Write(midifile::Write(MakeTracks(Complete(records, plan.EndTime), plan, map),
                                   map.TicksPerQuarter()));
    } catch (const midifile::Error& error) {
        throw HostError("\"" + file.Path() + "\" " + error.what());
    }
}

} // namespace zorhost
