// Which capture device the recogniser listens to. The user's choice holds for the process.
#pragma once

#include "pitchrec/pitch_rec.h"

#include <cstdint>

// Turns Recogniser, which must not be null, to another device at once, and later recognisers with
// it. False if that device cannot be opened: the one in use before is then taken up again.
// Thread: host.
bool ChoosePRecDevice(std::int32_t device);

// Opens a new recogniser on the device of the user's choice; on device 0, if that one has gone.
// Thread: host.
bool OpenOnChosenDevice(Sonorel::PitchRec& recogniser);
