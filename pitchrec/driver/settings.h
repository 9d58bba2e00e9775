// The settings of section PRECDRVR, as the dialog shows and stores them. EnablePitchRec, the first
// of them, is declared in engine/driver_table.h.
#pragma once

#include <atomic>
#include <cstdint>

// Relaxed: single values.
extern std::atomic<std::uint16_t> PRecChannel;  // zero-based Channel of every recognised note
extern std::atomic<std::uint16_t> NoteRangeMin; // shown in the dialog; filters nothing
extern std::atomic<std::uint16_t> NoteRangeMax;

// Reads them and EnablePitchRec from the ini file. Thread: host.
void ReadPRecSettings();
// Stores them. False if the ini file cannot be written. Thread: host.
bool WritePRecSettings();
