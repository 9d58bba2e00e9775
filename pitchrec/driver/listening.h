// Which recogniser listens, to which microphone, and who has the last word on it.
#pragma once

#include "pitchrec/driver/capture_choice.h"

#include <cstdint>
#include <memory>

// All of this runs on the host's thread.

// One opening, closing or change of microphone. A message box in the middle of it runs the host's
// messages, from which the host may begin another: the one begun last decides what listens, and an
// earlier one, when it goes on, drops what it has made and leaves everything as it is.
//
// So no recogniser is in place while a call that can show a box runs on it, and none can be taken
// away under such a call.
class Turn {
public:
    Turn() : Mine(++Latest) {}
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;
    bool IsLast() const { return Mine == Latest; }

private:
    static std::uint32_t Latest;
    std::uint32_t Mine;
};

// The user's microphone, open; the system's default one if the user has not chosen, or for as long
// as the chosen one cannot be had. There is no recogniser if neither could be opened, or the turn
// has passed to another.
OpenMicrophone OpenOnChoice(const Turn& turn);

// Tells the user, once until it is heard again, that the default microphone listens in place of the
// chosen one. Shows a box.
void TellOfMissingMicrophone();

// Makes this microphone the user's choice, which holds for the process, and goes over to it at
// once. False if it cannot be opened: the choice is then the one before, and listens again. False
// too if it is null, if no recogniser is in place, or when the host has opened or closed the row
// meanwhile. May show boxes.
bool ChoosePRecDevice(std::unique_ptr<const Sonorel::MicrophoneName> wanted);

// Puts the recogniser in place.
void StartListening(OpenMicrophone microphone, bool on);
// Takes the recogniser, if there is one, out of its place and closes it.
void StopListening();

// What the recogniser in place hears; none and null without one.
CaptureClass PresentClass();
const Sonorel::MicrophoneName* PresentMicrophone();
