// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "host/playback/song_file.h"

#include "host/terminal/host_error.h"
#include "host/terminal/interrupt.h"
#include "midi/status.h"

#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <set>

namespace zorhost {

namespace {

[[noreturn]] void Refuse(const std::string& path, const std::string& why) {
    throw HostError("\"" + path + "\" " + why);
}

// Reads a file or a pipe to its end. Ctrl-C ends the wait for a pipe.
midifile::Bytes ReadBytes(const std::string& path) {
    if (std::filesystem::is_directory(path)) Refuse(path, "is a folder");
    const InterruptibleReads wait;
    const auto close = [](std::FILE* file) { std::fclose(file); };
    const std::unique_ptr<std::FILE, decltype(close)> file(std::fopen(path.c_str(), "rb"), close);
    midifile::Bytes bytes;
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

using midifile::Event;

constexpr int DrumChannel = 9; // from 0

// The channels and tracks of --solo or --mute, both from 0.
class Parts {
public:
    Parts(const char* option, const std::vector<std::string>& words, std::size_t tracks) {
        for (const std::string& word : words) {
            const bool track = word.starts_with('t');
            const std::size_t most = track ? tracks : 16;
            std::size_t number = 0;
            const char* const end = word.data() + word.size();
            const auto [stop, error] = std::from_chars(word.data() + (track ? 1 : 0), end, number);
            if (error != std::errc() || stop != end || number < 1 || number > most) {
                throw HostError(std::string(option) +
                                    " accepts channels from 1 to 16 and tracks "
                                    "from t1 to t" +
                                    std::to_string(tracks) + ", not \"" + word + "\"",
                                ExitWrongUse);
            }
            (track ? Tracks : Channels).insert(number - 1);
        }
    }
    bool Has(const Event& event) const {
        return Channels.contains(midi::ChannelOf(event.Status)) || Tracks.contains(event.Track);
    }

private:
    std::set<std::size_t> Channels;
    std::set<std::size_t> Tracks;
};

// Note on, note off and key pressure, except for drums.
bool IsNote(const Event& event) {
    return event.Status < midi::ControlChange && midi::ChannelOf(event.Status) != DrumChannel;
}

} // namespace

midifile::Song ReadSongQuietly(const std::string& path, bool strict) {
    try {
        return midifile::Read(ReadBytes(path),
                              strict ? midifile::ParseMode::Strict : midifile::ParseMode::Lenient);
    } catch (const midifile::Error& error) {
        Refuse(path, error.what());
    }
}

midifile::Song ReadSong(const std::string& path, bool strict) {
    midifile::Song song = ReadSongQuietly(path, strict);
    const std::string name = std::filesystem::path(path).filename().string();
    for (const std::string& line : song.Warnings) {
        std::fprintf(stderr, "%s: %s\n", name.c_str(), line.c_str());
    }
    if (song.SystemExclusive > 0) {
        std::fprintf(stderr,
                     "%s: %d system exclusive %s left out: the library does not send them\n",
                     name.c_str(), song.SystemExclusive,
                     song.SystemExclusive == 1 ? "message is" : "messages are");
    }
    return song;
}

void CheckNotEmpty(const midifile::Song& song, const std::string& path) {
    if (song.Events.empty()) Refuse(path, "contains no notes");
}

int ApplyEdit(const SongEdit& edit, midifile::Song& song) {
    const Parts solo("--solo", edit.Solo, song.Tracks.size());
    const Parts mute("--mute", edit.Mute, song.Tracks.size());
    std::erase_if(song.Events, [&](const Event& event) {
        return (!edit.Solo.empty() && !solo.Has(event)) || mute.Has(event);
    });
    int lost = 0;
    std::erase_if(song.Events, [&](Event& event) {
        if (!IsNote(event)) return false;
        const int key = event.Data1 + edit.Transpose;
        if (key >= 0 && key <= 127) {
            event.Data1 = static_cast<std::uint8_t>(key);
            return false;
        }
        if (midi::StartsNote(midi::MessageType(event.Status), event.Data2)) ++lost;
        return true;
    });
    return lost;
}

} // namespace zorhost
