#include "host/as_library.h"

#include "host/host_error.h"
#include "host/interrupt.h"
#include "host/library.h"
#include "host/machine.h"
#include "host/microphone.h"
#include "host/progress.h"
#include "host/settings.h"

#include <filesystem>

namespace zorhost {

namespace {

constexpr int Step = 20; // milliseconds of sound between two looks

// The sound begins with the library's time base.
std::vector<MIDIEvent> Listen(const Microphone& microphone) {
    std::vector<MIDIEvent> records;
    Library library;
    library.Start({});
    Progress progress;
    for (int left = MicrophoneTail; left > 0 && !Interrupted();) {
        machine::Advance(Step);
        Library::TakeReceived(records);
        if (microphone.Ended()) left -= Step;
        if (!progress.Due()) continue;
        const auto heard = static_cast<std::int64_t>(microphone.SecondsHeard() * 1000);
        const auto whole = static_cast<std::int64_t>(microphone.Seconds() * 1000);
        progress.Show(Bar(heard, whole, 30) + "  " + ClockText(heard) + " of " + ClockText(whole));
    }
    return records;
}

} // namespace

std::vector<MIDIEvent> HearAsLibrary(const std::string& path, const std::string& iniFolder) {
    if (std::filesystem::exists(path) && !std::filesystem::is_regular_file(path)) {
        throw HostError("\"" + path + "\" is no file; the library's microphone hears files only");
    }
    const Machine machine({}, Cables::Nowhere);
    machine::UseSteppedClock();
    const Microphone microphone(path);
    RunChanges changes;
    changes.Microphone = true;
    changes.MicrophoneChannel = 1;
    const RunSettings settings(SettingsFolder(iniFolder), changes);
    return Listen(microphone);
}

} // namespace zorhost
