// What the tests share: a machine of their own with a stepped clock and an ini file, and at the end
// the question whether anything was left open.
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
    void TearDown() override; // what a test has the machine do reaches into the test

    // As freshly loaded, in the middle of a test.
    static void PowerOn(std::uint32_t clock = 1000);
    // Takes the library down. Nothing of it may be left.
    static void PowerOff();

    static std::string IniFile();
    // Writes it anew, or removes it for an empty text.
    static void WriteIni(const std::string& text);

    // Brings the library up on that ini file, with a queue for what comes in.
    static void BringUp();
    static std::vector<MIDIEvent> DrainReceived();
    static std::vector<std::string> DrainBoxTexts();
};
