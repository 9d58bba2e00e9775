// A sound file as a microphone hears it: from its beginning whenever a capture begins, then
// silence.
#pragma once

#include "host/resampled.h"
#include "platform/machine.h"

#include <mutex>

namespace zorhost {

class PlayedFile {
public:
    // Throws HostError if it is no sound.
    explicit PlayedFile(std::string path);

    // Fills the request with the next of the file. One capture at a time. Thread: the one that
    // captures. Real time: but for the disk; never throws.
    void Fill(const machine::FeedRequest& request);

    // Thread: any.
    double Seconds() const { return Length; }
    double SecondsHeard() const;
    bool Ended() const;
    bool BrokeOff() const; // it could not be read to its end

private:
    void Rewind(); // locked, as the next, but at first
    void RewindIfThere();

    const std::string Path;
    double Length = 0;
    mutable std::mutex Lock; // of all below
    std::unique_ptr<SoundFile> File;
    std::unique_ptr<Resampled> Source; // null behind the end
    std::uint64_t Heard = 0;           // frames
    bool Broken = false;
};

} // namespace zorhost
