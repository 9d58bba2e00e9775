// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "bench/library.h"

#include "mme/ports.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace bench {
namespace {

void Require(bool condition, const char* what) {
    if (condition) return;
    std::fprintf(stderr, "bench: %s\n", what);
    std::exit(1);
}

} // namespace

Library::Library(Clock clock, bool timer) {
    namespace fs = std::filesystem;
    machine::PowerOn();
    if (clock == Stepped) machine::UseSteppedClock();
    machine::RecordSentMidi(false);
    machine::AddMidiOutput("Strings");
    machine::AddMidiInput("Keys");
    const fs::path folder = fs::temp_directory_path() / "zormidi-bench";
    fs::create_directories(folder);
    std::ofstream(folder / "ZORMIDI.INI") << "[MMEDRVR]\nOutName1=Strings\nInName1=Keys\n";
    machine::SetModulePath((folder / "library.so").string());
    Require(MIDISysInit(0) == -1, "cannot initialise the library");
    for (std::int16_t queue = 0; queue < 3; ++queue) Require(ZorAllocMIDI(queue, 256), "no queue");
    Require(ZorStartMIDI(timer), "cannot open the drivers");
    Require(InputHandle() != nullptr && machine::OpenMidiOutputs() == 1, "no device is open");
}

Library::~Library() {
    ZorStopMIDI();
    ZorSyncMIDI(ZOR_SYNC_INTERNAL);
    MIDISysTerm();
    machine::SetModulePath("");
}

void* Library::InputHandle() { return InPorts[0].Handle; }

} // namespace bench
