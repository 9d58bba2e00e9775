// The microphones that a user can choose from.
#pragma once

#include "pitchrec/driver/capture_choice.h"
#include "support/text_string_array.h"

#include <cstdint>
#include <memory>

// The list as it was read last; a choice from it is a choice by name, since numbers move when a
// device comes or goes. Thread: host.
class MicrophoneList {
public:
    // Lists what there is now, in the order of the capture class that listens; nothing while none
    // listens.
    void Read();
    // True if a device has come or gone since, or another class listens by now. Asks waveIn alone,
    // which knows every device and opens nothing for the question.
    bool IsStale() const;

    const Sonorel::TextStringArray& Names() const { return Listed; }
    // The place of the microphone that listens; -1 if it is not listed.
    std::int32_t Present() const;
    // Null outside the list, or if memory is short.
    std::unique_ptr<const Sonorel::MicrophoneName> NameAt(std::int32_t place) const;

private:
    CaptureClass Class = CaptureClass::None; // whose list it is
    Sonorel::TextStringArray Listed;
    Sonorel::TextStringArray WaveDevices;
};
