// Row 1 of the driver table: the microphone as a MIDI input. The slots themselves and
// EnablePitchRec are declared in engine/driver_table.h.
#pragma once

#include "pitchrec/driver/settings.h"
#include "pitchrec/pitch_rec.h"

#include <atomic>
#include <cstdint>

// The one recogniser; null while the row is closed. Written on the host's thread, where the setup
// dialog may read it freely; the poll reads it under a guard that Close waits for.
extern Sonorel::PitchRec* Recogniser;

// Microphone dialogs that are up. Meanwhile the notes in the ring are theirs, and the poll takes
// none. Relaxed: a note taken just before is one that was sung before.
extern std::atomic<std::int32_t> PRecDialogs;

// The input level that the last poll fetched, in sample units, for the meter.
extern std::atomic<std::int32_t> PRecLevel;
