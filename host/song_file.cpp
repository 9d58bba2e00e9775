#include "host/song_file.h"

#include "host/host_error.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>

namespace zorhost {

namespace {

[[noreturn]] void Refuse(const std::string& path, const std::string& why) {
    throw HostError("\"" + path + "\" " + why);
}

midifile::Bytes ReadBytes(const std::string& path) {
    if (std::filesystem::is_directory(path)) Refuse(path, "is a folder");
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

} // namespace

midifile::Song ReadSongQuietly(const std::string& path, bool strict) {
    try {
        return midifile::Read(ReadBytes(path),
                              strict ? midifile::Care::Strict : midifile::Care::Lenient);
    } catch (const midifile::Error& error) {
        Refuse(path, error.what());
    }
}

midifile::Song ReadSong(const std::string& path, bool strict) {
    midifile::Song song = ReadSongQuietly(path, strict);
    const std::string name = std::filesystem::path(path).filename().string();
    for (const std::string& line : song.Findings) {
        std::fprintf(stderr, "%s: %s\n", name.c_str(), line.c_str());
    }
    if (song.SystemExclusive > 0) {
        std::fprintf(stderr, "%s: %d system exclusive %s left out: the library carries none\n",
                     name.c_str(), song.SystemExclusive,
                     song.SystemExclusive == 1 ? "message is" : "messages are");
    }
    return song;
}

void CheckNotEmpty(const midifile::Song& song, const std::string& path) {
    if (song.Events.empty()) Refuse(path, "holds no notes");
}

} // namespace zorhost
