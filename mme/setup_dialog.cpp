// The MIDI Setup dialog.
#include "engine/driver.h"

void MMEConfig(HWND) {}
