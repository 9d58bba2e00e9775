#include "pitchrec/driver/recogniser_guard.h"

#include <thread>
#include <utility>

std::uint32_t RecogniserNumber = 0;

namespace {
// Acquired by exchange, released by store: what the last holder did is seen by the next.
std::atomic<bool> Taken{false};
} // namespace

RecogniserGuard::RecogniserGuard() : Held(!Taken.exchange(true, std::memory_order_acquire)) {}

RecogniserGuard::~RecogniserGuard() {
    if (Held) Taken.store(false, std::memory_order_release);
}

Sonorel::PitchRec* SetRecogniser(Sonorel::PitchRec* recogniser) {
    for (;;) {
        if (const RecogniserGuard guard; guard) {
            ++RecogniserNumber;
            return std::exchange(Recogniser, recogniser);
        }
        std::this_thread::yield();
    }
}
