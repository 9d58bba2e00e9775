#include "tests/platform/capture_back_end.h"

void PlugMicrophone() { machine::AddMicrophone({.Name = "Voice"}); }
void UnplugMicrophone() { Unplug(machine::Microphone{0}); }
