// Which capture the recogniser listens through.
#pragma once

#include <cstdint>

namespace Sonorel {
class SoundIn;
}

// A closed capture object that the caller owns, or null when memory is short: DirectSound where it
// can be opened, else the waveIn functions. Thread: host.
Sonorel::SoundIn* ChooseSoundIn();

// What the capture is asked for, in frames a second.
constexpr std::int32_t CaptureRate = 22050;
