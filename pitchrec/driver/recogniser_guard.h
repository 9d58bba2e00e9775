// What keeps the poll off a recogniser that is being closed.
#pragma once

#include "pitchrec/driver/prec_driver.h"

// Tries to get hold of Recogniser, and never waits. The holder keeps it for a few loads and stores
// only, never across a call into the engine, so that whoever waits for it waits for moments.
// Neither side is the delivering thread.
class RecogniserGuard {
public:
    RecogniserGuard();
    ~RecogniserGuard();
    RecogniserGuard(const RecogniserGuard&) = delete;
    RecogniserGuard& operator=(const RecogniserGuard&) = delete;
    explicit operator bool() const { return Held; }

private:
    bool Held;
};

// Which recogniser in turn is in place. Read under the guard.
extern std::uint32_t RecogniserNumber;

// Puts another recogniser in place of the present one, which it gives back, once no poll is at it.
// Thread: host.
Sonorel::PitchRec* SetRecogniser(Sonorel::PitchRec* recogniser);
