// What the tests of this driver share: a machine with a stepped clock, an ini file of the test's
// own, and short ways to send and to read what the devices got.
#pragma once

#include "engine/driver_table.h"
#include "engine/module.h"
#include "mme/ports.h"
#include "platform/machine.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

class MmeTest : public testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;
    // As freshly loaded, in the middle of a test.
    void Restart() {
        TearDown();
        SetUp();
    }

    // Writes the ini file anew, or removes it for an empty text.
    static void WriteIni(const std::string& text);
    static std::string ReadIni();

    // Brings the library up on that ini file, with a queue for what comes in.
    static void Load(const std::string& ini = "");

    // Output devices "Out 1" ... with these base channels (from 0), on the rows from 0 up.
    static void OpenOutputs(const std::vector<int>& bases, std::uint32_t support = 0);
    // Input devices "In 1" ... likewise, with an output device on row 0.
    static void OpenInputs(const std::vector<int>& bases);

private:
    static void Open(const std::vector<int>& inputs, const std::vector<int>& outputs);
};

MIDIEvent Event(int channel, int status, int data1 = 0, int data2 = 0);
std::uint8_t Send(int channel, int status, int data1 = 0, int data2 = 0);

// What the devices were sent since the last call, resets left out, as "device: SS DD DD" in hex.
std::vector<std::string> Sent();
std::string Line(int device, int status, int data1, int data2);

using Lines = std::vector<std::string>;
