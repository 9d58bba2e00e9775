// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Writing the ini file.
#pragma once

#include <cstdint>

// Write one key; a missing section or file is created. Return false if the file cannot be written;
// it is then unchanged. Thread: host.
bool WriteProfileText(const char* section, const char* key, const char* text, const char* file);
bool WriteProfileInt(const char* section, const char* key, std::int32_t value, const char* file);
