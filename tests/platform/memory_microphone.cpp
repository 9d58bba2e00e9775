// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "tests/platform/capture_instrument.h"

CaptureInstrument TestedMicrophone() {
    return {"memory", [] { machine::AddMicrophone({.Name = "Voice"}); },
            [] { Unplug(machine::Microphone{0}); }, std::chrono::milliseconds(5), 50};
}
