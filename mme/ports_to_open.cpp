#include "mme/ports_to_open.h"

#include <algorithm>
#include <array>

namespace {

// By row: a number, MapperDevice or NoDevice.
using Places = std::array<std::int32_t, PortRows>;

// Where each device of a list is in a later one, NoDevice for one that has left. Devices of one
// name are told apart by what stands before and behind them: the longest sequence of names that
// both lists have in common is taken for the devices that stayed.
std::vector<std::int32_t> Follow(const DeviceList& then, const DeviceList& now) {
    const std::size_t width = now.size() + 1;
    std::vector<std::size_t> longest((then.size() + 1) * width); // from here to the ends
    const auto at = [&](std::size_t i, std::size_t j) -> std::size_t& {
        return longest[i * width + j];
    };
    const auto same = [&](std::size_t i, std::size_t j) {
        return SameName(then[i].Name, now[j].Name);
    };
    for (std::size_t i = then.size(); i-- > 0;)
        for (std::size_t j = now.size(); j-- > 0;)
            at(i, j) = same(i, j) ? 1 + at(i + 1, j + 1) : std::max(at(i + 1, j), at(i, j + 1));
    std::vector<std::int32_t> places(then.size(), NoDevice);
    for (std::size_t i = 0, j = 0; i < then.size() && j < now.size();) {
        if (same(i, j))
            places[i++] = now[j++].ID;
        else if (at(i + 1, j) >= at(i, j + 1))
            ++i;
        else
            ++j;
    }
    return places;
}

// The first device of that name that no row has.
std::int32_t FindFree(const DeviceList& now, const Places& taken, const char* name) {
    for (const MidiDevice& device : now)
        if (device.ID != NoDevice && SameName(device.Name, name) &&
            std::ranges::find(taken, device.ID) == taken.end())
            return device.ID;
    return NoDevice;
}

// The devices that the rows stand for, where they are now.
template <typename Port>
Places FindOwn(const Port (&ports)[PortRows], const DeviceList& then, const DeviceList& now) {
    const std::vector<std::int32_t> moved = Follow(then, now);
    Places places;
    std::ranges::transform(ports, places.begin(), [&moved, &then](const Port& port) {
        if (port.DeviceID < 0) return port.DeviceID;
        const auto number = static_cast<std::size_t>(port.DeviceID);
        const bool known = number < then.size() && SameName(then[number].Name, port.DeviceName);
        return known ? moved[number] : NoDevice;
    });
    for (int row = 0; row < PortRows; ++row) {
        const Port& port = ports[row];
        if (places[row] != NoDevice || port.DeviceID == NoDevice) continue;
        const auto* const same = std::ranges::find(ports, port.DeviceID, &Port::DeviceID);
        const auto first = same - ports; // on the same device
        places[row] = first < row ? places[first] : FindFree(now, places, port.DeviceName);
    }
    return places;
}

template <typename Port>
std::vector<PortToOpen> RowsToOpen(const Port (&ports)[PortRows], const DeviceList& then,
                                   const DeviceList& now, std::int32_t fallback) {
    Places places = FindOwn(ports, then, now);
    const bool lost = places[0] == NoDevice && ports[0].DeviceID != NoDevice;
    if (lost) places[0] = FindFree(now, places, ports[0].Name); // it may be back
    const bool fallsBack = lost && places[0] == NoDevice;
    if (fallsBack) places[0] = fallback;

    const MidiDevice standard = DefaultOutput();
    std::vector<PortToOpen> rows;
    for (int row = 0; row < PortRows; ++row) {
        const std::int32_t place = places[row];
        if (place == NoDevice) continue;
        const char* const name = place < 0 ? standard.Name : now[place].Name;
        const bool own = row != 0 || !fallsBack;
        rows.push_back({row, place, own && SameName(name, ports[row].Name)});
    }
    if (rows.empty() || rows.front().Named) return rows;
    const PortToOpen spare = rows.front(); // row 0: no other has a device that it does not name
    rows.erase(rows.begin());
    if (std::ranges::find(rows, spare.Device, &PortToOpen::Device) == rows.end())
        rows.push_back(spare);
    return rows;
}

} // namespace

std::vector<PortToOpen> InputsToOpen() {
    const DeviceList now = ReadInputs();
    return RowsToOpen(InPorts, KnownDevices().Inputs, now, ChooseInput(now).ID);
}

std::vector<PortToOpen> OutputsToOpen() {
    return RowsToOpen(OutPorts, KnownDevices().Outputs, ReadOutputs(), MapperDevice);
}
