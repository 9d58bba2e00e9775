#include "host/port_map.h"

#include "engine/driver_table.h"
#include "host/setting_keys.h"
#include "mme/devices.h"
#include "pitchrec/driver/settings.h"

namespace zorhost {

namespace {

std::vector<std::string> Names(const std::vector<MidiDevice>& choices) {
    std::vector<std::string> names;
    for (const MidiDevice& device : choices)
        if (device.ID >= 0) names.emplace_back(device.Name);
    return names;
}

// Adds the row if it names a device or opens one.
template <typename Row>
void Add(std::vector<Port>& ports, const Row& row, int number, const std::string& mapped) {
    Port port = {number, row.Name, row.DeviceName, row.BaseChannel + 1};
    if (row.DeviceID == NoDevice) port.Device.clear();
    if (row.DeviceID == MapperDevice) port.Device = mapped;
    if (!port.Name.empty() || !port.Device.empty()) ports.push_back(port);
}

} // namespace

std::vector<std::string> InputDevices() { return Names(InputChoices()); }
std::vector<std::string> OutputDevices() { return Names(OutputChoices()); }

const Port* PortMap::InputOf(int channel) const {
    for (const Port& port : Inputs) {
        const int offset = channel + 1 - port.Channel;
        if (!port.Device.empty() && offset >= 0 && offset < 16) return &port;
    }
    return nullptr;
}

PortMap ReadPortMap(const std::string& ini) {
    UseIni(ini);
    LoadMMEConfig();
    ReadPRecSettings();
    PortMap map;
    const std::vector<std::string> outputs = OutputDevices();
    for (int row = 0; row < PortRows; ++row) {
        Add(map.Inputs, InPorts[row], row + 1, "");
        Add(map.Outputs, OutPorts[row], row + 1, outputs.empty() ? "" : outputs.front());
    }
    map.SyncInput = SyncMaster + 1;
    map.Microphone = EnablePitchRec != 0;
    map.MicrophoneChannel = static_cast<std::int16_t>(PRecChannel.load()) + 1;
    return map;
}

} // namespace zorhost
