#pragma once

#include "bench/table.h"

namespace bench {

// Plays about a thousand records in real time and adds how late they reached the device, at the
// median and the 99th percentile; beside it a thread that only sleeps to such deadlines, in turns
// of a second each, so that both meet the same machine. Takes about 15 seconds.
void MeasureLateness(Results& results);

} // namespace bench
