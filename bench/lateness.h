// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#pragma once

#include "bench/table.h"

namespace bench {

// Plays 1000 records in real time and adds to the results how late they reach the device, as median
// and 99th percentile, and the same of a thread that only sleeps until such deadlines. The two
// alternate every second, so that both run under the same load. Takes about 15 seconds.
void MeasureLateness(Results& results);

} // namespace bench
