// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "midifile/reader.h"

#include "midi/status.h"
#include "midifile/track_reader.h"

#include <algorithm>
#include <cctype>
#include <cstring>

namespace midifile {

namespace {

constexpr std::size_t HeaderSize = 14;
constexpr int DefaultTicks = 96; // per quarter note, for a file that has none

std::uint32_t BigEndian(ByteSpan bytes, std::size_t at, std::size_t count) {
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < count; ++i) value = value << 8 | bytes[at + i];
    return value;
}

bool TagAt(ByteSpan bytes, std::size_t at, const char* tag) {
    return at + 4 <= bytes.size() && std::memcmp(&bytes[at], tag, 4) == 0;
}

// The offset of the next such tag; the size of the file if there is none.
std::size_t FindTag(ByteSpan bytes, std::size_t begin, const char* tag) {
    if (begin >= bytes.size()) return bytes.size();
    const auto rest = bytes.subspan(begin);
    return begin + static_cast<std::size_t>(std::search(rest.begin(), rest.end(), tag, tag + 4) -
                                            rest.begin());
}

bool IsChunk(ByteSpan bytes, std::size_t at) {
    if (at + 8 > bytes.size()) return false;
    return std::all_of(&bytes[at], &bytes[at] + 4, [](unsigned char c) { return std::isalnum(c); });
}

class FileReader {
public:
    FileReader(Song& song, ParseMode mode) : Result(song), Warnings(mode == ParseMode::Strict) {}
    void Read();

private:
    void ReadHeader();
    void ReadDivision(int division);
    void ReadChunks();
    void ReadTrack();
    std::size_t TrackLimit(std::size_t begin, std::size_t announced) const;
    void CheckEnd(const TrackReader& reader, std::size_t limit, std::size_t announced);
    void CheckCount();
    void MergeTracks();
    void ReadTempoMap();
    void AddTempo(const TrackEvent& meta);
    void AddMeter(const TrackEvent& meta);
    // Byte offset of the event's data in the file.
    std::size_t PositionOf(const TrackEvent& event) const {
        return static_cast<std::size_t>(event.Data.data() - Result.File.data());
    }
    std::string TrackName() const { return "track " + std::to_string(Result.Tracks.size() + 1); }

    Song& Result;
    midifile::Warnings Warnings;
    std::size_t Cursor = 0; // byte offset of the next chunk
    std::size_t AnnouncedTracks = 0;
    bool FilmFrames = false;     // ticks are parts of a film frame, and tempo events have no effect
    std::int64_t TrackBegin = 0; // tick at which the current track begins: above 0 in type 2 only
    std::vector<std::int64_t> TrackBegins; // ticks, for each track
};

// The header may follow other bytes, and its length may be greater than 6 or wrong.
void FileReader::ReadHeader() {
    const ByteSpan file = Result.File;
    if (file.empty()) throw Error("is empty");
    const std::size_t start = FindTag(file, 0, "MThd");
    if (start == file.size()) throw Error("is not a MIDI file");
    if (file.size() - start < HeaderSize) throw Error("is cut off in its header");
    if (TagAt(file, 0, "RIFF") && start > 0) {
        Warnings.Add("it is wrapped in a RIFF file");
    } else if (start > 0) {
        Warnings.Add(std::to_string(start) + (start == 1 ? " byte before its header is skipped"
                                                         : " bytes before its header are skipped"));
    }
    const std::size_t length = BigEndian(file, start + 4, 4);
    Result.Format = static_cast<int>(BigEndian(file, start + 8, 2));
    AnnouncedTracks = BigEndian(file, start + 10, 2);
    Cursor = start + 8 + length;
    if (length < 6 || length > file.size() || !IsChunk(file, Cursor)) {
        if (length != 6) Warnings.Add("its header has a wrong length");
        Cursor = FindTag(file, start + HeaderSize, "MTrk");
    }
    if (Result.Format == 2)
        Warnings.Add("it is of type 2: its patterns are played one after the other");
    if (Result.Format > 2) {
        Warnings.Add("it is of type " + std::to_string(Result.Format) + "; read as type 1");
    }
    ReadDivision(static_cast<int>(BigEndian(file, start + 12, 2)));
}

// With film frames, a quarter note is a second.
void FileReader::ReadDivision(int division) {
    FilmFrames = division >= 0x8000;
    int ticks = division;
    if (FilmFrames) {
        // The high byte is the negative number of frames per second, the low one the ticks per
        // frame. 29 stands for 29.97 frames per second.
        const int rate = 256 - (division >> 8);
        ticks = rate * (division & 0xFF);
        Warnings.Add("it counts time in film frames, " + std::to_string(rate) +
                     " per second: its bars are 4 seconds long");
        Result.Map = TempoMap(std::max(1, ticks));
        Result.Map.Add(Tempo{0, rate == 29 ? 1001000 * 29 / 30 : 1000000});
    }
    if (ticks == 0) {
        Warnings.Add("it has no ticks per quarter note; " + std::to_string(DefaultTicks) +
                     " are assumed");
        ticks = DefaultTicks;
        FilmFrames = false;
    }
    if (!FilmFrames) Result.Map = TempoMap(ticks);
}

// The greatest offset at which the track can end: the announced one, or the beginning of the next
// track if no chunk follows there.
std::size_t FileReader::TrackLimit(std::size_t begin, std::size_t announced) const {
    const ByteSpan file = Result.File;
    if (announced >= file.size()) return file.size();
    if (IsChunk(file, announced)) return announced;
    return FindTag(file, begin, "MTrk");
}

// Called after the last event of a track. Moves the cursor to the next chunk.
void FileReader::CheckEnd(const TrackReader& reader, std::size_t limit, std::size_t announced) {
    const std::size_t end = reader.Position();
    Cursor = limit;
    if (!reader.HasEndEvent()) {
        const bool cut = announced > Result.File.size();
        Warnings.Add(cut ? "the file is cut off" : "a track has no end-of-track event", TrackName(),
                     end);
    } else if (end != announced && limit != announced) {
        Warnings.Add("a track has a wrong length", TrackName(), end);
        Cursor = end;
    } else if (end != limit) {
        Warnings.Add("bytes after the end of a track are ignored", TrackName(), end);
    }
}

void FileReader::ReadTrack() {
    const std::size_t begin = Cursor + 8;
    const std::size_t length = BigEndian(Result.File, Cursor + 4, 4);
    const std::size_t limit = TrackLimit(begin, begin + length);
    TrackReader reader(Result.File, begin, limit, TrackName(), Warnings);
    std::vector<TrackEvent> events;
    for (TrackEvent event; reader.Next(event);) {
        event.Tick += TrackBegin;
        events.push_back(event);
        if (event.Status == midi::SystemExclusive || event.Status == midi::EndOfExclusive)
            ++Result.SystemExclusive;
    }
    CheckEnd(reader, limit, begin + length);
    Result.EndTick = std::max(Result.EndTick, TrackBegin + reader.EndTick());
    Result.Tracks.push_back(std::move(events));
    TrackBegins.push_back(TrackBegin);
    if (Result.Format == 2) TrackBegin = std::min(Result.EndTick, MaxTick);
}

void FileReader::ReadChunks() {
    const ByteSpan file = Result.File;
    while (Cursor < file.size() && Result.Tracks.size() < 0xFFFF) {
        if (TagAt(file, Cursor, "MTrk") && IsChunk(file, Cursor)) {
            ReadTrack();
        } else if (IsChunk(file, Cursor) &&
                   BigEndian(file, Cursor + 4, 4) <= file.size() - Cursor - 8) {
            Cursor += 8 + BigEndian(file, Cursor + 4, 4); // a chunk of another kind
        } else {
            const std::size_t next = FindTag(file, Cursor, "MTrk");
            Warnings.Add("bytes between tracks are ignored", "", Cursor);
            Cursor = next > Cursor ? next : file.size();
        }
    }
}

void FileReader::CheckCount() {
    const std::size_t count = Result.Tracks.size();
    if (count == 0) throw Error("is cut off: it contains no track");
    if (count == AnnouncedTracks) return;
    Warnings.Add("it has " + std::to_string(count) + " of the " + std::to_string(AnnouncedTracks) +
                 " tracks that its header announces");
}

// Merges the channel messages of all tracks and reads the tempo map.
void FileReader::MergeTracks() {
    for (std::size_t track = 0; track < Result.Tracks.size(); ++track) {
        for (const TrackEvent& event : Result.Tracks[track]) {
            if (event.Status >= midi::FirstSystemStatus) continue;
            const bool two = event.Data.size() == 2;
            Result.Events.push_back({event.Tick, static_cast<std::uint16_t>(track), event.Status,
                                     event.Data[0], two ? event.Data[1] : std::uint8_t{0}});
        }
    }
    std::ranges::stable_sort(Result.Events, {}, &Event::Tick);
    ReadTempoMap();
}

void FileReader::ReadTempoMap() {
    std::vector<TrackEvent> metas;
    for (std::size_t track = 0; track < Result.Tracks.size(); ++track) {
        static constexpr unsigned char defaultTempo[] = {0x07, 0xA1, 0x20};
        static constexpr unsigned char defaultMeter[] = {4, 2, 24, 8};
        // In type 2 each pattern starts with the default tempo and meter.
        if (TrackBegins[track] > 0) {
            metas.push_back({TrackBegins[track], MetaStatus, MetaTempo, defaultTempo});
            metas.push_back({TrackBegins[track], MetaStatus, MetaMeter, defaultMeter});
        }
        std::ranges::copy_if(Result.Tracks[track], std::back_inserter(metas),
                             [](const TrackEvent& event) { return event.Status == MetaStatus; });
    }
    std::ranges::stable_sort(metas, {}, &TrackEvent::Tick);
    for (const TrackEvent& meta : metas) {
        if (meta.Type == MetaTempo && !FilmFrames) AddTempo(meta);
        if (meta.Type == MetaMeter) AddMeter(meta);
    }
}

void FileReader::AddTempo(const TrackEvent& meta) {
    const std::uint32_t length = meta.Data.size() == 3 ? BigEndian(meta.Data, 0, 3) : 0;
    if (length > 0) return Result.Map.Add(Tempo{meta.Tick, static_cast<int>(length)});
    Warnings.Add("invalid tempo changes are ignored", "", PositionOf(meta));
}

void FileReader::AddMeter(const TrackEvent& meta) {
    const ByteSpan data = meta.Data;
    if (data.size() >= 2 && data[0] > 0 && data[1] <= 6)
        return Result.Map.Add(Meter{meta.Tick, data[0], 1 << data[1]});
    Warnings.Add("invalid meter changes are ignored", "", PositionOf(meta));
}

void FileReader::Read() {
    ReadHeader();
    ReadChunks();
    CheckCount();
    MergeTracks();
    Result.Warnings = Warnings.Lines();
}

} // namespace

Song Read(Bytes file, ParseMode mode) {
    Song song;
    song.File = std::move(file);
    FileReader(song, mode).Read();
    return song;
}

} // namespace midifile
