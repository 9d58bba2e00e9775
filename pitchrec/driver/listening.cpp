#include "pitchrec/driver/listening.h"

#include "engine/driver_table.h"
#include "pitchrec/driver/prec_driver.h"
#include "pitchrec/driver/recogniser_guard.h"
#include "support/error_box.h"

#include <utility>

using namespace Sonorel;

std::uint32_t Turn::Latest = 0;

namespace {

// Null: none yet, so the default one.
std::unique_ptr<const MicrophoneName> Chosen;

// The chosen one is not heard. Told: the user knows.
bool Missing = false;
bool Told = false;

// Of the recogniser in place, which is kept for the poll on its own.
OpenMicrophone Present;

// Notes decided by two frames that agree; no attacks, no bends.
void UsePlainNotes(PitchRec& recogniser) {
    recogniser.SetTrackingMode(false);
    recogniser.SetAttackDetect(false, 0);
    recogniser.SetPitchBendOutput(false);
}

} // namespace

OpenMicrophone OpenOnChoice(const Turn& turn) {
    OpenMicrophone made = OpenRecogniser(Chosen.get());
    if (!turn.IsLast()) return {};
    Missing = Chosen && !made.Recogniser;
    if (!Missing) Told = false;
    if (Missing) made = OpenRecogniser(nullptr);
    return turn.IsLast() ? std::move(made) : OpenMicrophone();
}

void TellOfMissingMicrophone() {
    if (!Missing || Told) return;
    Told = true;
    TextString text("The microphone you chose cannot be used just now:\n\n");
    text.Append(Chosen->Text());
    text.Append("\n\nUntil it is back the system's default microphone is used in its place.");
    ShowErrorBox(text, TextString("Pitch Recognition"), MB_ICONEXCLAMATION);
}

bool ChoosePRecDevice(std::unique_ptr<const MicrophoneName> wanted) {
    if (!Recogniser || !wanted) return false;
    const Turn turn;
    const bool on = Recogniser->IsRunning();
    // First, since the two may be one device under two names.
    StopListening();
    OpenMicrophone made = OpenRecogniser(wanted.get());
    if (!turn.IsLast()) return false;
    const bool chosen = made.Recogniser != nullptr;
    if (chosen) {
        // Who picks the system's default one has no choice that could be missing.
        Chosen = made.IsDefault ? nullptr : std::move(wanted);
        Missing = Told = false;
    } else {
        made = OpenOnChoice(turn);
    }
    if (made.Recogniser) StartListening(std::move(made), on);
    return chosen;
}

void StartListening(OpenMicrophone microphone, bool on) {
    PitchRec& started = *microphone.Recogniser;
    delete SetRecogniser(microphone.Recogniser.release());
    Present = std::move(microphone);
    started.Enable(on);
    UsePlainNotes(started);
}

void StopListening() {
    // From here on no poll can see it, so it may be taken apart while the timer runs.
    const std::unique_ptr<PitchRec> closing(SetRecogniser(nullptr));
    Present = {};
    if (!PRecInDialog) PRecHeldNote = NoHeldNote;
    if (!closing) return;
    closing->Enable(false);
    UsePlainNotes(*closing);
}

CaptureClass PresentClass() { return Present.Class; }
const MicrophoneName* PresentMicrophone() { return Present.Name.get(); }
