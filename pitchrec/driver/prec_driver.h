// Row 1 of the driver table: the microphone as a MIDI input. The slots themselves and PRecInDialog
// are declared in engine/driver_table.h.
#pragma once

#include "pitchrec/driver/settings.h"
#include "pitchrec/pitch_rec.h"

#include <atomic>
#include <cstdint>

// The one recogniser; null while the row is closed. Written on the host's thread, where the setup
// dialog may read it freely; the poll reads it under a guard that Close waits for.
extern Sonorel::PitchRec* Recogniser;

// The note that the poll has handed on without its end: its key, and its channel times 256. When
// the dialog takes the microphone over, the next poll ends it. Relaxed: one value, which the poll
// sets and an opening or closing forgets.
constexpr std::int32_t NoHeldNote = -1;
extern std::atomic<std::int32_t> PRecHeldNote;

// The input level that the last poll fetched, in sample units, for the meter.
extern std::atomic<std::int32_t> PRecLevel;
