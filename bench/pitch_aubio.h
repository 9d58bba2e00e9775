// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#pragma once

namespace bench {

// Whether the build has aubio to compare with.
bool WithAubio();

} // namespace bench
