#include "mme/ports.h"

namespace {

constexpr MMEInPort InRow(std::int16_t base) { return {{}, base, {}, 0, {}}; }
constexpr MMEOutPort OutRow(std::int16_t base) { return {{}, base, 0, {}, 0, 0, 1, nullptr}; }

} // namespace

// Before any configuration is read: four rows of 16 channels side by side.
MMEInPort InPorts[PortRows] = {InRow(0), InRow(16), InRow(32), InRow(48),
                               InRow(0), InRow(0),  InRow(0),  InRow(0)};
MMEOutPort OutPorts[PortRows] = {OutRow(0), OutRow(16), OutRow(32), OutRow(48),
                                 OutRow(0), OutRow(0),  OutRow(0),  OutRow(0)};

std::uint8_t MidiOutReset = 0;
std::atomic<std::int16_t> SyncMaster{0};
std::atomic<std::uint8_t> SyncEnabled{0};

void MMEInPort::Clear() {
    Handle = nullptr;
    BaseChannel = 0;
    Name[0] = '\0';
    DeviceID = 0;
    StartTime = 0;
}

void MMEOutPort::Clear() {
    Handle = nullptr;
    BaseChannel = 0;
    LastStatus = 0;
    Name[0] = '\0';
    DeviceID = 0;
    Support = 0;
    OutMatch = 0;
    NoteCounts = nullptr;
}
