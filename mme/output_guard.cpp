#include "mme/output_guard.h"

#include "engine/errand.h"

namespace {

bool PassGate(Lock& gate) {
    if (OnInputThread()) return gate.TryEnter();
    gate.Enter();
    return true;
}

bool Enter(MMEOutPort& port) {
    if (!PassGate(port.Gate)) return false;
    if (!port.Sending) {
        port.Sending = true;
        return true;
    }
    port.Gate.Leave(); // the gate lets in whoever holds it
    return false;
}

} // namespace

PortEntry::PortEntry(MMEOutPort& wanted) : Port(wanted), Inside(Enter(wanted)) {}

PortEntry::~PortEntry() {
    if (!Inside) return;
    Port.Sending = false;
    Port.Gate.Leave();
}
