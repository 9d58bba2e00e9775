// What the tests of this driver share: short ways to open ports, to send, and to read what the
// devices got.
#pragma once

#include "engine/driver_table.h"
#include "engine/library_instance.h"
#include "mme/ports.h"
#include "tests/support/machine_test.h"

using Lines = std::vector<std::string>;

class MmeTest : public MachineTest {
protected:
    void SetUp() override; // the tables as they are when the library has just been loaded
    ~MmeTest() override { MMEClose(); }
    void Restart() {
        MMEClose();
        PowerOff();
        PowerOn();
        SetUp();
    }

    static void Load(const std::string& ini = "") {
        WriteIni(ini);
        BringUp();
    }
    // An ini file with these devices and base channels (from 0) on the rows from 0 up of both
    // sides.
    static std::string IniFor(const Lines& names, const std::vector<int>& bases = {});
    static void Plug(const Lines& names, std::uint32_t support = 0); // inputs and outputs alike
    // A device of either side for each of these base channels, on the rows from 0 up.
    static void OpenPorts(const std::vector<int>& bases, std::uint32_t support = 0);
};

MIDIEvent Event(int channel, int status, int data1 = 0, int data2 = 0);
std::uint8_t Send(int channel, int status, int data1 = 0, int data2 = 0);

// What the devices were sent since the last call, resets left out, as "device: SS DD DD" in hex.
Lines Sent();
std::string Line(int device, int status, int data1, int data2);
