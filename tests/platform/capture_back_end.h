// The back end under test: one microphone, called "Voice".
#pragma once

#include "platform/machine.h"

#include <chrono>

void PlugMicrophone(); // on a machine without
void UnplugMicrophone();

// How often sound comes at the least, and how many stops are tried at moments spread over that time.
// Each costs a server a connection.
extern const std::chrono::microseconds SoundComesEvery;
extern const int Stops;
