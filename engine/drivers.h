// The rows of the driver table taken together.
#pragma once

#include "engine/driver.h"

#include <atomic>
#include <cstdint>

// The drivers were opened as a group. Set and cleared on the host's thread.
extern std::atomic<std::uint8_t> DriversOpen;

// Empties the rings, stops the external clock and opens every row that is up and Ready. All or
// nothing. True also if they are open already, which changes nothing.
// Thread: host.
bool OpenMIDIDrivers();
void CloseMIDIDrivers();

// Transmissions now running through the drivers' Xmit slots, on any thread.
extern std::atomic<std::int16_t> XmitBusy;
inline bool Transmitting() { return XmitBusy.load(std::memory_order_acquire) > 0; }

// Hands one record to every open row. False if one refused; the others have had it then.
// Thread: any. Real time: as the devices allow.
bool XmitToDrivers(const MIDIEvent& event);

// Has every open row release what it holds sounding.
void SilenceDrivers();
