#include "host/recording.h"

#include "host/host_error.h"
#include "host/midi_file.h"
#include "host/smf_library.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <map>
#include <sys/stat.h>
#include <unistd.h>

namespace zorhost {

namespace {

[[noreturn]] void CannotWrite(const std::string& path, const std::string& why) {
    throw HostError("\"" + path + "\" cannot be written: " + why);
}

// Finer than a millisecond, so that times survive, at any tempo of the piece that is followed.
TempoMap Finer(const TempoMap& coarse) {
    const int ticks = coarse.TicksPerQuarter();
    const int factor = std::min(std::max(1, (960 + ticks - 1) / ticks), 32767 / ticks);
    TempoMap fine(ticks * factor);
    for (const Tempo& tempo : coarse.Tempos()) {
        fine.Add(Tempo{tempo.Tick * factor, tempo.MicrosecondsPerQuarter});
    }
    for (const Meter& meter : coarse.Meters()) {
        fine.Add(Meter{meter.Tick * factor, meter.Beats, meter.BeatUnit});
    }
    return fine;
}

void AddMeta(smf_track_t* track, std::int64_t tick, std::vector<unsigned char> bytes) {
    smf_event_t* event = smf_event_new_from_pointer(bytes.data(), static_cast<int>(bytes.size()));
    if (event) smf_track_add_event_pulses(track, event, static_cast<int>(tick));
}

smf_track_t* NewTrack(smf_t* smf) {
    smf_track_t* track = smf_track_new();
    if (!track) throw HostError("out of memory");
    smf_add_track(smf, track);
    return track;
}

void AddConductor(smf_track_t* track, const TempoMap& map, int percent) {
    struct Change {
        std::int64_t Tick;
        std::vector<unsigned char> Bytes;
    };
    std::vector<Change> changes;
    for (const Meter& meter : map.Meters()) {
        int power = 0;
        while ((1 << power) < meter.BeatUnit) ++power;
        changes.push_back({meter.Tick,
                           {0xFF, 0x58, 4, static_cast<unsigned char>(meter.Beats),
                            static_cast<unsigned char>(power), 24, 8}});
    }
    for (const Tempo& tempo : map.Tempos()) {
        const std::int64_t scaled = std::int64_t{tempo.MicrosecondsPerQuarter} * 100 / percent;
        const std::int64_t length = std::clamp<std::int64_t>(scaled, 1, 0xFFFFFF);
        changes.push_back({tempo.Tick,
                           {0xFF, 0x51, 3, static_cast<unsigned char>(length >> 16),
                            static_cast<unsigned char>(length >> 8 & 0xFF),
                            static_cast<unsigned char>(length & 0xFF)}});
    }
    std::stable_sort(changes.begin(), changes.end(),
                     [](const Change& a, const Change& b) { return a.Tick < b.Tick; });
    for (const Change& change : changes) AddMeta(track, change.Tick, change.Bytes);
}

void AddRecord(smf_track_t* track, std::int64_t tick, const MIDIEvent& record) {
    const int status = record.Status | (record.Channel & 15);
    unsigned char bytes[] = {static_cast<unsigned char>(status), record.Data1, record.Data2};
    smf_event_t* event = smf_event_new_from_pointer(bytes, 1 + DataBytes(record.Status));
    if (event) smf_track_add_event_pulses(track, event, static_cast<int>(tick));
}

} // namespace

OutputFile::OutputFile(const std::string& path) : Final(path) {
    if (std::filesystem::is_directory(path)) CannotWrite(path, "it is a folder");
    const std::filesystem::path whole(path);
    if (!whole.has_filename()) CannotWrite(path, "it has no file name");
    Temporary = (whole.parent_path() / ("." + whole.filename().string() + ".XXXXXX")).string();
    const int handle = mkstemp(Temporary.data());
    if (handle < 0) CannotWrite(path, std::strerror(errno));
    // As any new file: readable by others as far as the user's mask allows.
    const mode_t mask = umask(0);
    umask(mask);
    fchmod(handle, 0666 & ~mask);
    close(handle);
}

OutputFile::~OutputFile() {
    if (!Temporary.empty()) unlink(Temporary.c_str());
}

void OutputFile::Keep() {
    if (rename(Temporary.c_str(), Final.c_str()) != 0) CannotWrite(Final, std::strerror(errno));
    Temporary.clear();
}

void WriteText(const std::string& text, OutputFile& file) {
    std::FILE* out = std::fopen(file.TemporaryPath().c_str(), "wb");
    if (!out) CannotWrite(file.Path(), std::strerror(errno));
    const bool written = std::fwrite(text.data(), 1, text.size(), out) == text.size();
    if (std::fclose(out) != 0 || !written) CannotWrite(file.Path(), std::strerror(errno));
    file.Keep();
}

void WriteRecording(const std::vector<MIDIEvent>& records, const RecordingPlan& plan,
                    OutputFile& file) {
    SmfErrors errors;
    const SmfPointer smf(smf_new());
    if (!smf) throw HostError("out of memory");
    const TempoMap map = Finer(plan.Map);
    const bool fits =
        smf_set_format(smf.get(), 1) == 0 && smf_set_ppqn(smf.get(), map.TicksPerQuarter()) == 0;
    if (!fits) CannotWrite(file.Path(), errors.Text());

    AddConductor(NewTrack(smf.get()), map, plan.TempoPercent);
    // Notes from the microphone come in later than what was played at the same time.
    std::vector<MIDIEvent> sorted(records);
    std::stable_sort(sorted.begin(), sorted.end(),
                     [](const MIDIEvent& a, const MIDIEvent& b) { return a.Time < b.Time; });
    std::map<int, smf_track_t*> blocks;
    for (const MIDIEvent& record : sorted) {
        if (record.Status < 0x80 || record.Status >= 0xF0) continue;
        smf_track_t*& track = blocks[record.Channel >> 4];
        if (!track) track = NewTrack(smf.get());
        const std::int64_t sinceStart = std::int64_t{record.Time} * 1000 * plan.TempoPercent / 100;
        const std::int64_t tick = map.TickAt(plan.StartMicroseconds + sinceStart);
        AddRecord(track, std::max<std::int64_t>(0, tick), record);
    }
    if (smf_save(smf.get(), file.TemporaryPath().c_str()) != 0) {
        CannotWrite(file.Path(), errors.Text());
    }
    file.Keep();
}

} // namespace zorhost
