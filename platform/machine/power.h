// Putting the machine back to its state at load: each of its rooms names what it resets.
#pragma once

namespace machine {

// A reset that every PowerOn runs, registered for the life of the process by a static object. The
// clock is real and nothing is scheduled when it runs; resets come in no particular order.
class AtPowerOn {
public:
    explicit AtPowerOn(void (*reset)());
    AtPowerOn(const AtPowerOn&) = delete;
    AtPowerOn& operator=(const AtPowerOn&) = delete;

private:
    friend void PowerOn();
    void (*Reset)();
    AtPowerOn* Next;
};

} // namespace machine
