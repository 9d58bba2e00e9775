// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// A file for samples that memory should not hold.
#pragma once

#include <cstdio>

namespace zorhearing {

// Opens a new file for reading and writing that goes when it is closed or the program ends. Null
// where none can be made.
std::FILE* OpenTemporaryFile();

} // namespace zorhearing
