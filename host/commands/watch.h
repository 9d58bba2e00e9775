// Devices as they come and go.
#pragma once

namespace zorhost {

// Prints a line, or a JSON object, for each device that is plugged in or pulled out, until Ctrl-C.
void WatchDevices(bool json);

} // namespace zorhost
