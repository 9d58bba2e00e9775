// What a microphone hears.
#pragma once

#include "platform/virtual/capture.h"

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
    // Fills all of samples, interleaved, -1 to 1, with the next frames.
    virtual void Read(float* samples, std::size_t frames) = 0;
    virtual FeedProgress Progress() const { return {}; }
};

class Feed {
public:
    virtual ~Feed() = default;
    // A reader that begins at the given frame, in frames of the given rate. Thread: whoever starts
    // a capture. Readers do not disturb each other.
    virtual std::unique_ptr<FeedReader> From(std::uint64_t frame, unsigned rate,
                                             unsigned channels) const = 0;
};

std::shared_ptr<Feed> SilentFeed();
std::shared_ptr<Feed> GeneratedFeed(Generator generator);
// Null if the file cannot be used; told says why, or what it is.
std::shared_ptr<Feed> OpenFileFeed(const std::string& path, std::uint32_t leadMilliseconds,
                                   FileFeed& told);

} // namespace machine
