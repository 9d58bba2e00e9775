// What it costs a process to stand by.
#pragma once

namespace bench {

// Watches this process for some seconds and prints its wake-ups, its memory and its libraries.
void PrintCost(const char* when);

} // namespace bench
