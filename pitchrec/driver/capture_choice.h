// Which capture the recogniser listens through.
#pragma once

namespace Sonorel {
class SoundIn;
}

// A closed capture object that the caller owns, or null when memory is short: DirectSound where it
// can be opened, else the waveIn functions. Thread: host.
Sonorel::SoundIn* ChooseSoundIn();
