// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The driver's slots. Each Open creates a new recogniser, and Close deletes it.
#include "pitchrec/driver/prec_driver.h"

#include "engine/driver_table.h"
#include "pitchrec/driver/listening.h"

#include <utility>

Sonorel::PitchRec* Recogniser = nullptr;
std::atomic<std::int32_t> PRecLevel{0};
std::atomic<std::uint8_t> PRecInDialog{0};

namespace {

bool PRecInited = false;

} // namespace

std::uint16_t PRecInit() {
    if (PRecInited) return DriverSuccess;
    ReadPRecSettings();
    PRecInited = true;
    return DriverSuccess;
}

std::uint8_t PRecTerm() {
    PRecInited = false;
    return 1;
}

// A message box may lead to another Open or Close, which then wins. Returns whether the row is
// open.
std::uint8_t PRecOpen() {
    const ListeningChange change;
    StopListening(); // in case it is open already
    OpenMicrophone opened = OpenChosenMicrophone(change);
    if (opened.Recogniser) {
        StartListening(std::move(opened), EnablePitchRec != 0 || PRecInDialog != 0);
        ReportMissingMicrophone();
    } else if (change.IsLatest()) {
        MessageBoxA(nullptr, "Error initializing Pitch Recognition", "Testing",
                    MB_ICONEXCLAMATION | MB_OK);
    }
    return Recogniser != nullptr;
}

// Notes still in the ring are dropped. A sounding note gets no note off, unless the row closes for
// its dialog.
std::uint8_t PRecClose() {
    const ListeningChange change;
    StopListening();
    return 1;
}

// A microphone has no output, no clock and no sounding notes.
std::uint8_t PRecXmit(const MIDIEvent*) { return 1; }
void PRecSync(std::int16_t) {}
std::uint8_t PRecSilence() { return 1; }

std::uint8_t PRecReady() { return EnablePitchRec; }
