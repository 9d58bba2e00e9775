// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The commands of zorhost. Each function adds one command to the command line; the command runs
// after parsing if the user chose it.
#pragma once

#include <string>

namespace zorhost {

class Command;
// Options before the command. The object must outlive the parsing.
struct GlobalOptions {
    std::string IniFolder; // --ini; empty for the user's settings folder
    bool Virtual = false;  // --virtual: loopback ports instead of the computer's devices
};

void AddDevices(const Command& app, const GlobalOptions& global);
void AddPlay(const Command& app, const GlobalOptions& global);
void AddRender(const Command& app, const GlobalOptions& global);
void AddInfo(const Command& app, const GlobalOptions& global);
void AddRecord(const Command& app, const GlobalOptions& global);
void AddMonitor(const Command& app, const GlobalOptions& global);
void AddFollow(const Command& app, const GlobalOptions& global);
void AddClock(const Command& app, const GlobalOptions& global);
void AddTranscribe(const Command& app, const GlobalOptions& global);
void AddScore(const Command& app);
void AddListen(const Command& app, const GlobalOptions& global);
void AddSetup(const Command& app, const GlobalOptions& global);

} // namespace zorhost
