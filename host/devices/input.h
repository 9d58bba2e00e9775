// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// What `record` and `monitor` share: the options for inputs, filter, thru and duration, and the
// loop that reads the inputs.
#pragma once

#include "host/cli/options.h"
#include "host/devices/session.h"

#include <functional>
#include <vector>

namespace zorhost {

struct InputOptions {
    Texts Inputs;
    Texts Filter;
    Texts ThruOutputs;
    Texts ThruMap;
    std::string MicrophoneFile;
    double Seconds = 0; // 0: until Ctrl-C

    // Declares the options.
    void AddTo(const Command& command);
    SessionPlan Plan() const;
    // Throws HostError if a value is invalid.
    StartOptions Start() const;
};

// Starts the session and runs until the duration is over, Ctrl-C is pressed or deliver returns
// false. Calls deliver with new records as soon as they are received, and at least every interval
// milliseconds with none. The duration counts from countIn milliseconds of the time base on. Prints
// the inputs on standard error. Throws HostError.
void ReceiveUntilStopped(Session& session, const InputOptions& options, std::int64_t countIn,
                         int interval,
                         const std::function<bool(const std::vector<MIDIEvent>&)>& deliver);

} // namespace zorhost
