#include "platform/machine/power.h"

#include "platform/machine.h"

namespace machine {
namespace {
constinit AtPowerOn* first = nullptr;
} // namespace

AtPowerOn::AtPowerOn(void (*reset)()) : Reset(reset), Next(first) { first = this; }

void PowerOn() {
    UseRealClock();
    for (const AtPowerOn* room = first; room; room = room->Next) room->Reset();
}

} // namespace machine
