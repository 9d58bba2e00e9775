// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// A fixture with the whole library, one MIDI output and the settings of row 1.
#pragma once

#include "engine/driver_table.h"
#include "tests/support/machine_test.h"

class Session : public MachineTest {
protected:
    static constexpr std::int32_t Start = 1000; // milliseconds on the stepped clock

    Session() { SwitchOn(Start); }
    static void SwitchOn(std::uint32_t milliseconds) {
        PowerOn(milliseconds);
        machine::RecordSentMidi(false);
        machine::AddMidiOutput("Synth");
    }
    static void WriteSettings(const std::string& lines) { WriteIni("[PRECDRVR]\n" + lines); }
};
