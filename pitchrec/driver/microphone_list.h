// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The microphones that a user can choose from.
#pragma once

#include "pitchrec/driver/capture_choice.h"
#include "support/text_string_array.h"

#include <cstdint>
#include <memory>

// The names of the microphones at the time of the last Read. Microphones are chosen by name, since
// device numbers change when a device is plugged in or unplugged. Thread: host.
class MicrophoneList {
public:
    // Reads the microphones present, in the order of the capture class in use. The list is empty
    // while no recogniser listens.
    void Read();
    // True if devices have been plugged in or unplugged since, or another class is in use. Calls
    // only waveIn, which lists every device without opening one.
    bool IsStale() const;

    const Sonorel::TextStringArray& Names() const { return ListedNames; }
    // The index of the microphone in use; -1 if it is not listed.
    std::int32_t CurrentIndex() const;
    // Null for an index outside the list, or if memory cannot be allocated.
    std::unique_ptr<const Sonorel::MicrophoneName> NameAt(std::int32_t index) const;

private:
    CaptureClass Class = CaptureClass::None; // in use at the last Read
    Sonorel::TextStringArray ListedNames;
    Sonorel::TextStringArray WaveInNames;
};
