// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "pitchrec/driver/settings.h"

#include "engine/library_instance.h"
#include "support/profile.h"

std::atomic<std::uint8_t> EnablePitchRec{0};
std::atomic<std::uint16_t> PRecChannel{0};
std::atomic<std::uint16_t> NoteRangeMin{0};
std::atomic<std::uint16_t> NoteRangeMax{127};

namespace {

constexpr char PRecSection[] = "PRECDRVR";

UINT Read(const char* key, int fallback) {
    return GetPrivateProfileIntA(PRecSection, key, fallback, IniPath);
}

// Written as a signed number.
bool Write(const char* key, std::uint16_t value) {
    return WriteProfileInt(PRecSection, key, static_cast<std::int16_t>(value), IniPath);
}

} // namespace

void ReadPRecSettings() {
    EnablePitchRec = Read("EnablePitchRec", 0) != 0 ? 1 : 0;
    PRecChannel = static_cast<std::uint16_t>(Read("Channel", 0));
    NoteRangeMin = static_cast<std::uint16_t>(Read("NoteRangeMin", 0));
    NoteRangeMax = static_cast<std::uint16_t>(Read("NoteRangeMax", 127));
}

bool WritePRecSettings() {
    bool written = Write("EnablePitchRec", EnablePitchRec);
    written &= Write("Channel", PRecChannel);
    written &= Write("NoteRangeMin", NoteRangeMin);
    written &= Write("NoteRangeMax", NoteRangeMax);
    return written;
}
