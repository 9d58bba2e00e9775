// MIDI devices as they come and go.
#pragma once

namespace zorhost {

// Prints a line for each device that is plugged in or pulled out, until Ctrl-C.
void WatchDevices();

} // namespace zorhost
