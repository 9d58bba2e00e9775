// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "host/devices/setting_keys.h"

#include "engine/driver_table.h"
#include "engine/library_instance.h"
#include "host/terminal/host_error.h"
#include "mme/devices.h"
#include "mme/settings.h"
#include "pitchrec/driver/settings.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <functional>
#include <memory>
#include <strings.h>

namespace zorhost {

namespace {

using Devices = std::vector<MidiDevice>;

// One setting with its accessors. Set throws HostError if the value is invalid.
struct Key {
    std::string Name;
    std::function<std::string()> Get;
    std::function<void(const std::string& value)> Set;
};

// Sorts as the dialog's lists do: by name, ignoring case.
Devices Sorted(Devices devices) {
    std::ranges::stable_sort(devices, [](const MidiDevice& one, const MidiDevice& other) {
        return strcasecmp(one.Name, other.Name) < 0;
    });
    return devices;
}

// Stores ID and name of the device in the row.
void SetDevice(PortSetting& row, const MidiDevice& device) {
    row.Device = device.ID;
    std::memcpy(row.Name, device.Name, sizeof row.Name);
}

// Selects what the row's list box would show: the device of the stored name, else the first one
// whose name begins with it, else "(none)".
void MatchStoredName(PortSetting& row, const Devices& devices) {
    if (const MidiDevice* const exact = row.Name[0] ? FindByName(devices, row.Name) : nullptr)
        return SetDevice(row, *exact);
    const std::size_t length = std::strlen(row.Name);
    const auto begins = [&](const MidiDevice& device) {
        return strncasecmp(device.Name, row.Name, length) == 0;
    };
    const auto found = std::ranges::find_if(devices, begins);
    const auto none = std::ranges::find(devices, NoDevice, &MidiDevice::ID);
    SetDevice(row, length > 0 && found != devices.end() ? *found : *none);
}

// key: for the message. Throws HostError if the text is not a number in the range.
int Number(const std::string& key, const std::string& text, int first, int last) {
    int number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    const bool read = error == std::errc() && end == text.data() + text.size();
    if (read && number >= first && number <= last) return number;
    throw HostError(key + " takes a number from " + std::to_string(first) + " to " +
                        std::to_string(last) + ", not '" + text + "'",
                    ExitWrongUse);
}

// Value: any integer type of the settings.
template <typename Value>
Key NumberKey(const std::string& name, Value& value, int first, int last) {
    return {name, [&value] { return std::to_string(value); },
            [=, &value](const std::string& text) {
                value = static_cast<Value>(Number(name, text, first, last));
            }};
}

// The devices must outlive the key.
Key DeviceKey(const std::string& name, PortSetting& row, const Devices& devices) {
    return {name, [&row] { return std::string(row.Name); },
            [name, &row, &devices](const std::string& wanted) {
                const auto found = std::ranges::find_if(
                    devices, [&](const MidiDevice& device) { return device.Name == wanted; });
                if (found != devices.end()) return SetDevice(row, *found);
                std::string text = name + ": device '" + wanted + "' not found; available:";
                for (const MidiDevice& device : devices) text += std::string("\n  ") + device.Name;
                throw HostError(text);
            }};
}

// Returns the name of the first device that is on two rows, or null.
const char* FirstDuplicate(const PortSetting (&rows)[PortRows]) {
    for (const PortSetting& row : rows) {
        const auto same = std::ranges::count(rows, row.Device, &PortSetting::Device);
        if (row.Device != NoDevice && same > 1) return row.Name;
    }
    return nullptr;
}

// The settings of one dialog, read when it is constructed and written by Store.
class Draft {
public:
    virtual ~Draft() = default;
    // Prints the devices that the settings can name, as comment lines.
    virtual void PrintChoices() const {}
    // Writes the ini file. Throws HostError.
    virtual void Store() = 0;
    std::vector<Key> Keys;

protected:
    static void CheckWritten(bool written) {
        if (!written) throw HostError(std::string("\"") + IniPath + "\" cannot be written");
    }
};

class MidiDraft : public Draft {
public:
    MidiDraft() {
        LoadMMEConfig();
        Settings = CurrentSettings();
        AddSide("In", Settings.Inputs, Inputs);
        AddSide("Out", Settings.Outputs, Outputs);
        Keys.push_back(NumberKey("MidiOutReset", Settings.MidiOutReset, 0, 1));
        Keys.push_back(NumberKey("SyncMaster", Settings.SyncMaster, 0, PortRows - 1));
    }
    void PrintChoices() const override {
        for (const auto& [keys, devices] : {std::pair("InName1 to InName8", &Inputs),
                                            std::pair("OutName1 to OutName8", &Outputs)}) {
            std::printf("# %s:\n", keys);
            for (const MidiDevice& device : *devices) std::printf("#   %s\n", device.Name);
        }
    }
    void Store() override {
        const Stored stored = StoreMMESettings(Settings);
        CheckWritten(stored != Stored::Unwritten);
        if (stored == Stored::All) return;
        const char* duplicate = FirstDuplicate(Settings.Inputs);
        if (!duplicate) duplicate = FirstDuplicate(Settings.Outputs);
        throw HostError(std::string("\"") + duplicate +
                        "\" is on two ports; a device can be opened only once. The ports before "
                        "are stored.");
    }

private:
    // Adds name and base channel of each row. side: "In" or "Out", the prefix of the keys.
    void AddSide(const char* side, PortSetting (&rows)[PortRows], const Devices& devices) {
        for (int row = 0; row < PortRows; ++row) {
            const std::string kind = side, number = std::to_string(row + 1);
            MatchStoredName(rows[row], devices);
            Keys.push_back(DeviceKey(kind + "Name" + number, rows[row], devices));
            Keys.push_back(NumberKey(kind + "Base" + number, rows[row].Base, 1, HighestBase));
        }
    }
    const Devices Inputs = Sorted(InputChoices()), Outputs = Sorted(OutputChoices());
    MMESettings Settings;
};

class MicrophoneDraft : public Draft {
public:
    MicrophoneDraft() {
        ReadPRecSettings();
        Enabled = EnablePitchRec;
        Channel = static_cast<std::int16_t>(PRecChannel.load());
        Keys = {NumberKey("EnablePitchRec", Enabled, 0, 1),
                NumberKey("Channel", Channel, -0x8000, 0x7FFF)};
    }
    void Store() override {
        EnablePitchRec = Enabled;
        PRecChannel = static_cast<std::uint16_t>(Channel);
        CheckWritten(WritePRecSettings());
    }

private:
    std::uint8_t Enabled = 0;
    std::int16_t Channel = 0; // from 0; any value that the file can hold
};

std::unique_ptr<Draft> Open(SetupDialog dialog) {
    if (dialog == SetupDialog::Midi) return std::make_unique<MidiDraft>();
    return std::make_unique<MicrophoneDraft>();
}

void Change(const Draft& draft, const std::string& text) {
    const std::size_t equals = text.find('=');
    if (equals == std::string::npos || equals == 0)
        throw HostError("'" + text + "' is not KEY=VALUE", ExitWrongUse);
    const std::string name = text.substr(0, equals);
    const auto key = std::ranges::find(draft.Keys, name, &Key::Name);
    if (key != draft.Keys.end()) return key->Set(text.substr(equals + 1));
    std::string known;
    for (const Key& other : draft.Keys) known += " " + other.Name;
    throw HostError("unknown setting '" + name + "'; known:" + known, ExitWrongUse);
}

} // namespace

void UseIni(const std::string& path) {
    if (path.size() >= sizeof IniPath) throw HostError("the path \"" + path + "\" is too long");
    std::memcpy(IniPath, path.c_str(), path.size() + 1);
}

void PrintSettings(SetupDialog dialog) {
    const auto draft = Open(dialog);
    draft->PrintChoices();
    for (const Key& key : draft->Keys) std::printf("%s=%s\n", key.Name.c_str(), key.Get().c_str());
}

void ChangeSettings(SetupDialog dialog, const std::vector<std::string>& changes) {
    const auto draft = Open(dialog);
    for (const std::string& change : changes) Change(*draft, change);
    draft->Store();
}

} // namespace zorhost
