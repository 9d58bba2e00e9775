// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "host/sound/sound_decoder.h"

#include "host/terminal/host_error.h"
#include "host/terminal/interrupt.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <sndfile.h>
#include <sys/stat.h>
#include <unistd.h>

namespace zorhost {

namespace {

[[noreturn]] void CannotRead(const std::string& path, const std::string& why) {
    throw HostError("\"" + path + "\" cannot be read: " + why);
}

// Copies a pipe to an unnamed temporary file, since decoders need to seek.
std::FILE* CopyToTempFile(std::FILE* source, const std::string& path) {
    std::FILE* target = std::tmpfile();
    if (!target) CannotRead(path, std::strerror(errno));
    std::array<char, 65536> bytes;
    while (!Interrupted()) {
        const std::size_t got = std::fread(bytes.data(), 1, bytes.size(), source);
        if (got == 0) break;
        if (std::fwrite(bytes.data(), 1, got, target) == got) continue;
        std::fclose(target);
        CannotRead(path, "no disk space is left for a copy");
    }
    std::fflush(target);
    std::rewind(target);
    return target;
}

struct CloseStream {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
struct CloseSound {
    void operator()(SNDFILE* file) const { sf_close(file); }
};
using Stream = std::unique_ptr<std::FILE, CloseStream>;

Stream OpenStream(const std::string& path) {
    const InterruptibleReads wait;
    Stream stream(path == StandardInput ? fdopen(dup(STDIN_FILENO), "rb")
                                        : std::fopen(path.c_str(), "rb"));
    struct stat about = {};
    if (!stream || fstat(fileno(stream.get()), &about) != 0) CannotRead(path, std::strerror(errno));
    if (S_ISDIR(about.st_mode)) CannotRead(path, "it is a folder");
    if (!S_ISREG(about.st_mode)) {
        stream.reset(CopyToTempFile(stream.get(), path));
        fstat(fileno(stream.get()), &about);
    }
    if (about.st_size == 0) CannotRead(path, "it is empty");
    return stream;
}

class SndfileDecoder : public SoundDecoder {
public:
    explicit SndfileDecoder(const std::string& path) : Source(OpenStream(path)) {
        File.reset(sf_open_fd(fileno(Source.get()), SFM_READ, &Info, SF_FALSE));
        if (!File) CannotRead(path, "it is no sound file, or of an unknown format");
        if (Info.frames <= 0 || Info.channels < 1 || Info.samplerate < 1)
            throw HostError("\"" + path + "\" contains no sound");
        const int kind = Info.format & SF_FORMAT_SUBMASK;
        Rate = Info.samplerate;
        Channels = static_cast<std::size_t>(Info.channels);
        Frames = Info.frames;
        Floats = kind == SF_FORMAT_FLOAT || kind == SF_FORMAT_DOUBLE;
    }

    std::size_t Read(float* frames, std::size_t count) override {
        const sf_count_t got = sf_readf_float(File.get(), frames, static_cast<sf_count_t>(count));
        return static_cast<std::size_t>(std::max<sf_count_t>(got, 0));
    }
    bool Rewind() override { return sf_seek(File.get(), 0, SEEK_SET) == 0; }
    bool IsTruncated(std::int64_t read) const override {
        // The announced length of an MP3 is an estimate.
        if ((Info.format & SF_FORMAT_TYPEMASK) == SF_FORMAT_MPEG) return false;
        return sf_error(File.get()) != SF_ERR_NO_ERROR || read < Info.frames ||
               IsShorterThanHeader();
    }

private:
    bool IsShorterThanHeader() const;

    Stream Source;
    std::unique_ptr<SNDFILE, CloseSound> File;
    SF_INFO Info = {};
};

// libsndfile shortens a WAV or AIFF whose header announces more sound than the file contains
// without an error. Only its log mentions it.
bool SndfileDecoder::IsShorterThanHeader() const {
    std::array<char, 16384> log = {};
    sf_command(File.get(), SFC_GET_LOG_INFO, log.data(), static_cast<int>(log.size() - 1));
    const char* data = std::strstr(log.data(), "data :");
    if (!data) data = std::strstr(log.data(), "SSND :");
    if (!data) return false;
    const std::string line(data, std::strcspn(data, "\n"));
    return line.find("should be") != std::string::npos;
}

} // namespace

std::unique_ptr<SoundDecoder> OpenSound(const std::string& path) {
    return std::make_unique<SndfileDecoder>(path);
}

} // namespace zorhost
