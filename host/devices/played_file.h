// A sound file as a microphone hears it: from its beginning whenever a capture begins, then
// silence.
#pragma once

#include "host/sound/sound_file.h"
#include "platform/machine.h"

#include <mutex>

namespace zorhost {

class PlayedFile {
public:
    // Throws HostError if it is no sound.
    explicit PlayedFile(std::string path);

    // Fills the request with the place of the file that it asks for. Thread: any that captures; all
    // that capture at one time are within seconds of each other. Real time: but for the disk.
    void Fill(const machine::FeedRequest& request);

    // Thread: any.
    double Seconds() const { return Length; }
    double SecondsHeard() const;
    bool Ended() const;
    bool BrokeOff() const;                                // it could not be read to its end
    std::string Remark() const { return File->Remark(); } // before the first Fill

private:
    static constexpr std::size_t KeptFrames = 1u << 17; // six seconds

    void Rewind(); // locked, as the next two, but at first
    void RewindIfThere();
    void DecodeTo(std::uint64_t end);

    const std::string Path;
    double Length = 0;
    Mixing How;              // since the beginning
    mutable std::mutex Lock; // of all below
    std::unique_ptr<SoundFile> File;
    std::unique_ptr<Resampler> Source; // null behind the end
    std::vector<float> Last;           // frame n at n modulo its size
    std::uint64_t Decoded = 0;         // frames
    std::uint64_t Heard = 0;           // up to this frame of the feed
    bool Broken = false;
};

} // namespace zorhost
