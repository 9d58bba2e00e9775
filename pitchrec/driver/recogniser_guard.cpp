// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "pitchrec/driver/recogniser_guard.h"

#include <thread>
#include <utility>

std::uint32_t RecogniserNumber = 0;

namespace {
// The exchange acquires and the store releases, so that each holder sees the stores of the last.
std::atomic<bool> InUse{false};
} // namespace

RecogniserGuard::RecogniserGuard() : Locked(!InUse.exchange(true, std::memory_order_acquire)) {}

RecogniserGuard::~RecogniserGuard() {
    if (Locked) InUse.store(false, std::memory_order_release);
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
