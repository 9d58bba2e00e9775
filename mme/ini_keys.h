// Where this driver's settings stand in the ini file.
#pragma once

#include <cstdio>

constexpr char MMESection[] = "MMEDRVR";

// A numbered key, such as InName1 for row 0.
struct RowKey {
    char Text[24];
    RowKey(const char* name, int row) { std::snprintf(Text, sizeof Text, "%s%d", name, row + 1); }
};
