// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// On Windows the microphone is always the system's first capture device.
#include "host/devices/microphone.h"

#include "host/terminal/host_error.h"

#include <cstdio>

namespace zorhost {

Microphone::Microphone(const std::string& path) : Device() {
    throw HostError("--mic is not available on Windows (\"" + path +
                        "\"): play the file into the microphone instead",
                    ExitWrongUse);
}

double Microphone::Seconds() const { return 0; }
double Microphone::SecondsCaptured() const { return 0; }
bool Microphone::Ended() const { return false; }
void Microphone::CheckRead() const {}
std::int64_t Microphone::StartTime() const { return 0; }

void SelectMicrophone(int number) {
    const auto found = machine::FindMicrophones();
    if (found.empty()) throw HostError("no microphone found");
    if (number != 1)
        throw HostError("--device: on Windows only the first microphone can be used, \"" +
                            found.front().Name +
                            "\"; select the first one in the system's sound settings",
                        ExitWrongUse);
    std::fprintf(stderr, "Microphone: %s\n", found.front().Name.c_str());
}

// The library itself reports a missing microphone.
std::unique_ptr<Microphone> MakeVirtualMicrophone(const std::string& file, const PortMap&) {
    return file.empty() ? nullptr : std::make_unique<Microphone>(file);
}

} // namespace zorhost
