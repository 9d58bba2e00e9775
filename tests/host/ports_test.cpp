// Which devices --in and setup choose where the name of one contains that of another.
#include "host/terminal/host_error.h"
#include "host/devices/setting_keys.h"
#include "host/devices/settings.h"
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

TEST_F(Ports, AWholeNameGoesBeforeThePartOfAnother) {
    const std::string folder = std::filesystem::path(IniFile()).parent_path();
    const struct {
        std::vector<std::string> Wanted;
        const char* Opened; // the first device, or what is said
    } cases[] = {{{"Keys"}, "Keys."},
                 {{"keys", "two b"}, "Keys."},
                 {{"KEYS TWO"}, "Keys Two."},
                 {{"Pad"}, "Pad."},
                 {{"2"}, "Keys."},
                 {{"two"}, "more than one input device fits \"two\":\n  Keys Two\n  keys two b\n"},
                 {{"pad"}, "more than one input device fits \"pad\":\n  PAD\n  Pad\n"},
                 {{"keys", "2"}, "\"Keys\" is named twice"},
                 {{"6"}, "there is no input device \"6\"; there are:\n  Keys Two\n  Keys\n"}};
    for (const auto& [wanted, opened] : cases) {
        std::string got;
        try {
            const zorhost::RunSettings run(folder, {wanted, {}});
            got = zorhost::ReadPortMap(run.IniPath()).Inputs.at(0).Device + ".";
        } catch (const zorhost::HostError& error) {
            got = error.what();
        }
        EXPECT_EQ(got.substr(0, std::strlen(opened)), opened);
    }
}

// As the dialog's lists show a name that is stored: the device itself, else one that begins so.
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
