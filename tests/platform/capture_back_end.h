// The back end under test: one microphone, called "Voice".
#pragma once

#include "platform/machine.h"

void PlugMicrophone(); // on a machine without
void UnplugMicrophone();
