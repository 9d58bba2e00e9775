// A machine with devices, an ini file of its own and a host window, and the library up on it.
#pragma once

#include "engine/zormidi.h"
#include "mme/ports.h"
#include "mme/setup_dialog.h"
#include "platform/machine.h"
#include "platform/platform.h"
#include "tests/support/dialog_user.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>
#include <string>
#include <vector>

// ID of a control of row i, as the ids of both layouts are made.
constexpr int InList(int row) { return midisetup::InDevice + row; }
constexpr int OutList(int row) { return midisetup::OutDevice + row; }

struct Heard {
    unsigned Message;
    std::uintptr_t First;
    std::intptr_t Second;
    bool operator==(const Heard&) const = default;
};

class Desk : public testing::Test {
protected:
    void SetUp() override {
        machine::PowerOn();
        machine::UseSteppedClock();
        machine::RemoveMidiDevices();
        const auto* info = testing::UnitTest::GetInstance()->current_test_info();
        Folder = std::filesystem::absolute(std::string(info->name()) + ".desk");
        std::filesystem::remove_all(Folder);
        std::filesystem::create_directories(Folder);
        machine::SetModulePath((Folder / "libzormidi.so").string());
        Parent = machine::CreateHostWindow(
            [this](unsigned message, std::uintptr_t first, std::intptr_t second) {
                HostHeard.push_back({message, first, second});
            });
    }
    void TearDown() override {
        if (Up) MIDISysTerm();
        machine::DestroyHostWindow(Parent);
        machine::PowerOn();
        std::filesystem::remove_all(Folder);
    }

    void Inputs(std::initializer_list<const char*> names) {
        for (const char* name : names) machine::AddMidiInput(name);
    }
    void Outputs(std::initializer_list<const char*> names) {
        for (const char* name : names) machine::AddMidiOutput(name);
    }
    void WriteIni(const std::string& text) { std::ofstream(IniFile()) << text; }
    std::string ReadIni() const {
        std::ostringstream text;
        text << std::ifstream(IniFile()).rdbuf();
        std::string plain = text.str();
        std::erase(plain, '\r');
        return plain;
    }
    // "-" for a key that is not there.
    std::string Key(const std::string& key) const {
        std::istringstream lines(ReadIni());
        for (std::string line; std::getline(lines, line);)
            if (line.starts_with(key + "=")) return line.substr(key.size() + 1);
        return "-";
    }

    // Shows the dialog of a driver row to a user who does this.
    void Show(int row, DialogScript user) {
        if (!Up) Up = MIDISysInit(0) == -1;
        ASSERT_TRUE(Up);
        int shown = 0;
        ScriptDialogs([&](DialogUser& at) {
            ++shown;
            user(at);
        });
        ZorConfigMIDIDriver(Parent, static_cast<std::int16_t>(row));
        EXPECT_EQ(shown, 1);
    }

    std::filesystem::path IniFile() const { return Folder / "ZORMIDI.INI"; }
    std::filesystem::path Folder;
    void* Parent = nullptr;
    std::vector<Heard> HostHeard;
    bool Up = false;
};
