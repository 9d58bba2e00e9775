// The driver's life: settings, and one recogniser built anew by each Open.
#include "pitchrec/driver/prec_driver.h"

#include "engine/driver_table.h"
#include "engine/module.h"
#include "pitchrec/driver/capture_choice.h"
#include "pitchrec/driver/device_choice.h"
#include "pitchrec/driver/recogniser_guard.h"
#include "soundin/sound_in.h"

#include <memory>
#include <new>

Sonorel::PitchRec* Recogniser = nullptr;
std::atomic<std::uint8_t> EnablePitchRec{0};
std::atomic<std::uint16_t> PRecChannel{0};
std::atomic<std::uint16_t> NoteRangeMin{0};
std::atomic<std::uint16_t> NoteRangeMax{127};
std::atomic<std::int32_t> PRecLevel{0};

namespace {

constexpr const char* IniSection = "PRECDRVR";

bool PRecInited = false;

UINT ReadSetting(const char* key, int fallback) {
    return GetPrivateProfileIntA(IniSection, key, fallback, IniPath);
}

// A recogniser that is open on a capture of its own, or null.
std::unique_ptr<Sonorel::PitchRec> OpenRecogniser() {
    Sonorel::SoundIn* input = ChooseSoundIn();
    if (!input) return nullptr;
    std::unique_ptr<Sonorel::PitchRec> made(new (std::nothrow) Sonorel::PitchRecWaveIn(input));
    if (!made) delete input;
    if (made && !OpenOnChosenDevice(*made)) made.reset();
    return made;
}

// Notes decided by two frames that agree; no attacks, no bends.
void UsePlainNotes(Sonorel::PitchRec& recogniser) {
    recogniser.SetTrackingMode(false);
    recogniser.SetAttackDetect(false, 0);
    recogniser.SetPitchBendOutput(false);
}

} // namespace

std::uint16_t PRecInit() {
    if (PRecInited) return DriverSuccess;
    EnablePitchRec = ReadSetting("EnablePitchRec", 0) != 0 ? 1 : 0;
    PRecChannel = static_cast<std::uint16_t>(ReadSetting("Channel", 0));
    NoteRangeMin = static_cast<std::uint16_t>(ReadSetting("NoteRangeMin", 0));
    NoteRangeMax = static_cast<std::uint16_t>(ReadSetting("NoteRangeMax", 127));
    PRecInited = true;
    return DriverSuccess;
}

std::uint8_t PRecTerm() {
    PRecInited = false;
    return 1;
}

std::uint8_t PRecOpen() {
    std::unique_ptr<Sonorel::PitchRec> made = OpenRecogniser();
    if (!made) {
        MessageBoxA(nullptr, "Error initializing Pitch Recognition", "Testing",
                    MB_ICONEXCLAMATION | MB_OK);
        return 0;
    }
    Sonorel::PitchRec& recogniser = *made;
    // One that was open already goes; the engine opens a row that is closed.
    const std::unique_ptr<Sonorel::PitchRec> before(SetRecogniser(made.release()));
    recogniser.Enable(EnablePitchRec != 0);
    UsePlainNotes(recogniser);
    return 1;
}

// Notes still in the ring go with it, and a held note gets no end.
std::uint8_t PRecClose() {
    // From here on no poll can see it, so it may be taken apart while the timer runs.
    const std::unique_ptr<Sonorel::PitchRec> closing(SetRecogniser(nullptr));
    if (!closing) return 1;
    closing->Enable(false);
    UsePlainNotes(*closing);
    return 1;
}

// A microphone has no output, nothing to follow and nothing to silence.
std::uint8_t PRecXmit(const MIDIEvent*) { return 1; }
void PRecSync(std::int16_t) {}
std::uint8_t PRecSilence() { return 1; }

std::uint8_t PRecReady() { return EnablePitchRec; }
