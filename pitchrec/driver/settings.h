// The settings of section PRECDRVR, as the dialog shows and stores them.
#pragma once

#include <atomic>
#include <cstdint>

// Relaxed: single values.
extern std::atomic<std::uint8_t> EnablePitchRec;
extern std::atomic<std::uint16_t> PRecChannel;  // zero-based Channel of every recognised note
extern std::atomic<std::uint16_t> NoteRangeMin; // shown in the dialog; filters nothing
extern std::atomic<std::uint16_t> NoteRangeMax;

// Reads them from the ini file. Thread: host.
void ReadPRecSettings();
// Stores each of them that can be stored. False if one could not. Thread: host.
bool WritePRecSettings();
