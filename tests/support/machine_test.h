// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Base class of the tests: a virtual machine with a stepped clock and an ini file. The destructor
// expects that nothing is left open.
#pragma once

#include "engine/zormidi.h"
#include "platform/machine.h"
#include "platform/platform.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

class MachineTest : public testing::Test {
protected:
    explicit MachineTest(std::uint32_t clock = 1000) { PowerOn(clock); }
    ~MachineTest() override { PowerOff(); }
    void TearDown() override; // removes faults and callbacks that refer to the test's variables

    // Resets the machine; may be called during a test.
    static void PowerOn(std::uint32_t clock = 1000);
    // Shuts the library down and expects that nothing is left open.
    static void PowerOff();

    static std::string IniFile();
    // Replaces the file; an empty text removes it.
    static void WriteIni(const std::string& text);

    // Initialises the library on that ini file, with an input queue.
    static void OpenLibrary();
    // Return the received records, and the texts of the message boxes, since the last call.
    static std::vector<MIDIEvent> DrainReceived();
    static std::vector<std::string> DrainBoxTexts();
};
