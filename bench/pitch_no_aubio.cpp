// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "bench/pitch_aubio.h"

bool bench::WithAubio() { return false; }
