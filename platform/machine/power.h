// Putting the machine back to its state at load: each of its rooms names what it resets.
#pragma once

namespace machine {

// A reset that every PowerOn runs, registered for the life of the process by a static object. The
// clock is real and nothing is scheduled when it runs; resets come in no particular order.
struct AtPowerOn {
    explicit AtPowerOn(void (*reset)());
};

} // namespace machine
