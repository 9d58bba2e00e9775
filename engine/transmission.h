// Out to the drivers: one record, or silence.
#pragma once

#include "engine/generation.h"
#include "engine/zormidi.h"

#include <atomic>
#include <cstdint>

// Transmissions now running through the drivers' Xmit slots, on any thread.
extern std::atomic<std::int16_t> XmitBusy;
inline bool Transmitting() { return XmitBusy.load(std::memory_order_acquire) > 0; }

// Hands one record to every open row. False if one refused; the others have had it then. begun: the
// generation that it belongs to; it goes no further once that was silenced.
// Thread: any. Real time: as the devices allow.
bool XmitToDrivers(const MIDIEvent& event, Generation begun);

// Has every open row release what it holds sounding. Thread: host.
void SilenceDrivers();
