#include "host/midi_file.h"

#include "host/host_error.h"
#include "host/midi_track.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>

namespace zorhost {

namespace {

using Bytes = std::vector<unsigned char>;

[[noreturn]] void Refuse(const std::string& path, const std::string& why) {
    throw HostError("\"" + path + "\" " + why);
}

Bytes ReadBytes(const std::string& path) {
    if (std::filesystem::is_directory(path)) Refuse(path, "is a folder");
    const auto close = [](std::FILE* file) { std::fclose(file); };
    const std::unique_ptr<std::FILE, decltype(close)> file(std::fopen(path.c_str(), "rb"), close);
    Bytes bytes;
    unsigned char buffer[65536];
    while (file) {
        const std::size_t count = std::fread(buffer, 1, sizeof buffer, file.get());
        bytes.insert(bytes.end(), buffer, buffer + count);
        if (count < sizeof buffer) break;
    }
    if (!file || std::ferror(file.get())) {
        Refuse(path, std::string("cannot be read: ") + std::strerror(errno));
    }
    return bytes;
}

std::uint32_t BigEndian(ByteSpan bytes, std::size_t at, std::size_t count) {
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < count; ++i) value = value << 8 | bytes[at + i];
    return value;
}

bool TagAt(ByteSpan bytes, std::size_t at, const char* tag) {
    return at + 4 <= bytes.size() && std::memcmp(&bytes[at], tag, 4) == 0;
}

struct Header {
    int Format;
    int Tracks;
    int TicksPerQuarter;
    std::size_t Size; // of the whole chunk
};

Header ReadHeader(const std::string& path, ByteSpan bytes) {
    if (bytes.empty()) Refuse(path, "is empty");
    if (TagAt(bytes, 0, "RIFF"))
        Refuse(path, "is a RIFF file; only plain MIDI files can be played");
    if (!TagAt(bytes, 0, "MThd")) Refuse(path, "is not a MIDI file");
    if (bytes.size() < 14) Refuse(path, "is cut off in its header");
    const Header header = {
        static_cast<int>(BigEndian(bytes, 8, 2)), static_cast<int>(BigEndian(bytes, 10, 2)),
        static_cast<int>(BigEndian(bytes, 12, 2)), 8 + std::size_t{BigEndian(bytes, 4, 4)}};
    if (header.Format > 1) {
        Refuse(path, "is a MIDI file of type " + std::to_string(header.Format) +
                         "; types 0 and 1 can be played");
    }
    if (header.TicksPerQuarter >= 0x8000) {
        Refuse(path, "counts time in film frames; only beats can be played");
    }
    if (header.Size < 14 || header.TicksPerQuarter == 0 || header.Tracks == 0) {
        Refuse(path, "is damaged in its header");
    }
    return header;
}

struct MetaEvent {
    std::int64_t Tick;
    std::uint8_t Type;
    ByteSpan Data;
};

// Events of all tracks, track after track.
struct Gathered {
    std::vector<FileEvent> Events;
    std::vector<MetaEvent> Metas;
    std::int64_t EndTick = 0;
    int SystemExclusive = 0;
};

void Take(const TrackEvent& event, Gathered& all) {
    if (event.Status == 0xFF) {
        all.Metas.push_back({event.Tick, event.Type, event.Data});
    } else if (event.Status >= 0xF0) {
        ++all.SystemExclusive;
    } else {
        const bool two = event.Data.size() == 2;
        all.Events.push_back(
            {event.Tick, event.Status, event.Data[0], two ? event.Data[1] : std::uint8_t{0}});
    }
}

// Gives the place of the damage in the track, or its size if it is sound.
std::size_t ReadTrack(ByteSpan body, Gathered& all) {
    TrackReader reader(body);
    TrackEvent event;
    for (;;) {
        const std::size_t place = reader.Place();
        const TrackReader::Result result = reader.Next(event);
        if (result == TrackReader::Result::Damaged) return place;
        all.EndTick = std::max(all.EndTick, event.Tick);
        if (result == TrackReader::Result::End) return body.size();
        Take(event, all);
    }
}

Gathered ReadTracks(const std::string& path, ByteSpan bytes, const Header& header) {
    Gathered all;
    int found = 0;
    for (std::size_t at = header.Size; found < header.Tracks && at + 8 <= bytes.size();) {
        const std::size_t length = BigEndian(bytes, at + 4, 4);
        const std::string place =
            " in track " + std::to_string(found + 1) + " of " + std::to_string(header.Tracks);
        if (length > bytes.size() - at - 8) Refuse(path, "is cut off" + place);
        if (TagAt(bytes, at, "MTrk")) {
            const std::size_t reached = ReadTrack(bytes.subspan(at + 8, length), all);
            if (reached < length || length == 0) {
                Refuse(path,
                       "is damaged" + place + ", at byte " + std::to_string(at + 8 + reached));
            }
            ++found;
        } // chunks of other kinds are passed over
        at += 8 + length;
    }
    if (found < header.Tracks) {
        Refuse(path, "is cut off: it has " + std::to_string(found) + " of its " +
                         std::to_string(header.Tracks) + " tracks");
    }
    return all;
}

TempoMap MakeMap(const std::vector<MetaEvent>& metas, int ticksPerQuarter) {
    TempoMap map(ticksPerQuarter);
    for (const auto& [tick, type, data] : metas) {
        if (type == 0x51 && data.size() == 3) {
            const auto length = static_cast<int>(BigEndian(data, 0, 3));
            if (length > 0) map.Add(Tempo{tick, length});
        } else if (type == 0x58 && data.size() >= 2 && data[0] > 0 && data[1] <= 6) {
            map.Add(Meter{tick, data[0], 1 << data[1]});
        }
    }
    return map;
}

} // namespace

MidiFile ReadMidiFile(const std::string& path) { return ParseMidiFile(path, ReadBytes(path)); }

MidiFile ParseMidiFile(const std::string& path, std::span<const unsigned char> bytes) {
    const Header header = ReadHeader(path, bytes);
    Gathered all = ReadTracks(path, bytes, header);
    if (all.Events.empty()) Refuse(path, "holds no notes");
    const auto byTick = [](const auto& a, const auto& b) { return a.Tick < b.Tick; };
    std::stable_sort(all.Events.begin(), all.Events.end(), byTick);
    std::stable_sort(all.Metas.begin(), all.Metas.end(), byTick);

    MidiFile file;
    file.Format = header.Format;
    file.Tracks = header.Tracks;
    file.Map = MakeMap(all.Metas, header.TicksPerQuarter);
    file.Events = std::move(all.Events);
    file.EndTick = all.EndTick;
    file.SystemExclusive = all.SystemExclusive;
    return file;
}

} // namespace zorhost
