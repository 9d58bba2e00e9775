// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Base class of the dialogs' tests: a host window and the initialised library, with a script as
// user.
#pragma once

#include "engine/library_state.h"
#include "mme/ports.h"
#include "mme/setup_dialog.h"
#include "tests/support/dialog_user.h"
#include "tests/support/machine_test.h"

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <tuple>

// Id of the device list of row i.
constexpr int InList(int row) { return midisetup::InDevice + row; }
constexpr int OutList(int row) { return midisetup::OutDevice + row; }

using HostMessage = std::tuple<unsigned, std::uintptr_t, std::intptr_t>; // and its parameters

class DialogTest : public MachineTest {
protected:
    void SetUp() override {
        Parent = machine::CreateHostWindow(
            [this](unsigned message, std::uintptr_t first, std::intptr_t second) {
                HostMessages.emplace_back(message, first, second);
            });
    }
    void TearDown() override {
        MachineTest::TearDown();
        machine::DestroyHostWindow(Parent);
    }

    void Inputs(std::initializer_list<const char*> names) {
        for (const char* name : names) machine::AddMidiInput(name);
    }
    void Outputs(std::initializer_list<const char*> names) {
        for (const char* name : names) machine::AddMidiOutput(name);
    }
    static std::string ReadIni() {
        std::ostringstream text;
        text << std::ifstream(IniFile()).rdbuf();
        std::string plain = text.str();
        std::erase(plain, '\r');
        return plain;
    }
    // Value of a key in the ini file; "-" if there is none.
    static std::string Key(const std::string& key) {
        std::istringstream lines(ReadIni());
        for (std::string line; std::getline(lines, line);)
            if (line.starts_with(key + "=")) return line.substr(key.size() + 1);
        return "-";
    }

    static void Initialise() { ASSERT_TRUE(LibraryIsUp() || MIDISysInit(0) == -1); }
    // Shows the dialog of a driver row and runs the user's actions.
    void Show(int row, DialogScript user) {
        Initialise();
        int shown = 0;
        ScriptDialogs([&](DialogUser& target) {
            ++shown;
            user(target);
        });
        ZorConfigMIDIDriver(Parent, static_cast<std::int16_t>(row));
        EXPECT_EQ(shown, 1);
    }

    void* Parent = nullptr;
    std::vector<HostMessage> HostMessages;
};
