// The entry for everything received.
#pragma once

#include "engine/zormidi.h"

#include <cstdint>

// Feeds the external clock, stamps the record with the time base, files it in queue 0 unless it is
// filtered out, and echoes it. event is changed. aged 0: Time comes in as a timeGetTime value;
// aged 1: as an age in milliseconds, counted back from now. False if the record met a transmission,
// so that it was neither filed nor echoed: it is lost, unless the caller hands it in again.
// Thread: MIDI input, timer. Real time: yes, as the devices allow while echo is on.
bool RcvEvent(MIDIEvent* event, std::uint8_t aged);

// Whether what comes in goes out again. Thread: any. Real time: yes.
bool EchoIsOn();
