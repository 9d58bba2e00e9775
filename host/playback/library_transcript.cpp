// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "host/playback/library_transcript.h"

#include "host/devices/session.h"
#include "host/sound/sound_file.h"
#include "host/terminal/host_error.h"
#include "host/terminal/interrupt.h"
#include "host/terminal/progress.h"

#include <filesystem>

namespace zorhost {

namespace {

constexpr int Step = 20; // milliseconds of sound between two polls

// Returns the records of the whole sound, which starts at time 0 of the library's time base.
std::vector<MIDIEvent> Listen(Session& session) {
    std::vector<MIDIEvent> records;
    session.Start({});
    const Microphone& microphone = *session.VirtualMicrophone();
    Progress progress;
    for (int left = MicrophoneTail; left > 0 && !Interrupted();) {
        machine::Advance(Step);
        Library::ReadReceived(records);
        if (microphone.Ended()) left -= Step;
        if (!progress.Due()) continue;
        const auto heard = static_cast<std::int64_t>(microphone.SecondsCaptured() * 1000);
        const auto whole = static_cast<std::int64_t>(microphone.Seconds() * 1000);
        progress.Show(Bar(heard, whole, 30) + "  " + ClockText(heard) + " of " + ClockText(whole));
    }
    return records;
}

} // namespace

std::vector<MIDIEvent> TranscribeWithLibrary(const std::string& path,
                                             const std::string& iniFolder) {
    const bool exists = path == StandardInput || std::filesystem::exists(path);
    if (exists && !std::filesystem::is_regular_file(path)) {
        throw HostError("\"" + path + "\" is not a file; --as-library reads files only");
    }
    SessionPlan plan;
    plan.MicrophoneFile = path;
    plan.Policy = DevicePolicy::NoDevices;
    plan.MicrophoneOn = true;
    Session session({iniFolder, true}, plan);
    machine::UseSteppedClock();
    return Listen(session);
}

} // namespace zorhost
