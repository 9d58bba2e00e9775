// What `record` and `monitor` have in common: inputs, filter, thru, and how long.
#pragma once

#include "host/commands.h"
#include "host/library.h"
#include "host/port_map.h"
#include "host/settings.h"

#include <functional>
#include <string>
#include <vector>

namespace zorhost {

struct InputOptions {
    std::vector<std::string> In;
    std::vector<std::string> Filter;
    std::vector<std::string> Thru;
    std::vector<std::string> Map;
    std::string Mic;
    double Seconds = 0; // 0: until Ctrl-C

    void AddTo(CLI::App& command);
    // Throw HostError on wrong values.
    RunChanges Changes() const;
    StartOptions Start() const;
};

// Runs the library until the time is over or Ctrl-C: take gets what came in, about every 4 ms.
// Says on standard error what it listens to.
void RunInput(const InputOptions& options, const PortMap& map,
              const std::function<void(const std::vector<MIDIEvent>&)>& take);

} // namespace zorhost
