// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Opens, closes and changes the recogniser that listens. Thread: host, for everything here.
#pragma once

#include "pitchrec/driver/capture_choice.h"

#include <cstdint>
#include <memory>

// One opening, closing or change of microphone. A message box in the middle of it runs the host's
// message loop, from which the host may begin another one. The latest wins: an earlier one, when it
// resumes, drops the recogniser that it has opened and changes nothing.
//
// Therefore Recogniser is null while a call that can show a message box uses a recogniser, so that
// no recogniser is deleted during such a call.
class ListeningChange {
public:
    ListeningChange() : Number(++LatestNumber) {}
    ListeningChange(const ListeningChange&) = delete;
    ListeningChange& operator=(const ListeningChange&) = delete;
    bool IsLatest() const { return Number == LatestNumber; }

private:
    static std::uint32_t LatestNumber;
    std::uint32_t Number;
};

// Opens the microphone that the user chose, or the system's default one if there is no choice or
// the chosen one cannot be opened. The result has no recogniser if neither could be opened or a
// later change has begun.
OpenMicrophone OpenChosenMicrophone(const ListeningChange& change);

// If the default microphone is used in place of the chosen one, informs the user in a message box.
// Shows it once until the chosen one works again.
void ReportMissingMicrophone();

// Makes this microphone the user's choice for the life of the process, and changes to it at once.
// Returns false if it cannot be opened: the previous choice stays and is opened again. Returns
// false too if wanted is null, if no recogniser listens, or if the host has opened or closed the
// row meanwhile. May show message boxes.
bool ChoosePRecDevice(std::unique_ptr<const Sonorel::MicrophoneName> wanted);

// Sets Recogniser, and starts its capture if on is true.
void StartListening(OpenMicrophone microphone, bool on);
// Sets Recogniser to null; stops and deletes the recogniser if there was one.
void StopListening();

// The capture class and the microphone of Recogniser; None and null without one.
CaptureClass CurrentCaptureClass();
const Sonorel::MicrophoneName* CurrentMicrophone();
