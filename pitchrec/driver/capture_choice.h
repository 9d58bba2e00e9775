// Through which capture class a microphone is heard.
#pragma once

#include "pitchrec/pitch_rec.h"

#include <memory>

namespace Sonorel {
class MicrophoneName;
}

// A recogniser that is open on this microphone, or on the system's default one for null: by
// DirectSound where that can open it, else by waveIn. No other device is touched on the way. Null
// if neither class knows the microphone, if it cannot be opened, of which a box has told, or if
// memory is short. Thread: host; the box runs the host's messages.
std::unique_ptr<Sonorel::PitchRec> OpenRecogniser(const Sonorel::MicrophoneName* microphone);
