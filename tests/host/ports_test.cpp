// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Which devices --in and setup select if one name contains another.
#include "host/devices/setting_keys.h"
#include "host/devices/settings.h"
#include "host/terminal/host_error.h"
#include "tests/support/machine_test.h"

#include <cstring>
#include <filesystem>

namespace {

class Ports : public MachineTest {
protected:
    Ports() {
        for (const char* name : {"Keys Two", "Keys", "keys two b", "PAD", "Pad"})
            machine::AddMidiInput(name);
    }
};

TEST_F(Ports, AWholeNameIsPreferredToAPartOfAnother) {
    const std::string folder = std::filesystem::path(IniFile()).parent_path();
    const struct {
        std::vector<std::string> Wanted;
        const char* Expected; // how the first device or the error message begins
    } cases[] = {
        {{"Keys"}, "Keys."},
        {{"keys", "two b"}, "Keys."},
        {{"KEYS TWO"}, "Keys Two."},
        {{"Pad"}, "Pad."},
        {{"2"}, "Keys."},
        {{"two"}, "more than one input device matches \"two\":\n  Keys Two\n  keys two b\n"},
        {{"pad"}, "more than one input device matches \"pad\":\n  PAD\n  Pad\n"},
        {{"keys", "2"}, "\"Keys\" is given twice"},
        {{"6"}, "input device \"6\" not found; available:\n  Keys Two\n  Keys\n"}};
    for (const auto& [wanted, expected] : cases) {
        std::string got;
        try {
            const zorhost::SessionSettings settings(folder, {wanted, {}});
            got = zorhost::ReadPortMap(settings.IniPath()).Inputs.at(0).Device + ".";
        } catch (const zorhost::HostError& error) {
            got = error.what();
        }
        EXPECT_EQ(got.substr(0, std::strlen(expected)), expected);
    }
}

// Like the dialog's lists: the device of the stored name, else one whose name begins with it.
TEST_F(Ports, SetupStoresTheDeviceThatIsNamed) {
    WriteIni("[MMEDRVR]\nInName1=Keys Two\nInName2=Keys\nInName3=Pad\nInName4=KEYS TWO B\n");
    zorhost::UseIni(IniFile());
    zorhost::ChangeSettings(zorhost::SetupDialog::Midi, {"InBase1=2"});
    std::string names;
    for (const zorhost::Port& port : zorhost::ReadPortMap(IniFile()).Inputs)
        names += port.Name + '\n';
    EXPECT_EQ(names.find("Keys Two\nKeys\nPad\nkeys two b\n(none)\n"), 0u) << names;
}

} // namespace
