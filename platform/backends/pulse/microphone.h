// A source of the sound server as a capture device. It is one object, with one name and one level,
// for the life of the process, whether the source is there or not.
#pragma once

#include "platform/backends/pulse/level.h"
#include "platform/backends/pulse/playthrough.h"

#include "platform/api/capture.h"

namespace machine {

class NativeMicrophone : public CaptureDevice {
public:
    NativeMicrophone(const Source& source, std::string name);

    std::string Name() const override { return Shown; }
    std::string Id() const override { return SourceName; }
    bool IsMonitor() const override { return Monitor; }
    unsigned Visit() const override;
    unsigned Channels() const override { return 2; } // the server makes them
    bool Supports(const PcmFormat& format) const override;
    bool Gone() const override;
    std::unique_ptr<CaptureStream> Open(const PcmFormat& format, CaptureOwner& owner) override;
    const LevelList& Levels() const override { return Controls; }

    // To all of its recordings but one. With the server's lock held, as all below.
    void ApplyLevel(const Recording* but);

    const std::shared_ptr<RecordingLevel> Gain;
    std::vector<Recording*> Recordings; // that have begun
    Listening Speakers;

private:
    const std::string SourceName;
    const std::string Shown;
    const bool Monitor;
    const LevelList Controls;
};

} // namespace machine
