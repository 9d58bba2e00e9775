// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "host/recording/take_writer.h"

#include "host/terminal/host_error.h"
#include "host/terminal/interrupt.h"
#include "midi/status.h"

#include <cstdio>
#include <filesystem>
#include <utility>

namespace zorhost {

namespace fs = std::filesystem;

TakeWriter::TakeWriter(const std::string& path) : File(path) {
    if (File.RealPath().empty()) return;
    RescueTakes(File.RealPath());
    TakeJournal.emplace(File.RealPath());
}

void TakeWriter::Add(const MIDIEvent& record) {
    if (!midi::IsChannelStatus(record.Status)) return;
    AllRecords.push_back(record);
    if (midi::StartsNote(record.Status, record.Data2)) ++NoteCount;
    if (TakeJournal) TakeJournal->Add(record);
}

void TakeWriter::SetProvisional(std::vector<MIDIEvent> records) {
    if (TakeJournal) TakeJournal->SetProvisional(std::move(records));
}

void TakeWriter::Save(std::int32_t now) {
    if (!TakeJournal || TakeJournal->Write(now) || DiskFullReported) return;
    DiskFullReported = true;
    std::fprintf(stderr,
                 "\nThe disk is full. The recording continues in memory: free some space.\n");
}

// Writes the take to the folder for temporary files, which is often on another disk. Returns its
// path.
std::string TakeWriter::SaveToTempFolder(const RecordingPlan& plan) {
    fs::path name = fs::temp_directory_path() / fs::path(File.RealPath()).filename();
    for (int i = 2; fs::exists(name); ++i) {
        const fs::path whole(File.RealPath());
        name = fs::temp_directory_path() /
               (whole.stem().string() + "-" + std::to_string(i) + whole.extension().string());
    }
    const OutputFile other(name.string());
    WriteRecording(AllRecords, plan, other);
    return other.Path();
}

// Saves a take whose file cannot be written. Returns a message about the place.
std::string TakeWriter::SaveElsewhere(const RecordingPlan& plan) {
    std::error_code none; // the folder may be deleted while the journal is still open
    if (TakeJournal->Write(plan.EndTime, true) && fs::exists(TakeJournal->Path(), none))
        return "the recording is in \"" + TakeJournal->Path() + "\"";
    try {
        const std::string elsewhere = SaveToTempFolder(plan);
        TakeJournal->Discard();
        return "the recording is in \"" + elsewhere + "\"";
    } catch (const std::exception&) { // the journal contains what fitted on the disk
        return "only its beginning is in \"" + TakeJournal->Path() + "\"";
    }
}

void TakeWriter::Finish(const RecordingPlan& plan) {
    const ForcedExitBlocker untilSafe;
    try {
        WriteRecording(AllRecords, plan, File);
        if (TakeJournal) TakeJournal->Discard();
    } catch (const HostError& error) {
        if (!TakeJournal) throw;
        throw HostError(std::string(error.what()) + "; " + SaveElsewhere(plan));
    }
}

} // namespace zorhost
