// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Row 1 of the driver table: the microphone as a MIDI input. The slots themselves and PRecInDialog
// are declared in engine/driver_table.h.
#pragma once

#include "pitchrec/driver/settings.h"
#include "pitchrec/pitch_rec.h"

#include <atomic>
#include <cstdint>

// The recogniser in use; null while the row is closed. Written on the host's thread, where it may
// be read without a lock. The poll reads it under a RecogniserGuard, for which Close waits.
extern Sonorel::PitchRec* Recogniser;

// The note that the poll has delivered without its note off yet: channel * 256 + key. If the dialog
// opens meanwhile, the next poll delivers the note off. Relaxed: a single value, set by the poll
// and cleared by Open and Close.
constexpr std::int32_t NoHeldNote = -1;
extern std::atomic<std::int32_t> PRecHeldNote;

// The input level at the last poll, in sample units, for the meter.
extern std::atomic<std::int32_t> PRecLevel;
