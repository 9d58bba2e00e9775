// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The receive path: all incoming records enter the engine here.
#pragma once

#include "engine/zormidi.h"

#include <cstdint>

// Feeds the external clock, stamps the record with the time base, appends it to queue 0 unless it
// is filtered out, and echoes it. Changes event. aged 0: Time is a timeGetTime value; aged 1: Time
// is an age in milliseconds. Returns false if a transmission is in progress: the record is then
// neither queued nor echoed, and lost unless the caller passes it again. Thread: MIDI input, timer.
// Real time: yes, as the devices allow while echo is on.
bool RcvEvent(MIDIEvent* event, std::uint8_t aged);

// True while incoming records are sent to the outputs. Thread: any. Real time: yes.
bool EchoIsOn();
