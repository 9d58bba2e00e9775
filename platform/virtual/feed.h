// What a microphone hears.
#pragma once

#include "platform/machine/capture.h"

#include <memory>

namespace machine {

struct FeedProgress {
    std::uint64_t FileFrames = 0;
    bool Ended = false;
    bool Failed = false;
};

// One capture's way through a feed. Thread: the one that captures, one at a time.
class FeedReader {
public:
    virtual ~FeedReader() = default;
    // Fills all of samples, interleaved, -1 to 1, with the next frames. Real time: yes, but for a
    // file's reads from the disk.
    virtual void Read(float* samples, std::size_t frames) = 0;
    virtual FeedProgress Progress() const { return {}; }
};

// Makes a reader that begins at the given frame, in frames of the given rate. Thread: whoever
// starts a capture. Readers do not disturb each other.
using Feed = std::function<std::unique_ptr<FeedReader>(std::uint64_t frame, unsigned rate,
                                                       unsigned channels)>;

Feed GeneratedFeed(Generator generator);
// Empty if the file cannot be used; told says why, or what it is.
Feed OpenFileFeed(const std::string& path, FileFeed& told);

} // namespace machine
