// Through which capture class a microphone is heard.
#pragma once

#include "pitchrec/driver/microphone_name.h"
#include "pitchrec/pitch_rec.h"

#include <cstdint>
#include <memory>

enum class CaptureClass : std::uint8_t { None, DirectSound, WaveIn };

// A recogniser that is open on a microphone.
struct OpenMicrophone {
    std::unique_ptr<Sonorel::PitchRec> Recogniser; // null: none could be opened
    CaptureClass Class = CaptureClass::None;
    // As the class lists it; null for the default one of an empty list.
    std::unique_ptr<const Sonorel::MicrophoneName> Name;
    // It was asked for as DirectSound's entry for whatever the system's default is.
    bool IsDefault = false;
};

// Opens this microphone, or the system's default one for null: by DirectSound where that can open
// it, else by waveIn. No other device is touched on the way. There is no recogniser if neither
// class knows the microphone, if it cannot be opened, of which a box has told, or if memory is
// short. Thread: host; the box runs the host's messages.
OpenMicrophone OpenRecogniser(const Sonorel::MicrophoneName* microphone);

// Fills the list with the names of the microphones that there are now, in the order of the class.
// Thread: host.
void ListMicrophones(CaptureClass capture, Sonorel::TextStringArray& names);
