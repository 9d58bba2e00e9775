// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Finds the cycles of a waveform. Most of the recogniser's time is spent here.
#pragma once

#include "pitchrec/cycle.h"

namespace Sonorel {

// Finds cycles from the newest sample backward and gives exactly the result of PlainScanCycles.
// window: count samples, oldest first; nothing outside it is read. firstNew: window index of the
// first sample of the latest block. Thread: any. Real time: yes.
CycleTable ScanCycles(const std::int16_t* window, std::int32_t count, std::int32_t firstNew,
                      const PeakThresholds& thresholds);

} // namespace Sonorel
