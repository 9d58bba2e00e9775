// Thru into one's own ears.
#pragma once

#include "host/input.h"
#include "host/port_map.h"

namespace zorhost {

// A loopback port plays into the input of its own name: thru from the one to the other would go
// round for ever. Throws HostError.
void RefuseThruLoop(const PortMap& map, const InputOptions& options);

} // namespace zorhost
