// The back end under test: one microphone, called "Voice", with a volume.
#pragma once

#include "platform/machine.h"

void PlugMicrophone(); // on a machine without
void UnplugMicrophone();
