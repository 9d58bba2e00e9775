#include "host/thru_loop.h"

#include "host/host_error.h"
#include "host/machine.h"

namespace zorhost {

void RefuseThruLoop(const PortMap& map, const InputOptions& options) {
    if (options.Thru.empty()) return;
    for (const Port& output : map.Outputs) {
        for (const Port& input : map.Inputs) {
            if (output.Device.empty() || output.Device != input.Device) continue;
            if (!Machine::IsLoopback(output.Device)) continue;
            throw HostError(
                "--thru: \"" + output.Device +
                    "\" plays into an input that is listened to, so every message would "
                    "go round for ever; take another loopback port, or listen to "
                    "another one with --in",
                ExitWrongUse);
        }
    }
}

} // namespace zorhost
