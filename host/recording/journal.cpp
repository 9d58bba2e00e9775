// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "host/recording/journal.h"

#include "host/recording/recording_file.h"
#include "host/terminal/host_error.h"
#include "host/terminal/names.h"
#include "host/terminal/progress.h"
#include "midi/status.h"
#include "midifile/reader.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace zorhost {

namespace fs = std::filesystem;

namespace {

constexpr int TicksPerQuarter = 500; // a tick is a millisecond at 120 quarter notes per minute
constexpr int MaxLateness = 500;     // milliseconds by which a record may arrive after its time
constexpr int WriteInterval = 200;   // milliseconds
constexpr int SyncInterval = 1000;   // milliseconds
constexpr std::uint8_t MetaPort = 0x21;
constexpr char Mark[] = "zorhost journal";
constexpr std::size_t LengthOffset = 18; // of the track's length in the file
constexpr std::size_t BodyOffset = 22;   // of its events

// "take.mid" with the word ".part" becomes "take.part.mid".
fs::path WithWord(const fs::path& target, const std::string& word) {
    return target.parent_path() / (target.stem().string() + word + target.extension().string());
}

midifile::Bytes ReadWhole(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

// Whether the file is a journal of ours: it begins with a text event that contains Mark.
bool IsJournal(const fs::path& path) {
    std::error_code none;
    if (!fs::is_regular_file(fs::symlink_status(path, none))) return false;
    std::array<char, BodyOffset + 4 + sizeof Mark - 1> head{};
    std::ifstream(path, std::ios::binary).read(head.data(), head.size());
    return std::equal(Mark, std::end(Mark) - 1, &head[BodyOffset + 4]);
}

midifile::Bytes Concatenate(midifile::Bytes first, midifile::ByteSpan second,
                            midifile::ByteSpan last) {
    first.insert(first.end(), second.begin(), second.end());
    first.insert(first.end(), last.begin(), last.end());
    return first;
}

// The records of a journal with their original channels, which can be above 16.
std::vector<MIDIEvent> ReadJournal(const fs::path& path) {
    const midifile::Song song = midifile::Read(ReadWhole(path));
    std::vector<MIDIEvent> records;
    int block = 0;
    for (const midifile::TrackEvent& event : song.Tracks.front()) {
        const auto data = event.Data;
        if (event.Status == midifile::MetaStatus && event.Type == MetaPort && !data.empty())
            block = data[0];
        if (event.Status >= midi::FirstSystemStatus) continue;
        records.push_back({static_cast<std::int32_t>(event.Tick), 0,
                           static_cast<std::int16_t>(block * 16 + midi::ChannelOf(event.Status)), 2,
                           midi::MessageType(event.Status), data[0],
                           data.size() > 1 ? data[1] : std::uint8_t{0}});
    }
    return records;
}

std::string UnusedName(const fs::path& target) {
    fs::path name = WithWord(target, ".rescued");
    for (int i = 2; fs::exists(name); ++i) name = WithWord(target, ".rescued-" + std::to_string(i));
    return name.string();
}

void Rescue(const fs::path& journal, const fs::path& target) {
    const JournalFile file(journal.string(), JournalFile::OpenMode::Existing);
    if (!file.IsLocked()) return; // another zorhost is recording into it
    const std::vector<MIDIEvent> records = ReadJournal(journal);
    if (!records.empty()) {
        const OutputFile rescued(UnusedName(target));
        WriteRecording(records, {}, rescued);
        std::fprintf(stderr, "An interrupted recording was rescued to \"%s\": %s, %s.\n",
                     rescued.Path().c_str(), ClockText(records.back().Time).c_str(),
                     Counted(std::ssize(records), "message").c_str());
    }
    file.Remove();
}

} // namespace

void RescueTakes(const std::string& target) {
    const fs::path folder = fs::path(target).parent_path();
    std::vector<fs::path> journals;
    std::error_code none;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder, none)) {
        if (entry.path().stem().extension() == ".part" && IsJournal(entry.path()))
            journals.push_back(entry.path());
    }
    for (const fs::path& journal : journals) {
        const fs::path stem = journal.stem().stem();
        try {
            Rescue(journal, folder / (stem.string() + journal.extension().string()));
        } catch (const std::exception& error) { // the journal stays, and the new recording starts
            std::fprintf(stderr, "%s: cannot be rescued: %s\n", journal.string().c_str(),
                         error.what());
        }
    }
}

Journal::Journal(const std::string& target)
    : Name(WithWord(target, ".part").string()), File(Name, JournalFile::OpenMode::New) {
    if (File.AlreadyExists()) {
        throw HostError("\"" + Name + "\" already exists: another zorhost is recording into \"" +
                        target + "\", or it is a file of yours; choose another name");
    }
    if (File.IsLocked() && WriteEmptyTrack()) return;
    const std::string why = File.IsLocked() ? "the disk is full" : File.ErrorText;
    if (File.IsLocked()) File.Remove();
    throw HostError("\"" + Name + "\" cannot be written: " + why);
}

bool Journal::WriteEmptyTrack() {
    Settled.Track.AddText(0, midifile::MetaText, Mark);
    const midifile::Bytes body = Settled.Track.ReleaseBody();
    const midifile::ByteSpan end = midifile::EndOfTrack();
    const midifile::Bytes headers =
        Concatenate(midifile::FileHeader(0, 1, TicksPerQuarter),
                    midifile::TrackHeader(body.size() + end.size()), {});
    Size = body.size();
    return File.Write(Concatenate(headers, body, end), 0);
}

Journal::~Journal() {
    if (IsNeeded) {
        Write(LastSyncTime, true);
    } else {
        File.Remove();
    }
}

void Journal::Add(const MIDIEvent& record) {
    Pending.push_back(record);
    IsNeeded = true;
}

// A record that arrives after a later one was written gets the time of that one.
void Journal::EventWriter::Add(const MIDIEvent& record) {
    const std::int32_t time = record.Time; // copied: a packed member cannot be referenced
    LastTime = std::max(LastTime, time);
    if (record.Channel >> 4 != Block) {
        Block = record.Channel >> 4;
        const unsigned char port[] = {static_cast<unsigned char>(Block)};
        Track.AddMeta(LastTime, MetaPort, port);
    }
    AddRecord(Track, LastTime, record);
}

void Journal::SettlePending(std::int32_t until) {
    std::ranges::stable_sort(Pending, {}, [](const MIDIEvent& record) { return record.Time; });
    const auto later =
        std::ranges::find_if(Pending, [&](const MIDIEvent& record) { return record.Time > until; });
    for (auto record = Pending.begin(); record != later; ++record) Settled.Add(*record);
    Pending.erase(Pending.begin(), later);
}

// The events that may still change.
midifile::Bytes Journal::Tail() const {
    EventWriter last = Settled;
    for (const MIDIEvent& record : Pending) last.Add(record);
    for (const MIDIEvent& record : Provisional) last.Add(record);
    return last.Track.ReleaseBody();
}

// Overwrites the old tail with new events and a new tail, then updates the length. If the program
// is killed between the two writes, the length is wrong, which our reader repairs.
bool Journal::Write(std::int32_t now, bool all) {
    if (!all && now - LastWriteTime < WriteInterval) return UnwrittenBytes.empty();
    LastWriteTime = now;
    SettlePending(all ? INT32_MAX : now - MaxLateness);
    const midifile::Bytes fresh = Settled.Track.ReleaseBody();
    UnwrittenBytes.insert(UnwrittenBytes.end(), fresh.begin(), fresh.end());
    const midifile::Bytes tail = Tail();
    if (UnwrittenBytes.empty() && tail == LastTail) return true;
    const midifile::Bytes body = Concatenate(UnwrittenBytes, tail, midifile::EndOfTrack());
    if (!File.Write(body, BodyOffset + Size)) {
        const midifile::Bytes previous = Concatenate({}, LastTail, midifile::EndOfTrack());
        static_cast<void>(File.Write(previous, BodyOffset + Size));
        return false;
    }
    const midifile::Bytes head = midifile::TrackHeader(Size + body.size());
    if (!File.Write(midifile::ByteSpan(head).subspan(4), LengthOffset)) return false;
    Size += UnwrittenBytes.size();
    UnwrittenBytes.clear();
    LastTail = tail;
    if (now - LastSyncTime >= SyncInterval || all) {
        File.Sync();
        LastSyncTime = now;
    }
    return true;
}

} // namespace zorhost
