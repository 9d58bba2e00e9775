// A sound file, read as it is needed.
#pragma once

#include "platform/virtual/capture.h"

#include <sndfile.h>

#include <memory>
#include <string>
#include <vector>

namespace machine {

class SoundFile {
public:
    // Null if it cannot be read or holds no sound; told says why, or what it is.
    static std::unique_ptr<SoundFile> Open(const std::string& path, FileFeed& told);

    std::uint64_t Frames() const { return static_cast<std::uint64_t>(info_.frames); }
    unsigned Rate() const { return static_cast<unsigned>(info_.samplerate); }
    unsigned Channels() const { return static_cast<unsigned>(info_.channels); }
    // One SF_CHANNEL_MAP_ value for each channel.
    std::vector<int> Layout() const;

    bool Seek(std::uint64_t frame);
    // Frames read, fewer only at the end or where the file breaks off.
    std::size_t Read(float* samples, std::size_t frames);

private:
    SoundFile(SNDFILE* file, const SF_INFO& info) : file_(file, sf_close), info_(info) {}

    std::unique_ptr<SNDFILE, int (*)(SNDFILE*)> file_;
    SF_INFO info_;
};

} // namespace machine
