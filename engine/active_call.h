// What a thread is doing for the library: the callbacks and transmissions that it is inside of.
#pragma once

#include "engine/generation.h"

#include <chrono>
#include <cstdint>

// One of them, for as long as it lives on its thread's stack. Thread: the one that made it.
// Real time: yes.
class Errand {
public:
    enum class Kind : std::uint8_t {
        Expiry,       // the timer's callback
        Input,        // a MIDI input callback
        Transmission, // into the drivers' Xmit or Silence
    };
    explicit Errand(Kind what, Generation begun = CurrentGeneration());
    ~Errand();
    Errand(const Errand&) = delete;
    Errand& operator=(const Errand&) = delete;

    const Kind What;
    // The generation that it works for: the present one when it was made, or for a transmission an
    // older one, from which its record comes.
    const Generation Begun;
    Errand* const Outer;  // that the same thread was inside of already, or null
    const unsigned Epoch; // of callbacks: among which it is counted
};

// False once playback was killed, or the drivers were opened or closed, since the generation that
// the transmission of this thread works for, which can be long before it began; a caller that finds
// it false sends nothing more of it. True outside a transmission. Thread: any. Real time: yes.
bool StillWanted();

// Whether this thread is inside a MIDI input callback. It may hold locks of the device's driver,
// so it must never wait for a thread that is inside a call of that driver.
// Thread: any. Real time: yes.
bool OnInputThread();

// When the callback that this thread is inside of began; outside of one, now.
Generation CallbackBegun();

// Waits for the callbacks that are under way now, those included that an earlier call gave up, but
// for those that this very thread is inside of, which cannot end before it returns. Gives up when
// patience has passed, and returns false: a callback may stand in a message box, and it finds code
// and locks even later. Thread: host.
bool AwaitCallbacks(std::chrono::milliseconds patience = std::chrono::seconds(5));
