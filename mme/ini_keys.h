// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The ini file's section and keys of this driver.
#pragma once

#include <cstdio>

constexpr char MMESection[] = "MMEDRVR";

// The key of a row, such as InName1 for row 0.
struct RowKey {
    char Text[24];
    RowKey(const char* name, int row) { std::snprintf(Text, sizeof Text, "%s%d", name, row + 1); }
};
