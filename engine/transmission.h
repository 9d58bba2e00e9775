// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Sends one record to the drivers, or has them release their notes.
#pragma once

#include "engine/generation.h"
#include "engine/zormidi.h"

#include <atomic>
#include <cstdint>

// Number of transmissions in progress, on all threads.
extern std::atomic<std::int16_t> XmitBusy;
inline bool Transmitting() { return XmitBusy.load(std::memory_order_acquire) > 0; }

// Sends one record to every open row. Returns false if a row refused it; the other rows receive it
// all the same. start: the generation that the record belongs to; rows and ports not yet reached
// are skipped once it is cancelled. Thread: any. Real time: as the devices allow.
bool XmitToDrivers(const MIDIEvent& event, Generation start);

// Makes every open row release its sounding notes. Thread: host.
void SilenceDrivers();
