// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The settings of section PRECDRVR, as the dialog shows and stores them.
#pragma once

#include <atomic>
#include <cstdint>

// Written on the host's thread, read on any. Single values, with no order among them.
extern std::atomic<std::uint8_t> EnablePitchRec;
extern std::atomic<std::uint16_t> PRecChannel;  // Channel of every recognised note, from 0
extern std::atomic<std::uint16_t> NoteRangeMin; // shown in the dialog; filters nothing
extern std::atomic<std::uint16_t> NoteRangeMax;

// Reads them from the ini file. Thread: host.
void ReadPRecSettings();
// Writes them to the ini file. Returns false if one could not be written; the others are. Thread:
// host.
bool WritePRecSettings();
