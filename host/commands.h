// The commands of zorhost. Each adds itself to the command line and does its work when it is
// chosen.
#pragma once

#include <string>

namespace CLI {
class App;
}

namespace zorhost {

struct GlobalOptions {
    std::string IniFolder; // --ini, empty for the user's own
    bool Virtual = false;  // --virtual: loopback ports, whatever devices there are
};

void AddDevices(CLI::App& app, const GlobalOptions& global);
void AddPlay(CLI::App& app, const GlobalOptions& global);
void AddInfo(CLI::App& app, const GlobalOptions& global);
void AddRecord(CLI::App& app, const GlobalOptions& global);
void AddMonitor(CLI::App& app, const GlobalOptions& global);
void AddFollow(CLI::App& app, const GlobalOptions& global);
void AddClock(CLI::App& app, const GlobalOptions& global);
void AddTranscribe(CLI::App& app, const GlobalOptions& global);
void AddListen(CLI::App& app, const GlobalOptions& global);
void AddSetup(CLI::App& app, const GlobalOptions& global);

} // namespace zorhost
