#include "host/midi_file.h"

#include "host/host_error.h"
#include "host/smf_library.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace zorhost {

namespace {

using Bytes = std::vector<unsigned char>;

[[noreturn]] void Refuse(const std::string& path, const std::string& why) {
    throw HostError("\"" + path + "\" " + why);
}

Bytes ReadBytes(const std::string& path) {
    if (std::filesystem::is_directory(path)) Refuse(path, "is a folder");
    errno = 0;
    std::ifstream file(path, std::ios::binary);
    Bytes bytes;
    if (file) bytes.assign(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
    if (!file.is_open() || file.bad()) {
        Refuse(path, std::string("cannot be read: ") + std::strerror(errno ? errno : EIO));
    }
    if (bytes.empty()) Refuse(path, "is empty");
    return bytes;
}

std::uint32_t BigEndian(const Bytes& bytes, std::size_t at, std::size_t count) {
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < count; ++i) value = value << 8 | bytes[at + i];
    return value;
}

bool TagAt(const Bytes& bytes, std::size_t at, const char* tag) {
    return at + 4 <= bytes.size() && std::memcmp(&bytes[at], tag, 4) == 0;
}

// The frame of the file, which tells a user more about a damaged one than its contents would.
void CheckFrame(const std::string& path, const Bytes& bytes) {
    if (TagAt(bytes, 0, "RIFF"))
        Refuse(path, "is a RIFF file; only plain MIDI files can be played");
    if (!TagAt(bytes, 0, "MThd")) Refuse(path, "is not a MIDI file");
    if (bytes.size() < 14) Refuse(path, "is cut off in its header");
    const std::uint32_t format = BigEndian(bytes, 8, 2);
    const std::uint32_t tracks = BigEndian(bytes, 10, 2);
    const std::uint32_t division = BigEndian(bytes, 12, 2);
    if (format > 1) {
        Refuse(path, "is a MIDI file of type " + std::to_string(format) +
                         "; types 0 and 1 can be played");
    }
    if (division & 0x8000) Refuse(path, "counts time in film frames; only beats can be played");
    if (division == 0) Refuse(path, "is damaged: it has 0 ticks a quarter note");

    std::size_t at = 8 + std::size_t{BigEndian(bytes, 4, 4)};
    std::uint32_t found = 0;
    while (found < tracks && at + 8 <= bytes.size()) {
        const std::size_t length = BigEndian(bytes, at + 4, 4);
        const bool isTrack = TagAt(bytes, at, "MTrk");
        if (length > bytes.size() - at - 8) {
            Refuse(path, "is cut off in track " + std::to_string(found + 1) + " of " +
                             std::to_string(tracks));
        }
        at += 8 + length;
        if (isTrack) ++found;
    }
    if (found < tracks) {
        Refuse(path, "is cut off: it has " + std::to_string(found) + " of its " +
                         std::to_string(tracks) + " tracks");
    }
}

void TakeMeta(const smf_event_t& event, TempoMap& map) {
    const unsigned char* data = event.midi_buffer;
    const int length = event.midi_buffer_length;
    if (length >= 6 && data[1] == 0x51) {
        const int tempo = data[3] << 16 | data[4] << 8 | data[5];
        if (tempo > 0) map.Add(Tempo{event.time_pulses, tempo});
    } else if (length >= 5 && data[1] == 0x58 && data[3] > 0 && data[4] <= 6) {
        map.Add(Meter{event.time_pulses, data[3], 1 << data[4]});
    }
}

void TakeEvent(const std::string& path, const smf_event_t& event, MidiFile& file) {
    const unsigned char* data = event.midi_buffer;
    const std::uint8_t status = data[0];
    file.EndTick = event.time_pulses;
    if (status == 0xFF) {
        TakeMeta(event, file.Map);
    } else if (status >= 0xF0) {
        if (status == 0xF0 || status == 0xF7) ++file.SystemExclusive;
    } else {
        const int wanted = 1 + DataBytes(status);
        if (status < 0x80 || event.midi_buffer_length < wanted || data[1] > 127 ||
            (wanted == 3 && data[2] > 127)) {
            Refuse(path, "is damaged in track " + std::to_string(event.track_number));
        }
        file.Events.push_back(
            {event.time_pulses, status, data[1], wanted == 3 ? data[2] : std::uint8_t{0}});
    }
}

} // namespace

MidiFile ReadMidiFile(const std::string& path) {
    const Bytes bytes = ReadBytes(path);
    CheckFrame(path, bytes);
    SmfErrors errors;
    const SmfPointer smf(smf_load_from_memory(bytes.data(), static_cast<int>(bytes.size())));
    if (!smf) Refuse(path, "is damaged: " + errors.Text());

    MidiFile file;
    file.Format = smf->format;
    file.Tracks = smf->number_of_tracks;
    file.Map = TempoMap(smf->ppqn);
    while (const smf_event_t* event = smf_get_next_event(smf.get())) TakeEvent(path, *event, file);
    if (!errors.Text().empty()) Refuse(path, "is damaged: " + errors.Text());
    if (file.Events.empty()) Refuse(path, "holds no notes");
    return file;
}

} // namespace zorhost
