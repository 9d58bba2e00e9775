// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "support/profile.h"

#include "platform/platform.h"

#include <cstdio>

bool WriteProfileText(const char* section, const char* key, const char* text, const char* file) {
    return WritePrivateProfileStringA(section, key, text, file) != 0;
}

bool WriteProfileInt(const char* section, const char* key, std::int32_t value, const char* file) {
    char text[12]; // the longest is "-2147483648"
    std::snprintf(text, sizeof text, "%d", static_cast<int>(value));
    return WriteProfileText(section, key, text, file);
}
