// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Costs of an idle process.
#pragma once

namespace bench {

// Samples this process for 5 seconds and prints wake-ups per second, resident memory and the number
// of loaded libraries, under the given heading.
void PrintCost(const char* when);

} // namespace bench
