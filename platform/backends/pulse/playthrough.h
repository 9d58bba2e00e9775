// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Plays a microphone through the speakers. This process plays the sound, from a record stream of
// its own with short blocks, so that the delay is short and playing ends with the process in any
// case.
#pragma once

#include "platform/backends/pulse/connection.h"

namespace device {

// All functions are called with the client's lock held.
class Playthrough : public SourceConnection {
public:
    explicit Playthrough(PulseMicrophone& microphone);
    void Enable(bool enable);

private:
    void OnSound(const CapturedSound& sound) override;
    void OpenSpeakers();
    void CloseSpeakers();

    pa_stream* Speakers = nullptr; // the system's default output
    pa_usec_t OpenTime = 0;        // of the last attempt, on libpulse's clock
};

} // namespace device
