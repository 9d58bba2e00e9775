// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// A source of the sound server as a capture device: one object, with one name and one level, for
// the life of the process, whether the source is plugged in or not.
#pragma once

#include "platform/backends/pulse/level.h"
#include "platform/backends/pulse/playthrough.h"

#include "platform/api/capture.h"

namespace device {

class PulseMicrophone : public CaptureDevice {
public:
    PulseMicrophone(const Source& source, std::string name);

    std::string Name() const override { return ShownName; }
    std::string Id() const override { return SourceName; }
    bool IsMonitor() const override { return IsMonitorSource; }
    unsigned ConnectionId() const override;
    unsigned Channels() const override { return 2; } // the server converts
    bool Supports(const PcmFormat& format) const override;
    bool IsGone() const override;
    std::unique_ptr<CaptureStream> Open(const PcmFormat& format, CaptureOwner& owner) override;
    const LevelList& Levels() const override { return Controls; }

    // Sets the level of all its streams except one; null for none. With the client's lock held, as
    // all below.
    void ApplyLevel(const SourceConnection* except);

    const std::shared_ptr<StreamLevel> Gain;
    std::vector<SourceConnection*> Connections; // those that have begun
    Playthrough Speakers;

private:
    const std::string SourceName;
    const std::string ShownName;
    const bool IsMonitorSource;
    const LevelList Controls;
};

} // namespace device
