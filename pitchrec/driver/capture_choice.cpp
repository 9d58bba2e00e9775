#include "pitchrec/driver/capture_choice.h"

#include "soundin/sound_in.h"

Sonorel::SoundIn* ChooseSoundIn() { return nullptr; }
