// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "mme/ports_to_open.h"

#include <algorithm>
#include <array>

namespace {

// By row: device number, MapperDevice or NoDevice.
using DeviceNumbers = std::array<std::int32_t, PortRows>;

// For each device of an old list its number in a new list, NoDevice for one that is missing.
// Devices of equal names are matched by their neighbours: the longest common subsequence of names
// counts as the devices that stayed.
std::vector<std::int32_t> MatchDevices(const DeviceList& before, const DeviceList& now) {
    const std::size_t width = now.size() + 1;
    // at(i, j) is the length of the longest common subsequence of before from i and now from j.
    std::vector<std::size_t> longest((before.size() + 1) * width);
    const auto at = [&](std::size_t i, std::size_t j) -> std::size_t& {
        return longest[i * width + j];
    };
    const auto same = [&](std::size_t i, std::size_t j) {
        return SameName(before[i].Name, now[j].Name);
    };
    for (std::size_t i = before.size(); i-- > 0;)
        for (std::size_t j = now.size(); j-- > 0;)
            at(i, j) = same(i, j) ? 1 + at(i + 1, j + 1) : std::max(at(i + 1, j), at(i, j + 1));
    std::vector<std::int32_t> numbers(before.size(), NoDevice);
    for (std::size_t i = 0, j = 0; i < before.size() && j < now.size();) {
        if (same(i, j))
            numbers[i++] = now[j++].ID;
        else if (at(i + 1, j) >= at(i, j + 1))
            ++i;
        else
            ++j;
    }
    return numbers;
}

// The first device with that name that is not among those used.
std::int32_t FindFree(const DeviceList& now, const DeviceNumbers& used, const char* name) {
    for (const MidiDevice& device : now)
        if (device.ID != NoDevice && SameName(device.Name, name) &&
            std::ranges::find(used, device.ID) == used.end())
            return device.ID;
    return NoDevice;
}

// The present numbers of the devices in the rows.
template <typename Port>
DeviceNumbers FindOwn(const Port (&ports)[PortRows], const DeviceList& before,
                      const DeviceList& now) {
    const std::vector<std::int32_t> matched = MatchDevices(before, now);
    DeviceNumbers numbers;
    std::ranges::transform(ports, numbers.begin(), [&matched, &before](const Port& port) {
        if (port.DeviceID < 0) return port.DeviceID;
        const auto number = static_cast<std::size_t>(port.DeviceID);
        const bool known = number < before.size() && SameName(before[number].Name, port.DeviceName);
        return known ? matched[number] : NoDevice;
    });
    for (int row = 0; row < PortRows; ++row) {
        const Port& port = ports[row];
        if (numbers[row] != NoDevice || port.DeviceID == NoDevice) continue;
        const auto* const same = std::ranges::find(ports, port.DeviceID, &Port::DeviceID);
        const auto first = same - ports; // the first row with the same device
        numbers[row] = first < row ? numbers[first] : FindFree(now, numbers, port.DeviceName);
    }
    return numbers;
}

template <typename Port>
std::vector<PortToOpen> RowsToOpen(const Port (&ports)[PortRows], const DeviceList& before,
                                   const DeviceList& now, std::int32_t fallback) {
    DeviceNumbers numbers = FindOwn(ports, before, now);
    const bool lost = numbers[0] == NoDevice && ports[0].DeviceID != NoDevice;
    if (lost) numbers[0] = FindFree(now, numbers, ports[0].Name); // plugged in again
    const bool fallsBack = lost && numbers[0] == NoDevice;
    if (fallsBack) numbers[0] = fallback;

    const MidiDevice standard = DefaultOutput();
    std::vector<PortToOpen> rows;
    for (int row = 0; row < PortRows; ++row) {
        const std::int32_t number = numbers[row];
        if (number == NoDevice) continue;
        const char* const name = number < 0 ? standard.Name : now[number].Name;
        const bool own = row != 0 || !fallsBack;
        rows.push_back({row, number, own && SameName(name, ports[row].Name)});
    }
    if (rows.empty() || rows.front().HasRowsName) return rows;
    const PortToOpen spare = rows.front(); // only row 0 falls back on another device
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
