// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The fixture of this driver's tests, with helpers that open ports, send, and return the messages
// that devices received.
#pragma once

#include "engine/driver_table.h"
#include "engine/library_instance.h"
#include "mme/ports.h"
#include "tests/support/machine_test.h"

using Lines = std::vector<std::string>;

class MmeTest : public MachineTest {
protected:
    void SetUp() override; // sets the tables as at load
    ~MmeTest() override { MMEClose(); }
    void Restart() {
        MMEClose();
        PowerOff();
        PowerOn();
        SetUp();
    }

    static void Load(const std::string& ini = "") {
        WriteIni(ini);
        OpenLibrary();
    }
    // An ini file with these devices and base channels (from 0) on the first rows of both sides.
    static std::string IniFor(const Lines& names, const std::vector<int>& bases = {});
    static void Plug(const Lines& names, std::uint32_t support = 0); // as input and as output
    // Plugs and opens an input and an output for each of these base channels, on the first rows.
    static void OpenPorts(const std::vector<int>& bases, std::uint32_t support = 0);
};

MIDIEvent Event(int channel, int status, int data1 = 0, int data2 = 0);
std::uint8_t Send(int channel, int status, int data1 = 0, int data2 = 0);

// Messages that devices received since the last call, without resets, as "device: SS DD DD" in hex.
Lines Sent();
std::string Line(int device, int status, int data1, int data2);
