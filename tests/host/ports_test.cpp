// Which devices --in, --out and setup choose where the name of one contains that of another.
#include "host/host_error.h"
#include "host/setting_keys.h"
#include "host/settings.h"
#include "tests/support/machine_test.h"

#include <filesystem>

namespace {

class Ports : public MachineTest {
protected:
    Ports() {
        for (const char* name : {"Keys Two", "Keys", "keys two b", "PAD", "Pad"})
            machine::AddMidiInput(name);
    }
    // The device that one --in opens.
    static std::string Opened(const std::string& wanted) {
        const zorhost::RunSettings run(Folder(), {{wanted}, {}});
        return zorhost::ReadPortMap(run.IniPath()).Inputs.at(0).Device;
    }
    static std::string Refusal(const std::vector<std::string>& wanted) {
        try {
            const zorhost::RunSettings run(Folder(), {wanted, {}});
        } catch (const zorhost::HostError& error) {
            return error.what();
        }
        return "";
    }
    static std::string Folder() { return std::filesystem::path(IniFile()).parent_path(); }
};

TEST_F(Ports, AWholeNameGoesBeforeThePartOfAnother) {
    for (const auto& [wanted, opened] : {std::pair("Keys", "Keys"),
                                         {"keys", "Keys"},
                                         {"KEYS TWO", "Keys Two"},
                                         {"two b", "keys two b"},
                                         {"Pad", "Pad"},
                                         {"2", "Keys"},
                                         {"4", "PAD"}})
        EXPECT_EQ(Opened(wanted), opened) << wanted;
    EXPECT_NE(Refusal({"two"}).find("\"two\":\n  Keys Two\n  keys two b\n"), std::string::npos);
    EXPECT_NE(Refusal({"pad"}).find("\"pad\":\n  PAD\n  Pad\n"), std::string::npos);
    EXPECT_NE(Refusal({"keys", "2"}).find("\"Keys\" is named twice"), std::string::npos);
    EXPECT_NE(Refusal({"6"}).find("there are:\n  Keys Two\n  Keys\n"), std::string::npos);
}

// As the dialog's lists show a name that is stored: the device itself, else one that begins so.
TEST_F(Ports, SetupStoresTheDeviceThatIsNamed) {
    WriteIni("[MMEDRVR]\nInName1=Keys Two\nInName2=Keys\nInName3=Pad\nInName4=KEYS TWO B\n");
    zorhost::UseIni(IniFile());
    zorhost::ChangeSettings(zorhost::SetupDialog::Midi, {"InBase1=2"});
    const zorhost::PortMap map = zorhost::ReadPortMap(IniFile());
    ASSERT_EQ(map.Inputs.size(), 8u);
    for (const auto& [row, name] :
         {std::pair(0, "Keys Two"), {1, "Keys"}, {2, "Pad"}, {3, "keys two b"}, {4, "(none)"}})
        EXPECT_EQ(map.Inputs[static_cast<std::size_t>(row)].Name, name);
}

} // namespace
