#include "tests/platform/capture_back_end.h"

void PlugMicrophone() { machine::AddMicrophone({.Name = "Voice"}); }
void UnplugMicrophone() { Unplug(machine::Microphone{0}); }
const std::chrono::microseconds SoundComesEvery{5000};
const int Stops = 50;
