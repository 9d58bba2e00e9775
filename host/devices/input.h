// What `record` and `monitor` have in common: inputs, filter, thru, and how long.
#pragma once

#include "host/cli/options.h"
#include "host/devices/session.h"

#include <functional>
#include <vector>

namespace zorhost {

struct InputOptions {
    Texts In;
    Texts Filter;
    Texts Thru;
    Texts Map;
    std::string Mic;
    double Seconds = 0; // 0: until Ctrl-C

    void AddTo(const Command& command);
    SessionPlan Plan() const;
    // Throws HostError on wrong values.
    StartOptions Start() const;
};

// Runs the library until the time is over or Ctrl-C: take gets what came in as soon as it came, and
// nothing every so many milliseconds (interval) without; it says whether to go on. lead:
// milliseconds before the time begins to count. Says on standard error what it listens to.
void RunInput(Session& session, const InputOptions& options, std::int64_t lead, int interval,
              const std::function<bool(const std::vector<MIDIEvent>&)>& take);

} // namespace zorhost
