// The commands of zorhost. Each adds itself to the command line and does its work when it is
// chosen.
#pragma once

#include <string>

namespace zorhost {

class Command;
struct GlobalOptions {
    std::string IniFolder; // --ini, empty for the user's own
    bool Virtual = false;  // --virtual: loopback ports, whatever devices there are
};

void AddDevices(const Command& app, const GlobalOptions& global);
void AddPlay(const Command& app, const GlobalOptions& global);
void AddInfo(const Command& app, const GlobalOptions& global);
void AddRecord(const Command& app, const GlobalOptions& global);
void AddMonitor(const Command& app, const GlobalOptions& global);
void AddFollow(const Command& app, const GlobalOptions& global);
void AddClock(const Command& app, const GlobalOptions& global);
void AddTranscribe(const Command& app, const GlobalOptions& global);
void AddListen(const Command& app, const GlobalOptions& global);
void AddSetup(const Command& app, const GlobalOptions& global);

} // namespace zorhost
