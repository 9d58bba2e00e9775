#include "midifile/reader.h"

#include "midi/status.h"
#include "midifile/track_reader.h"

#include <algorithm>
#include <cctype>
#include <cstring>

namespace midifile {

namespace {

constexpr std::size_t HeaderSize = 14;
constexpr int DefaultTicks = 96; // a quarter, where a file says none

std::uint32_t BigEndian(ByteSpan bytes, std::size_t at, std::size_t count) {
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < count; ++i) value = value << 8 | bytes[at + i];
    return value;
}

bool TagAt(ByteSpan bytes, std::size_t at, const char* tag) {
    return at + 4 <= bytes.size() && std::memcmp(&bytes[at], tag, 4) == 0;
}

// The size of the file if there is none.
std::size_t Find(ByteSpan bytes, std::size_t from, const char* tag) {
    if (from >= bytes.size()) return bytes.size();
    const auto rest = bytes.subspan(from);
    return from + static_cast<std::size_t>(std::search(rest.begin(), rest.end(), tag, tag + 4) -
                                           rest.begin());
}

bool IsChunk(ByteSpan bytes, std::size_t at) {
    if (at + 8 > bytes.size()) return false;
    return std::all_of(&bytes[at], &bytes[at] + 4, [](unsigned char c) { return std::isalnum(c); });
}

class FileReader {
public:
    FileReader(Song& song, Care care) : Into(song), Found(care == Care::Strict) {}
    void Read();

private:
    void ReadHeader();
    void ReadDivision(int division);
    void ReadChunks();
    void ReadTrack();
    std::size_t TrackLimit(std::size_t begin, std::size_t announced) const;
    void CheckEnd(const TrackReader& reader, std::size_t limit, std::size_t announced);
    void CheckCount();
    void Lay();
    void ReadMap();
    void AddTempo(const TrackEvent& meta);
    void AddMeter(const TrackEvent& meta);
    std::size_t PlaceOf(const TrackEvent& event) const { // in the file
        return static_cast<std::size_t>(event.Data.data() - Into.File.data());
    }
    std::string TrackName() const { return "track " + std::to_string(Into.Tracks.size() + 1); }

    Song& Into;
    Findings Found;
    std::size_t At = 0;
    std::size_t Announced = 0; // tracks
    bool Frames = false;       // time is counted in film frames, whatever the tempo events say
    std::int64_t Begin = 0;    // of the track that is read
    std::vector<std::int64_t> Begins;
};

void FileReader::ReadHeader() {
    const ByteSpan file = Into.File;
    if (file.empty()) throw Error("is empty");
    const std::size_t start = Find(file, 0, "MThd");
    if (start == file.size()) throw Error("is not a MIDI file");
    if (file.size() - start < HeaderSize) throw Error("is cut off in its header");
    if (TagAt(file, 0, "RIFF") && start > 0) {
        Found.Add("it is wrapped in a RIFF file");
    } else if (start > 0) {
        Found.Add(std::to_string(start) + (start == 1
                                               ? " byte before its header is passed over"
                                               : " bytes before its header are passed over"));
    }
    const std::size_t length = BigEndian(file, start + 4, 4);
    Into.Format = static_cast<int>(BigEndian(file, start + 8, 2));
    Announced = BigEndian(file, start + 10, 2);
    At = start + 8 + length;
    if (length < 6 || length > file.size() || !IsChunk(file, At)) {
        if (length != 6) Found.Add("its header has a wrong length");
        At = Find(file, start + HeaderSize, "MTrk");
    }
    if (Into.Format == 2) Found.Add("it is of type 2: its patterns are taken one after the other");
    if (Into.Format > 2) {
        Found.Add("it says that it is of type " + std::to_string(Into.Format) +
                  "; taken as type 1");
    }
    ReadDivision(static_cast<int>(BigEndian(file, start + 12, 2)));
}

// Of film frames, a second becomes a quarter note.
void FileReader::ReadDivision(int division) {
    Frames = division >= 0x8000;
    int ticks = division;
    if (Frames) {
        const int rate = 256 - (division >> 8);
        ticks = rate * (division & 0xFF);
        Found.Add("it counts time in film frames, " + std::to_string(rate) +
                  " a second: its bars are seconds by fours");
        Into.Map = TempoMap(std::max(1, ticks));
        Into.Map.Add(Tempo{0, rate == 29 ? 1001000 * 29 / 30 : 1000000});
    }
    if (ticks == 0) {
        Found.Add("it says no ticks a quarter; " + std::to_string(DefaultTicks) + " are taken");
        ticks = DefaultTicks;
        Frames = false;
    }
    if (!Frames) Into.Map = TempoMap(ticks);
}

// Where the track can end at most: where it says, or where the next one begins if that is wrong.
std::size_t FileReader::TrackLimit(std::size_t begin, std::size_t announced) const {
    const ByteSpan file = Into.File;
    if (announced >= file.size()) return file.size();
    if (IsChunk(file, announced)) return announced;
    return Find(file, begin, "MTrk");
}

// After the last event of a track: the reader goes on at the next chunk.
void FileReader::CheckEnd(const TrackReader& reader, std::size_t limit, std::size_t announced) {
    const std::size_t place = reader.Place();
    At = limit;
    if (!reader.SawEnd()) {
        const bool cut = announced > Into.File.size();
        Found.Add(cut ? "the file is cut off" : "a track breaks off without an end mark",
                  TrackName(), place);
    } else if (place != announced && limit != announced) {
        Found.Add("a track says a wrong length", TrackName(), place);
        At = place;
    } else if (place != limit) {
        Found.Add("bytes behind the end of a track are left out", TrackName(), place);
    }
}

void FileReader::ReadTrack() {
    const std::size_t begin = At + 8;
    const std::size_t length = BigEndian(Into.File, At + 4, 4);
    const std::size_t limit = TrackLimit(begin, begin + length);
    TrackReader reader(Into.File, begin, limit, TrackName(), Found);
    std::vector<TrackEvent> events;
    for (TrackEvent event; reader.Next(event);) {
        event.Tick += Begin;
        events.push_back(event);
        if (event.Status == midi::SystemExclusive || event.Status == midi::EndOfExclusive)
            ++Into.SystemExclusive;
    }
    CheckEnd(reader, limit, begin + length);
    Into.EndTick = std::max(Into.EndTick, Begin + reader.EndTick());
    Into.Tracks.push_back(std::move(events));
    Begins.push_back(Begin);
    if (Into.Format == 2) Begin = std::min(Into.EndTick, LastTick);
}

void FileReader::ReadChunks() {
    const ByteSpan file = Into.File;
    while (At < file.size() && Into.Tracks.size() < 0xFFFF) {
        if (TagAt(file, At, "MTrk") && IsChunk(file, At)) {
            ReadTrack();
        } else if (IsChunk(file, At) && BigEndian(file, At + 4, 4) <= file.size() - At - 8) {
            At += 8 + BigEndian(file, At + 4, 4); // of another kind
        } else {
            const std::size_t next = Find(file, At, "MTrk");
            Found.Add("bytes between tracks are left out", "", At);
            At = next > At ? next : file.size();
        }
    }
}

void FileReader::CheckCount() {
    const std::size_t count = Into.Tracks.size();
    if (count == 0) throw Error("is cut off: it holds no track");
    if (count == Announced) return;
    Found.Add("it has " + std::to_string(count) + " of the " + std::to_string(Announced) +
              " tracks that it says");
}

// One line of channel messages, and where in time it lies.
void FileReader::Lay() {
    for (std::size_t track = 0; track < Into.Tracks.size(); ++track) {
        for (const TrackEvent& event : Into.Tracks[track]) {
            if (event.Status >= midi::FirstSystemStatus) continue;
            const bool two = event.Data.size() == 2;
            Into.Events.push_back({event.Tick, static_cast<std::uint16_t>(track), event.Status,
                                   event.Data[0], two ? event.Data[1] : std::uint8_t{0}});
        }
    }
    std::ranges::stable_sort(Into.Events, {}, &Event::Tick);
    ReadMap();
}

void FileReader::ReadMap() {
    std::vector<TrackEvent> metas;
    for (std::size_t track = 0; track < Into.Tracks.size(); ++track) {
        static constexpr unsigned char plainTempo[] = {0x07, 0xA1, 0x20};
        static constexpr unsigned char plainMeter[] = {4, 2, 24, 8};
        if (Begins[track] > 0) {
            metas.push_back({Begins[track], MetaStatus, MetaTempo, plainTempo});
            metas.push_back({Begins[track], MetaStatus, MetaMeter, plainMeter});
        }
        std::ranges::copy_if(Into.Tracks[track], std::back_inserter(metas),
                             [](const TrackEvent& event) { return event.Status == MetaStatus; });
    }
    std::ranges::stable_sort(metas, {}, &TrackEvent::Tick);
    for (const TrackEvent& meta : metas) {
        if (meta.Type == MetaTempo && !Frames) AddTempo(meta);
        if (meta.Type == MetaMeter) AddMeter(meta);
    }
}

void FileReader::AddTempo(const TrackEvent& meta) {
    const std::uint32_t length = meta.Data.size() == 3 ? BigEndian(meta.Data, 0, 3) : 0;
    if (length > 0) return Into.Map.Add(Tempo{meta.Tick, static_cast<int>(length)});
    Found.Add("tempo changes that cannot be used are left out", "", PlaceOf(meta));
}

void FileReader::AddMeter(const TrackEvent& meta) {
    const ByteSpan data = meta.Data;
    if (data.size() >= 2 && data[0] > 0 && data[1] <= 6)
        return Into.Map.Add(Meter{meta.Tick, data[0], 1 << data[1]});
    Found.Add("meter changes that cannot be used are left out", "", PlaceOf(meta));
}

void FileReader::Read() {
    ReadHeader();
    ReadChunks();
    CheckCount();
    Lay();
    Into.Findings = Found.Lines();
}

} // namespace

Song Read(Bytes file, Care care) {
    Song song;
    song.File = std::move(file);
    FileReader(song, care).Read();
    return song;
}

} // namespace midifile
