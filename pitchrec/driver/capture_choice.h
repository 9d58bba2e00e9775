// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Chooses the capture class for a microphone and opens a recogniser on it.
#pragma once

#include "pitchrec/driver/microphone_name.h"
#include "pitchrec/pitch_rec.h"

#include <cstdint>
#include <memory>

enum class CaptureClass : std::uint8_t { None, DirectSound, WaveIn };

// A recogniser that is open on a microphone.
struct OpenMicrophone {
    std::unique_ptr<Sonorel::PitchRec> Recogniser; // null if none could be opened
    CaptureClass Class = CaptureClass::None;
    // As the class lists it; null for the default microphone if the list is empty.
    std::unique_ptr<const Sonorel::MicrophoneName> Name;
    // True if DirectSound's list entry for the system's default microphone was requested.
    bool IsDefault = false;
};

// Opens this microphone, or the system's default one for null: with DirectSound if that can open
// it, else with waveIn. Opens no other device. The result has no recogniser if neither class lists
// the microphone, if it cannot be opened (the user has seen a message box by then), or if memory
// cannot be allocated. Thread: host. The message box runs the host's message loop.
OpenMicrophone OpenRecogniser(const Sonorel::MicrophoneName* microphone);

// Replaces the list by the names of the microphones present, in the order of the class. The list is
// empty for CaptureClass::None. Thread: host.
void ListMicrophones(CaptureClass capture, Sonorel::TextStringArray& names);
