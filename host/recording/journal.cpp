#include "host/recording/journal.h"

#include "host/recording/recording_file.h"
#include "host/terminal/host_error.h"
#include "host/terminal/names.h"
#include "host/terminal/progress.h"
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

constexpr int Ticks = 500;  // a quarter: milliseconds at 120 quarters a minute
constexpr int Late = 500;   // milliseconds that a record may come behind its time
constexpr int Pause = 200;  // milliseconds between two writes
constexpr int Often = 1000; // and between two syncs
constexpr std::uint8_t MetaPort = 0x21;
constexpr char Mark[] = "zorhost journal";
constexpr std::size_t LengthPlace = 18; // in the file: of the track's length
constexpr std::size_t BodyPlace = 22;

// "take.mid" becomes "take.part.mid".
fs::path Beside(const fs::path& target, const std::string& word) {
    return target.parent_path() / (target.stem().string() + word + target.extension().string());
}

midifile::Bytes ReadWhole(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

bool IsJournal(const fs::path& path) {
    std::error_code none;
    if (!fs::is_regular_file(fs::symlink_status(path, none))) return false;
    std::array<char, BodyPlace + 4 + sizeof Mark - 1> head{};
    std::ifstream(path, std::ios::binary).read(head.data(), head.size());
    return std::equal(Mark, std::end(Mark) - 1, &head[BodyPlace + 4]);
}

midifile::Bytes Joined(midifile::Bytes first, midifile::ByteSpan then, midifile::ByteSpan last) {
    first.insert(first.end(), then.begin(), then.end());
    first.insert(first.end(), last.begin(), last.end());
    return first;
}

// Its records, with the channels that they came in on.
std::vector<MIDIEvent> ReadJournal(const fs::path& path) {
    const midifile::Song song = midifile::Read(ReadWhole(path));
    std::vector<MIDIEvent> records;
    int block = 0;
    for (const midifile::TrackEvent& event : song.Tracks.front()) {
        const auto data = event.Data;
        if (event.Status == 0xFF && event.Type == MetaPort && !data.empty()) block = data[0];
        if (event.Status >= 0xF0) continue;
        records.push_back({static_cast<std::int32_t>(event.Tick), 0,
                           static_cast<std::int16_t>(block * 16 + (event.Status & 15)), 2,
                           static_cast<std::uint8_t>(event.Status & 0xF0), data[0],
                           data.size() > 1 ? data[1] : std::uint8_t{0}});
    }
    return records;
}

std::string FreeName(const fs::path& target) {
    fs::path name = Beside(target, ".rescued");
    for (int i = 2; fs::exists(name); ++i) name = Beside(target, ".rescued-" + std::to_string(i));
    return name.string();
}

void Rescue(const fs::path& journal, const fs::path& target) {
    const JournalFile file(journal.string(), JournalFile::Which::Existing);
    if (!file.IsHeld()) return; // another zorhost is recording into it
    const std::vector<MIDIEvent> records = ReadJournal(journal);
    if (!records.empty()) {
        const OutputFile rescued(FreeName(target));
        WriteRecording(records, {}, rescued);
        std::fprintf(stderr, "A recording that was broken off after %s is kept in \"%s\": %s.\n",
                     ClockText(records.back().Time).c_str(), rescued.Path().c_str(),
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
        } catch (const std::exception& error) { // it stays, and does not stop what begins now
            std::fprintf(stderr, "%s: left as it is: %s\n", journal.string().c_str(), error.what());
        }
    }
}

Journal::Journal(const std::string& target)
    : Name(Beside(target, ".part").string()), File(Name, JournalFile::Which::New) {
    if (File.WasThere()) {
        throw HostError("\"" + Name + "\" is there already: another zorhost is recording into \"" +
                        target + "\", or it is a file of yours; take another name");
    }
    if (File.IsHeld() && Begin()) return;
    const std::string why = File.IsHeld() ? "there is no room" : File.Error;
    if (File.IsHeld()) File.Remove();
    throw HostError("\"" + Name + "\" cannot be written: " + why);
}

bool Journal::Begin() {
    Sure.Track.AddText(0, midifile::MetaText, Mark);
    const midifile::Bytes body = Sure.Track.ReleaseBody();
    const midifile::ByteSpan end = midifile::EndOfTrack();
    const midifile::Bytes heads = Joined(midifile::FileHeader(0, 1, Ticks),
                                         midifile::TrackHeader(body.size() + end.size()), {});
    Size = body.size();
    return File.Put(Joined(heads, body, end), 0);
}

Journal::~Journal() {
    if (Used) {
        Write(Synced, true);
    } else {
        File.Remove();
    }
}

void Journal::Add(const MIDIEvent& record) {
    Pending.push_back(record);
    Used = true;
}

// What comes after all that its time would have put it before is as late as that.
void Journal::Events::Add(const MIDIEvent& record) {
    Last = std::max(Last, std::int32_t{record.Time}); // no reference into a packed record
    if (record.Channel >> 4 != Block) {
        Block = record.Channel >> 4;
        const unsigned char port[] = {static_cast<unsigned char>(Block)};
        Track.AddMeta(Last, MetaPort, port);
    }
    AddRecord(Track, Last, record);
}

void Journal::TakePending(std::int32_t until) {
    std::ranges::stable_sort(Pending, {}, [](const MIDIEvent& record) { return record.Time; });
    const auto later =
        std::ranges::find_if(Pending, [&](const MIDIEvent& record) { return record.Time > until; });
    for (auto record = Pending.begin(); record != later; ++record) Sure.Add(*record);
    Pending.erase(Pending.begin(), later);
}

midifile::Bytes Journal::Tail() const {
    Events last = Sure;
    for (const MIDIEvent& record : Pending) last.Add(record);
    for (const MIDIEvent& record : Held) last.Add(record);
    return last.Track.ReleaseBody();
}

// The events and a new end in one, over the old end; then the length. In the moment between, the
// track goes on behind its end or breaks off in its last events.
bool Journal::Write(std::int32_t now, bool all) {
    if (!all && now - Written < Pause) return Unwritten.empty();
    Written = now;
    TakePending(all ? INT32_MAX : now - Late);
    const midifile::Bytes fresh = Sure.Track.ReleaseBody();
    Unwritten.insert(Unwritten.end(), fresh.begin(), fresh.end());
    const midifile::Bytes tail = Tail();
    if (Unwritten.empty() && tail == LastTail) return true;
    const midifile::Bytes body = Joined(Unwritten, tail, midifile::EndOfTrack());
    if (!File.Put(body, BodyPlace + Size)) {
        const midifile::Bytes asItWas = Joined({}, LastTail, midifile::EndOfTrack());
        static_cast<void>(File.Put(asItWas, BodyPlace + Size));
        return false;
    }
    const midifile::Bytes head = midifile::TrackHeader(Size + body.size());
    if (!File.Put(midifile::ByteSpan(head).subspan(4), LengthPlace)) return false;
    Size += Unwritten.size();
    Unwritten.clear();
    LastTail = tail;
    if (now - Synced >= Often || all) {
        File.Sync();
        Synced = now;
    }
    return true;
}

} // namespace zorhost
