#include "host/recording/take_writer.h"

#include "host/terminal/host_error.h"
#include "host/terminal/interrupt.h"

#include <cstdio>
#include <filesystem>
#include <utility>

namespace zorhost {

namespace fs = std::filesystem;

Take::Take(const std::string& path) : File(path) {
    if (File.RealPath().empty()) return;
    RescueTakes(File.RealPath());
    Safe.emplace(File.RealPath());
}

void Take::Add(const MIDIEvent& record) {
    if (record.Status < 0x80 || record.Status >= 0xF0) return;
    All.push_back(record);
    if (record.Status == 0x90 && record.Data2 > 0) ++NoteCount;
    if (Safe) Safe->Add(record);
}

void Take::Hold(std::vector<MIDIEvent> records) {
    if (Safe) Safe->Hold(std::move(records));
}

void Take::Save(std::int32_t now) {
    if (!Safe || Safe->Write(now) || ToldOfRoom) return;
    ToldOfRoom = true;
    std::fprintf(stderr, "\nThe disk takes no more. The recording goes on in memory: make room.\n");
}

// Where files of the moment go, which is often another disk.
std::string Take::SaveElsewhere(const RecordingPlan& plan) {
    fs::path name = fs::temp_directory_path() / fs::path(File.RealPath()).filename();
    for (int i = 2; fs::exists(name); ++i) {
        const fs::path whole(File.RealPath());
        name = fs::temp_directory_path() /
               (whole.stem().string() + "-" + std::to_string(i) + whole.extension().string());
    }
    const OutputFile other(name.string());
    WriteRecording(All, plan, other);
    return other.Path();
}

// The take when its file cannot be written, and where it is then, in words.
std::string Take::Keep(const RecordingPlan& plan) {
    std::error_code none; // the folder may have gone, with a journal that is still open
    if (Safe->Write(plan.EndTime, true) && fs::exists(Safe->Path(), none))
        return "the recording is in \"" + Safe->Path() + "\"";
    try {
        const std::string elsewhere = SaveElsewhere(plan);
        Safe->Remove();
        return "the recording is in \"" + elsewhere + "\"";
    } catch (const std::exception&) { // the journal has what the disk took
        return "only its beginning is in \"" + Safe->Path() + "\"";
    }
}

void Take::Finish(const RecordingPlan& plan) {
    const ForcedExitBlocker untilSafe;
    try {
        WriteRecording(All, plan, File);
        if (Safe) Safe->Remove();
    } catch (const HostError& error) {
        if (!Safe) throw;
        throw HostError(std::string(error.what()) + "; " + Keep(plan));
    }
}

} // namespace zorhost
