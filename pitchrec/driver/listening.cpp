// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "pitchrec/driver/listening.h"

#include "engine/driver_table.h"
#include "pitchrec/driver/prec_driver.h"
#include "pitchrec/driver/recogniser_guard.h"
#include "support/error_box.h"

#include <utility>

using namespace Sonorel;

std::uint32_t ListeningChange::LatestNumber = 0;

namespace {

// The user's choice; null for the system's default microphone.
std::unique_ptr<const MicrophoneName> ChosenMicrophone;

bool ChosenIsMissing = false; // the chosen microphone could not be opened
bool MissingReported = false; // the user has been informed of it

// Class and name of the open microphone. Its recogniser is in Recogniser, where the poll reads it.
OpenMicrophone CurrentOpen;

// Notes change when two frames agree; no attacks, no pitch bends.
void SetPlainNotes(PitchRec& recogniser) {
    recogniser.SetTrackingMode(false);
    recogniser.SetAttackDetect(false, 0);
    recogniser.SetPitchBendOutput(false);
}

} // namespace

OpenMicrophone OpenChosenMicrophone(const ListeningChange& change) {
    OpenMicrophone opened = OpenRecogniser(ChosenMicrophone.get());
    if (!change.IsLatest()) return {};
    ChosenIsMissing = ChosenMicrophone && !opened.Recogniser;
    if (!ChosenIsMissing) MissingReported = false;
    if (ChosenIsMissing) opened = OpenRecogniser(nullptr);
    return change.IsLatest() ? std::move(opened) : OpenMicrophone();
}

void ReportMissingMicrophone() {
    if (!ChosenIsMissing || MissingReported) return;
    MissingReported = true;
    TextString text("The microphone you chose cannot be used just now:\n\n");
    text.Append(ChosenMicrophone->Text());
    text.Append("\n\nUntil it is back the system's default microphone is used in its place.");
    ShowErrorBox(text, TextString("Pitch Recognition"), MB_ICONEXCLAMATION);
}

bool ChoosePRecDevice(std::unique_ptr<const MicrophoneName> wanted) {
    if (!Recogniser || !wanted) return false;
    const ListeningChange change;
    const bool on = Recogniser->IsRunning();
    StopListening(); // first, since both names may belong to the same device
    OpenMicrophone opened = OpenRecogniser(wanted.get());
    if (!change.IsLatest()) return false;
    const bool chosen = opened.Recogniser != nullptr;
    if (chosen) {
        // The system's default microphone counts as no choice, and cannot be missing.
        ChosenMicrophone = opened.IsDefault ? nullptr : std::move(wanted);
        ChosenIsMissing = MissingReported = false;
    } else {
        opened = OpenChosenMicrophone(change);
    }
    if (opened.Recogniser) StartListening(std::move(opened), on);
    return chosen;
}

void StartListening(OpenMicrophone microphone, bool on) {
    PitchRec& started = *microphone.Recogniser;
    delete SetRecogniser(microphone.Recogniser.release());
    CurrentOpen = std::move(microphone);
    started.Enable(on);
    SetPlainNotes(started);
}

void StopListening() {
    // The poll cannot reach the recogniser from here on, so it can be closed while the timer runs.
    const std::unique_ptr<PitchRec> closing(SetRecogniser(nullptr));
    CurrentOpen = {};
    if (!PRecInDialog) PRecHeldNote = NoHeldNote;
    if (!closing) return;
    closing->Enable(false);
    SetPlainNotes(*closing);
}

CaptureClass CurrentCaptureClass() { return CurrentOpen.Class; }
const MicrophoneName* CurrentMicrophone() { return CurrentOpen.Name.get(); }
